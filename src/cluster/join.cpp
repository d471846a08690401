// The join subcommand: names the master host of the cluster this host belongs to, or, when
// the named master is this host itself, makes it the master of a new cluster.
#include "cluster/join.hpp"

#include <cctype>
#include <vector>

#include "cluster/cluster_file.hpp"
#include "console/messages.hpp"
#include "context/cluster_identity.hpp"
#include "context/environment.hpp"
#include "context/run_context.hpp"
#include "hosts/host_identity.hpp"
#include "hosts/master_list.hpp"
#include "resources/local_resources.hpp"
#include "storage/file_store.hpp"
#include "text/line_reader.hpp"
#include "text/rewrite.hpp"
#include "text/strings.hpp"

namespace orv {

namespace {

constexpr const char* kNotValidHost = "[%s] is not a valid host name.";

constexpr const char* kHarvestHostMessage =
    "You are trying to create a new cluster with this host as the master host. Since this "
    "host has already been designated as a harvest-ready compute host, it cannot be set as "
    "master.";

// What a run has learnt about the installation before it changes anything.
struct JoinRun : RunContext {
    FILEINFO confInfo;
    FILEINFO clusterInfo;
};

bool isSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

void trimHostArgument(std::string& s) {
    std::size_t first = 0;
    while (first < s.size() && isSpace(s[first])) ++first;
    std::size_t last = s.size();
    while (last > first && isSpace(s[last - 1])) --last;
    s = s.substr(first, last - first);
}

int checkMasterArgument(const std::string& master) {
    if (master.empty()) {
        alertI18n("You have not input any master host. Specify the name of the master host.");
        return -1;
    }
    if (contains(master, " ") || checkHostname(master) == -1) {
        alertI18nWithParameter(kNotValidHost, master);
        return -1;
    }
    return 1;
}

int recordFileInfo(JoinRun& run) {
    if (getFileInfo(run.confDir, "orv.conf", run.confInfo) != 1) return -1;
    return getFileInfo(run.confDir, run.cluster.file, run.clusterInfo) == 1 ? 1 : -1;
}

void restoreModes(const JoinRun& run) {
    if (!isRootPrefixed(run.user)) return;
    setFileInfo(run.confDir, "orv.conf", run.confInfo);
    setFileInfo(run.confDir, run.cluster.file, run.clusterInfo);
}

// This host already has a master list: naming one of its entries again is a no-change
// success, naming any other host is a refusal.
int answerExistingMember(const JoinRun& run, const std::string& master,
                         const std::vector<std::string>& list) {
    std::vector<std::string> hosts;
    if (getHostListFromCluster(run.confDir, hosts) == -1) return -1;
    std::string current;
    if (getCurrentMaster(run.confDir, current, 1) == -1) return -1;
    for (const std::string& entry : list) {
        if (compareHost(master, entry) == 1) {
            alertI18nWithParameter(
                "No changes.  This host already belongs to a cluster with master host %s.",
                current);
            return 1;
        }
    }
    alertI18nWithParameter(
        "This host belongs to the cluster %s.  It cannot join a different cluster.",
        run.cluster.cluster);
    return -1;
}

char confirmJoin(bool newCluster, const std::string& master) {
    if (newCluster) {
        return askYesNo(
            "You are about to create a new cluster with this host as the master host.  Do you "
            "want to continue? [y/n]");
    }
    return askYesNo(formatMessage(
        "You are about to join this host to a cluster with master host %s.  Do you want to "
        "continue? [y/n]",
        {master}));
}

// The master's side of a new cluster: its host line in the cluster file, no ORV_GET_CONF,
// and its entry in the management hosts' resource group.
int createCluster(const JoinRun& run, const std::string& master) {
    if (removeCluster(run.confDir, master) == -1 || insertCluster(run.confDir, master) == -1) {
        restoreModes(run);
        return -1;
    }
    // Whether a line was removed does not matter, but an orv.conf that could not be
    // written back is no cluster: its text is only in the ".tmp" now.
    if (replaceString(run.confDir + "/orv.conf", "ORV_GET_CONF=", "") == -1 && anyWriteFailed()) {
        return -1;
    }
    const std::string entry = "            <ResourceEntry ResourceID=\"" + master + "\"/>";
    if (replaceString(run.confDir + "/ResourceGroups.xml", "@ORV_MASTER@", entry) == -1) {
        alertI18nWithTwoParameters("Set %s in %s failed.", entry,
                                   std::string("ResourceGroups.xml"));
        return -1;
    }
    return 1;
}

int changeMembership(const JoinRun& run, const std::string& master, bool newCluster) {
    if (replaceJoin(run.confDir, master) == -1) return -1;
    if (newCluster && createCluster(run, master) == -1) return -1;
    restoreModes(run);
    if (newCluster) {
        alertI18nWithTwoParameters(
            "A new cluster <%s> has been created. The host <%s> is the master host.",
            run.cluster.cluster, master);
    } else {
        alertI18nWithTwoParameters("The host %s has joined the cluster %s.", thisHostName(),
                                   run.cluster.cluster);
    }
    return 1;
}

int joinWithEmptyList(const JoinRun& run, const std::string& master) {
    const bool newCluster = compareHost(thisHostName(), master) == 1;
    const int harvest = newCluster ? checkScavengingResourceTag(run.confDir) : 0;
    // A tag line without "=" (an indented comment naming the key) hides the host's tags:
    // they cannot be known, so no new cluster is made on them.
    if (harvest == kTagLineWithoutValue) return -1;
    if (harvest > 0) {
        alertI18n(kHarvestHostMessage);
        return -1;
    }
    if (confirmJoin(newCluster, master) == 'n') {
        alertI18n("No change");
        return 1;
    }
    return changeMembership(run, master, newCluster);
}

}  // namespace

int orvconfig_join(std::string mastername) {
    trimHostArgument(mastername);
    if (checkIPAddress(mastername) == 0) {
        alertI18n("IP address is not supported. Specify a valid host name.");
        return -1;
    }
    std::optional<RunContext> context = administratorPreamble();
    if (!context) return -1;
    JoinRun run{std::move(*context), {}, {}};
    if (checkMasterArgument(mastername) == -1) return -1;
    if (recordFileInfo(run) == -1) return -1;
    std::vector<std::string> list;
    if (getMasterListFromConf(run.confDir, list, 1) == -1) return -1;
    if (!list.empty()) return answerExistingMember(run, mastername, list);
    return joinWithEmptyList(run, mastername);
}

int replaceJoin(const std::string& dir, const std::string& master) {
    const std::string path = dir + "/orv.conf";
    const auto seenLine = scanFromTop(path, [](LineReader& in) {
        return firstRawLineHolding(in, kMasterListKey, [](const std::string&) { return true; })
            .has_value();
    });
    if (!seenLine) {
        alertI18nWithParameter(kCannotOpenFileMessage, path);
        return -1;
    }
    const bool seen = *seenLine;
    const std::string keyLine = masterListLine(kMasterListKey, master);
    // A failure here has already been reported by the primitive and the join goes on,
    // except when orv.conf could not be written (disk full, I/O error): the rest of the
    // join would then describe a cluster that this host's orv.conf does not name.
    const bool written = seen ? replaceStringWithoutComment(path, kMasterListKey, keyLine) == 1
                              : appendString(path, keyLine) == 1;
    return !written && anyWriteFailed() ? -1 : 1;
}

}  // namespace orv
