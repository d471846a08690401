// The master candidate list: ORV_MASTER_LIST of orv.conf (first host = master host) and the
// role questions asked by every subcommand.
#include "hosts/master_list.hpp"

#include <optional>
#include <string>
#include <vector>

#include "console/messages.hpp"
#include "hosts/host_identity.hpp"
#include "text/line_reader.hpp"
#include "text/strings.hpp"

namespace orv {

namespace {

constexpr const char* kPlaceholder = "@ORV_MASTER_LIST@";
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

}  // namespace

int getMasterListFromConf(const std::string& dir, std::vector<std::string>& list, int verbose) {
    list.clear();
    std::string path = dir + "/orv.conf";
    const auto line = scanFromTop(path, findMasterListLine);
    if (!line) {
        alertI18nWithParameter(kCannotOpenFileMessage, path);
        return -1;
    }
    if (!*line) {
        if (verbose == 1) {
            alertI18nWithTwoParameters(kMissingKeyMessage, kMasterListKey, path);
        }
        return -1;
    }
    namesOfKeyLine(**line, list);
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
        alertI18n(kEmptyMasterListMessage);
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

std::string masterListLine(const char* key, const std::string& commaList) {
    std::string stored;
    convertMasterListFormat(commaList, stored);
    return std::string(key) + "=" + stored;
}

}  // namespace orv
