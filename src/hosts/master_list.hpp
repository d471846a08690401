// The ordered master candidate list (ORV_MASTER_LIST of orv.conf): reading it, the role
// questions (is this host the master, a candidate) and the form it is stored in.
#pragma once

#include <string>
#include <vector>

namespace orv {

inline constexpr const char* kMasterListKey = "ORV_MASTER_LIST";

// Printed when a master list holds no host.
inline constexpr const char* kEmptyMasterListMessage =
    "You have not input any hosts in the master list. Specify the name of the master host "
    "and any master candidates.";

int getMasterListFromConf(const std::string& dir, std::vector<std::string>& list, int verbose);
int getCurrentMaster(const std::string& dir, std::string& out, int verbose);
int checkMaster(const std::string& dir, int verbose);
int checkMasterList(const std::string& dir);
// Leaves `out` untouched when input holds no names.
int convertMasterListFormat(const std::string& input, std::string& out);

// The key line that stores a comma-separated list: key="first second ...".
std::string masterListLine(const char* key, const std::string& commaList);

}  // namespace orv
