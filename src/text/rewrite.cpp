#include "text/rewrite.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

#include "console/messages.hpp"
#include "text/file_io.hpp"
#include "text/line_reader.hpp"
#include "text/strings.hpp"

namespace orv {

namespace {

constexpr const char* kCannotOpen = kCannotOpenFileMessage;

// True when reading the text back line by line would give it unchanged: it ends in a
// newline, holds no whitespace but blanks and newlines, and no line longer than one
// character ends in a blank. Edited files are nearly always in this form already.
// Two sweeps over the whole text, branch-free so that they vectorise.
bool isNormalForm(std::string_view text) {
    if (text.empty()) return true;
    if (text.back() != '\n') return false;
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const std::size_t n = text.size();
    unsigned bad = 0;
    for (std::size_t i = 0; i < n; ++i) {  // tab, vertical tab, form feed, return
        bad |= static_cast<unsigned>(static_cast<unsigned char>(p[i] - '\t') <= '\r' - '\t') &
               static_cast<unsigned>(p[i] != '\n');
    }
    for (std::size_t i = 2; i < n; ++i) {  // a blank ending a line that is not only a blank
        bad |= static_cast<unsigned>(p[i] == '\n') & static_cast<unsigned>(p[i - 1] == ' ') &
               static_cast<unsigned>(p[i - 2] != '\n');
    }
    return bad == 0;
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

std::string reservedOutput(const std::string& text) {
    std::string out;
    out.reserve(text.size() + text.size() / 16 + 64);
    return out;
}

void editEveryLine(LineReader& in, const LineEditor& edit, std::string& out) {
    int lineCount = 0;
    std::string line;
    while (getNextLineD_(in, lineCount, 0, line)) edit(line, out);
}

// Start of the line holding position pos.
std::size_t lineStartOf(std::string_view text, std::size_t pos) {
    const std::size_t nl = pos == 0 ? std::string_view::npos : text.rfind('\n', pos - 1);
    return nl == std::string_view::npos ? 0 : nl + 1;
}

// Position of the next occurrence of needle in text at or after from, or npos.
std::size_t findFrom(std::string_view text, std::size_t from, std::string_view needle) {
    const void* hit =
        ::memmem(text.data() + from, text.size() - from, needle.data(), needle.size());
    return hit == nullptr ? std::string_view::npos
                          : static_cast<std::size_t>(static_cast<const char*>(hit) - text.data());
}

// The longest text that every needle holds ("" when they share none, or when a needle is
// too long for the search to be worth it).
std::string sharedPart(const std::vector<std::string_view>& needles) {
    constexpr std::size_t kLongest = 64;
    const std::string_view shortest = *std::min_element(
        needles.begin(), needles.end(), [](auto a, auto b) { return a.size() < b.size(); });
    if (shortest.size() > kLongest) return "";
    for (std::size_t len = shortest.size(); len > 0; --len) {
        for (std::size_t at = 0; at + len <= shortest.size(); ++at) {
            const std::string_view part = shortest.substr(at, len);
            if (std::all_of(needles.begin(), needles.end(), [part](std::string_view n) {
                    return n.find(part) != std::string_view::npos;
                })) {
                return std::string(part);
            }
        }
    }
    return "";
}

// Starts of the lines that hold `part` and one of the needles (each of which holds part).
std::vector<std::size_t> linesHoldingShared(std::string_view text, std::string_view part,
                                            const std::vector<std::string_view>& needles) {
    std::vector<std::size_t> starts;
    for (std::size_t pos = findFrom(text, 0, part); pos != std::string_view::npos;) {
        const std::size_t start = lineStartOf(text, pos);
        const std::size_t end = text.find('\n', pos);
        const std::string_view line = text.substr(start, end - start);
        if (std::any_of(needles.begin(), needles.end(), [line](std::string_view n) {
                return line.find(n) != std::string_view::npos;
            })) {
            starts.push_back(start);
        }
        pos = findFrom(text, end + 1, part);
    }
    return starts;
}

// Starts of the lines that hold at least one of the needles, in order, each once. A
// needle with a newline can never be part of a line and is not looked for. Needles that
// share a long enough part (such as the "_PORT" of port keys) are found with one search.
std::vector<std::size_t> linesHolding(std::string_view text,
                                      const std::vector<std::string>& needles) {
    constexpr std::size_t kShortestShared = 4;
    std::vector<std::string_view> searched;
    for (const std::string& needle : needles) {
        if (needle.find('\n') == std::string::npos) searched.push_back(needle);
    }
    if (searched.size() > 1) {
        const std::string part = sharedPart(searched);
        if (part.size() >= kShortestShared) return linesHoldingShared(text, part, searched);
    }
    std::vector<std::size_t> starts;
    for (const std::string_view needle : searched) {
        for (std::size_t pos = findFrom(text, 0, needle); pos != std::string_view::npos;
             pos = findFrom(text, text.find('\n', pos) + 1, needle)) {
            starts.push_back(lineStartOf(text, pos));
        }
    }
    std::sort(starts.begin(), starts.end());
    starts.erase(std::unique(starts.begin(), starts.end()), starts.end());
    return starts;
}

// The pieces of a text in the reader's form with only the given lines handed to the
// editor: the spans of the text between those lines and the editor's output for each
// (kept in `edited`). False when an edited line came out in a form the read-back changes.
bool editLinesAt(const std::string& text, const std::vector<std::size_t>& starts,
                 const LineEditor& edit, std::vector<std::string>& edited, TextPieces& pieces) {
    const std::string_view whole(text);
    edited.assign(starts.size(), std::string());  // sized first: the views stay valid
    bool normal = true;
    std::size_t copied = 0;
    std::string line;
    for (std::size_t i = 0; i < starts.size(); ++i) {
        const std::size_t end = text.find('\n', starts[i]);
        pieces.push_back(whole.substr(copied, starts[i] - copied));
        line.assign(text, starts[i], end - starts[i]);
        edit(line, edited[i]);
        normal = normal && isNormalForm(edited[i]);
        pieces.push_back(edited[i]);
        copied = end + 1;
    }
    pieces.push_back(whole.substr(copied));
    return normal;
}

std::string joined(const TextPieces& pieces, std::size_t sizeHint) {
    std::string out;
    out.reserve(sizeHint + sizeHint / 16 + 64);
    for (const std::string_view piece : pieces) out += piece;
    return out;
}

}  // namespace

RewriteStatus rewriteLines(const std::string& file, const LineEditor& edit,
                           const std::function<void(std::string& out)>& finish,
                           bool keepTmpOnFileOpenFailure) {
    const FileLock lock(file);
    LineReader in;
    if (!in.open(file)) return RewriteStatus::ReadFailed;
    std::string out = reservedOutput(in.data());
    editEveryLine(in, edit, out);
    if (finish) finish(out);
    normalizeLines(out);
    return statusOf(commitRewrite(file, in.data(), out, keepTmpOnFileOpenFailure));
}

RewriteStatus rewriteLinesHolding(const std::string& file, const std::vector<std::string>& needles,
                                  const LineEditor& edit) {
    // Past this many pieces, joining them costs less than writing each on its own.
    constexpr std::size_t kMaxPieces = 257;
    const FileLock lock(file);
    LineReader in;
    if (!in.open(file)) return RewriteStatus::ReadFailed;
    const std::string& text = in.data();
    const bool emptyNeedle =
        std::any_of(needles.begin(), needles.end(), [](const std::string& n) { return n.empty(); });
    std::string out;
    if (emptyNeedle || !isNormalForm(text)) {
        out = reservedOutput(text);
        editEveryLine(in, edit, out);
    } else {
        std::vector<std::string> edited;
        TextPieces pieces;
        const bool normal = editLinesAt(text, linesHolding(text, needles), edit, edited, pieces);
        if (normal && pieces.size() <= kMaxPieces) {
            return statusOf(commitRewrite(file, text, pieces));
        }
        out = joined(pieces, text.size());
    }
    normalizeLines(out);
    return statusOf(commitRewrite(file, text, out));
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
