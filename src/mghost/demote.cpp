// The unsetmghost subcommand: a management host that is not the master leaves the cluster
// file and the master list of the shared directory, and its environment scripts and local
// orv.conf are pointed back at its local configuration directory.
#include "mghost/demote.hpp"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <memory>
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
#include "storage/file_store.hpp"
#include "text/line_reader.hpp"
#include "text/rewrite.hpp"

namespace orv {

namespace {

constexpr const char* kDemotePrompt =
    "The host will use configuration files on a local directory, instead of a shared "
    "directory.  Do you want to continue? [y/n]";
constexpr const char* kDemotedMessage =
    "The host will use configuration files on a local directory. You must reset your "
    "environment before you can run any more ORV commands. Source the environment "
    "%s/cshrc.tolvane or %s/profile.tolvane again.";

// One line edit of the demotion: the line holding `key` in `file` becomes `value`. A
// failure is reported as "Set <reportKey> in <reportFile> failed."; the report keys of the
// batch and ORV_WORKDIR rows are not the keys edited, and scripts reading this output
// depend on those texts.
struct Edit {
    std::string file, key, value;
    const char* reportKey;
    const char* reportFile;
};

// The directories the demotion works with.
struct DemoteDirs {
    std::string shared;       // S: the configuration directory in use
    std::string local;        // L: the local configuration directory
    std::string localTop;     // T: two levels above L, resolved ("" when it cannot be)
    std::string localParent;  // P: L without its last component
};

std::string resolvedPath(const std::string& path) {
    std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    return real ? std::string(real.get()) : std::string();
}

std::string parentOf(const std::string& path) {
    std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(0, slash);
}

// The new master list: one step per entry, counted in a signed 8-bit counter as the
// list format always has been. The walk stops advancing at this host, so later entries
// are dropped and each remaining step adds a lone ",". A list of more than 127 entries
// makes the step count wrap, and the list written is then shorter or empty. With lookUp
// false no name is looked up: nothing is returned when the walk meets a name not looked
// up yet.
std::optional<std::string> rebuildMasterList(const std::vector<std::string>& list,
                                             const std::string& host, bool lookUp) {
    std::string result;
    const auto steps = static_cast<std::int8_t>(list.size());
    std::size_t entry = 0;
    for (std::int8_t step = 0; step < steps; ++step) {
        if (!result.empty()) result += ",";
        const std::optional<int> same =
            lookUp ? compareHost(list[entry], host) : knownComparison(list[entry], host);
        if (!same) return std::nullopt;
        if (*same != 1) result += list[entry++];
    }
    return result;
}

void appendVosEdits(const std::string& shared, std::vector<Edit>& edits) {
    const char* vosEnvDir = getVosEnvDir();
    if (checkVosCluster(shared.c_str(), vosEnvDir) != 0) return;
    std::optional<std::string> vosTop =
        getConfByKey("VOS_TOP", std::string(vosEnvDir) + "/" + "vos.conf");
    if (!vosTop) return;
    std::string cshrc = *vosTop + "/conf/cshrc.vos";
    std::string profile = *vosTop + "/conf/profile.vos";
    if (pathExists(cshrc)) {
        edits.push_back({cshrc, "setenv VOS_ENVDIR", "setenv VOS_ENVDIR $VOS_TOP/conf",
                         "ORV_CONFDIR", "cshrc.vos"});
    }
    if (pathExists(profile)) {
        edits.push_back(
            {profile, "VOS_ENVDIR=", "VOS_ENVDIR=$VOS_TOP/conf", "ORV_CONFDIR", "profile.vos"});
    }
}

void appendPerfEdits(const std::string& top, std::vector<Edit>& edits) {
    std::string cshrc = top + "/perf/conf/cshrc.perf";
    std::string profile = top + "/perf/conf/profile.perf";
    if (pathExists(cshrc)) {
        edits.push_back({cshrc, "setenv PERF_CONFDIR", "setenv PERF_CONFDIR " + top + "/perf/conf",
                         "PERF_CONFDIR", "cshrc.perf"});
        edits.push_back({cshrc, "setenv PERF_WORKDIR", "setenv PERF_WORKDIR " + top + "/perf/work",
                         "PERF_WORKDIR", "cshrc.perf"});
    }
    if (pathExists(profile)) {
        edits.push_back({profile, "PERF_CONFDIR=", "PERF_CONFDIR=" + top + "/perf/conf",
                         "PERF_CONFDIR", "profile.perf"});
        edits.push_back({profile, "PERF_WORKDIR=", "PERF_WORKDIR=" + top + "/perf/work",
                         "PERF_WORKDIR", "profile.perf"});
    }
}

// The edits between the two master-list rows, in the order they are made.
std::vector<Edit> environmentEdits(const DemoteDirs& d) {
    std::string cshrc = d.local + "/" + kCshrcOrv;
    std::string profile = d.local + "/" + kProfileOrv;
    std::vector<Edit> edits = {
        {cshrc, kCshrcConfDirLine, std::string(kCshrcConfDirLine) + " $ORV_TOP/kernel/conf",
         "ORV_CONFDIR", "cshrc.orv"},
        {cshrc, "setenv ORV_OSRVDIR", "setenv ORV_OSRVDIR $ORV_TOP/oservice", "ORV_OSRVDIR",
         "cshrc.orv"},
        {profile, kProfileConfDirLine, std::string(kProfileConfDirLine) + "$ORV_TOP/kernel/conf",
         "ORV_CONFDIR", "profile.orv"},
        {profile, "ORV_OSRVDIR=", "ORV_OSRVDIR=$ORV_TOP/oservice", "ORV_OSRVDIR", "profile.orv"},
    };
    appendVosEdits(d.shared, edits);
    appendPerfEdits(d.localTop, edits);
    edits.push_back({d.local + "/orv.conf", "ORV_WORKDIR=",
                     "ORV_WORKDIR=" + d.localParent + "/work", "ORV_OSRVDIR", "orv.conf"});
    return edits;
}

// Makes the edits in order, those of one file that follow each other in one rewrite, and
// stops at the first that fails. An edit without a report (the master list) fails
// nothing: its failure is reported by the rewrite and the edits after it go on.
int applyEdits(const std::vector<Edit>& edits) {
    for (std::size_t i = 0; i < edits.size();) {
        std::vector<std::pair<std::string, std::string>> same;
        std::size_t end = i;
        for (; end < edits.size() && edits[end].file == edits[i].file; ++end) {
            same.emplace_back(edits[end].key, edits[end].value);
        }
        const std::size_t failed = i + replaceStrings(edits[i].file, same);
        if (failed < end && edits[failed].reportKey != nullptr) {
            alertI18nWithTwoParameters("Set %s in %s failed.", edits[failed].reportKey,
                                       edits[failed].reportFile);
            return -1;
        }
        i = failed < end ? failed + 1 : end;
    }
    return 1;
}

// Writes the shared master list without this host. The list is read again under the lock
// of the shared orv.conf, which is held until the new list is written: hosts leaving at the
// same moment each remove themselves without putting back another. The names the new list
// depends on are looked up before the lock is taken; should the list have changed
// meanwhile to one with a name not looked up yet, the lock is let go while it is. (The
// first reading, before the question, is kept when the file cannot be read again.)
// Returns the line written.
std::string rewriteSharedList(const DemoteDirs& d, std::vector<std::string> list,
                              const std::string& host) {
    const std::string conf = d.shared + "/orv.conf";
    for (;;) {
        (void)rebuildMasterList(list, host, true);
        const FileLock lock(conf);
        std::vector<std::string> current;
        if (getMasterListFromConf(d.shared, current, 0) >= 0) list = current;
        const std::optional<std::string> rebuilt = rebuildMasterList(list, host, false);
        if (!rebuilt) continue;
        std::string masterList;
        convertMasterListFormat(*rebuilt, masterList);
        std::string line = "ORV_MASTER_LIST=" + masterList;
        replaceString(conf, "ORV_MASTER_LIST", line);
        return line;
    }
}

// Edits the files; the master-list rows never fail the demotion.
int rewriteFiles(const DemoteDirs& d, const std::vector<std::string>& list,
                 const std::string& host) {
    const std::string line = rewriteSharedList(d, list, host);
    std::vector<Edit> edits = environmentEdits(d);
    edits.push_back({d.local + "/orv.conf", "ORV_MASTER_LIST", line, nullptr, nullptr});
    return applyEdits(edits);
}

// The local directory of a host that uses `shared`; false after its message.
bool resolveLocalDirectory(const std::string& shared, DemoteDirs& d) {
    d.shared = shared;
    if (getOrvDirFromBinary(d.local) == -1) return false;
    d.localTop = resolvedPath(d.local + "/../../");
    d.localParent = parentOf(d.local);
    return checkDirectory(d.local) == 1;
}

bool isMasterHost(const DemoteDirs& d) {
    if (checkMaster(d.shared, 1) != 1) return false;
    alertI18n("You cannot run this command on the master host.");
    return true;
}

}  // namespace

int orvconfig_removeshare() {
    DemoteDirs dirs;
    const auto local = [&dirs](const std::string& shared) {
        return resolveLocalDirectory(shared, dirs);
    };
    if (!administratorPreamble({.afterConfDir = local}) || isMasterHost(dirs)) return -1;
    std::string host = thisHostName();
    std::vector<std::string> list;
    if (getMasterListFromConf(dirs.shared, list, 1) < 0) return -1;
    if (silent == 0 && askYesNo(kDemotePrompt) == 'n') {
        alertI18n("No changes. This host uses a shared configuration directory.");
        return -2;
    }
    if (removeCluster(dirs.shared, host) < 0) return -1;
    if (rewriteFiles(dirs, list, host) == -1) return -1;
    alertI18nWithTwoParameters(kDemotedMessage, dirs.localTop, dirs.localTop);
    return 1;
}

}  // namespace orv
