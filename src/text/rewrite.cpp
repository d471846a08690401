#include "text/rewrite.hpp"

#include <algorithm>
#include <cstring>
#include <functional>
#include <string_view>
#include <vector>

#include "console/messages.hpp"
#include "storage/file_store.hpp"
#include "text/line_reader.hpp"
#include "text/strings.hpp"

namespace orv {

namespace {

constexpr const char* kCannotOpen = kCannotOpenFileMessage;

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

// Where lines start in a text; large on a large file with many lines selected.
using LineStarts = std::vector<std::size_t, LargeAllocator<std::size_t>>;

// Start of the line holding position pos.
std::size_t lineStartOf(std::string_view text, std::size_t pos) {
    const std::size_t nl = pos == 0 ? std::string_view::npos : text.rfind('\n', pos - 1);
    return nl == std::string_view::npos ? 0 : nl + 1;
}

// Position of the next occurrence of needle in text at or after from, or npos.
std::size_t findFrom(std::string_view text, std::size_t from, std::string_view needle) {
    if (from >= text.size()) return std::string_view::npos;
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
// False, with nothing added, when the part turns out to be too common to be worth it (a
// prefix that every line of the file shares).
bool addLinesHoldingShared(std::string_view text, std::string_view part,
                           const std::vector<std::string_view>& needles, LineStarts& starts) {
    const std::size_t mostHits = text.size() / 1024 + 64;
    std::size_t hits = 0;
    LineStarts found;
    for (std::size_t pos = findFrom(text, 0, part); pos != std::string_view::npos;) {
        if (++hits > mostHits) return false;
        const std::size_t start = lineStartOf(text, pos);
        const std::size_t end = text.find('\n', pos);
        const std::string_view line = text.substr(start, end - start);
        if (std::any_of(needles.begin(), needles.end(), [line](std::string_view n) {
                return line.find(n) != std::string_view::npos;
            })) {
            found.push_back(start);
        }
        pos = findFrom(text, end + 1, part);
    }
    starts.insert(starts.end(), found.begin(), found.end());
    return true;
}

// Starts of the selected lines of a text in normal form, in order, each once. A needle
// with a newline can never be part of a line and is not looked for. Needles that share a
// long enough part (such as the "_PORT" of port keys) are found with one search.
LineStarts selectedLines(std::string_view text, const LineSelection& lines) {
    constexpr std::size_t kShortestShared = 4;
    std::vector<std::string_view> searched;
    for (const std::string& needle : lines.needles) {
        if (needle.find('\n') == std::string::npos) searched.push_back(needle);
    }
    LineStarts starts;
    const std::string part = searched.size() > 1 ? sharedPart(searched) : "";
    if (part.size() < kShortestShared || !addLinesHoldingShared(text, part, searched, starts)) {
        for (const std::string_view needle : searched) {
            for (std::size_t pos = findFrom(text, 0, needle); pos != std::string_view::npos;
                 pos = findFrom(text, text.find('\n', pos) + 1, needle)) {
                starts.push_back(lineStartOf(text, pos));
            }
        }
    }
    if (lines.indented) {
        // Line by line: a search for "\n " costs more when a good part of the lines match.
        for (std::size_t start = 0; start < text.size(); start = text.find('\n', start) + 1) {
            if (text[start] == ' ') starts.push_back(start);
        }
    }
    std::sort(starts.begin(), starts.end());
    starts.erase(std::unique(starts.begin(), starts.end()), starts.end());
    return starts;
}

bool selectsEveryLine(const LineSelection& lines) {
    return lines.needles.empty() || std::any_of(lines.needles.begin(), lines.needles.end(),
                                                [](const std::string& n) { return n.empty(); });
}

// The new text of an edit, as spans of the old text and the editor's text for the lines
// it changed. The edited text is kept in blocks that never move, so that the pieces can
// point into it while it grows, and nothing is copied twice.
class EditedText {
  public:
    explicit EditedText(std::string_view text) : text_(text) {}

    // Room for the pieces of an edit of this many lines.
    void expect(std::size_t lines) { pieces_.reserve(2 * lines + 2); }

    // The line from `start` up to `next` was rewritten to `edited`.
    void replaceLine(std::size_t start, std::size_t next, std::string_view edited) {
        if (start > copied_) pieces_.push_back(text_.substr(copied_, start - copied_));
        add(edited);
        copied_ = next;
    }

    // The pieces of the whole new text, `tail` last. The lines the reader would give back
    // otherwise (an inserted value with a tab, a last line without its newline) are read
    // back: everything before the first such piece is in normal form already and stays.
    TextPieces finish(std::string_view tail) {
        if (copied_ < text_.size()) pieces_.push_back(text_.substr(copied_));
        add(tail);
        const auto firstOdd = std::find_if(pieces_.begin(), pieces_.end(), [this](auto piece) {
            return !isSpan(piece) && !isNormalForm(piece);
        });
        if (firstOdd != pieces_.end()) {
            std::string rest;
            for (auto it = firstOdd; it != pieces_.end(); ++it) rest += *it;
            normalisedTail_ = normalisedLines(rest);
            pieces_.erase(firstOdd, pieces_.end());
            pieces_.push_back(normalisedTail_);
        }
        return std::move(pieces_);
    }

  private:
    static constexpr std::size_t kBlock = std::size_t{2} << 20;

    bool isSpan(std::string_view piece) const {
        const std::less<const char*> before;
        return !before(piece.data(), text_.data()) &&
               before(piece.data(), text_.data() + text_.size());
    }

    void add(std::string_view edited) {
        if (edited.empty()) return;
        if (blocks_.empty() || used_ + edited.size() > blocks_.back().capacity()) {
            blocks_.emplace_back();
            blocks_.back().reserve(std::max(kBlock, edited.size()));
            used_ = 0;
        }
        char* at = blocks_.back().data() + used_;
        std::memcpy(at, edited.data(), edited.size());
        used_ += edited.size();
        pieces_.emplace_back(at, edited.size());
    }

    std::string_view text_;
    TextPieces pieces_;
    std::vector<FileText> blocks_;  // unset memory, in huge pages when large
    std::size_t used_ = 0;
    std::size_t copied_ = 0;
    std::string normalisedTail_;
};

// Hands the selected lines of a text in normal form to the editor, each followed by the
// lines it asks for; a line that comes out unchanged stays part of the copied text.
void editSelected(std::string_view text, const LineSelection& lines, const LineEditor& edit,
                  EditedText& result) {
    const bool every = selectsEveryLine(lines);
    const LineStarts starts = every ? LineStarts() : selectedLines(text, lines);
    result.expect(starts.size());
    std::size_t next = 0;  // the first line not handed over yet
    std::size_t at = 0;    // into starts
    std::string line;
    std::string out;
    bool follow = false;
    for (;;) {
        std::size_t start = next;
        if (!every && !follow) {
            while (at < starts.size() && starts[at] < next) ++at;
            if (at == starts.size()) return;
            start = starts[at++];
        }
        if (start >= text.size()) return;
        const std::size_t end = text.find('\n', start);  // normal form: every line has one
        line.assign(text.substr(start, end - start));
        out.clear();
        edit(line, out);
        if (out.size() != line.size() + 1 || out.compare(0, line.size(), line) != 0 ||
            out.back() != '\n') {
            result.replaceLine(start, end + 1, out);
        }
        next = end + 1;
        follow = lines.continues && lines.continues();
    }
}

// An edit of many lines is joined once (into `joined`, which the result views), so that its
// two writes copy one text instead of gathering thousands of pieces twice.
TextPieces joinedIfMany(const TextPieces& pieces, std::size_t sizeHint, FileText& joined) {
    constexpr std::size_t kMany = 1024;
    if (pieces.size() <= kMany) return pieces;
    joined.clear();
    joined.reserve(sizeHint + sizeHint / 8);
    std::size_t size = 0;
    for (const std::string_view piece : pieces) {
        std::memcpy(joined.reserve(size + piece.size()) + size, piece.data(), piece.size());
        size += piece.size();
        joined.resize(size);
    }
    return {joined.view()};
}

}  // namespace

RewriteStatus rewriteLines(const std::string& file, const LineEditor& edit,
                           const LineSelection& lines,
                           const std::function<void(std::string& out)>& finish,
                           TmpOnOpenFailure tmp) {
    const FileLock lock(file);
    FileText original;
    if (!readRegularFile(file, original)) return RewriteStatus::ReadFailed;
    // A text not in the reader's form is read back whole first, as every line of it would
    // be; the rare file with tabs or trailing blanks costs one more copy.
    std::string normalised;
    std::string_view text = original.view();
    if (!isNormalForm(text)) {
        normalised = normalisedLines(text);
        text = normalised;
    }
    EditedText result(text);
    editSelected(text, lines, edit, result);
    std::string tail;
    if (finish) finish(tail);
    const TextPieces pieces = result.finish(tail);
    FileText joined;
    return statusOf(
        commitRewrite(file, original.view(), joinedIfMany(pieces, text.size(), joined), tmp));
}

int replaceString(const std::string& file, const std::string& key, const std::string& value) {
    const auto edit = [&](const std::string& line, std::string& out) {
        if (line.find(key) == std::string::npos) {
            appendLine(out, line);
        } else if (!value.empty()) {
            appendLine(out, value);
        }
    };
    return reportRewrite(file, rewriteLines(file, edit, {{key}}), TmpNaming::File);
}

namespace {

// A line of the reader's normal form (no whitespace but blanks, none trailing) reads back
// as itself, so a later edit sees it exactly as a separate rewrite would.
bool isPlainLine(const std::string& line) {
    return line.find_first_of("\t\n\v\f\r") == std::string::npos &&
           (line.size() < 2 || line.back() != ' ');
}

}  // namespace

std::size_t replaceStrings(const std::string& file,
                           const std::vector<std::pair<std::string, std::string>>& edits) {
    const bool plain = std::all_of(edits.begin(), edits.end(),
                                   [](const auto& e) { return isPlainLine(e.second); });
    if (!plain || edits.size() < 2) {
        for (std::size_t i = 0; i < edits.size(); ++i) {
            if (replaceString(file, edits[i].first, edits[i].second) == -1) return i;
        }
        return edits.size();
    }
    LineSelection lines;
    for (const auto& e : edits) lines.needles.push_back(e.first);
    const auto edit = [&](const std::string& line, std::string& out) {
        const std::string* current = &line;
        for (const auto& [key, value] : edits) {
            if (current->find(key) == std::string::npos) continue;
            if (value.empty()) return;
            current = &value;
        }
        appendLine(out, *current);
    };
    return reportRewrite(file, rewriteLines(file, edit, lines), TmpNaming::File) == 1 ? edits.size()
                                                                                      : 0;
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
    return reportRewrite(file, rewriteLines(file, edit, {{key}}, finish), TmpNaming::Tmp);
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
    return reportRewrite(file, rewriteLines(file, edit, {{key}}), TmpNaming::Tmp);
}

int replaceStringWithoutComment(const std::string& file, const std::string& key,
                                const std::string& value) {
    const auto edit = [&](const std::string& line, std::string& out) {
        std::string_view rest(line);
        rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
        const bool comment = !rest.empty() && rest.front() == '#';
        appendLine(out, !comment && rest.find(key) != std::string_view::npos ? value : rest);
    };
    // Leading blanks go from every line, so indented lines change too.
    return reportRewrite(file, rewriteLines(file, edit, {{key}, true}), TmpNaming::File);
}

}  // namespace orv
