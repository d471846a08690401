// The host section of the cluster file orv.cluster.<name>.
#pragma once

#include <string>
#include <vector>

namespace orv {

int getHostListFromCluster(const std::string& dir, std::vector<std::string>& hosts);
int getHostLineFromCluster(const std::string& path, std::vector<std::string>& hosts,
                           std::vector<std::string>& lines, std::string& header);
int insertCluster(const std::string& dir, const std::string& host);
int insertClusterShared(const std::string& dir, const std::string& host);
int removeCluster(const std::string& dir, const std::string& host);
int generateHostEntry(const std::string& header, const std::string& host, const std::string& type,
                      const std::string& resources, std::string& out);
// True when a host line's resources name mg as promotion tests it (a promoted line stays
// as it is); false also where promotion could not re-make the line.
bool marksManagementHost(const std::string& header, const std::string& line);
int changeHostEntry(const std::string& header, const std::string& line, const std::string& host,
                    std::string& out);

}  // namespace orv
