// Whether two names denote one host, and whether a string is a usable host name.
// The resolver's answer for each name is remembered for the rest of the run, so a run
// makes at most one lookup per distinct name; a scan over many names may have them looked
// up side by side first, with the same results.
#pragma once

#include <netdb.h>

#include <optional>
#include <string>
#include <vector>

namespace orv {

int my_getaddrinfo_(const char* host, int port, int flags, int family, int socktype,
                    struct addrinfo** result);
int equalHost_(const std::string& x, const std::string& y);
int compareHost(const std::string& a, const std::string& b);
int checkHostname(const std::string& s);   // 1 usable, -1 not
int checkIPAddress(const std::string& s);  // 0 dotted IPv4 form, -1 not

// Looks up, side by side when there are enough of them, the names not looked up yet;
// later comparisons and checks use the remembered answers. A name that gets no answer
// this way is looked up when it is first compared, as without this call.
void resolveAhead(const std::vector<std::string>& names);

// resolveAhead for a scan that compares `host` with each of `names` in turn: the names
// that differ from `host` as text, and `host` itself. A scan that ends at the first name
// equal to `host` as text leaves the names after it alone.
enum class ScanEnd { AtHost, AtLastName };
void resolveAheadOfScan(const std::string& host, const std::vector<std::string>& names,
                        ScanEnd end);

// Looks up every name that a scan comparing `host` with each of `names` in turn asks
// about (side by side when there are many), with ScanEnd::AtHost up to the first that
// names `host`: made before a lock is taken, the scan under the lock then needs no lookup.
void lookUpScan(const std::string& host, const std::vector<std::string>& names, ScanEnd end);

// compareHost of a and b when it needs no lookup (equal as text, or both names looked up
// already), else nothing: a run that holds a lock decides with this and looks the other
// names up once the lock is released.
std::optional<int> knownComparison(const std::string& a, const std::string& b);

// This host's name as gethostname reports it ("" on failure).
std::string thisHostName();

}  // namespace orv
