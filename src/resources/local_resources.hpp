// Resource attribute tags of this host (ORV_LOCAL_RESOURCES of orv.conf).
#pragma once

#include <string>
#include <vector>

namespace orv {

struct LOCAL_RESOURCE {
    std::string Name;   // "resource" or "resourcemap" (any word when read from orv.conf)
    std::string Value;  // the tag name, or value*resource_name
};

int parseLocalResources(const std::string* text, std::vector<LOCAL_RESOURCE>& list, int flag,
                        int& count);
int getLocalResources(const std::string& dir, std::vector<LOCAL_RESOURCE>& list, int& count,
                      std::string& comment);
int addLocalResources(const std::string& dir, const std::vector<LOCAL_RESOURCE>& list, int count);
int orvconfig_addresourcetag(const std::vector<LOCAL_RESOURCE>& list, int count);
int checkScavengingResourceTag(const std::string& dir);

}  // namespace orv
