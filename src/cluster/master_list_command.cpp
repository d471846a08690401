// The masterlist subcommand: checks a new ordered list of master candidates and writes it
// to ORV_MASTER_LIST of orv.conf (and to the batch product's vos.conf when there is one).
#include "cluster/master_list_command.hpp"

#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "cluster/cluster_file.hpp"
#include "console/messages.hpp"
#include "context/cluster_identity.hpp"
#include "context/environment.hpp"
#include "context/run_context.hpp"
#include "hosts/host_identity.hpp"
#include "hosts/master_list.hpp"
#include "storage/file_store.hpp"
#include "text/line_reader.hpp"
#include "text/rewrite.hpp"
#include "text/strings.hpp"

namespace orv {

namespace {

constexpr const char* kVosMasterListKey = "VOS_MASTER_LIST";
constexpr const char* kInvalidHostMessage = "[%s] is not a valid host name.";
constexpr const char* kDuplicateMessage =
    "You have input the host \"%s\" more than once in the master list. Do not duplicate host "
    "names in the list.";
constexpr const char* kNotManagementHostMessage =
    "The host %s cannot be a master candidate because it is not a management host. Run "
    "\"orvconfig mghost\" to configure the host as a management host.";
constexpr const char* kNewMasterMessage =
    "Only existing master candidates can be used as master host (first host in the list). To "
    "introduce a new host as master host, append the host name to the list of candidates "
    "without changing the existing master host, restart ORV on the master host, then change "
    "the order of the list to make the new host as the master host.";

// The cluster file's mode is restored only when "<dir>\<file>" exists: a backslash path
// that never exists on this system, so in practice the cluster file keeps its own mode.
// (setFileInfo never applies a record that was not filled.)
void restoreClusterFileMode(const std::string& dir, const std::string& clusterFile,
                            const FILEINFO& info) {
    if (pathExists(dir + "\\" + clusterFile)) {
        setFileInfo(dir, clusterFile, info);
    }
}

bool anyHostMatches(const std::string& name, const std::vector<std::string>& hosts) {
    for (const std::string& host : hosts) {
        if (compareHost(host, name) == 1) {
            return true;
        }
    }
    return false;
}

int checkNewNamesValid(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        if (checkHostname(name) == -1) {
            alertI18nWithParameter(kInvalidHostMessage, name);
            return -1;
        }
    }
    return 1;
}

int checkNoDuplicates(const std::vector<std::string>& names) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        for (std::size_t j = i + 1; j < names.size(); ++j) {
            if (compareHost(names[i], names[j]) == 1) {
                alertI18nWithParameter(kDuplicateMessage, names[j]);
                return -1;
            }
        }
    }
    return 1;
}

int checkAllManagementHosts(const std::string& dir, const std::vector<std::string>& names) {
    std::vector<std::string> clusterHosts;
    if (getHostListFromCluster(dir, clusterHosts) == -1) {
        return -1;
    }
    // A host line holding the name itself matches it whatever the resolver says; only a
    // name that no line holds as text has the lines compared with it, their names looked
    // up side by side beforehand.
    const std::unordered_set<std::string> listed(clusterHosts.begin(), clusterHosts.end());
    std::vector<std::string> toResolve;
    for (const std::string& name : names) {
        if (listed.count(name) == 0) {
            toResolve.push_back(name);
        }
    }
    if (!toResolve.empty()) {
        toResolve.insert(toResolve.end(), clusterHosts.begin(), clusterHosts.end());
        resolveAhead(toResolve);
    }
    for (const std::string& name : names) {
        if (!isManagementHost(name, clusterHosts, listed)) {
            alertI18nWithParameter(kNotManagementHostMessage, name);
            return -1;
        }
    }
    return 1;
}

// A new master must already be a candidate: the daemons only hand over mastership to
// hosts that were configured as candidates when ORV last started. 1 when it is, -1 (after
// the message) when not; with lookUp false no name is looked up, and nothing is returned
// when the answer needs a name not looked up yet.
std::optional<int> checkFirstIsCandidate(const std::string& dir, const std::string& first,
                                         bool lookUp) {
    std::vector<std::string> current;
    if (getMasterListFromConf(dir, current, 1) == -1) {
        return -1;
    }
    for (const std::string& entry : current) {
        const std::optional<int> same =
            lookUp ? compareHost(first, entry) : knownComparison(first, entry);
        if (!same) {
            return std::nullopt;
        }
        if (*same == 1) {
            return 1;
        }
    }
    alertI18n(kNewMasterMessage);
    return -1;
}

// Writes the new list when its first host is a candidate of the list in orv.conf. The list
// is read again under the lock of orv.conf, held until the new list is written, and the
// names it is checked against are looked up before the lock is taken (again, with the
// lock let go, should the list have changed meanwhile to one with a name not looked up).
int writeIfFirstIsCandidate(const std::string& dir, const std::string& confPath,
                            const std::string& first, const std::string& line) {
    for (;;) {
        if (checkFirstIsCandidate(dir, first, true) == -1) {
            return -1;
        }
        const FileLock lock(confPath);
        const std::optional<int> candidate = checkFirstIsCandidate(dir, first, false);
        if (!candidate) {
            continue;
        }
        // Every line holding the key becomes the new line, a commented example included.
        return *candidate == 1 && replaceString(confPath, kMasterListKey, line) >= 0 ? 1 : -1;
    }
}

struct RecordedModes {
    FILEINFO orvConf;
    FILEINFO clusterFile;
    FILEINFO vosConf;
};

int recordModes(const std::string& confDir, const char* vosEnvDir, const std::string& clusterFile,
                RecordedModes& modes) {
    if (getFileInfo(confDir, "orv.conf", modes.orvConf) != -1 &&
        getFileInfo(confDir, clusterFile, modes.clusterFile) != -1) {
        return 1;
    }
    if (vosEnvDir == nullptr) {
        return -1;
    }
    if (getFileInfo(vosEnvDir, "vos.conf", modes.vosConf) == -1 ||
        getFileInfo(vosEnvDir, clusterFile, modes.clusterFile) == -1) {
        return -1;
    }
    return 1;
}

// Mirrors the new list into the batch product's vos.conf. A failure here is not a
// failure of the command: orv.conf already holds the new list.
void mirrorIntoVosConf(const std::string& vosEnvDir, const std::string& newList,
                       const RecordedModes& modes) {
    std::string vosConf = vosEnvDir + "/vos.conf";
    if (!pathExists(vosConf)) {
        return;
    }
    if (replaceString(vosConf, kVosMasterListKey, masterListLine(kVosMasterListKey, newList)) < 0) {
        setFileInfo(vosEnvDir, "vos.conf", modes.vosConf);
    }
}

}  // namespace

bool isManagementHost(const std::string& name, const std::vector<std::string>& hosts,
                      const std::unordered_set<std::string>& listed) {
    return listed.count(name) != 0 || anyHostMatches(name, hosts);
}

int replaceMasterList(const std::string& dir, const std::string& confPath,
                      const std::string& newList) {
    // Only whether it can be read matters here; the rewrite reads it whole.
    LineReader existence;
    if (!existence.loadHead(confPath, 1)) {
        alertI18nWithParameter(kCannotOpenFileMessage, confPath);
        return -1;
    }
    std::vector<std::string> names;
    tokenize(newList, names, ",");
    if (names.empty()) {
        alertI18n(kEmptyMasterListMessage);
        return -1;
    }
    if (checkNewNamesValid(names) == -1 || checkNoDuplicates(names) == -1 ||
        checkAllManagementHosts(dir, names) == -1) {
        return -1;
    }
    return writeIfFirstIsCandidate(dir, confPath, names[0],
                                   masterListLine(kMasterListKey, newList));
}

int orvconfig_setmasterlist(const std::string& masterlist) {
    const char* vosEnvDir = getVosEnvDir();
    // The batch product may name the cluster and list its administrators instead.
    const std::optional<RunContext> run = administratorPreamble(
        {.findCluster =
             [vosEnvDir](const std::string& dir) { return clusterFileNameIn(dir, vosEnvDir); },
         .alsoAdministratorsIn = vosEnvDir});
    if (!run) {
        return -1;
    }
    const std::string& confDir = run->confDir;
    const std::string& user = run->user;
    const std::string& clusterFile = run->cluster.file;
    RecordedModes modes;
    if (recordModes(confDir, vosEnvDir, clusterFile, modes) == -1) {
        return -1;
    }

    bool root = isRootPrefixed(user);
    if (replaceMasterList(confDir, confDir + "/orv.conf", masterlist) == -1) {
        if (root) {
            setFileInfo(confDir, "orv.conf", modes.orvConf);
            restoreClusterFileMode(confDir, clusterFile, modes.clusterFile);
        }
        return -1;
    }
    if (vosEnvDir == nullptr) {
        return 1;
    }
    mirrorIntoVosConf(vosEnvDir, masterlist, modes);
    if (root) {
        setFileInfo(confDir, "orv.conf", modes.orvConf);
        restoreClusterFileMode(confDir, clusterFile, modes.clusterFile);
        if (pathExists(std::string(vosEnvDir) + "/vos.conf")) {
            setFileInfo(vosEnvDir, "vos.conf", modes.vosConf);
        }
    }
    return 1;
}

}  // namespace orv
