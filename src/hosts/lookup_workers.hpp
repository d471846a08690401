// Resolver lookups of one name here, or of many names side by side in forked worker
// processes. Processes rather than threads: the resolver's modules (nss_wrapper among
// them) are not safe when several threads of one process look names up at once.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace orv {

// What the resolver said about one name: all that the host comparison and the host-name
// check use.
struct HostLookup {
    bool resolved = false;  // getaddrinfo succeeded
    bool hasIPv4 = false;   // at least one IPv4 address (what an IPv4-only lookup finds)
    std::string canonical;  // canonical name of the first result, when resolved

    bool operator==(const HostLookup&) const = default;
};

// One lookup, made in this process.
HostLookup lookUpHost(const std::string& name);

// Looks every name up once, in at most `workers` forked processes that each resolve their
// share one after another and send the answers back through a pipe: at most `workers`
// lookups are in flight. An entry is empty where no answer came back (a pipe or process
// that could not be made, or a worker that died); the caller looks that name up itself.
std::vector<std::optional<HostLookup>> lookUpInWorkers(const std::vector<std::string>& names,
                                                       std::size_t workers);

}  // namespace orv
