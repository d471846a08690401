// The mghost subcommand. On the master host it fills the shared configuration directory
// from the local one and points this host at it; on any other host it only points this
// host at a shared directory the master has already filled. With a product keyword it
// moves one layered product onto the shared directory already in use.
#include "mghost/promote.hpp"

#include <optional>
#include <string>
#include <vector>

#include "cluster/cluster_file.hpp"
#include "console/messages.hpp"
#include "context/cluster_identity.hpp"
#include "context/environment.hpp"
#include "context/run_context.hpp"
#include "hosts/host_identity.hpp"
#include "hosts/master_list.hpp"
#include "mghost/change_script.hpp"
#include "mghost/resource_group.hpp"
#include "text/line_reader.hpp"
#include "text/strings.hpp"

namespace orv {

namespace {

constexpr const char* kResetMessage =
    "The shared configuration directory is %s. You must reset your environment before you "
    "can run any more ORV commands. Source the environment %s/cshrc.tolvane or "
    "%s/profile.tolvane again.";
constexpr const char* kNoInstallMessage =
    "Warning: Cannot find the .install configuration, the old version will be running";
constexpr const char* kPromoteFirstMessage = "Please run orvconfig mghost SHARED_TOP [-f] firstly";
constexpr const char* kCannotChangeMessage =
    "You cannot change the shared configuration directory.";
constexpr const char* kNoSharedDirMessage =
    "The shared directory path was not found. Ensure that: (1) <orvconfig mghost> has been "
    "run on the Master Host; and (2) the correct shared directory path is used.";
constexpr const char* kAbsolutePathMessage =
    " You must input the absolute path to the shared directory. ";

std::string confDirOf(const std::string& top) {
    return top + "/kernel/conf";
}

void printResetMessage(const std::string& sharedConfDir, const std::string& installTop) {
    alertI18nWithThreeParameters(kResetMessage, sharedConfDir.c_str(), installTop.c_str(),
                                 installTop.c_str());
}

// The shared top as typed on the command line, normalised once for every use: its trailing
// slashes are dropped. (The kernel's own step, checkShareTop, also drops one trailing
// backslash from its copy; the products and the reset message keep it, as they always have.)
std::string normalisedSharedTop(std::string path) {
    while (!path.empty() && path.back() == '/') path.pop_back();
    return path;
}

// The cluster name as the administrator check needs it: the master (and a host still on
// its local directory) reads its own configuration directory, a management host the
// shared one it already uses.
std::optional<std::string> clusterNameForCheck(const std::string& confDir) {
    int master = checkMaster(confDir, 1);
    if (master == 1) return getClusterName(confDir);
    if (master != 0) return std::nullopt;
    if (auto top = getShareTop()) return getClusterName(confDirOf(*top));
    return getClusterName(confDir);
}

// The top directory a product line of head.conf ("<unused>;<keyword>;<top directory>")
// names for the keyword; nothing for any other line.
std::optional<std::string> headLineDirectory(const std::string& line, const std::string& keyword) {
    if (line.empty() || contains(line, "#") || !contains(line, keyword)) return std::nullopt;
    std::vector<std::string> fields;
    if (tokenize(line, fields, ";") != 3 || fields[1] != keyword) return std::nullopt;
    return fields[2];
}

// The product entries run the product's change scripts with the shared top in use (or the
// one being set up) and this host's role in the cluster.
int runProductScripts(const char* productDir, const std::optional<std::string>& shareTop) {
    std::optional<std::string> top = shareTop ? shareTop : getShareTop();
    if (!top) return -1;
    const char* confDir = getOrvConfDir();
    const char* installTop = getInstallTop();
    if (confDir == nullptr || installTop == nullptr) return -1;
    int mode = checkMaster(confDir, 1);
    if (mode == -1) return -1;
    if (showWarning() == 0) return -1;
    std::string scripts = std::string(installTop) + "/" + productDir + "/.install";
    return dotInstall(scripts, mode, installTop, *top, get_cluster_name(), installTop);
}

// A product keyword given on a host that already uses the shared directory.
int promoteProductAlone(const std::string& keyword, const std::string& sharedConfDir,
                        const std::string& installTop) {
    std::string dir;
    if (keyword == "zt") {
        if (checkHead("zt", dir) != 0) {
            alertI18n("Cannot find Tessary Analytics installed");
            return -1;
        }
        if (orvconfig_setshare_zt(dir) != 0) return -1;
        alertI18n("Successful!");
        return 1;
    }
    bool vos = keyword == "vos";
    if (checkHead(keyword, dir) != 0) {
        alertI18n(vos ? "Cannot find VOS installed" : "Cannot find kirn installed");
        return -1;
    }
    int rc = vos ? orvconfig_setshare_vos(std::nullopt) : orvconfig_setshare_kirn(std::nullopt);
    if (rc != 0) return -1;
    printResetMessage(sharedConfDir, installTop);
    return 1;
}

bool isProductKeyword(const std::string& operand) {
    return operand == "vos" || operand == "kirn" || operand == "zt";
}

// The kernel first, then every layered product that head.conf lists. The analytics
// add-on is left out on purpose: it is moved only by its own "mghost zt".
int promoteKernel(const std::string& shareTop, const std::string& installTop) {
    if (orvconfig_setshare_orv(shareTop) != 0) return -1;
    std::string dir;
    if (checkHead("vos", dir) == 0 && orvconfig_setshare_vos(shareTop) != 0) return -1;
    if (checkHead("kirn", dir) == 0 && orvconfig_setshare_kirn(shareTop) != 0) return -1;
    printResetMessage(confDirOf(shareTop), installTop);
    return 0;
}

}  // namespace

int precheckCurrentUser() {
    // The cluster is the one of the directory the host uses now (on a host still on its
    // local directory, that one), and the directory need not be writable yet.
    const auto cluster = [](const std::string& confDir) -> std::optional<ClusterNames> {
        const std::optional<std::string> name = clusterNameForCheck(confDir);
        if (!name) return std::nullopt;
        return ClusterNames{*name, clusterFileName(*name)};
    };
    const std::optional<RunContext> run =
        administratorPreamble({.requireWritableConfDir = false,
                               .findCluster = cluster,
                               .noClusterMessage = "Cannot get the cluster name"});
    return run ? 0 : -1;
}

std::optional<std::string> checkShareTop(std::string path) {
    if (isAbsolutePath(path) == 0) {
        alertI18n(kAbsolutePathMessage);
        return std::nullopt;
    }
    // The trailing slashes are already gone (normalisedSharedTop); one trailing backslash,
    // the other separator administrators type, is dropped here.
    if (path.back() == '\\') path.pop_back();
    return path;
}

int checkHead(const std::string& keyword, std::string& outDir) {
    const char* installTop = getInstallTop();
    if (installTop == nullptr) return -1;
    LineReader in;
    if (!in.load(std::string(installTop) + "/.install/head.conf")) {
        alertI18nWithParameter(kCannotOpenTheFileMessage, "head.conf");
        return -1;
    }
    int count = 0;
    std::string line;
    while (getNextLineC_(in, count, 1, line)) {
        // A product may be listed more than once; the first line whose directory exists wins.
        const std::optional<std::string> dir = headLineDirectory(line, keyword);
        if (dir && pathExists(*dir)) {
            outDir = *dir;
            return 0;
        }
    }
    return -1;
}

int orvconfig_setshare_orv(const std::string& requestedTop) {
    const std::optional<std::string> checkedTop = checkShareTop(requestedTop);
    if (!checkedTop) return -1;
    const std::string& shareTop = *checkedTop;
    const char* confDir = getOrvConfDir();
    const char* installTop = getInstallTop();
    if (confDir == nullptr || installTop == nullptr) return -1;
    int mode = checkMaster(confDir, 1);
    if (mode == -1) return -1;
    if (showWarning2(shareTop) == 0 || showServiceWarning() == 0) return -1;
    std::string sharedConf = confDirOf(shareTop);
    // Only the master fills the shared directory; every other host must find it filled.
    if (mode == 0 && !pathExists(sharedConf + "/orv.shared")) {
        alertI18n(kNoSharedDirMessage);
        return -1;
    }
    std::string top = installTop;
    if (dotInstall(top + "/.install", mode, top, shareTop, get_cluster_name(), top) != 0) {
        return -1;
    }
    if (mode == 1) updateResourceGroup(sharedConf + "/ResourceGroups.xml");
    // The batch product's answer is not needed here, but the check is still made: a
    // directory it cannot examine is reported, and that line is part of this output.
    (void)checkVosCluster(confDir, getVosEnvDir());
    return insertClusterShared(sharedConf, thisHostName()) < 0 ? -1 : 0;
}

int orvconfig_setshare_vos(const std::optional<std::string>& shareTop) {
    return runProductScripts("vos", shareTop);
}

int orvconfig_setshare_kirn(const std::optional<std::string>& shareTop) {
    return runProductScripts("kirn", shareTop);
}

int orvconfig_setshare_zt(const std::string& addOnTop) {
    if (showWarning() == 0) return -1;
    const char* installTop = getInstallTop();
    std::optional<std::string> shareTop = getShareTop();
    if (installTop == nullptr || !shareTop) return -1;
    // A failed master test is left to dotInstall, which refuses any mode but 0 and 1.
    int mode = checkMaster(confDirOf(*shareTop), 1);
    return dotInstall(addOnTop + "/.install", mode, installTop, *shareTop, get_cluster_name(),
                      addOnTop);
}

int orvconfig_setshare(const std::string& operand) {
    const char* installTop = getInstallTop();
    const char* confDir = getOrvConfDir();
    const char* localConfDir = getOrvLocalConfDir();
    const std::optional<std::string> topInUse = getShareTop();
    const std::string requestedTop = normalisedSharedTop(operand);
    if (installTop == nullptr) return -1;
    if (!pathExists(std::string(installTop) + "/.install")) {
        alertI18n(kNoInstallMessage);
        return -1;
    }
    if (precheckCurrentUser() != 0 || confDir == nullptr || localConfDir == nullptr) return -1;
    int same = IsSameDirectory(confDir, localConfDir);
    if (same == -1) return -1;
    if (same == 1) {
        if (requestedTop == "vos" || requestedTop == "kirn") {
            alertI18n(kPromoteFirstMessage);
            return -1;
        }
        // "zt" falls through as a directory name and fails the absolute-path test.
        return promoteKernel(requestedTop, installTop);
    }
    const std::string confDirInUse = confDirOf(topInUse.value_or(""));
    if (isProductKeyword(requestedTop)) {
        return promoteProductAlone(requestedTop, confDirInUse, installTop);
    }
    if (IsSameDirectory(confDirOf(requestedTop), confDir) != 1) {
        alertI18n(kCannotChangeMessage);
        return -1;
    }
    return promoteKernel(requestedTop, installTop);
}

}  // namespace orv
