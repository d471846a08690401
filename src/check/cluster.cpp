// Identity and membership: the cluster's name and file, the master list, and on a host
// that reads a shared directory, its line there, its environment scripts and the
// management hosts' resource group; and this host's resource tags.
#include <algorithm>
#include <cstdlib>
#include <unordered_set>

#include "check/check_parts.hpp"
#include "cluster/cluster_file.hpp"
#include "cluster/host_entry.hpp"
#include "cluster/master_list_command.hpp"
#include "context/cluster_identity.hpp"
#include "context/environment.hpp"
#include "hosts/host_identity.hpp"
#include "hosts/master_list.hpp"
#include "mghost/demote.hpp"
#include "mghost/resource_group.hpp"
#include "resources/local_resources.hpp"
#include "text/line_reader.hpp"
#include "text/strings.hpp"

namespace orv {

namespace {

bool anyMatches(const std::string& name, const std::vector<std::string>& hosts) {
    for (const std::string& host : hosts) {
        if (compareHost(host, name) == 1) return true;
    }
    return false;
}

std::string joined(const std::vector<std::string>& names) {
    std::string out;
    for (const std::string& n : names) out += (out.empty() ? "" : " ") + n;
    return out;
}

// The names the checks will compare, to be looked up side by side beforehand: the master
// list and this host, the host lines up to the one that holds this host's name as text
// (the scans for this host stop there), and every host line when a candidate is not
// written in the cluster file as it is (its scan compares it with each).
std::vector<std::string> namesCompared(const CheckContext& c) {
    std::vector<std::string> names = c.masterList;
    names.push_back(c.thisHost);
    const std::unordered_set<std::string> listed(c.clusterHosts.begin(), c.clusterHosts.end());
    const bool everyLine = std::any_of(c.masterList.begin(), c.masterList.end(),
                                       [&](const std::string& n) { return listed.count(n) == 0; });
    for (const std::string& host : c.clusterHosts) {
        if (!everyLine && host == c.thisHost) break;
        names.push_back(host);
    }
    return names;
}

// The role as the subcommands decide it; the list is known to be readable and not empty
// before the master list's own questions are asked (they print otherwise).
std::string roleOf(const CheckContext& c) {
    if (!c.masterList.empty()) {
        if (checkMaster(c.confDir, 0) == 1) return "master host";
        if (checkMasterList(c.confDir) == 1) return "master candidate";
    }
    if (anyMatches(c.thisHost, c.clusterHosts)) return "management host";
    return "compute host";
}

void checkCandidates(Report& r, const CheckContext& c, const std::string& path, int line) {
    const std::vector<std::string>& list = c.masterList;
    for (const std::string& name : list) {
        if (checkHostname(name) == -1) {
            r.error(path, line, "masterlist.invalid-host",
                    "master candidate " + name + " is not a valid host name (it does not resolve)");
        }
    }
    for (std::size_t i = 0; i < list.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (compareHost(list[j], list[i]) == 1) {
                r.error(path, line, "masterlist.duplicate",
                        "master candidate " + list[i] + " is listed more than once (as " + list[j] +
                            " before)");
                break;
            }
        }
    }
    // A compute host's copy of the cluster file is not the one the cluster reads.
    if (c.role == "compute host" || !c.clusterFileRead) return;
    const std::unordered_set<std::string> listed(c.clusterHosts.begin(), c.clusterHosts.end());
    for (const std::string& name : list) {
        if (!isManagementHost(name, c.clusterHosts, listed)) {
            r.error(path, line, "masterlist.not-management-host",
                    "master candidate " + name + " is not a management host of " + c.clusterFile);
        }
    }
}

void checkVosMasterList(FileChecker& files, Report& r, const CheckContext& c) {
    const char* vosEnvDir = getVosEnvDir();
    if (vosEnvDir == nullptr) return;
    const std::string path = std::string(vosEnvDir) + "/vos.conf";
    const std::optional<std::string> text = files.read(path, FileKind::VosConf, false);
    if (!text) return;
    const std::vector<NumberedLine> values = keyValues(*text, "VOS_MASTER_LIST");
    if (values.empty()) return;
    std::vector<std::string> vosList;
    tokenize(values.front().text, vosList, " ");
    if (vosList != c.masterList) {
        r.error(path, values.front().line, "masterlist.vos-differs",
                "VOS_MASTER_LIST is \"" + joined(vosList) + "\", ORV_MASTER_LIST is \"" +
                    joined(c.masterList) + "\"");
    }
}

// The directory an environment script's line names: the text after its search text,
// quotes removed, $ORV_TOP expanded as the shell would.
std::string namedDirectory(const std::string& line, const char* form) {
    std::string value = line.substr(line.find(form) + std::string(form).size());
    value.erase(0, value.find_first_not_of(' '));
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
        value.back() == value.front()) {
        value = value.substr(1, value.size() - 2);
    }
    const char* top = std::getenv("ORV_TOP");
    for (const char* var : {"${ORV_TOP}", "$ORV_TOP"}) {
        if (value.rfind(var, 0) == 0) value.replace(0, std::string(var).size(), top ? top : "");
    }
    return value;
}

void checkEnvironmentScript(FileChecker& files, Report& r, const CheckContext& c, const char* name,
                            const char* form, FileKind kind) {
    const std::string path = c.localDir + "/" + name;
    const std::optional<std::string> text = files.read(path, kind, true);
    if (!text) return;
    const std::vector<NumberedLine> lines = linesHolding(*text, form);
    if (lines.empty()) {
        r.error(path, 0, "shared.env-script",
                "no line sets ORV_CONFDIR (\"" + std::string(form) + "\")");
    }
    for (const NumberedLine& l : lines) {
        const std::string dir = namedDirectory(l.text, form);
        if (IsSameDirectory(dir, c.confDir) != 1) {
            r.error(path, l.line, "shared.env-script",
                    "ORV_CONFDIR is set to " + dir + ", not to the directory in use " + c.confDir);
        }
    }
}

void checkMgLine(Report& r, const CheckContext& c) {
    std::vector<std::string> hosts;
    std::vector<std::string> lines;
    std::string header;
    if (getHostLineFromCluster(c.clusterFile, hosts, lines, header) == -1) return;
    for (std::size_t i = 0; i < hosts.size(); ++i) {
        if (compareHost(c.thisHost, hosts[i]) != 1) continue;
        if (!marksManagementHost(header, lines[i])) {
            r.error(c.clusterFile, 0, "shared.mg-line",
                    "the line of this host (" + hosts[i] + ") does not name the resource mg");
        }
        return;
    }
    r.error(c.clusterFile, 0, "shared.mg-line",
            "this host (" + c.thisHost + ") has no line in the host section");
}

bool selectsMg(const std::string& text) {
    const std::string wanted =
        std::string(kRequirementLine).substr(std::string(kRequirementLine).find_first_not_of(' '));
    LineReader in(text);
    int lineCount = 0;
    std::string line;
    bool inGroup = false;
    while (getNextLineD_(in, lineCount, 0, line)) {
        if (opensManagementHostsGroup(line)) inGroup = true;
        if (!inGroup) continue;
        if (contains(line, "</ResourceGroup>")) inGroup = false;
        const std::size_t start = line.find_first_not_of(' ');
        if (start != std::string::npos && line.compare(start, std::string::npos, wanted) == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

void checkIdentity(FileChecker& files, Report& report, CheckContext& c) {
    const std::string shared = c.confDir + "/orv.shared";
    if (!files.read(shared, FileKind::OrvShared, true)) return;
    const std::optional<std::string> name = getClusterName(c.confDir);
    if (!name) {
        report.error(shared, 0, "cluster.name", "the Cluster section names no cluster");
        return;
    }
    c.cluster = *name;
    c.clusterFile = c.confDir + "/" + clusterFileName(*name);
    if (!files.read(c.clusterFile, FileKind::ClusterFile, true)) return;
    const std::optional<std::vector<std::string>> admins = clusterAdministrators(c.clusterFile);
    if (admins && admins->empty()) {
        report.error(c.clusterFile, 0, "cluster.admins",
                     "the ClusterAdmins section names no administrator");
    }
    std::vector<std::string> hosts;
    std::vector<std::string> lines;
    std::string header;
    getHostLineFromCluster(c.clusterFile, hosts, lines, header);
    if (header.empty()) {
        report.error(c.clusterFile, 0, "cluster.hosts", "no Host section with a HOSTNAME header");
    }
    c.clusterFileRead = getHostListFromCluster(c.confDir, c.clusterHosts) == 1;
}

void checkMasterList(FileChecker& files, Report& report, CheckContext& c) {
    const std::string path = c.confDir + "/orv.conf";
    const std::optional<std::string> text = files.read(path, FileKind::OrvConf, true);
    std::vector<NumberedLine> lines;
    if (text) lines = linesHolding(*text, kMasterListKey);
    const bool read = text && getMasterListFromConf(c.confDir, c.masterList, 0) == 1;
    resolveAhead(namesCompared(c));
    c.role = roleOf(c);
    if (!text) return;
    const int line = lines.empty() ? 0 : lines.front().line;
    if (!read) {
        report.error(path, 0, "masterlist.missing", std::string(kMasterListKey) + " is not set");
    } else if (c.masterList.empty()) {
        report.error(path, line, "masterlist.empty",
                     std::string(kMasterListKey) + " names no host");
    } else {
        checkCandidates(report, c, path, line);
        checkVosMasterList(files, report, c);
    }
}

void checkSharedDirectory(FileChecker& files, Report& report, const CheckContext& c) {
    if (!c.shared) return;
    if (c.clusterFileRead) checkMgLine(report, c);
    checkEnvironmentScript(files, report, c, kCshrcOrv, kCshrcConfDirLine, FileKind::CshrcOrv);
    checkEnvironmentScript(files, report, c, kProfileOrv, kProfileConfDirLine,
                           FileKind::ProfileOrv);
    const std::string groups = c.confDir + "/ResourceGroups.xml";
    const std::optional<std::string> text = files.read(groups, FileKind::ResourceGroups, true);
    if (text && !selectsMg(*text)) {
        report.error(groups, 0, "shared.resource-group",
                     "the ManagementHosts group does not select the hosts tagged mg");
    }
}

void checkTags(FileChecker& files, Report& report, const CheckContext& c) {
    if (!c.localUsable) return;
    const std::string path = c.localDir + "/orv.conf";
    const std::optional<std::string> text = files.read(path, FileKind::OrvConf, true);
    if (!text) return;
    if (checkScavengingResourceTag(c.localDir) == -1) {
        const std::vector<NumberedLine> lines = linesHolding(*text, "ORV_LOCAL_RESOURCES");
        report.error(path, lines.empty() ? 0 : lines.front().line, "tags.parse",
                     "ORV_LOCAL_RESOURCES does not parse as [keyword value] entries");
    }
}

}  // namespace orv
