// Resource attribute tags of this host: the ORV_LOCAL_RESOURCES value of orv.conf, its
// bracketed "[keyword value]" grammar, the merge that adds new tags, and the harvesting
// check that join asks before it makes this host a master.
#include "resources/local_resources.hpp"

#include <algorithm>
#include <optional>
#include <string_view>

#include "console/messages.hpp"
#include "context/cluster_identity.hpp"
#include "context/environment.hpp"
#include "context/run_context.hpp"
#include "hosts/master_list.hpp"
#include "storage/file_store.hpp"
#include "text/line_reader.hpp"
#include "text/rewrite.hpp"
#include "text/strings.hpp"

namespace orv {

namespace {

constexpr const char* kResourceKey = "ORV_LOCAL_RESOURCES";

constexpr const char* kNotComputeHostMessage =
    "This command can only be executed on compute hosts. This host does not appear to be a "
    "compute host because ORV_CONFDIR environment and ORV_LOCAL_CONFDIR are different.\n"
    "ORV_CONFDIR:\n    %s\nORV_LOCAL_CONFDIR:\n    %s";

constexpr const char* kMasterHostMessage =
    "This command cannot be executed on a master or master candidate host. This host appears "
    "to be a master or master candidate host because it is specified in parameter "
    "ORV_MASTER_LIST in $ORV_CONFDIR/orv.conf. \nORV_CONFDIR:\n    %s";

std::string confPathOf(const std::string& dir) {
    return dir + "/orv.conf";
}

bool isKnownKeyword(const std::string& word) {
    return word == "resource" || word == "resourcemap";
}

// One "[keyword value]" entry: the text strictly between the brackets.
bool parseEntry(std::string_view inner, int flag, LOCAL_RESOURCE& out) {
    std::vector<std::string> words;
    if (tokenize(inner, words, " ") != 2) return false;
    if (flag == 0 && !isKnownKeyword(words[0])) return false;
    out.Name = words[0];
    out.Value = words[1];
    return true;
}

enum class KeyLine { OpenFailed, Absent, Found };

// The first line of orv.conf that mentions the key and does not start with '#'. Only the
// very first character decides: an indented "#" line still counts, as it always has.
KeyLine findKeyLine(const std::string& path, std::string& keyLine) {
    const auto found = scanFromTop(path, [](LineReader& in) {
        return firstRawLineHolding(in, kResourceKey,
                                   [](const std::string& line) { return line[0] != '#'; });
    });
    if (!found) {
        alertI18nWithParameter(kCannotOpenTheFileMessage, path);
        return KeyLine::OpenFailed;
    }
    if (!*found) return KeyLine::Absent;
    keyLine = **found;
    return KeyLine::Found;
}

// Parses the value of a key line (everything after its first '='). A line without '=' (an
// indented comment that names the key) fails like a value that does not parse: read as "no
// tags", it would have the merge overwrite the real ones.
int parseKeyLine(const std::string& keyLine, std::vector<LOCAL_RESOURCE>& list) {
    list.clear();
    const std::size_t eq = keyLine.find('=');
    if (eq == std::string::npos) return -1;
    return parseLocalResources(keyLine.substr(eq + 1), list, 1) == -1 ? -1 : 0;
}

bool sameTag(const LOCAL_RESOURCE& a, const LOCAL_RESOURCE& b) {
    return a.Name == b.Name && a.Value == b.Value;
}

bool alreadyTagged(const std::vector<LOCAL_RESOURCE>& existing, const LOCAL_RESOURCE& tag) {
    return std::any_of(existing.begin(), existing.end(),
                       [&tag](const LOCAL_RESOURCE& e) { return sameTag(e, tag); });
}

void appendEntry(std::string& line, const LOCAL_RESOURCE& tag) {
    line += " [" + tag.Name + " " + tag.Value + "]";
}

// The new key line: the existing tags in file order, then the new ones that are not
// among them. New tags are not compared with each other, so a tag given twice on the
// command line is written twice.
std::string buildKeyLine(const std::vector<LOCAL_RESOURCE>& existing,
                         const std::vector<LOCAL_RESOURCE>& added, const std::string& comment) {
    std::string line = std::string(kResourceKey) + "=\"";
    for (const LOCAL_RESOURCE& tag : existing) appendEntry(line, tag);
    for (const LOCAL_RESOURCE& tag : added) {
        if (!alreadyTagged(existing, tag)) appendEntry(line, tag);
    }
    const std::size_t firstEntry = std::string_view(kResourceKey).size() + 2;
    if (line.size() > firstEntry && line[firstEntry] == ' ') line.erase(firstEntry, 1);
    line += '"';
    if (!comment.empty()) line += " " + comment;
    return line;
}

int harvestingCode(const std::vector<LOCAL_RESOURCE>& tags) {
    for (const LOCAL_RESOURCE& tag : tags) {
        if (tag.Name != "resource") continue;
        if (tag.Value == "scvg") return 1;
        if (tag.Value == "svrscvg") return 2;
        if (tag.Value == "vmscvg") return 3;
    }
    return 0;
}

// What addresourceattr learns of a compute host before it changes anything.
struct ComputeHost {
    std::string localDir;
    FILEINFO confInfo;  // orv.conf's mode, owner and group
};

// The role checks of addresourceattr after the administrator's: nothing after the failing
// check's message.
std::optional<ComputeHost> checkComputeHost(const std::string& confDir) {
    ComputeHost host;
    if (getFileInfo(confDir, "orv.conf", host.confInfo) != 1) return std::nullopt;
    const char* local = getOrvLocalConfDir();
    if (local == nullptr) return std::nullopt;
    host.localDir = local;
    int same = IsSameDirectory(host.localDir, confDir);
    if (same == -1) return std::nullopt;
    if (same == 0) {
        alertI18nWithTwoParameters(kNotComputeHostMessage, confDir, host.localDir);
        return std::nullopt;
    }
    if (checkMasterList(confDir) == 1) {
        alertI18nWithParameter(kMasterHostMessage, confDir);
        return std::nullopt;
    }
    return host;
}

}  // namespace

int parseLocalResources(const std::string& text, std::vector<LOCAL_RESOURCE>& list, int flag) {
    list.clear();
    if (text.empty()) return 1;
    const std::string& s = text;
    std::size_t close = s.find(']');
    if (close == std::string::npos) return -1;
    std::size_t from = 0;
    while (close != std::string::npos) {
        std::size_t open = s.find_first_of("[]", from);
        if (open >= close) return -1;
        LOCAL_RESOURCE tag;
        if (!parseEntry(std::string_view(s).substr(open + 1, close - open - 1), flag, tag)) {
            return -1;
        }
        list.push_back(std::move(tag));
        from = close + 1;
        close = s.find(']', from);
    }
    return 0;
}

int getLocalResources(const std::string& dir, std::vector<LOCAL_RESOURCE>& list,
                      std::string& comment) {
    list.clear();
    comment.clear();
    const std::string path = confPathOf(dir);
    std::string keyLine;
    switch (findKeyLine(path, keyLine)) {
        case KeyLine::OpenFailed:
            return -1;
        case KeyLine::Absent:
            // Give the key an empty value so that the rewrite has a line to replace.
            if (!appendToFile(path, "\n" + std::string(kResourceKey) + "=\n")) {
                alertI18nWithParameter(kCannotOpenTheFileMessage, path);
                return -1;
            }
            return 0;
        case KeyLine::Found:
            break;
    }
    std::size_t hash = keyLine.find('#');
    if (hash != std::string::npos) comment = keyLine.substr(hash);
    return parseKeyLine(keyLine, list);
}

int addLocalResources(const std::string& dir, const std::vector<LOCAL_RESOURCE>& list) {
    // The tags are read and merged under one lock, so tags added at the same moment by
    // another run are kept.
    const FileLock lock(confPathOf(dir));
    std::vector<LOCAL_RESOURCE> existing;
    std::string comment;
    if (getLocalResources(dir, existing, comment) == -1) return -1;
    const std::string line = buildKeyLine(existing, list, comment);
    return replaceStringWithoutComment(confPathOf(dir), kResourceKey, line) == 1 ? 0 : -1;
}

int orvconfig_addresourcetag(const std::vector<LOCAL_RESOURCE>& list) {
    const std::optional<RunContext> run = administratorPreamble();
    if (!run) return -1;
    const std::optional<ComputeHost> host = checkComputeHost(run->confDir);
    if (!host) return -1;
    int result = addLocalResources(host->localDir, list);
    if (isRootPrefixed(run->user)) setFileInfo(run->confDir, "orv.conf", host->confInfo);
    return result == 0 ? 1 : -1;
}

int checkScavengingResourceTag(const std::string& dir) {
    std::string keyLine;
    KeyLine found = findKeyLine(confPathOf(dir), keyLine);
    if (found == KeyLine::OpenFailed) return -1;
    if (found == KeyLine::Absent) return 0;
    if (keyLine.find('=') == std::string::npos) return kTagLineWithoutValue;
    std::vector<LOCAL_RESOURCE> tags;
    if (parseKeyLine(keyLine, tags) == -1) return -1;
    return harvestingCode(tags);
}

}  // namespace orv
