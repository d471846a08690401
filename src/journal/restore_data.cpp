// Restore data: how the text before a change is made again from the text after it.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <string>

#include "journal/record.hpp"

namespace orv {

namespace {

// How many characters two texts share at their beginning, then at their end (the two never
// overlapping in the shorter one).
struct CommonEnds {
    std::size_t head;
    std::size_t tail;
};

CommonEnds commonEnds(std::string_view a, std::string_view b) {
    const std::size_t most = std::min(a.size(), b.size());
    std::size_t head = 0;
    while (head < most && a[head] == b[head]) ++head;
    std::size_t tail = 0;
    while (tail < most - head && a[a.size() - 1 - tail] == b[b.size() - 1 - tail]) ++tail;
    return {.head = head, .tail = tail};
}

// True when `piece` is a span of `text` (the same characters in memory, not equal ones).
bool spanOf(std::string_view text, std::string_view piece) {
    const auto base = reinterpret_cast<std::uintptr_t>(text.data());
    const auto p = reinterpret_cast<std::uintptr_t>(piece.data());
    return !piece.empty() && p >= base && p + piece.size() <= base + text.size();
}

// The spans of the new text that point into the old one, as copies; the rest of the old text
// as literals.
std::string fromSpans(std::string_view before, const TextPieces& after) {
    struct Span {
        std::size_t from;  // in the old text
        std::size_t size;
        std::size_t at;  // in the new text
    };
    std::vector<Span> spans;
    std::size_t at = 0;
    for (const std::string_view piece : after) {
        if (spanOf(before, piece)) {
            spans.push_back({.from = static_cast<std::size_t>(piece.data() - before.data()),
                             .size = piece.size(),
                             .at = at});
        }
        at += piece.size();
    }
    std::sort(spans.begin(), spans.end(),
              [](const Span& a, const Span& b) { return a.from < b.from; });
    std::string data = "text\n";
    std::size_t cursor = 0;
    const auto literal = [&](std::size_t end) {
        if (end <= cursor) return;
        data += "l " + std::to_string(end - cursor) + "\n";
        data.append(before.substr(cursor, end - cursor));
        cursor = end;
    };
    for (const Span& span : spans) {
        if (span.from + span.size <= cursor) continue;
        literal(span.from);
        const std::size_t skip = cursor - span.from;
        data +=
            "c " + std::to_string(span.at + skip) + " " + std::to_string(span.size - skip) + "\n";
        cursor = span.from + span.size;
    }
    literal(before.size());
    return data;
}

// The restore data of a text rebuilt whole (its pieces are not spans of the old one), made
// by matching the two texts line by line: equal lines are copied, a line changed in place
// keeps its common beginning and end with the new one, and lines added or dropped are found
// within a few lines of each other. Only the old bytes that the new text lacks are stored.
class LineMatch {
  public:
    LineMatch(std::string_view before, std::string_view after) : before_(before), after_(after) {}
    std::string run();

  private:
    static constexpr std::size_t kReach = 8;  // lines looked ahead for a match
    static std::string_view lineAt(std::string_view text, std::size_t at) {
        const std::size_t end = text.find('\n', at);
        return text.substr(at, end == std::string_view::npos ? text.size() - at : end + 1 - at);
    }
    void copy(std::size_t at, std::size_t size);
    void literal(std::string_view bytes);
    void replaced(std::string_view old, std::size_t at, std::string_view now);
    void op(char letter, std::size_t first, std::size_t second);
    void flush();

    std::string_view before_;
    std::string_view after_;
    std::string data_ = "text\n";
    std::size_t copyAt_ = 0;  // the copy not yet written: where in the new text, how long
    std::size_t copySize_ = 0;
    std::string_view literal_;  // the literal not yet written (old bytes, contiguous)
};

// Appends one operation: its letter and numbers (written without temporaries: a rebuilt text
// of a million lines has as many operations).
void LineMatch::op(char letter, std::size_t first, std::size_t second) {
    std::array<char, 24> digits{};
    const auto number = [&](std::size_t n) {
        data_.append(digits.data(),
                     std::to_chars(digits.data(), digits.data() + digits.size(), n).ptr);
    };
    data_ += letter;
    data_ += ' ';
    number(first);
    if (letter == 'c') {
        data_ += ' ';
        number(second);
    }
    data_ += '\n';
}

void LineMatch::flush() {
    if (copySize_ != 0) {
        op('c', copyAt_, copySize_);
        copySize_ = 0;
    }
    if (!literal_.empty()) {
        op('l', literal_.size(), 0);
        data_.append(literal_);
        literal_ = {};
    }
}

void LineMatch::copy(std::size_t at, std::size_t size) {
    if (size == 0) return;
    if (copySize_ != 0 && copyAt_ + copySize_ == at) {
        copySize_ += size;
        return;
    }
    flush();
    copyAt_ = at;
    copySize_ = size;
}

void LineMatch::literal(std::string_view bytes) {
    if (bytes.empty()) return;
    if (!literal_.empty() && literal_.data() + literal_.size() == bytes.data()) {
        literal_ = std::string_view(literal_.data(), literal_.size() + bytes.size());
        return;
    }
    flush();
    literal_ = bytes;
}

void LineMatch::replaced(std::string_view old, std::size_t at, std::string_view now) {
    const CommonEnds ends = commonEnds(now, old);
    copy(at, ends.head);
    literal(old.substr(ends.head, old.size() - ends.head - ends.tail));
    copy(at + now.size() - ends.tail, ends.tail);
}

std::string LineMatch::run() {
    data_.reserve(before_.size() / 16);
    std::size_t i = 0;  // in the old text
    std::size_t j = 0;  // in the new text
    while (i < before_.size()) {
        const std::string_view old = lineAt(before_, i);
        if (after_.compare(j, old.size(), old) == 0) {  // the same bytes: copied
            copy(j, old.size());
            i += old.size();
            j += old.size();
            continue;
        }
        // The nearest pair of equal lines ahead, fewest lines skipped first; the starts of
        // the lines ahead are found as the search reaches them.
        std::array<std::size_t, kReach + 1> olds{i};
        std::array<std::size_t, kReach + 1> nows{j};
        std::size_t oldsKnown = 1;
        std::size_t nowsKnown = 1;
        const auto oldAt = [&](std::size_t k) {
            for (; oldsKnown <= k; ++oldsKnown) {
                const std::size_t from = olds[oldsKnown - 1];
                olds[oldsKnown] = std::min(before_.size(), from + lineAt(before_, from).size());
            }
            return olds[k];
        };
        const auto nowAt = [&](std::size_t k) {
            for (; nowsKnown <= k; ++nowsKnown) {
                const std::size_t from = nows[nowsKnown - 1];
                nows[nowsKnown] = std::min(after_.size(), from + lineAt(after_, from).size());
            }
            return nows[k];
        };
        std::size_t skipOld = 1;
        std::size_t skipNew = j < after_.size() ? 1 : 0;
        for (std::size_t total = 1; total <= kReach; ++total) {
            bool found = false;
            for (std::size_t a = 0; a <= total && !found; ++a) {
                const std::size_t o = oldAt(a);
                const std::size_t n = nowAt(total - a);
                if (o < before_.size() && n < after_.size() &&
                    lineAt(before_, o) == lineAt(after_, n)) {
                    skipOld = a;
                    skipNew = total - a;
                    found = true;
                }
            }
            if (found) break;
        }
        if (skipOld == skipNew) {
            for (std::size_t k = 0; k < skipOld; ++k) {
                replaced(lineAt(before_, oldAt(k)), nowAt(k), lineAt(after_, nowAt(k)));
            }
        } else {
            literal(before_.substr(i, oldAt(skipOld) - i));
        }
        i = oldAt(skipOld);
        j = nowAt(skipNew);
    }
    flush();
    return std::move(data_);
}

}  // namespace

std::string restoreData(std::string_view before, const TextPieces& after) {
    std::size_t spanned = 0;
    for (const std::string_view piece : after) {
        if (spanOf(before, piece)) spanned += piece.size();
    }
    if (after.empty() || spanned * 2 >= before.size()) return fromSpans(before, after);
    if (after.size() == 1) return LineMatch(before, after.front()).run();
    std::string whole;
    for (const std::string_view piece : after) whole += piece;
    return LineMatch(before, whole).run();
}

TextPieces sharingEnds(std::string_view base, std::string_view text) {
    const CommonEnds ends = commonEnds(base, text);
    return TextPieces{base.substr(0, ends.head),
                      text.substr(ends.head, text.size() - ends.head - ends.tail),
                      base.substr(base.size() - ends.tail)};
}

std::string restoreAbsent() {
    return "absent\n";
}

}  // namespace orv
