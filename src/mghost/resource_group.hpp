// The management hosts' resource group of ResourceGroups.xml.
#pragma once

#include <string>

namespace orv {

// The line that makes the ManagementHosts group select every host tagged mg.
inline constexpr const char* kRequirementLine =
    "        <ResourceRequirement>select(mg)</ResourceRequirement>";

// True for the line that opens the ManagementHosts group (both on one line).
bool opensManagementHostsGroup(const std::string& line);

int updateResourceGroup(const std::string& path);

}  // namespace orv
