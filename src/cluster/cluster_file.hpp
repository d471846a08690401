// The host section of the cluster file orv.cluster.<name>.
#pragma once

#include <string>
#include <vector>

#include "cluster/host_entry.hpp"

namespace orv {

int getHostListFromCluster(const std::string& dir, std::vector<std::string>& hosts);
int getHostLineFromCluster(const std::string& path, std::vector<std::string>& hosts,
                           std::vector<std::string>& lines, std::string& header);
int insertCluster(const std::string& dir, const std::string& host);
int insertClusterShared(const std::string& dir, const std::string& host);
int removeCluster(const std::string& dir, const std::string& host);

}  // namespace orv
