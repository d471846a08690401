#include <cstdio>
#include <memory>
#include <optional>

#include "fixture.hpp"
#include "journal/record.hpp"
#include "journal/sha256.hpp"

namespace orv {
namespace {

using Journal = test::TempDirTest;

std::string sha256sum(const std::string& file) {
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(("sha256sum < " + file).c_str(), "r"),
                                               &::pclose);
    char out[65] = {};
    return pipe && std::fread(out, 1, 64, pipe.get()) == 64 ? std::string(out) : std::string();
}

// Both the processor's SHA extensions (where present) and the portable rounds, fed whole
// and in pieces across block boundaries, against sha256sum.
TEST_F(Journal, Sha256AgreesWithSha256sum) {
    std::string large(1 << 20, '\0');
    for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>(i * 7919 >> 3);
    const std::string inputs[] = {"",
                                  "abc",
                                  std::string(55, 'x'),
                                  std::string(56, 'x'),
                                  std::string(64, 'y'),
                                  std::string(65, 'z'),
                                  std::string(119, '\n'),
                                  large};
    for (const std::string& input : inputs) {
        SCOPED_TRACE(input.size());
        const std::string expected = sha256sum(write("in", input));
        ASSERT_EQ(expected.size(), 64U);
        EXPECT_EQ(sha256Hex(input), expected);
        for (const bool portable : {false, true}) {
            Sha256 hash(portable);
            for (std::size_t at = 0; at < input.size(); at += 37)
                hash.update(std::string_view(input).substr(at, 37));
            EXPECT_EQ(hash.hex(), expected);
        }
    }
}

struct RestoreRow {
    const char* name;
    std::string before;
    std::vector<std::pair<std::size_t, std::size_t>> spans;  // kept spans of `before`, in order
    std::vector<std::string> lines;                          // a new line after each span
    std::size_t stored;                                      // literal bytes kept in the data
};

// The data gives the old text back from the new one, storing only what the new text lacks;
// damaged data is refused.
TEST(JournalRestore, OldTextFromNewTextAndTheChangedSpans) {
    const std::string conf = "A=1\nB=2\nC=3\nD=4\n";
    const RestoreRow rows[] = {
        {.name = "one line changed",
         .before = conf,
         .spans = {{0, 4}, {8, 8}},
         .lines = {"B=9\n", ""},
         .stored = 4},
        {.name = "a line added",
         .before = conf,
         .spans = {{0, 16}},
         .lines = {"E=5\n"},
         .stored = 0},
        {.name = "lines dropped", .before = conf, .spans = {{4, 4}}, .lines = {""}, .stored = 12},
        {.name = "whole text new", .before = conf, .spans = {}, .lines = {"X=0\n"}, .stored = 15},
        {.name = "rebuilt whole, indents dropped",
         .before = "  A=1\nB=2\n  C=3\nD=4",
         .spans = {},
         .lines = {"A=1\nB=2\nC=3\nD=4"},
         .stored = 4},
        {.name = "rebuilt whole, a line added and one dropped",
         .before = conf,
         .spans = {},
         .lines = {"A=1\nN=0\nB=2\nD=4\n"},
         .stored = 4},
        {.name = "spans out of order",
         .before = conf,
         .spans = {{8, 8}, {0, 8}},
         .lines = {"", ""},
         .stored = 0},
        {.name = "empty before", .before = "", .spans = {}, .lines = {"A=1\n"}, .stored = 0},
    };
    for (const RestoreRow& row : rows) {
        SCOPED_TRACE(row.name);
        TextPieces pieces;
        std::string after;
        for (std::size_t i = 0; i < std::max(row.spans.size(), row.lines.size()); ++i) {
            if (i < row.spans.size()) {
                pieces.push_back(
                    std::string_view(row.before).substr(row.spans[i].first, row.spans[i].second));
            }
            if (i < row.lines.size()) pieces.push_back(row.lines[i]);
        }
        for (const std::string_view piece : pieces) after += piece;
        const std::string data = restoreData(row.before, pieces);
        std::size_t stored = 0;
        for (std::size_t at = data.find("\nl "); at != std::string::npos;
             at = data.find("\nl ", at + 1)) {
            stored += std::stoul(data.substr(at + 3));
        }
        EXPECT_EQ(stored, row.stored);
        std::optional<std::string> back;
        ASSERT_TRUE(applyRestoreData(data, after, back));
        EXPECT_EQ(back, row.before);
    }
    // Damaged data is refused, never applied in part.
    const std::string shortText = "A=1\nB=2\n";
    const char* damaged[] = {"",
                             "text",
                             "text\nc 0 9\n",
                             "text\nc 8 1\n",
                             "text\nl 5\nA=1\n",
                             "text\nx 0 1\n",
                             "text\nc 0\n",
                             "text\nc -1 2\n",
                             "absent\nc 0 1\n"};
    for (const char* data : damaged) {
        SCOPED_TRACE(data);
        std::optional<std::string> before = "untouched";
        EXPECT_FALSE(applyRestoreData(data, shortText, before));
        EXPECT_EQ(before, "untouched");
    }
    std::optional<std::string> before = "x";
    EXPECT_TRUE(applyRestoreData("absent\n", shortText, before));
    EXPECT_EQ(before, std::nullopt);
}

}  // namespace
}  // namespace orv
