// Host identity: one comparison decides whether two names denote the same host, and two
// validators decide what may be used as a host name.
#include "hosts/host_identity.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace orv {

namespace {

// What the resolver said about one name.
struct Resolution {
    bool resolved = false;  // getaddrinfo succeeded
    bool hasIPv4 = false;   // at least one IPv4 address (what an IPv4-only lookup finds)
    std::string canonical;  // canonical name of the first result, when resolved
};

struct AddrInfoDeleter {
    void operator()(struct addrinfo* ai) const {
        if (ai != nullptr) {
            freeaddrinfo(ai);
        }
    }
};
using AddrInfoPtr = std::unique_ptr<struct addrinfo, AddrInfoDeleter>;

Resolution lookUp(const std::string& name) {
    Resolution r;
    struct addrinfo* raw = nullptr;
    int rc = my_getaddrinfo_(name.c_str(), -1, AI_CANONNAME, AF_UNSPEC, SOCK_STREAM, &raw);
    AddrInfoPtr list(raw);
    if (rc != 0 || !list) {
        return r;
    }
    r.resolved = true;
    r.canonical = list->ai_canonname != nullptr ? list->ai_canonname : name;
    for (const struct addrinfo* ai = list.get(); ai != nullptr; ai = ai->ai_next) {
        if (ai->ai_family == AF_INET) {
            r.hasIPv4 = true;
        }
    }
    return r;
}

// The resolver's answers for the rest of the run, keyed by the exact name: a run asks
// about each distinct name once, however many comparisons it makes.
const Resolution& resolve(const std::string& name) {
    static std::unordered_map<std::string, Resolution> cache;
    auto it = cache.find(name);
    if (it == cache.end()) {
        it = cache.emplace(name, lookUp(name)).first;
    }
    return it->second;
}

// The name to compare: the canonical name when the resolver knows one, else the name
// as written.
const std::string& comparableName(const std::string& name) {
    const Resolution& r = resolve(name);
    return r.resolved ? r.canonical : name;
}

// True for everything the classic dotted-address parser accepts as an address other than
// the all-ones value, which that parser cannot tell from its own error result. Its grammar
// is loose: "10.1", "0x0a.1" and "012.0.0.1" are all addresses.
bool parsesAsDottedAddress(const std::string& s) {
    struct in_addr addr {};
    if (inet_aton(s.c_str(), &addr) == 0) {
        return false;
    }
    return addr.s_addr != INADDR_NONE;
}

}  // namespace

int my_getaddrinfo_(const char* host, int port, int flags, int family, int socktype,
                    struct addrinfo** result) {
    struct addrinfo hints {};
    hints.ai_flags = flags;
    hints.ai_family = family;
    hints.ai_socktype = socktype;
    if (port < 0) {
        return getaddrinfo(host, nullptr, &hints, result);
    }
    std::string service = std::to_string(port);
    return getaddrinfo(host, service.c_str(), &hints, result);
}

int equalHost_(const std::string& x, const std::string& y) {
    std::size_t n = x.size() < y.size() ? x.size() : y.size();
    if (strncasecmp(x.c_str(), y.c_str(), n) != 0) {
        return 0;
    }
    // The shorter name must end where the longer one has a dot: hostA matches
    // hostA.lab.local but not hostAB.
    if (n < x.size() && x[n] != '.') {
        return 0;
    }
    if (n < y.size() && y[n] != '.') {
        return 0;
    }
    return 1;
}

int compareHost(const std::string& a, const std::string& b) {
    const std::string& first = comparableName(a);
    const std::string& second = comparableName(b);
    return equalHost_(first, second);
}

int checkHostname(const std::string& s) {
    // A name with an embedded NUL can never be looked up as written.
    if (s.find('\0') != std::string::npos) {
        return -1;
    }
    // The address test needs no lookup, so it goes first; the result is the same.
    if (parsesAsDottedAddress(s)) {
        return -1;
    }
    const Resolution& r = resolve(s);
    return r.resolved && r.hasIPv4 ? 1 : -1;
}

int checkIPAddress(const std::string& s) {
    int dots = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        char c = s[i];
        if (c == '.') {
            if (i + 1 == s.size()) {
                return -1;
            }
            ++dots;
        } else if (c < '0' || c > '9') {
            return -1;
        }
    }
    return dots == 3 ? 0 : -1;
}

std::string thisHostName() {
    std::vector<char> buf(1025, '\0');
    if (gethostname(buf.data(), buf.size() - 1) != 0) {
        return "";
    }
    return std::string(buf.data());
}

}  // namespace orv
