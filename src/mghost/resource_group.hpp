// The management hosts' resource group of ResourceGroups.xml.
#pragma once

#include <string>

namespace orv {

int updateResourceGroup(const std::string& path);

}  // namespace orv
