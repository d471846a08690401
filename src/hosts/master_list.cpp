// The master candidate list: ORV_MASTER_LIST of orv.conf (first host = master host), the
// role questions asked by every subcommand, and the masterlist subcommand.
#include "hosts/master_list.hpp"

#include <optional>
#include <string>
#include <vector>

#include "cli/messages.hpp"
#include "cluster/cluster_file.hpp"
#include "context/cluster_identity.hpp"
#include "context/environment.hpp"
#include "hosts/host_identity.hpp"
#include "text/line_reader.hpp"
#include "text/rewrite.hpp"
#include "text/strings.hpp"

namespace orv {

namespace {

constexpr const char* kMasterListKey = "ORV_MASTER_LIST";
constexpr const char* kVosMasterListKey = "VOS_MASTER_LIST";
constexpr const char* kPlaceholder = "@ORV_MASTER_LIST@";
constexpr const char* kEmptyListMessage =
    "You have not input any hosts in the master list. Specify the name of the master host "
    "and any master candidates.";
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
constexpr const char* kCannotOpenMessage = "Cannot open file %s.";
constexpr const char* kMissingKeyMessage =
    "The parameter [%s] cannot be found in file [%s]. Please check your configuration file.";

// True when the first character after leading blanks is '#'.
bool isCommentLine(const std::string& line) {
    std::size_t pos = line.find_first_not_of(' ');
    return pos != std::string::npos && line[pos] == '#';
}

// Finds the key line: the first line that mentions the key and is not commented out.
std::optional<std::string> findMasterListLine(LineReader& reader) {
    int lineCount = 0;
    std::string line;
    while (getNextLineC_(reader, lineCount, 1, line)) {
        if (contains(line, kMasterListKey) && !isCommentLine(line)) {
            return line;
        }
    }
    return std::nullopt;
}

// The names of a key line. Quotes around the value are dropped; a value of a single
// character is read as no value at all, which existing installations rely on.
void namesOfKeyLine(const std::string& line, std::vector<std::string>& list) {
    std::size_t eq = line.find('=');
    if (eq == std::string::npos) {
        return;
    }
    std::size_t start = eq + 1;
    while (start < line.size() && line[start] == '"') {
        ++start;
    }
    std::size_t end = line.size() - 1;
    while (end != start && end > eq && line[end] == '"') {
        --end;
    }
    if (!(start < end)) {
        return;
    }
    std::string value = line.substr(start, end - start + 1);
    if (contains(value, kPlaceholder)) {
        return;
    }
    tokenize(value, list, " ");
}

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
    for (const std::string& name : names) {
        if (!anyHostMatches(name, clusterHosts)) {
            alertI18nWithParameter(kNotManagementHostMessage, name);
            return -1;
        }
    }
    return 1;
}

// A new master must already be a candidate: the daemons only hand over mastership to
// hosts that were configured as candidates when ORV last started.
int checkFirstIsCandidate(const std::string& dir, const std::string& first) {
    std::vector<std::string> current;
    if (getMasterListFromConf(dir, current, 1) == -1) {
        return -1;
    }
    for (const std::string& entry : current) {
        if (compareHost(first, entry) == 1) {
            return 1;
        }
    }
    alertI18n(kNewMasterMessage);
    return -1;
}

std::string storedLine(const char* key, const std::string& newList) {
    std::string stored;
    convertMasterListFormat(newList, stored);
    return std::string(key) + "=" + stored;
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
    if (replaceString(vosConf, kVosMasterListKey, storedLine(kVosMasterListKey, newList)) < 0) {
        setFileInfo(vosEnvDir, "vos.conf", modes.vosConf);
    }
}

}  // namespace

int getMasterListFromConf(const std::string& dir, std::vector<std::string>& list, int verbose) {
    list.clear();
    std::string path = dir + "/orv.conf";
    LineReader reader;
    if (!reader.open(path)) {
        alertI18nWithParameter(kCannotOpenMessage, path);
        return -1;
    }
    std::optional<std::string> line = findMasterListLine(reader);
    if (!line) {
        if (verbose == 1) {
            alertI18nWithTwoParameters(kMissingKeyMessage, kMasterListKey, path);
        }
        return -1;
    }
    namesOfKeyLine(*line, list);
    return 1;
}

int getCurrentMaster(const std::string& dir, std::string& out, int verbose) {
    std::vector<std::string> list;
    if (getMasterListFromConf(dir, list, verbose) == -1) {
        return -1;
    }
    out = list.empty() ? std::string() : list.front();
    return 1;
}

int checkMaster(const std::string& dir, int verbose) {
    std::string self = thisHostName();
    std::string master;
    if (getCurrentMaster(dir, master, verbose) == -1) {
        return -1;
    }
    return !master.empty() && compareHost(master, self) == 1 ? 1 : 0;
}

int checkMasterList(const std::string& dir) {
    std::string self = thisHostName();
    std::vector<std::string> list;
    if (getMasterListFromConf(dir, list, 1) == -1) {
        return -1;
    }
    if (list.empty()) {
        alertI18n(kEmptyListMessage);
        return -1;
    }
    for (const std::string& entry : list) {
        if (!entry.empty() && compareHost(entry, self) == 1) {
            return 1;
        }
    }
    return 0;
}

int convertMasterListFormat(const std::string& input, std::string& out) {
    std::vector<std::string> names;
    if (tokenize(input, names, ",") == 0 || names.empty()) {
        return 1;
    }
    std::string stored = "\"" + names.front();
    for (std::size_t i = 1; i < names.size(); ++i) {
        stored += " " + names[i];
    }
    out = stored + "\"";
    return 1;
}

int replaceMasterList(const std::string& dir, const std::string& confPath,
                      const std::string& newList) {
    LineReader existence;
    if (!existence.open(confPath)) {
        alertI18nWithParameter(kCannotOpenMessage, confPath);
        return -1;
    }
    std::vector<std::string> names;
    tokenize(newList, names, ",");
    if (names.empty()) {
        alertI18n(kEmptyListMessage);
        return -1;
    }
    if (checkNewNamesValid(names) == -1 || checkNoDuplicates(names) == -1 ||
        checkAllManagementHosts(dir, names) == -1 || checkFirstIsCandidate(dir, names[0]) == -1) {
        return -1;
    }
    // Every line holding the key becomes the new line, a commented example included.
    if (replaceString(confPath, kMasterListKey, storedLine(kMasterListKey, newList)) < 0) {
        return -1;
    }
    return 1;
}

int orvconfig_setmasterlist(const std::string& masterlist) {
    const char* confDirEnv = getOrvConfDir();
    if (confDirEnv == nullptr || checkDirectory(confDirEnv) == -1) {
        return -1;
    }
    std::string confDir = confDirEnv;
    std::string user;
    getCurrentUser(user);
    const char* vosEnvDir = getVosEnvDir();

    std::optional<std::string> clusterFile = clusterFileName(confDir, vosEnvDir);
    if (!clusterFile) {
        alertI18n(kNoClusterNameMessage);
        return -1;
    }
    if (checkExecuteUser(confDir.c_str(), clusterFile->c_str(), user) == -1 &&
        checkExecuteUser(vosEnvDir, clusterFile->c_str(), user) == -1) {
        return -1;
    }
    RecordedModes modes;
    if (recordModes(confDir, vosEnvDir, *clusterFile, modes) == -1) {
        return -1;
    }

    bool root = isRootPrefixed(user);
    if (replaceMasterList(confDir, confDir + "/orv.conf", masterlist) == -1) {
        if (root) {
            setFileInfo(confDir, "orv.conf", modes.orvConf);
            restoreClusterFileMode(confDir, *clusterFile, modes.clusterFile);
        }
        return -1;
    }
    if (vosEnvDir == nullptr) {
        return 1;
    }
    mirrorIntoVosConf(vosEnvDir, masterlist, modes);
    if (root) {
        setFileInfo(confDir, "orv.conf", modes.orvConf);
        restoreClusterFileMode(confDir, *clusterFile, modes.clusterFile);
        if (pathExists(std::string(vosEnvDir) + "/vos.conf")) {
            setFileInfo(vosEnvDir, "vos.conf", modes.vosConf);
        }
    }
    return 1;
}

}  // namespace orv
