// The ordered master candidate list (ORV_MASTER_LIST of orv.conf) and the masterlist
// subcommand.
#pragma once

#include <string>
#include <vector>

namespace orv {

int getMasterListFromConf(const std::string& dir, std::vector<std::string>& list, int verbose);
int getCurrentMaster(const std::string& dir, std::string& out, int verbose);
int checkMaster(const std::string& dir, int verbose);
int checkMasterList(const std::string& dir);
// Leaves `out` untouched when input holds no names.
int convertMasterListFormat(const std::string& input, std::string& out);
int replaceMasterList(const std::string& dir, const std::string& confPath,
                      const std::string& newList);
int orvconfig_setmasterlist(const std::string& masterlist);

}  // namespace orv
