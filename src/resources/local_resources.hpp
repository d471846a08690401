// Resource attribute tags of this host (ORV_LOCAL_RESOURCES of orv.conf).
#pragma once

#include <string>
#include <vector>

namespace orv {

struct LOCAL_RESOURCE {
    std::string Name;   // "resource" or "resourcemap" (any word when read from orv.conf)
    std::string Value;  // the tag name, or value*resource_name
};

// Parses "[keyword value] ..." into list (emptied first): 0, 1 for an empty text, -1 for a
// malformed one. flag 0 accepts only the keywords resource and resourcemap.
int parseLocalResources(const std::string& text, std::vector<LOCAL_RESOURCE>& list, int flag);
int getLocalResources(const std::string& dir, std::vector<LOCAL_RESOURCE>& list,
                      std::string& comment);
int addLocalResources(const std::string& dir, const std::vector<LOCAL_RESOURCE>& list);
int orvconfig_addresourcetag(const std::vector<LOCAL_RESOURCE>& list);
// The harvesting tag of this host: 1 scvg, 2 svrscvg, 3 vmscvg, 0 none, -1 when orv.conf
// cannot be read or its value does not parse, kTagLineWithoutValue when the key's line has
// no "=" (an indented comment naming the key): its tags cannot be known at all.
constexpr int kTagLineWithoutValue = -2;
int checkScavengingResourceTag(const std::string& dir);

}  // namespace orv
