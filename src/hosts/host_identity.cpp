// Host identity: one comparison decides whether two names denote the same host, and two
// validators decide what may be used as a host name.
#include "hosts/host_identity.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "hosts/lookup_workers.hpp"

namespace orv {

namespace {

// Below this many names a scan looks them up one after another: starting workers costs
// more than it saves. Above it, every worker takes at least kNamesPerWorker names, and at
// most kMaxWorkers lookups are in flight: with a name server 1 ms away, 50,000 names take
// about 0.25 s of waiting (1.6 s with 32 workers, 0.45 s with 128; see
// docs/PERFORMANCE.md).
constexpr std::size_t kMinNamesForWorkers = 32;
constexpr std::size_t kNamesPerWorker = 4;
constexpr std::size_t kMaxWorkers = 256;

// A resolver that took this long for a lookup made here is slow: a worker then costs less
// than one lookup, so names are looked up side by side from a few on, a few per worker.
// (Not one each: with many runs at once on few cores, the processes' own cost adds up;
// 64 runs promoting at once with 100 ms lookups took half again the processor time of the
// same runs with an instant resolver at one name per worker, and the same at three.)
constexpr std::chrono::milliseconds kSlowLookup{5};
constexpr std::size_t kNamesPerWorkerWhenSlow = 3;

bool& resolverIsSlow() {
    static bool slow = false;
    return slow;
}

HostLookup timedLookup(const std::string& name) {
    const auto start = std::chrono::steady_clock::now();
    HostLookup answer = lookUpHost(name);
    if (std::chrono::steady_clock::now() - start >= kSlowLookup) {
        resolverIsSlow() = true;
    }
    return answer;
}

// The resolver's answers for the rest of the run, keyed by the exact name: a run asks
// about each distinct name once, however many comparisons it makes.
std::unordered_map<std::string, HostLookup>& answers() {
    static std::unordered_map<std::string, HostLookup> known;
    return known;
}

const HostLookup& resolve(const std::string& name) {
    auto it = answers().find(name);
    if (it == answers().end()) {
        it = answers().emplace(name, timedLookup(name)).first;
    }
    return it->second;
}

// The name to compare: the canonical name when the resolver knows one, else the name
// as written.
const std::string& comparableName(const std::string& name) {
    const HostLookup& r = resolve(name);
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
    // Both sides of a name compared with itself are the same text (its canonical name, or
    // the name itself when it does not resolve), so the answer is 1 without a lookup.
    if (a == b) {
        return 1;
    }
    const std::string& first = comparableName(a);
    const std::string& second = comparableName(b);
    return equalHost_(first, second);
}

namespace {

// The distinct names not looked up yet, in order, gathered one by one (without copying the
// names already known or seen: a scan may hand over 50,000).
class PendingNames {
  public:
    explicit PendingNames(std::size_t expected) { seen_.reserve(expected); }
    void add(const std::string& name) {
        if (answers().count(name) == 0 && seen_.insert(name).second) {
            pending_.push_back(name);
        }
    }
    // Looks them up, side by side when there are enough of them; otherwise they are looked
    // up when first compared.
    void resolve();

  private:
    std::unordered_set<std::string_view> seen_;
    std::vector<std::string> pending_;
};

void PendingNames::resolve() {
    std::vector<std::string>& pending = pending_;
    if (pending.size() <= (resolverIsSlow() ? kNamesPerWorkerWhenSlow : kMinNamesForWorkers - 1)) {
        return;
    }
    // The first lookup of a run also sets the resolver up (its configuration, a module's
    // tables); made here, that is done once and shared by the workers instead of once
    // in each of them.
    if (answers().empty()) {
        answers().emplace(pending.front(), timedLookup(pending.front()));
        pending.erase(pending.begin());
    }
    const std::size_t perWorker = resolverIsSlow() ? kNamesPerWorkerWhenSlow : kNamesPerWorker;
    std::size_t workers = std::min(kMaxWorkers, (pending.size() + perWorker - 1) / perWorker);
    std::vector<std::optional<HostLookup>> got = lookUpInWorkers(pending, workers);
    answers().reserve(answers().size() + pending.size());
    for (std::size_t i = 0; i < pending.size(); ++i) {
        if (got[i]) {
            answers().emplace(std::move(pending[i]), std::move(*got[i]));
        }
    }
}

}  // namespace

void resolveAhead(const std::vector<std::string>& names) {
    PendingNames pending(names.size());
    for (const std::string& name : names) {
        pending.add(name);
    }
    pending.resolve();
}

void resolveAheadOfScan(const std::string& host, const std::vector<std::string>& names,
                        ScanEnd end) {
    PendingNames pending(names.size() + 1);
    bool any = false;
    for (const std::string& name : names) {
        if (name == host) {
            if (end == ScanEnd::AtHost) break;
            continue;
        }
        pending.add(name);
        any = true;
    }
    if (any) {
        pending.add(host);
    }
    pending.resolve();
}

void lookUpScan(const std::string& host, const std::vector<std::string>& names, ScanEnd end) {
    resolveAheadOfScan(host, names, end);
    for (const std::string& name : names) {
        if (compareHost(host, name) == 1 && end == ScanEnd::AtHost) {
            return;
        }
    }
}

std::optional<int> knownComparison(const std::string& a, const std::string& b) {
    if (a == b) {
        return 1;
    }
    if (answers().count(a) == 0 || answers().count(b) == 0) {
        return std::nullopt;
    }
    return compareHost(a, b);
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
    const HostLookup& r = resolve(s);
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
