#include "text/rewrite.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "cli/messages.hpp"
#include "text/file_io.hpp"
#include "text/line_reader.hpp"
#include "text/strings.hpp"

namespace orv {

namespace {

constexpr const char* kCannotOpen = "Cannot open file %s.";

// True when one of tab, newline, vertical tab, form feed or carriage return occurs.
// Written as a branch-free reduction so that it vectorises.
bool hasFoldedWhitespace(const char* p, std::size_t n) {
    unsigned found = 0;
    for (std::size_t i = 0; i < n; ++i) {
        found |= static_cast<unsigned char>(p[i] - '\t') <= '\r' - '\t' ? 1U : 0U;
    }
    return found != 0;
}

// True when reading the text back line by line would give it unchanged: it ends in a
// newline, holds no whitespace but blanks and newlines, and no line longer than one
// character ends in a blank. Edited files are nearly always in this form already.
bool isNormalForm(std::string_view text) {
    if (text.empty()) return true;
    if (text.back() != '\n') return false;
    const char* p = text.data();
    const char* const end = p + text.size();
    while (p < end) {
        const auto* nl = static_cast<const char*>(std::memchr(p, '\n', end - p));
        const auto len = static_cast<std::size_t>(nl - p);
        if ((len > 1 && nl[-1] == ' ') || hasFoldedWhitespace(p, len)) return false;
        p = nl + 1;
    }
    return true;
}

// Every edited text is read back line by line before it is stored, as the file is copied
// back from its ".tmp"; this folds whitespace in inserted values and ends the last line.
void normalizeLines(std::string& text) {
    if (isNormalForm(text)) return;
    LineReader in(std::move(text));
    text = std::string();
    text.reserve(in.data().size() + 1);
    int lineCount = 0;
    std::string line;
    while (getNextLineD_(in, lineCount, 0, line)) {
        text += line;
        text.push_back('\n');
    }
}

RewriteStatus statusOf(CommitResult result) {
    switch (result) {
        case CommitResult::Written:
        case CommitResult::Unchanged:
            return RewriteStatus::Ok;
        case CommitResult::TmpOpenFailed:
            return RewriteStatus::TmpOpenFailed;
        case CommitResult::FileOpenFailed:
            return RewriteStatus::FileOpenFailed;
        case CommitResult::TmpWriteFailed:
        case CommitResult::FileWriteFailed:
            break;
    }
    return RewriteStatus::WriteFailed;
}

// Which path the open-failure message names when the ".tmp" cannot be created: two of
// the primitives have always named the ".tmp" itself, the other two the file.
enum class TmpNaming { File, Tmp };

int reportRewrite(const std::string& file, RewriteStatus status, TmpNaming naming) {
    switch (status) {
        case RewriteStatus::Ok:
            return 1;
        case RewriteStatus::TmpOpenFailed:
            alertI18nWithParameter(kCannotOpen, naming == TmpNaming::Tmp ? tmpPathOf(file) : file);
            return -1;
        case RewriteStatus::ReadFailed:
        case RewriteStatus::FileOpenFailed:
            alertI18nWithParameter(kCannotOpen, file);
            return -1;
        case RewriteStatus::WriteFailed:
            break;  // already reported with the path that failed
    }
    return -1;
}

void appendLine(std::string& out, std::string_view line) {
    out += line;
    out.push_back('\n');
}

}  // namespace

RewriteStatus rewriteLines(const std::string& file, const LineEditor& edit,
                           const std::function<void(std::string& out)>& finish,
                           bool keepTmpOnFileOpenFailure) {
    LineReader in;
    if (!in.open(file)) return RewriteStatus::ReadFailed;
    std::string out;
    out.reserve(in.data().size() + in.data().size() / 16 + 64);
    int lineCount = 0;
    std::string line;
    while (getNextLineD_(in, lineCount, 0, line)) edit(line, out);
    if (finish) finish(out);
    normalizeLines(out);
    return statusOf(commitRewrite(file, in.data(), out, keepTmpOnFileOpenFailure));
}

int replaceString(const std::string& file, const std::string& key, const std::string& value) {
    const auto edit = [&](const std::string& line, std::string& out) {
        if (line.find(key) == std::string::npos) {
            appendLine(out, line);
        } else if (!value.empty()) {
            appendLine(out, value);
        }
    };
    return reportRewrite(file, rewriteLines(file, edit), TmpNaming::File);
}

int replaceString3(const std::string& file, const std::string& key, const std::string& value) {
    bool matched = false;
    const auto edit = [&](const std::string& line, std::string& out) {
        if (line.find(key) == std::string::npos) {
            appendLine(out, line);
            return;
        }
        appendLine(out, value);
        matched = true;
    };
    // An absent key adds the value as a last line (its newline comes with the read-back).
    const auto finish = [&](std::string& out) {
        if (!matched) out += value;
    };
    return reportRewrite(file, rewriteLines(file, edit, finish), TmpNaming::Tmp);
}

int replaceStringInFile(const std::string& file, const std::string& key, const std::string& value) {
    // A value that still holds an unexpanded variable is never written.
    if (value.find('$') != std::string::npos) return 1;
    std::string edited;
    const auto edit = [&](const std::string& line, std::string& out) {
        if (line.find(key) == std::string::npos) {
            appendLine(out, line);
            return;
        }
        edited = line;
        replaceVariable(edited, key, value);
        appendLine(out, edited);
    };
    return reportRewrite(file, rewriteLines(file, edit), TmpNaming::Tmp);
}

int replaceStringWithoutComment(const std::string& file, const std::string& key,
                                const std::string& value) {
    const auto edit = [&](const std::string& line, std::string& out) {
        std::string_view rest(line);
        rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
        const bool comment = !rest.empty() && rest.front() == '#';
        appendLine(out, !comment && rest.find(key) != std::string_view::npos ? value : rest);
    };
    return reportRewrite(file, rewriteLines(file, edit), TmpNaming::File);
}

int changeService(const std::string& /*file*/, const std::string& /*key*/,
                  const std::string& /*value*/) {
    return 0;
}

}  // namespace orv
