// The layout of one host line of the cluster file.
#pragma once

#include <string>

namespace orv {

int generateHostEntry(const std::string& header, const std::string& host, const std::string& type,
                      const std::string& resources, std::string& out);
// True when a host line's resources name mg as promotion tests it (a promoted line stays
// as it is); false also where promotion could not re-make the line.
bool marksManagementHost(const std::string& header, const std::string& line);
int changeHostEntry(const std::string& header, const std::string& line, const std::string& host,
                    std::string& out);

}  // namespace orv
