// The layout of one host line of the cluster file.
#pragma once

#include <string>

namespace orv {

int generateHostEntry(const std::string& header, const std::string& host, const std::string& type,
                      const std::string& resources, std::string& out);
int changeHostEntry(const std::string& header, const std::string& line, const std::string& host,
                    std::string& out);

}  // namespace orv
