// The masterlist subcommand: a new ordered list of master candidates.
#pragma once

#include <string>
#include <unordered_set>
#include <vector>

namespace orv {

// Checks the new list (valid names, no duplicates, management hosts only, the first one
// already a candidate) and writes it to confPath.
int replaceMasterList(const std::string& dir, const std::string& confPath,
                      const std::string& newList);
// True when `name` may be a master candidate: a host line of the cluster file holds it as
// text (`listed`: the host names `hosts` as a set), whatever the resolver says, or names the
// same host.
bool isManagementHost(const std::string& name, const std::vector<std::string>& hosts,
                      const std::unordered_set<std::string>& listed);
int orvconfig_setmasterlist(const std::string& masterlist);

}  // namespace orv
