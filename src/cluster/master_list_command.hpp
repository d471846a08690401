// The masterlist subcommand: a new ordered list of master candidates.
#pragma once

#include <string>

namespace orv {

// Checks the new list (valid names, no duplicates, management hosts only, the first one
// already a candidate) and writes it to confPath.
int replaceMasterList(const std::string& dir, const std::string& confPath,
                      const std::string& newList);
int orvconfig_setmasterlist(const std::string& masterlist);

}  // namespace orv
