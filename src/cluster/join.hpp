// The join subcommand: attach this host to a cluster, or make it the master of a new one.
#pragma once

#include <string>

namespace orv {

int orvconfig_join(std::string mastername);
int replaceJoin(const std::string& dir, const std::string& master);

}  // namespace orv
