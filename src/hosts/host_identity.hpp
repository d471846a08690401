// Whether two names denote one host, and whether a string is a usable host name.
// The resolver's answer for each name is remembered for the rest of the run, so a run
// makes at most one lookup per distinct name.
#pragma once

#include <netdb.h>

#include <string>

namespace orv {

int my_getaddrinfo_(const char* host, int port, int flags, int family, int socktype,
                    struct addrinfo** result);
int equalHost_(const std::string& x, const std::string& y);
int compareHost(const std::string& a, const std::string& b);
int checkHostname(const std::string& s);   // 1 usable, -1 not
int checkIPAddress(const std::string& s);  // 0 dotted IPv4 form, -1 not

// This host's name as gethostname reports it ("" on failure).
std::string thisHostName();

}  // namespace orv
