#include "text/line_reader.hpp"

#include "storage/file_store.hpp"

namespace orv {

namespace {

// The whitespace of the C locale: blank, tab, newline, vertical tab, form feed, return.
bool isBlankChar(unsigned char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// Longest run that the word reader hands out in one piece.
constexpr std::size_t kMaxWord = 4095;

// Lines this long or longer are never taken as KEY=VALUE.
constexpr std::size_t kMaxParsedLine = 4095;

// Ends a logical line: trailing blanks go, but the first character always stays, so a
// line of blanks keeps one blank. A line cut short by the end of input is dropped when
// nothing but its first character survived, unless it was exactly one character long;
// files whose last line is "x   " without a newline have always lost it, and the
// rewritten files depend on that.
bool finishLine(std::string& line, bool endOfInput) {
    const bool oneChar = line.size() == 1;
    std::size_t n = line.size();
    while (n > 1 && line[n - 1] == ' ') --n;
    line.resize(n);
    return !(endOfInput && n <= 1 && !oneChar);
}

// Plain text: everything up to the next newline, whitespace folded to blanks.
bool readRawLine(LineReader& in, int& lineCount, std::string& line) {
    const std::string_view data = in.data();
    const std::size_t pos = in.position();
    if (pos >= data.size()) return finishLine(line, true);
    const std::size_t nl = data.find('\n', pos);
    const std::size_t end = nl == std::string_view::npos ? data.size() : nl;
    line.assign(data.substr(pos, end - pos));
    for (char& c : line) {  // branch-free so that it vectorises
        c = static_cast<unsigned char>(c - '\t') <= '\r' - '\t' ? ' ' : c;
    }
    if (nl == std::string_view::npos) {
        in.seek(end);
        return finishLine(line, true);
    }
    in.seek(end + 1);
    ++lineCount;
    return finishLine(line, false);
}

// Drops a comment up to and including its newline; true when a newline ended it.
bool skipComment(LineReader& in, int& lineCount) {
    const std::string_view data = in.data();
    const std::size_t pos = in.position();
    const std::size_t nl = data.find('\n', pos);
    if (nl == std::string_view::npos) {
        in.seek(data.size());
        return false;
    }
    in.seek(nl + 1);
    ++lineCount;
    return true;
}

// The character after a backslash. False at the end of input (the backslash is dropped).
bool storeEscaped(LineReader& in, int& lineCount, std::string& line) {
    const int next = in.get();
    if (next < 0) return false;
    if (next == '\n') {
        ++lineCount;  // continuation: the lines are joined by one blank
        line.push_back(' ');
    } else if (isBlankChar(static_cast<unsigned char>(next))) {
        line.push_back(' ');
    } else {
        line.push_back('\\');
        line.push_back(static_cast<char>(next));
    }
    return true;
}

// Key-file text: '#' comments outside double quotes, backslash escapes and continuations.
bool readConfLine(LineReader& in, int& lineCount, std::string& line) {
    bool quoted = false;
    for (;;) {
        const int c = in.get();
        if (c < 0) return finishLine(line, true);
        if (c == '\n') {
            ++lineCount;
            return finishLine(line, false);
        }
        if (c == '"') quoted = !quoted;
        if (c == '#' && !quoted) return finishLine(line, !skipComment(in, lineCount));
        if (c == '\\') {
            if (!storeEscaped(in, lineCount, line)) return finishLine(line, true);
            continue;
        }
        line.push_back(isBlankChar(static_cast<unsigned char>(c)) ? ' ' : static_cast<char>(c));
    }
}

bool hasContent(const std::string& line) {
    return line.find_first_not_of(' ') != std::string::npos;
}

}  // namespace

bool LineReader::load(const std::string& path) {
    pos_ = 0;
    complete_ = true;
    return readRegularFile(path, text_);
}

bool LineReader::loadHead(const std::string& path, std::size_t bytes) {
    pos_ = 0;
    const bool read = readRegularFile(path, text_, bytes);
    complete_ = text_.size() < bytes;
    return read;
}

bool getNextLineD_(LineReader& in, int& lineCount, int confFormat, std::string& line) {
    line.clear();
    if (confFormat == 0) return readRawLine(in, lineCount, line);
    return readConfLine(in, lineCount, line);
}

bool getNextLineC_(LineReader& in, int& lineCount, int confFormat, std::string& line) {
    while (getNextLineD_(in, lineCount, confFormat, line)) {
        if (hasContent(line)) return true;
    }
    return false;
}

bool isNormalForm(std::string_view text) {
    if (text.empty()) return true;
    if (text.back() != '\n') return false;
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const std::size_t n = text.size();
    // Branch-free, so that it vectorises: a tab, vertical tab, form feed or return, or a
    // blank ending a line that is not only a blank.
    const auto other = [p](std::size_t i) {
        return static_cast<unsigned>(static_cast<unsigned char>(p[i] - '\t') <= '\r' - '\t') &
               static_cast<unsigned>(p[i] != '\n');
    };
    unsigned found = other(0) | (n > 1 ? other(1) : 0U);
    for (std::size_t i = 2; i < n; ++i) {
        found |= other(i) |
                 (static_cast<unsigned>(p[i] == '\n') & static_cast<unsigned>(p[i - 1] == ' ') &
                  static_cast<unsigned>(p[i - 2] != '\n'));
    }
    return found == 0;
}

std::optional<std::string> firstRawLineHolding(LineReader& in, std::string_view needle,
                                               bool (*accept)(const std::string& line)) {
    const std::string_view text = in.data();
    const bool plain = needle.find_first_of(" \t\n\v\f\r") == std::string_view::npos;
    int lineCount = 0;
    std::string line;
    for (;;) {
        if (plain) {
            const std::size_t hit = text.find(needle, in.position());
            if (hit == std::string_view::npos) break;
            const std::size_t nl = text.rfind('\n', hit);
            in.seek(nl == std::string_view::npos || nl < in.position() ? in.position() : nl + 1);
        }
        if (!getNextLineD_(in, lineCount, 0, line)) break;
        if (line.find(needle) != std::string::npos && accept(line)) return line;
    }
    in.seek(text.size());
    return std::nullopt;
}

std::string normalisedLines(std::string_view text) {
    if (isNormalForm(text)) return std::string(text);
    LineReader in(text);
    std::string out;
    out.reserve(text.size() + 1);
    int lineCount = 0;
    std::string line;
    while (getNextLineD_(in, lineCount, 0, line)) {
        out += line;
        out.push_back('\n');
    }
    return out;
}

std::optional<std::string> getNextWord_(std::string_view& cursor) {
    std::size_t begin = 0;
    while (begin < cursor.size() && isBlankChar(static_cast<unsigned char>(cursor[begin]))) {
        ++begin;
    }
    std::size_t end = begin;
    while (end < cursor.size() && end - begin < kMaxWord &&
           !isBlankChar(static_cast<unsigned char>(cursor[end]))) {
        ++end;
    }
    const std::string_view word = cursor.substr(begin, end - begin);
    cursor.remove_prefix(end);
    if (word.empty()) return std::nullopt;
    return std::string(word);
}

std::optional<std::string> getNextValueQ_(std::string_view& cursor, char ch1, char ch2) {
    std::optional<std::string> word = getNextWord_(cursor);
    if (!word || (*word)[0] != ch1) return word;
    std::string value;
    if (word->size() == 1) {
        std::optional<std::string> start = getNextWord_(cursor);
        if (!start) return std::nullopt;
        value = std::move(*start);
    } else {
        value = word->substr(1);
    }
    if (const std::size_t q = value.find(ch2); q != std::string::npos) {
        value.resize(q);
        return value;
    }
    // The value goes on over further words, joined by single blanks.
    while ((word = getNextWord_(cursor))) {
        if (word->size() == 1 && (*word)[0] == ch2) return value;
        value.push_back(' ');
        value += *word;
        if (const std::size_t q = value.rfind(ch2); q != std::string::npos) {
            value.resize(q);
            return value;
        }
    }
    return std::nullopt;
}

int parseLine(std::string_view line, std::string& key, std::string& value) {
    if (line.size() >= kMaxParsedLine) return -1;
    std::string_view cursor = line;
    key = getNextWord_(cursor).value_or(std::string());
    const std::size_t keyEq = key.find('=');
    if (keyEq == std::string::npos) return -1;
    key.resize(keyEq);
    const std::size_t eq = line.find('=');
    if (eq + 1 == line.size()) {
        value.clear();
        return 0;
    }
    if (line[eq + 1] == ' ' || line[eq + 1] == '\t') return -1;
    cursor = line.substr(eq + 1);
    std::optional<std::string> parsed = getNextValueQ_(cursor, '"', '"');
    if (!parsed) return -1;
    value = std::move(*parsed);
    return getNextValueQ_(cursor, '"', '"') ? -1 : 0;
}

std::optional<std::string> getConfByKey(const std::string& parameter_key,
                                        const std::string& confFile) {
    const auto found = scanFromTop(confFile, [&](LineReader& in) -> std::optional<std::string> {
        int lineCount = 0;
        bool skippedBadLine = false;
        std::string line, key, value;
        while (getNextLineC_(in, lineCount, 1, line)) {
            // Only the first malformed line is passed over; later ones are still compared
            // with whatever key the parser left behind, which existing files rely on.
            if (parseLine(line, key, value) < 0 && !skippedBadLine) {
                skippedBadLine = true;
                continue;
            }
            if (key == parameter_key) return value;
        }
        return std::nullopt;
    });
    return found ? *found : std::nullopt;
}

}  // namespace orv
