// The logical-line reader of every configuration file, the word and quoted-value readers,
// and the KEY=VALUE parser.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orv {

// Reads lines out of text held in memory. Files are read whole (readRegularFile) and
// then walked here, which keeps the reader free of per-character stdio calls.
class LineReader {
  public:
    LineReader() = default;
    explicit LineReader(std::string text) : data_(std::move(text)) {}
    // Opens a regular file; false (and an empty reader) when it cannot be read.
    bool open(const std::string& path);
    const std::string& data() const { return data_; }

    int get() { return pos_ < data_.size() ? static_cast<unsigned char>(data_[pos_++]) : -1; }
    std::size_t position() const { return pos_; }
    void seek(std::size_t pos) { pos_ = pos; }

  private:
    std::string data_;
    std::size_t pos_ = 0;
};

// Next logical line into `line`; false at end of input. confFormat non-zero applies
// '#' comments and backslash handling. lineCount grows by one per newline consumed.
bool getNextLineD_(LineReader& in, int& lineCount, int confFormat, std::string& line);

// As getNextLineD_, but skips lines without a non-blank character.
bool getNextLineC_(LineReader& in, int& lineCount, int confFormat, std::string& line);

// Next whitespace-delimited word (at most 4095 characters) from `cursor`, advancing it.
std::optional<std::string> getNextWord_(std::string_view& cursor);

// Next value, with an opening ch1 and closing ch2 quote removed; nullopt at the end or
// for an unclosed quote.
std::optional<std::string> getNextValueQ_(std::string_view& cursor, char ch1, char ch2);

// 0 with key and value of a well-formed KEY=VALUE line, -1 otherwise. `key` receives the
// first word even on some refusals (getConfByKey relies on that).
int parseLine(std::string_view line, std::string& key, std::string& value);

// Value of the first line of confFile whose key equals parameter_key; nullopt otherwise.
std::optional<std::string> getConfByKey(const std::string& parameter_key,
                                        const std::string& confFile);

}  // namespace orv
