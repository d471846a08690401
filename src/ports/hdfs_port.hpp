// The hovhdfsport subcommand: show or set HOV_HDFS_PORT in the HDFS service profiles.
#pragma once

#include <string>

namespace orv {

int getPorts(const std::string& file, const std::string& key);
int orvconfig_showhovhdfsport();
int orvconfig_sethovhdfsport(const std::string& hovhdfsportstr);

}  // namespace orv
