// The logical-line reader, the word and quoted-value readers, the KEY=VALUE parser and
// the key lookup in a file.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <optional>
#include <string>
#include <vector>

#include "text/line_reader.hpp"
#include "fixture.hpp"

namespace orv {
namespace {

using namespace std::string_literals;

struct ReaderCase {
    const char* name;
    std::string text;
    int confFormat;
    std::vector<std::string> lines;
    int count;
};

std::vector<std::string> readAll(const std::string& text, int confFormat, int& count) {
    LineReader in(text);
    std::vector<std::string> lines;
    std::string line = "left over from an earlier call";
    while (getNextLineD_(in, count, confFormat, line)) lines.push_back(line);
    return lines;
}

TEST(TextReader, LogicalLines) {
    const std::vector<ReaderCase> cases = {
        {"inline comment", "KEY=value # note\nB=2\n", 1, {"KEY=value", "B=2"}, 2},
        {"hash inside quotes", "A=\"x # y\"  # c\n", 1, {"A=\"x # y\""}, 1},
        {"continuation joins with one blank", "A=1 \\\n  B=2\nC\n", 1, {"A=1    B=2", "C"}, 3},
        {"escaped quote does not open quotes", "a\\\"b # c\n", 1, {"a\\\"b"}, 1},
        {"escaped hash and backslash kept", "a\\#b\\\\c\n", 1, {"a\\#b\\\\c"}, 1},
        {"backslash before tab", "a\\\tb\n", 1, {"a b"}, 1},
        {"backslash at end of input", "ab\\", 1, {"ab"}, 0},
        {"comment-only line is empty", "#c\nA\n", 1, {"", "A"}, 2},
        {"comment at end of input", "A=1 #c", 1, {"A=1"}, 0},
        {"lone comment at end of input", "#only", 1, {}, 0},
        {"counter counts every newline", "a\\\nb\n#c\nd", 1, {"a b", "", "d"}, 3},
        {"raw keeps comments and backslashes", "# c\na\\\nb\n", 0, {"# c", "a\\", "b"}, 3},
        {"tabs and CRLF fold to blanks", "a\tb\r\nc \t \n", 0, {"a b", "c"}, 2},
        {"vertical tab and form feed", "a\vb\fc\n", 1, {"a b c"}, 1},
        {"blank line keeps one blank", "   \n", 0, {" "}, 1},
        {"empty input", "", 0, {}, 0},
        {"empty lines kept", "\n\n", 0, {"", ""}, 2},
        {"last line without newline", "a\nbc", 0, {"a", "bc"}, 1},
        {"one-character last line kept", "a\nx", 0, {"a", "x"}, 1},
        {"last line losing its blanks is lost", "a\nx   ", 0, {"a"}, 1},
        {"blank last line is lost", "a\n  ", 0, {"a"}, 1},
        {"single blank last line kept", " ", 0, {" "}, 0},
        {"quotes kept in the line", "A=\"b\"\n", 1, {"A=\"b\""}, 1},
        {"NUL bytes are ordinary", "a\0b\n"s, 0, {"a\0b"s}, 1},
        {"NUL bytes in key files", "a\0#b\n"s, 1, {"a\0"s}, 1},
        {"high bytes are not blanks", "\xa0x\xa0\n", 0, {"\xa0x\xa0"}, 1},
    };
    for (const ReaderCase& c : cases) {
        int count = 0;
        EXPECT_EQ(readAll(c.text, c.confFormat, count), c.lines) << c.name;
        EXPECT_EQ(count, c.count) << c.name;
    }
}

TEST(TextReader, SkippingReaderPassesOverBlankAndCommentLines) {
    LineReader conf("  \n#c\n\t\nA=1\n\nB=2 # x\n"s);
    int count = 0;
    std::string line;
    ASSERT_TRUE(getNextLineC_(conf, count, 1, line));
    EXPECT_EQ(line, "A=1");
    EXPECT_EQ(count, 4);
    ASSERT_TRUE(getNextLineC_(conf, count, 1, line));
    EXPECT_EQ(line, "B=2");
    EXPECT_FALSE(getNextLineC_(conf, count, 1, line));
    EXPECT_EQ(count, 6);

    LineReader raw("  \n#c\n"s);
    ASSERT_TRUE(getNextLineC_(raw, count, 0, line));
    EXPECT_EQ(line, "#c");
    EXPECT_FALSE(getNextLineC_(raw, count, 0, line));
}

TEST(TextReader, LongLinesAreReadWhole) {
    for (const std::size_t size : {std::size_t{5000}, std::size_t{1} << 20}) {
        const std::string body(size, 'v');
        int count = 0;
        EXPECT_EQ(readAll("K=" + body + "\nnext\n", 1, count),
                  (std::vector<std::string>{"K=" + body, "next"}));
        EXPECT_EQ(count, 2);
    }
}

TEST(TextReader, WordsLongerThanTheLimitComeInPieces) {
    const std::string run(5000, 'w');
    std::string text = "  ab\t" + run + " ";
    std::string_view cursor(text);
    EXPECT_EQ(getNextWord_(cursor), "ab");
    EXPECT_EQ(getNextWord_(cursor), std::string(4095, 'w'));
    EXPECT_EQ(getNextWord_(cursor), std::string(905, 'w'));
    EXPECT_EQ(getNextWord_(cursor), std::nullopt);
    EXPECT_EQ(getNextWord_(cursor), std::nullopt);
}

TEST(TextReader, QuotedValues) {
    struct Case {
        const char* text;
        std::optional<std::string> first;
        std::optional<std::string> second;
    };
    const std::vector<Case> cases = {
        {"plain rest", "plain", "rest"},     {"\"a   b\" c", "a b", "c"},
        {"\"abc\"def", "abc", std::nullopt}, {"\" abc\"", "abc", std::nullopt},
        {"\"a \"", "a", std::nullopt},       {"\"a b\"c\" d", "a b\"c", "d"},
        {"\"\"", "", std::nullopt},          {"\"unclosed and more", std::nullopt, std::nullopt},
        {"\"", std::nullopt, std::nullopt},  {"   ", std::nullopt, std::nullopt},
    };
    for (const Case& c : cases) {
        std::string_view cursor(c.text);
        EXPECT_EQ(getNextValueQ_(cursor, '"', '"'), c.first) << c.text;
        EXPECT_EQ(getNextValueQ_(cursor, '"', '"'), c.second) << c.text;
    }
}

TEST(TextReader, ParseLine) {
    struct Case {
        const char* line;
        int result;
        const char* key;    // expected key (also on the refusals that set it)
        const char* value;  // expected value; "<old>" when the parser must leave it alone
    };
    const std::vector<Case> cases = {
        {"KEY=value", 0, "KEY", "value"},
        {"KEY=", 0, "KEY", ""},
        {" KEY=v", 0, "KEY", "v"},
        {"KEY==x", 0, "KEY", "=x"},
        {"KEY=\"a   b\"", 0, "KEY", "a b"},
        {"KEY=\"a#b\"", 0, "KEY", "a#b"},
        {"KEY=a \"unclosed", 0, "KEY", "a"},
        {"KEY= x", -1, "KEY", "<old>"},
        {"KEY =x", -1, "KEY", "<old>"},
        {"KEY=a b", -1, "KEY", "a"},
        {"KEY=\"abc", -1, "KEY", "<old>"},
        {"no equals", -1, "no", "<old>"},
        {"", -1, "", "<old>"},
    };
    for (const Case& c : cases) {
        std::string key = "<old>", value = "<old>";
        EXPECT_EQ(parseLine(c.line, key, value), c.result) << c.line;
        EXPECT_EQ(key, c.key) << c.line;
        EXPECT_EQ(value, c.value) << c.line;
    }
}

TEST(TextReader, ParseLineRefusesLinesOf4095Characters) {
    std::string key = "<old>", value = "<old>";
    const std::string longest = "K=" + std::string(4092, 'x');
    EXPECT_EQ(parseLine(longest, key, value), 0);
    EXPECT_EQ(value.size(), 4092u);
    key = value = "<old>";
    EXPECT_EQ(parseLine(longest + "x", key, value), -1);
    EXPECT_EQ(key, "<old>");
    EXPECT_EQ(value, "<old>");
}

class TextConfLookup : public test::TempDirTest {};

TEST_F(TextConfLookup, FindsTheFirstLineWithTheKey) {
    const std::string conf = write("orv.conf",
                                   "# A=0\n"
                                   "A=\"x  y\" # note\n"
                                   "B=2\n"
                                   "A=3\n"
                                   "LONG=\\\n"
                                   "tail\n");
    EXPECT_EQ(getConfByKey("A", conf), "x y");
    EXPECT_EQ(getConfByKey("B", conf), "2");
    EXPECT_EQ(getConfByKey("b", conf), std::nullopt);
    EXPECT_EQ(getConfByKey("LONG", conf),
              std::nullopt);  // "LONG= tail" is the first malformed line
    EXPECT_EQ(getConfByKey("A", path("missing")), std::nullopt);
    EXPECT_EQ(getConfByKey("A", dir_), std::nullopt);
}

TEST_F(TextConfLookup, OnlyTheFirstMalformedLineIsPassedOver) {
    // The first malformed line is skipped; later malformed lines still count with the
    // key the parser left behind.
    EXPECT_EQ(getConfByKey("A", write("c1", "X=1 2\nA=a b\n")), "a");
    EXPECT_EQ(getConfByKey("A", write("c2", "A=a b\nA=c\n")), "c");
    EXPECT_EQ(getConfByKey("A", write("c3", "A=a b\n")), std::nullopt);
    EXPECT_EQ(getConfByKey("A", write("c4", "A = 1\nA=2\n")), "2");
}

// A large file is looked up in its first 64 KiB first; a line that the head cuts short,
// or one that only starts below it, must come out as from the whole file.
TEST_F(TextConfLookup, LinesAtTheEdgeOfTheHeadOfALargeFile) {
    const auto filled = [](std::size_t upTo, const std::string& tail) {
        std::string text;
        while (text.size() + 10 < upTo) text += "# filler\n";
        return text + std::string(upTo - text.size() - 1, '#') + "\n" + tail;
    };
    constexpr std::size_t kHead = 64 * 1024;
    const std::string after = "\n" + std::string(100000, '#') + "\n";
    EXPECT_EQ(getConfByKey("A", write("top", "A=1\n" + after)), "1");
    EXPECT_EQ(getConfByKey("A", write("cut", filled(kHead - 4, "A=123456\n" + after))), "123456");
    EXPECT_EQ(getConfByKey("A", write("nl", filled(kHead - 4, "A=1\nA=2\n" + after))), "1");
    EXPECT_EQ(getConfByKey("A", write("cont", filled(kHead - 5, "A=\\\n2\nA=3" + after))), "3");
    EXPECT_EQ(getConfByKey("A", write("below", filled(kHead + 10, "A=7\n"))), "7");
    EXPECT_EQ(getConfByKey("A", write("none", filled(kHead + 10, "B=7\n"))), std::nullopt);
}

TEST(TextRawLines, FirstLineHoldingANeedle) {
    const auto notComment = [](const std::string& line) { return line[0] != '#'; };
    const std::string text = "# K=0\nx\tK=1  \n  K\nK=2\n";
    LineReader in(text);
    EXPECT_EQ(firstRawLineHolding(in, "K=", notComment), "x K=1");
    EXPECT_EQ(in.position(), 14U);
    EXPECT_EQ(firstRawLineHolding(in, "K=", notComment), "K=2");
    EXPECT_EQ(firstRawLineHolding(in, "K=", notComment), std::nullopt);
    EXPECT_EQ(in.position(), text.size());
    // A needle with whitespace is looked for in the lines as read, tabs folded.
    LineReader folded(text);
    EXPECT_EQ(firstRawLineHolding(folded, "x K", notComment), "x K=1");
}

TEST_F(TextConfLookup, SpecialFilesAreNotRead) {
    const std::string fifo = path("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    // A blocking open would never return: the child is killed by the alarm then.
    const test::ChildRun run = test::runInChild("", [&] {
        ::alarm(5);
        return getConfByKey("A", fifo) ? 1 : 0;
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(run.output, "");
}

}  // namespace
}  // namespace orv
