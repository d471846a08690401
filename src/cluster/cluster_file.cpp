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

// The first words of the host lines that removeCluster compares with its host, read
// beforehand (without a message: the rewrite reports a file it cannot read) so that
// their lookups can be made side by side. Only a hint for the lookups: unlike the edit,
// this reader also passes the lines the edit removes to the section tracking, which
// differs only where a removed line reads as a section boundary.
std::vector<std::string> wordsOfHostLines(const std::string& path) {
    std::vector<std::string> words;
    LineReader in;
    if (!in.load(path)) {
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
int editReporting(const std::string& path, const LineEditor& edit,
                  const LineSelection& lines = {}) {
    RewriteStatus status = rewriteLines(path, edit, lines);
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

// Adds a host line before every line that closes a host section; only the lines holding
// "End" are handed to the editor.
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
    return editReporting(path, edit, {.needles = {"End"}});
}

// The host lines of the section as the promotion sees them: their names, their whole lines
// (unless `lines` is null) and the header. False (nothing read) when the file cannot be
// read.
bool readHostLines(const std::string& path, std::vector<std::string>& hosts,
                   std::vector<std::string>* lines, std::string& header) {
    hosts.clear();
    if (lines != nullptr) lines->clear();
    header.clear();
    LineReader reader;
    if (!reader.load(path)) {
        return false;
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
        if (lines != nullptr) lines->push_back(line);
    }
    return true;
}

struct HostLines {
    std::vector<std::string> hosts;
    std::vector<std::string> lines;
    std::string header;
};

// The names of the host lines, read without a lock and without a message, to look them up
// before the edit (which reads the file again and reports a file it cannot read).
std::vector<std::string> hostNamesQuietly(const std::string& path) {
    std::vector<std::string> hosts;
    std::string header;
    readHostLines(path, hosts, nullptr, header);
    return hosts;
}

// Looks the names up (side by side) and tells whether one of them names `host`.
bool namesHostAmong(const std::string& host, std::vector<std::string> names) {
    names.push_back(host);
    resolveAhead(names);
    names.pop_back();
    for (const std::string& name : names) {
        if (compareHost(host, name) == 1) {
            return true;
        }
    }
    return false;
}

// The promotion's edit, under the file's lock: the first line of `host` is marked as a
// management host's, or, when none is, a line is added (`entry`) before the end of the
// section. With lookUp false, no name is looked up here: a name not looked up yet is taken
// for another host's and handed back in `late`, unless it comes before this host's own
// line, when the names are looked up after all (a line added above the host's own).
int insertLocked(const std::string& path, const std::string& host, bool lookUp,
                 std::vector<std::string>& late, std::string& entry) {
    const FileLock lock(path);
    HostLines read;
    if (getHostLineFromCluster(path, read.hosts, read.lines, read.header) == -1) {
        return -1;
    }
    for (std::size_t i = 0; i < read.hosts.size(); ++i) {
        std::optional<int> same =
            lookUp ? compareHost(host, read.hosts[i]) : knownComparison(host, read.hosts[i]);
        if (!same) {
            late.push_back(read.hosts[i]);
            continue;
        }
        if (*same != 1) {
            continue;
        }
        if (!late.empty()) {
            late.clear();
            return insertLocked(path, host, true, late, entry);
        }
        // A line that cannot be re-made is left as it is; the host is still a member.
        std::string remade;
        if (changeHostEntry(read.header, read.lines[i], read.hosts[i], remade) == 0) {
            replaceString(path, read.lines[i], remade);
        }
        return 1;
    }
    // Without a header there is no way to lay out a new line.
    if (read.header.empty()) {
        return -1;
    }
    generateHostEntry(read.header, host, "!", "(linux mg)", entry);
    return insertBeforeEnd(path, entry);
}

// Removes the lines that insertBeforeEnd added with `entry`: each stands just above a line
// that closes a host section.
int dropAddedLine(const std::string& path, const std::string& entry) {
    std::string added = entry;
    added.erase(added.find_last_not_of(' ') + 1);
    std::optional<std::string> held;
    LineEditor edit = [&](const std::string& line, std::string& out) {
        if (held && !HostSection::isEnd(line)) {
            out += *held + "\n";
        }
        held.reset();
        if (line == added) {
            held = line;
            return;
        }
        out += line + "\n";
    };
    const auto finish = [&](std::string& out) {
        if (held) out += *held + "\n";
    };
    return rewriteLines(path, edit, {}, finish) == RewriteStatus::Ok ? 1 : -1;
}

}  // namespace

int getHostListFromCluster(const std::string& dir, std::vector<std::string>& hosts) {
    hosts.clear();
    std::optional<std::string> path = hostListPath(dir);
    if (!path) {
        return -1;
    }
    LineReader reader;
    if (!reader.load(*path)) {
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
    if (!readHostLines(path, hosts, &lines, header)) {
        alertI18nWithParameter(kCannotOpenFileMessage, path);
        return -1;
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

// The names are looked up before the file is locked, so that runs promoting many hosts at
// once never wait on the resolver for one another; under the lock the file is read again
// and a line that another run added meanwhile is taken for another host. Once the lock is
// released those late names are looked up too, and should one of them name this host after
// all, the file is put as a run coming after that other run would have left it.
int insertClusterShared(const std::string& dir, const std::string& host) {
    std::optional<std::string> path = clusterFilePath(dir);
    if (!path) {
        return -1;
    }
    lookUpScan(host, hostNamesQuietly(*path), ScanEnd::AtHost);
    std::vector<std::string> late;
    std::string entry;
    const int result = insertLocked(*path, host, false, late, entry);
    if (result != 1 || late.empty() || !namesHostAmong(host, late)) {
        return result;
    }
    // The other run's line is this host's: the line added here goes, and that one is
    // marked instead.
    const FileLock lock(*path);
    if (dropAddedLine(*path, entry) != 1) {
        return -1;
    }
    late.clear();
    return insertLocked(*path, host, true, late, entry);
}

// Looked up before the lock, as for insertClusterShared; a line added by another run
// meanwhile is kept under the lock and, should its name turn out to be this host's once
// looked up, removed by a further pass.
int removeCluster(const std::string& dir, const std::string& host) {
    std::optional<std::string> path = clusterFilePath(dir);
    if (!path) {
        return -1;
    }
    for (;;) {
        lookUpScan(host, wordsOfHostLines(*path), ScanEnd::AtLastName);
        std::vector<std::string> late;
        HostSection section;
        LineEditor edit = [&](const std::string& line, std::string& out) {
            if (section.inHostLines() && !line.empty() && line[0] != '#') {
                std::string word = firstWord(line);
                // Every line of the host goes, also one written under another form of its
                // name.
                const std::optional<int> same =
                    word.empty() ? std::optional<int>(0) : knownComparison(word, host);
                if (!same) {
                    late.push_back(word);
                } else if (*same == 1) {
                    return;
                }
            }
            section.advance(line);
            out += line + "\n";
        };
        if (rewriteLines(*path, edit) != RewriteStatus::Ok) {
            return -1;
        }
        if (late.empty() || !namesHostAmong(host, late)) {
            return 1;
        }
    }
}

}  // namespace orv
