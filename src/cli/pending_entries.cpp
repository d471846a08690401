// Entry points not yet built. Each is a weak definition, so the binary links while the
// subcommands are being written; a module's real (strong) definition replaces its
// placeholder automatically. Every placeholder fails, so the dispatcher reports
// "Command failed." instead of pretending the work was done.
#include <string>
#include <vector>

#include "cluster/join.hpp"
#include "hosts/master_list.hpp"
#include "mghost/demote.hpp"
#include "mghost/promote.hpp"
#include "ports/base_port.hpp"
#include "ports/hdfs_port.hpp"
#include "resources/local_resources.hpp"

namespace orv {

__attribute__((weak)) int orvconfig_setmasterlist(const std::string& /*masterlist*/) {
    return -1;
}

__attribute__((weak)) int orvconfig_join(std::string /*mastername*/) { return -1; }

__attribute__((weak)) int orvconfig_setshare(std::string /*sharedTop*/) { return -1; }

__attribute__((weak)) int orvconfig_removeshare(const char* /*pname*/) { return -1; }

__attribute__((weak)) int orvconfig_setbaseport(const std::string& /*baseportstr*/,
                                                const char* /*pname*/) {
    return -1;
}

__attribute__((weak)) int orvconfig_showhovhdfsport(const char* /*pname*/) { return -1; }

__attribute__((weak)) int orvconfig_sethovhdfsport(const std::string& /*hovhdfsportstr*/,
                                                   const char* /*pname*/) {
    return -1;
}

__attribute__((weak)) int orvconfig_addresourcetag(const std::vector<LOCAL_RESOURCE>& /*list*/,
                                                   int /*count*/) {
    return -1;
}

// Accepts any non-empty text as a list with no tags, so the dispatcher reaches the
// (failing) subcommand above; empty text is refused as the real parser refuses it.
__attribute__((weak)) int parseLocalResources(const std::string* text,
                                              std::vector<LOCAL_RESOURCE>& list, int /*flag*/,
                                              int& count) {
    list.clear();
    count = 0;
    return (text == nullptr || text->empty()) ? 1 : 0;
}

}  // namespace orv
