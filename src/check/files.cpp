// The checks every configuration file gets: that it is a regular file that can be read,
// and the warnings about text that the next rewrite of it would lose or change.
#include <sys/stat.h>

#include "check/check_parts.hpp"
#include "storage/file_store.hpp"
#include "text/line_reader.hpp"
#include "text/strings.hpp"
#include "text/text_hazards.hpp"

namespace orv {

namespace {

// A key some subcommand edits in a file, and that subcommand.
struct EditedKey {
    const char* key;
    const char* editor;
};

struct KindInfo {
    const char* editor;  // the subcommand that rewrites the file; nullptr: none
    std::vector<EditedKey> keys;
};

KindInfo infoOf(FileKind kind) {
    switch (kind) {
        case FileKind::OrvConf:
            return {"setbaseport",
                    {{"ORV_MASTER_LIST", "masterlist"},
                     {"ORV_LIM_PORT", "setbaseport"},
                     {"ORV_KD_PORT", "setbaseport"},
                     {"ORV_PEM_PORT", "setbaseport"},
                     {"ORV_LOCAL_RESOURCES", "addresourceattr"},
                     {"ORV_WORKDIR=", "unsetmghost"}}};
        case FileKind::VosConf:
            return {"masterlist",
                    {{"VOS_MASTER_LIST", "masterlist"}, {"VOS_LIM_PORT", "setbaseport"}}};
        case FileKind::OrvShared:
            return {nullptr, {}};
        case FileKind::ClusterFile:
        case FileKind::ResourceGroups:
            return {"mghost", {}};
        case FileKind::PortProfile:
            return {"setbaseport", {}};
        case FileKind::HdfsProfile:
            return {"hovhdfsport", {}};
        case FileKind::CshrcOrv:
            return {"unsetmghost",
                    {{"setenv ORV_CONFDIR", "unsetmghost"}, {"setenv ORV_OSRVDIR", "unsetmghost"}}};
        case FileKind::ProfileOrv:
            return {"unsetmghost",
                    {{"ORV_CONFDIR=", "unsetmghost"}, {"ORV_OSRVDIR=", "unsetmghost"}}};
    }
    return {nullptr, {}};
}

const char* editorOfKey(const KindInfo& info, const std::string& key) {
    for (const EditedKey& k : info.keys) {
        if (key == k.key) return k.editor;
    }
    return info.editor;
}

std::string keyName(const std::string& key) {
    std::string name = key;
    if (name.rfind("setenv ", 0) == 0) name.erase(0, 7);
    if (!name.empty() && name.back() == '=') name.pop_back();
    return name;
}

}  // namespace

std::optional<std::string> FileChecker::read(const std::string& path, FileKind kind,
                                             bool required) {
    if (failed_.count(path) != 0) return std::nullopt;
    std::optional<std::string> text = readChecked(path, required);
    if (!text) {
        failed_.insert(path);
        return std::nullopt;
    }
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0 && seen_.insert({st.st_dev, st.st_ino}).second) {
        fileWarnings(path, kind, *text);
        if ((st.st_mode & S_IWUSR) == 0 && infoOf(kind).editor != nullptr) {
            report_.warning(path, 0, "file.owner-readonly",
                            std::string("its owner cannot write it: ") + infoOf(kind).editor +
                                " cannot change it");
        }
    }
    return text;
}

std::optional<std::string> FileChecker::readChecked(const std::string& path, bool required) {
    switch (pathKind(path)) {
        case PathKind::Absent:
            if (required) report_.error(path, 0, "file.missing", "the file does not exist");
            return std::nullopt;
        case PathKind::Directory:
            report_.error(path, 0, "file.not-regular",
                          "a directory where a configuration file must be");
            return std::nullopt;
        case PathKind::Other:
            report_.error(path, 0, "file.not-regular",
                          "a FIFO, socket or device where a configuration file must be");
            return std::nullopt;
        case PathKind::Regular:
            break;
    }
    FileText text;
    if (!readRegularFile(path, text)) {
        report_.error(path, 0, "file.unreadable", "the file cannot be read");
        return std::nullopt;
    }
    return std::string(text.view());
}

void FileChecker::fileWarnings(const std::string& path, FileKind kind, const std::string& text) {
    const KindInfo info = infoOf(kind);
    if (info.editor == nullptr) return;
    if (pathKind(tmpPathOf(path)) != PathKind::Absent) {
        report_.warning(tmpPathOf(path), 0, "file.leftover-tmp",
                        "a failed edit left it: its new text was never installed in " + path +
                            ", which " + info.editor + " rewrites");
    }
    std::vector<std::string> keys;
    for (const EditedKey& k : info.keys) keys.emplace_back(k.key);
    for (const TextHazard& h : rewriteHazards(text, keys)) {
        switch (h.kind) {
            case TextHazard::Kind::CarriageReturn:
                report_.warning(path, h.line, "text.carriage-return",
                                "carriage-return line end (" + std::to_string(h.count) +
                                    " lines): " + info.editor +
                                    " would rewrite every line end as a plain newline");
                break;
            case TextHazard::Kind::Continuation:
                report_.warning(path, h.line, "text.continuation",
                                "the value of " + keyName(h.key) +
                                    " is continued with a backslash: " + editorOfKey(info, h.key) +
                                    " would replace this line and leave the continuation behind");
                break;
            case TextHazard::Kind::DroppedLastLine:
                report_.warning(path, h.line, "text.last-line",
                                std::string("the last line ends in blanks without a newline: ") +
                                    info.editor + " would drop it");
                break;
        }
    }
}

std::vector<NumberedLine> linesHolding(const std::string& text, const std::string& needle) {
    std::vector<NumberedLine> found;
    LineReader in(text);
    int lineCount = 0;
    std::string line;
    for (int number = 1; getNextLineD_(in, lineCount, 1, line); number = lineCount + 1) {
        if (contains(line, needle)) found.push_back({number, line});
    }
    return found;
}

std::vector<NumberedLine> keyValues(const std::string& text, const std::string& key) {
    std::vector<NumberedLine> found;
    for (const NumberedLine& l : linesHolding(text, key)) {
        std::string k;
        std::string value;
        if (parseLine(l.text, k, value) == 0 && k == key) found.push_back({l.line, value});
    }
    return found;
}

}  // namespace orv
