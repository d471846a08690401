// The logical-line reader of every configuration file, the word and quoted-value readers,
// and the KEY=VALUE parser.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "storage/file_store.hpp"

namespace orv {

// Reads lines out of text held in memory. Files are read whole (readRegularFile) and
// then walked here, which keeps the reader free of per-character stdio calls.
class LineReader {
  public:
    LineReader() = default;
    explicit LineReader(std::string_view text) { text_.assign(text); }
    // Loads a regular file whole; false (and an empty reader) when it cannot be read.
    bool load(const std::string& path);
    // Loads only the first `bytes` characters of a regular file.
    bool loadHead(const std::string& path, std::size_t bytes);
    // False when the reader holds only the head of a longer file.
    bool complete() const { return complete_; }
    std::string_view data() const { return text_.view(); }

    int get() {
        return pos_ < text_.size() ? static_cast<unsigned char>(text_.view()[pos_++]) : -1;
    }
    std::size_t position() const { return pos_; }
    void seek(std::size_t pos) { pos_ = pos; }

  private:
    FileText text_;
    bool complete_ = true;
    std::size_t pos_ = 0;
};

// Next logical line into `line`; false at end of input. confFormat non-zero applies
// '#' comments and backslash handling. lineCount grows by one per newline consumed.
bool getNextLineD_(LineReader& in, int& lineCount, int confFormat, std::string& line);

// As getNextLineD_, but skips lines without a non-blank character.
bool getNextLineC_(LineReader& in, int& lineCount, int confFormat, std::string& line);

// True when the raw reader (getNextLineD_ without comment handling) gives the text back
// unchanged: it ends in a newline, holds no whitespace but blanks and newlines, and no line
// longer than one character ends in a blank. Edited files are nearly always in this form.
bool isNormalForm(std::string_view text);

// The text as the raw reader gives it back: every line with its whitespace folded to
// blanks and its trailing blanks gone, ended by one newline.
std::string normalisedLines(std::string_view text);

// Next whitespace-delimited word (at most 4095 characters) from `cursor`, advancing it.
std::optional<std::string> getNextWord_(std::string_view& cursor);

// Next value, with an opening ch1 and closing ch2 quote removed; nullopt at the end or
// for an unclosed quote.
std::optional<std::string> getNextValueQ_(std::string_view& cursor, char ch1, char ch2);

// 0 with key and value of a well-formed KEY=VALUE line, -1 otherwise. `key` receives the
// first word even on some refusals (getConfByKey relies on that).
int parseLine(std::string_view line, std::string& key, std::string& value);

// The first line, as the raw reader gives it (getNextLineD_ without comment handling), that
// holds `needle` and that `accept` takes, read from the reader's position on; the reader is
// left past it. Only the lines that hold the needle are read, which for a needle without
// whitespace are the same lines, found with one search instead of a walk over every line.
std::optional<std::string> firstRawLineHolding(LineReader& in, std::string_view needle,
                                               bool (*accept)(const std::string& line));

// For the scans that stop at the first line they look for, which in a large key file is
// nearly always near the top: scan(LineReader&) runs over the file's head first, and over
// the whole file only when it did not stop on a line the head holds complete. Its result
// is wrapped in one more optional, empty when the file cannot be read.
template <class Scan>
auto scanFromTop(const std::string& path, Scan&& scan)
    -> std::optional<decltype(scan(std::declval<LineReader&>()))> {
    constexpr std::size_t kHead = std::size_t{64} << 10;
    LineReader in;
    if (!in.loadHead(path, kHead)) return std::nullopt;
    auto found = scan(in);
    // Stopped before the end of the head: the line ended with a newline the head holds.
    if (in.complete() || (found && in.position() < in.data().size())) return found;
    if (!in.load(path)) return std::nullopt;
    return scan(in);
}

// Value of the first line of confFile whose key equals parameter_key; nullopt otherwise.
std::optional<std::string> getConfByKey(const std::string& parameter_key,
                                        const std::string& confFile);

}  // namespace orv
