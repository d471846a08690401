#include "journal/record.hpp"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <sstream>

#include "storage/file_store.hpp"

namespace orv {

namespace {

constexpr std::string_view kMagic = "orvconfig-journal 1";

std::string envOr(const char* name, const std::string& fallback) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? std::string(value) : fallback;
}

bool parseNumber(std::string_view text, std::uintmax_t& out, int base = 10) {
    const char* end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, out, base);
    return ec == std::errc() && ptr == end && !text.empty();
}

// Splits off the first blank-separated field of `rest`.
std::string_view field(std::string_view& rest) {
    const std::size_t blank = rest.find(' ');
    const std::string_view head = rest.substr(0, blank);
    rest = blank == std::string_view::npos ? std::string_view() : rest.substr(blank + 1);
    return head;
}

bool validSha(std::string_view sha) {
    return sha == kAbsent || (sha.size() == 64 &&
                              sha.find_first_not_of("0123456789abcdef") == std::string_view::npos);
}

std::string octal(mode_t mode) {
    std::ostringstream out;
    out << std::oct << (mode & 07777);
    return out.str();
}

FileChange* fileNumbered(RunRecord& run, std::string_view number) {
    for (FileChange& file : run.files) {
        if (std::to_string(file.number) == number) return &file;
    }
    return nullptr;
}

// One line of a record or of the changes of a run; false when it is not well-formed.
bool parseLine(RunRecord& run, std::string_view line) {
    const std::string_view key = field(line);
    std::uintmax_t number = 0;
    if (key == "file") {
        FileChange file;
        const std::string_view n = field(line), sha = field(line), mode = field(line);
        if (!parseNumber(n, number) || !validSha(sha) || fileNumbered(run, n) != nullptr)
            return false;
        file.number = static_cast<int>(number);
        file.shaBefore = sha;
        if (!parseNumber(mode, number, 8)) return false;
        file.modeBefore = static_cast<mode_t>(number);
        file.path = unescapeField(line);
        run.files.push_back(std::move(file));
        return !run.files.back().path.empty();
    }
    if (key == "step" || key == "after") {
        FileChange* file = fileNumbered(run, field(line));
        const std::string_view a = field(line), b = field(line);
        if (file == nullptr) return false;
        if (key == "step") {
            const int previous = file->steps.empty() ? 0 : file->steps.back().number;
            const std::string_view after = field(line);
            if (!parseNumber(a, number) || static_cast<int>(number) <= previous) return false;
            file->steps.push_back({.number = static_cast<int>(number),
                                   .shaBefore = std::string(b),
                                   .shaAfter = std::string(after)});
            return validSha(b) && validSha(after) && line.empty();
        }
        file->finished = true;
        file->shaAfter = a;
        if (!parseNumber(b, number, 8)) return false;
        file->modeAfter = static_cast<mode_t>(number);
        return validSha(a) && line.empty();
    }
    if (key == "dir") {
        run.dirs.push_back(unescapeField(line));
        return true;
    }
    if (key == "rmdir") {
        if (!parseNumber(field(line), number, 8)) return false;
        run.removedDirs.push_back(
            {.path = unescapeField(line), .mode = static_cast<mode_t>(number)});
        return true;
    }
    std::string value = unescapeField(line);
    if (key == "start" || key == "status") {
        if (!parseNumber(value, number)) return false;
        if (key == "start") {
            run.start = static_cast<std::time_t>(number);
        } else {
            run.status = static_cast<int>(number);
        }
        return true;
    }
    if (key == "id") return value == run.id;
    std::string* text = key == "host"      ? &run.host
                        : key == "user"    ? &run.user
                        : key == "sudo"    ? &run.sudoUser
                        : key == "command" ? &run.command
                        : key == "undoes"  ? &run.undoes
                                           : nullptr;
    if (text == nullptr) return false;
    *text = std::move(value);
    return true;
}

bool readWhole(const std::string& path, std::string& out) {
    FileText text;
    if (!readRegularFile(path, text)) return false;
    out.assign(text.view());
    return true;
}

}  // namespace

std::string journalDirectory() {
    if (envOr("ORVCONFIG_JOURNAL", "") == "off") return "";
    std::string state = envOr("ORVCONFIG_STATE_DIR", "");
    if (state.empty() && ::geteuid() == 0) state = "/var/lib/orvconfig";
    if (state.empty()) {
        const std::string home = envOr("HOME", "");
        const std::string xdg = envOr("XDG_STATE_HOME", home.empty() ? "" : home + "/.local/state");
        if (xdg.empty()) return "";
        state = xdg + "/orvconfig";
    }
    return state + "/journal";
}

std::size_t journalKeepRuns() {
    std::uintmax_t keep = 0;
    if (parseNumber(envOr("ORVCONFIG_JOURNAL_KEEP", ""), keep) && keep > 0) {
        return static_cast<std::size_t>(std::min<std::uintmax_t>(keep, SIZE_MAX));
    }
    return 100;
}

std::vector<std::string> listRunIds(const std::string& journal) {
    std::vector<std::string> ids;
    std::unique_ptr<DIR, int (*)(DIR*)> dir(::opendir(journal.c_str()), &::closedir);
    if (!dir) return ids;
    while (const dirent* entry = ::readdir(dir.get())) {
        const std::string name = entry->d_name;
        if (!name.empty() && name[0] != '.') ids.push_back(name);
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

std::optional<RunRecord> readRunRecord(const std::string& journal, const std::string& id) {
    RunRecord run;
    run.id = id;
    run.directory = journal + "/" + id;
    std::string text;
    run.complete = readWhole(run.directory + "/record", text);
    if (!run.complete && !readWhole(run.directory + "/changes", text)) return std::nullopt;
    std::string_view rest = text;
    if (run.complete) {
        if (!rest.starts_with(kMagic) || rest.substr(kMagic.size(), 1) != "\n") return std::nullopt;
        rest.remove_prefix(kMagic.size() + 1);
    }
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        if (end == std::string_view::npos) break;  // a line cut short by a killed run
        if (!parseLine(run, rest.substr(0, end))) return std::nullopt;
        rest.remove_prefix(end + 1);
    }
    if (run.complete && !std::all_of(run.files.begin(), run.files.end(),
                                     [](const FileChange& f) { return f.finished; })) {
        return std::nullopt;
    }
    return run;
}

std::string fileLine(const FileChange& file) {
    return "file " + std::to_string(file.number) + " " + file.shaBefore + " " +
           octal(file.modeBefore) + " " + escapeField(file.path) + "\n";
}

std::string stepLine(const FileChange& file, const ChangeStep& step) {
    return "step " + std::to_string(file.number) + " " + std::to_string(step.number) + " " +
           step.shaBefore + " " + step.shaAfter + "\n";
}

std::string dirLine(const std::string& path) {
    return "dir " + escapeField(path) + "\n";
}

std::string removedDirLine(const RunRecord::RemovedDir& dir) {
    return "rmdir " + octal(dir.mode) + " " + escapeField(dir.path) + "\n";
}

std::string afterLine(const FileChange& file) {
    return "after " + std::to_string(file.number) + " " + file.shaAfter + " " +
           octal(file.modeAfter) + "\n";
}

std::string recordHeader(const RunRecord& run) {
    std::string out = std::string(kMagic) + "\nid " + run.id + "\nstart " +
                      std::to_string(run.start) + "\nhost " + escapeField(run.host) + "\nuser " +
                      escapeField(run.user) + "\n";
    if (!run.sudoUser.empty()) out += "sudo " + escapeField(run.sudoUser) + "\n";
    out += "status " + std::to_string(run.status) + "\ncommand " + escapeField(run.command) + "\n";
    if (!run.undoes.empty()) out += "undoes " + run.undoes + "\n";
    return out;
}

bool applyRestoreData(std::string_view data, std::string_view after,
                      std::optional<std::string>& before) {
    if (data == "absent\n") {
        before.reset();
        return true;
    }
    if (!data.starts_with("text\n")) return false;
    data.remove_prefix(5);
    std::string text;
    while (!data.empty()) {
        const std::size_t end = data.find('\n');
        if (end == std::string_view::npos) return false;
        std::string_view line = data.substr(0, end);
        data.remove_prefix(end + 1);
        const std::string_view op = field(line);
        std::uintmax_t a = 0, b = 0;
        if (op == "c" && parseNumber(field(line), a) && parseNumber(line, b) && a <= after.size() &&
            b <= after.size() - a) {
            text.append(after.substr(a, b));
        } else if (op == "l" && parseNumber(line, a) && a <= data.size()) {
            text.append(data.substr(0, a));
            data.remove_prefix(a);
        } else {
            return false;
        }
    }
    before = std::move(text);
    return true;
}

std::string escapeField(std::string_view text) {
    std::string out;
    for (const char c : text) {
        if (c == '\\') {
            out += "\\\\";
        } else if (c == '\n') {
            out += "\\n";
        } else {
            out += c;
        }
    }
    return out;
}

std::string unescapeField(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) {
            out += text[++i] == 'n' ? '\n' : text[i];
        } else {
            out += text[i];
        }
    }
    return out;
}

}  // namespace orv
