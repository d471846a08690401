// The host section of the cluster file orv.cluster.<name>: the cluster's management hosts,
// one line per host under a header that names the columns.
#include "cluster/cluster_file.hpp"

#include <strings.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "console/messages.hpp"
#include "context/cluster_identity.hpp"
#include "context/environment.hpp"
#include "hosts/host_identity.hpp"
#include "storage/file_store.hpp"
#include "text/line_reader.hpp"
#include "text/rewrite.hpp"
#include "text/strings.hpp"

namespace orv {

namespace {

constexpr const char* kColumnSeparators = " \t";

// Where a line stands relative to the host section: 0 outside, 1 after "Begin Host",
// 2 after the header (host lines follow).
class HostSection {
  public:
    static bool isStart(const std::string& line) {
        return contains(line, "Begin") && contains(line, "Host");
    }
    static bool isEnd(const std::string& line) {
        return contains(line, "End") && contains(line, "Host");
    }
    // Moves past one line that is not a host line; true when it was the header.
    bool advance(const std::string& line) {
        if (isStart(line)) {
            state_ = 1;
        } else if (isEnd(line)) {
            state_ = 0;
        } else if (state_ == 1 && contains(line, "HOSTNAME")) {
            state_ = 2;
            return true;
        }
        return false;
    }
    bool inHostLines() const { return state_ == 2; }
    void leave() { state_ = 0; }

  private:
    int state_ = 0;
};

// First word of a host line: leading blanks and tabs skipped, ended by a blank or tab.
std::string firstWord(const std::string& line) {
    std::size_t begin = line.find_first_not_of(kColumnSeparators);
    if (begin == std::string::npos) {
        return "";
    }
    std::size_t end = line.find_first_of(kColumnSeparators, begin);
    return line.substr(begin, end == std::string::npos ? std::string::npos : end - begin);
}

std::optional<std::string> clusterFilePath(const std::string& dir) {
    std::optional<std::string> name = getClusterName(dir);
    if (!name) {
        return std::nullopt;
    }
    return dir + "/" + clusterFileName(*name);
}

// The cluster file the host list is read from: orv.cluster.<name> of the directory, or
// vos.cluster.<name> (the batch product's name) in the same directory.
std::optional<std::string> hostListPath(const std::string& dir) {
    std::optional<ClusterNames> names = clusterFileNameIn(dir, getVosEnvDir());
    if (!names) {
        return std::nullopt;
    }
    return dir + "/" + names->file;
}

std::string padded(const std::string& value, std::size_t width) {
    return value.size() >= width ? value : value + std::string(width - value.size(), ' ');
}

bool columnIs(const std::string& column, const char* name) {
    return strcasecmp(column.c_str(), name) == 0;
}

// A host name fills ten columns; a longer one is followed by a single blank.
std::string hostField(const std::string& value, std::size_t nameLength) {
    return nameLength <= 9 ? padded(value, 10) : value + " ";
}

// Width of a column that keeps its value, or 0 for a column unknown by name.
std::size_t knownWidth(const std::string& column) {
    static const struct {
        const char* name;
        std::size_t width;
    } widths[] = {{"model", 9}, {"type", 13}, {"server", 6},   {"r1m", 5},
                  {"mem", 5},   {"swp", 4},   {"#Keywords", 9}};
    for (const auto& w : widths) {
        if (columnIs(column, w.name)) {
            return w.width;
        }
    }
    return 0;
}

std::string newField(const std::string& column, const std::string& host, const std::string& type,
                     const std::string& resources) {
    if (columnIs(column, "HOSTNAME")) {
        return hostField(host, host.size());
    }
    if (columnIs(column, "RESOURCES")) {
        return padded(resources, 14);
    }
    if (columnIs(column, "type")) {
        return padded(type, 13);
    }
    const char* value = columnIs(column, "model")       ? "!"
                        : columnIs(column, "server")    ? "1"
                        : columnIs(column, "#Keywords") ? ""
                                                        : "-";
    std::size_t width = knownWidth(column);
    return padded(value, width == 0 ? 4 : width);
}

// A field of a re-made line: known columns keep their value, unknown ones become "-".
std::string keptField(const std::string& column, const std::string& value, std::size_t hostLength) {
    if (columnIs(column, "HOSTNAME")) {
        return hostField(value, hostLength);
    }
    std::size_t width = knownWidth(column);
    return width == 0 ? padded("-", 4) : padded(value, width);
}

// The resources field of a host line: a list written with blanks was split into several
// values, so it is joined back.
std::string resourcesValue(const std::vector<std::string>& values, std::size_t index) {
    std::string value = values[index];
    if (!contains(value, ")")) {
        for (std::size_t k = index + 1; k < values.size(); ++k) {
            value += " " + values[k];
        }
    }
    return value;
}

// The resources field of a promoted host: "mg" put first inside the parentheses unless
// the field already mentions it.
int promotedResources(const std::vector<std::string>& values, std::size_t index, std::string& out) {
    const std::string value = resourcesValue(values, index);
    std::size_t close = value.rfind(')');
    if (close == std::string::npos) return -1;
    std::string names = close > 1 ? value.substr(1, close - 1) : std::string();
    out += contains(value, "mg") ? "(" + names + ")" : "(mg " + names + ")";
    return 0;
}

// The first words of the host lines that removeCluster compares with its host, read
// beforehand (without a message: the rewrite reports a file it cannot read) so that
// their lookups can be made side by side. Only a hint for the lookups: unlike the edit,
// this reader also passes the lines the edit removes to the section tracking, which
// differs only where a removed line reads as a section boundary.
std::vector<std::string> wordsOfHostLines(const std::string& path) {
    std::vector<std::string> words;
    LineReader in;
    if (!in.open(path)) {
        return words;
    }
    HostSection section;
    int lineCount = 0;
    std::string line;
    while (getNextLineD_(in, lineCount, 0, line)) {
        if (section.inHostLines() && !line.empty() && line[0] != '#') {
            std::string word = firstWord(line);
            if (!word.empty()) {
                words.push_back(std::move(word));
            }
        }
        section.advance(line);
    }
    return words;
}

// Rewrites the cluster file; a file that cannot be read, or a ".tmp" that cannot be
// made, is reported. A failed copy back is silent here (write failures are reported by
// the rewrite itself).
int editReporting(const std::string& path, const LineEditor& edit) {
    RewriteStatus status = rewriteLines(path, edit);
    if (status == RewriteStatus::ReadFailed || status == RewriteStatus::TmpOpenFailed) {
        alertI18nWithParameter(kCannotOpenFileMessage, path);
    }
    return status == RewriteStatus::Ok ? 1 : -1;
}

// Adds a new host line after the header of each host section.
int insertAfterHeader(const std::string& path, const std::string& host) {
    HostSection section;
    LineEditor edit = [&](const std::string& line, std::string& out) {
        out += line + "\n";
        if (section.advance(line)) {
            std::string entry;
            generateHostEntry(line, host, "!", "(linux)", entry);
            out += entry + "\n";
            section.leave();
        }
    };
    return editReporting(path, edit);
}

// Adds a host line before every line that closes a host section.
// (rewriteLines reads the new text back as the file is stored, so the fill blanks at the
// end of a generated line vanish as they always have.)
int insertBeforeEnd(const std::string& path, const std::string& entry) {
    std::string written = entry + "\n";
    LineEditor edit = [&](const std::string& line, std::string& out) {
        if (HostSection::isEnd(line)) {
            out += written;
        }
        out += line + "\n";
    };
    return editReporting(path, edit);
}

}  // namespace

int getHostListFromCluster(const std::string& dir, std::vector<std::string>& hosts) {
    hosts.clear();
    std::optional<std::string> path = hostListPath(dir);
    if (!path) {
        return -1;
    }
    LineReader reader;
    if (!reader.open(*path)) {
        alertI18nWithParameter(kCannotOpenFileMessage, *path);
        return -1;
    }
    HostSection section;
    int lineCount = 0;
    std::string line;
    while (getNextLineC_(reader, lineCount, 1, line)) {
        bool hostLine = section.inHostLines() && !HostSection::isStart(line) &&
                        !HostSection::isEnd(line) && line[0] != '#';
        if (hostLine) {
            hosts.push_back(firstWord(line));
        } else {
            section.advance(line);
        }
    }
    return 1;
}

int getHostLineFromCluster(const std::string& path, std::vector<std::string>& hosts,
                           std::vector<std::string>& lines, std::string& header) {
    hosts.clear();
    lines.clear();
    header.clear();
    LineReader reader;
    if (!reader.open(path)) {
        alertI18nWithParameter(kCannotOpenFileMessage, path);
        return -1;
    }
    HostSection section;
    int lineCount = 0;
    std::string line;
    while (getNextLineD_(reader, lineCount, 0, line)) {
        bool hostLine =
            section.inHostLines() && !HostSection::isStart(line) && !HostSection::isEnd(line);
        if (!hostLine) {
            if (section.advance(line)) {
                header = line;
            }
            continue;
        }
        if (!line.empty() && line[0] == '#') {
            continue;
        }
        std::string word = firstWord(line);
        // An empty line ends the host lines for this reader; hosts below it are not seen.
        if (word.empty()) {
            break;
        }
        hosts.push_back(word);
        lines.push_back(line);
    }
    return 1;
}

int insertCluster(const std::string& dir, const std::string& host) {
    std::optional<std::string> path = clusterFilePath(dir);
    if (!path) {
        return -1;
    }
    return insertAfterHeader(*path, host);
}

int insertClusterShared(const std::string& dir, const std::string& host) {
    std::optional<std::string> path = clusterFilePath(dir);
    if (!path) {
        return -1;
    }
    // The host lines are read and the file rewritten under one lock: a host promoted at the
    // same moment by another run is neither lost nor added twice.
    const FileLock lock(*path);
    std::vector<std::string> hosts;
    std::vector<std::string> lines;
    std::string header;
    if (getHostLineFromCluster(*path, hosts, lines, header) == -1) {
        return -1;
    }
    resolveAheadOfScan(host, hosts, true);
    for (std::size_t i = 0; i < hosts.size(); ++i) {
        if (compareHost(host, hosts[i]) != 1) {
            continue;
        }
        // A line that cannot be re-made is left as it is; the host is still a member.
        std::string remade;
        if (changeHostEntry(header, lines[i], hosts[i], remade) == 0) {
            replaceString(*path, lines[i], remade);
        }
        return 1;
    }
    // Without a header there is no way to lay out a new line.
    if (header.empty()) {
        return -1;
    }
    std::string entry;
    generateHostEntry(header, host, "!", "(linux mg)", entry);
    return insertBeforeEnd(*path, entry);
}

int removeCluster(const std::string& dir, const std::string& host) {
    std::optional<std::string> path = clusterFilePath(dir);
    if (!path) {
        return -1;
    }
    resolveAheadOfScan(host, wordsOfHostLines(*path), false);
    HostSection section;
    LineEditor edit = [&](const std::string& line, std::string& out) {
        if (section.inHostLines() && !line.empty() && line[0] != '#') {
            std::string word = firstWord(line);
            // Every line of the host goes, also one written under another form of its name.
            if (!word.empty() && compareHost(word, host) == 1) {
                return;
            }
        }
        section.advance(line);
        out += line + "\n";
    };
    return rewriteLines(*path, edit) == RewriteStatus::Ok ? 1 : -1;
}

int generateHostEntry(const std::string& header, const std::string& host, const std::string& type,
                      const std::string& resources, std::string& out) {
    out.clear();
    std::vector<std::string> columns;
    tokenize(header, columns, kColumnSeparators);
    for (const std::string& column : columns) {
        out += newField(column, host, type, resources);
    }
    return 0;
}

bool marksManagementHost(const std::string& header, const std::string& line) {
    std::vector<std::string> columns;
    std::vector<std::string> values;
    tokenize(header, columns, kColumnSeparators);
    tokenize(line, values, kColumnSeparators);
    for (std::size_t i = 0; i < columns.size() && i < values.size(); ++i) {
        if (!columnIs(columns[i], "RESOURCES")) continue;
        const std::string value = resourcesValue(values, i);
        return contains(value, ")") && contains(value, "mg");
    }
    return false;
}

int changeHostEntry(const std::string& header, const std::string& line, const std::string& host,
                    std::string& out) {
    std::vector<std::string> columns;
    std::vector<std::string> values;
    tokenize(header, columns, kColumnSeparators);
    tokenize(line, values, kColumnSeparators);
    if (values.size() + 1 < columns.size()) {
        return -1;
    }
    for (std::size_t i = 0; i < columns.size() && i < values.size(); ++i) {
        if (columnIs(columns[i], "RESOURCES")) {
            return promotedResources(values, i, out);
        }
        out += keptField(columns[i], values[i], host.size());
    }
    return 0;
}

}  // namespace orv
