// The hovhdfsport subcommand: show or set HOV_HDFS_PORT in the HDFS service profiles.
#pragma once

#include <string>
#include <vector>

namespace orv {

inline constexpr const char* kHdfsPortKey = "HOV_HDFS_PORT";

// The HDFS service profiles of a configuration directory: NameNode, secondary node,
// DataNode, in the order they are edited.
std::vector<std::string> hdfsProfilesOf(const std::string& dir);

int getPorts(const std::string& file, const std::string& key);
int orvconfig_showhovhdfsport();
int orvconfig_sethovhdfsport(const std::string& hovhdfsportstr);

}  // namespace orv
