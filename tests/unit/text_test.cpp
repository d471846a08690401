// The text engine: the line reader and KEY=VALUE parser, the string helpers, the four
// rewrite primitives (what each writes, and the safety rules every rewrite keeps), XML
// values, and the hunks of the dry-run preview against diff -u itself.
#include <limits>
#include <random>

#include "fixture.hpp"
#include "preview/unified_diff.hpp"
#include "storage/file_store.hpp"
#include "text/line_reader.hpp"
#include "text/rewrite.hpp"
#include "text/strings.hpp"
#include "text/xml_value.hpp"

namespace orv {
namespace {

using namespace std::string_literals;
using Lines = std::vector<std::string>;
using std::nullopt;
using test::shown;
using Text = test::TempDirTest;

TEST(TextReader, LogicalLines) {
    const std::string big(1 << 20, 'v');
    const struct {
        std::string text;
        int confFormat;  // 1: '#' comments and backslashes apply
        int lineCount;
        Lines lines;
    } rows[] = {
        {"KEY=value # note\nB=2\n", 1, 2, {"KEY=value", "B=2"}},
        {"A=\"x # y\"  # c\n", 1, 1, {"A=\"x # y\""}},
        {"A=1 \\\n  B=2\nC\n", 1, 3, {"A=1    B=2", "C"}},
        {"a\\\"b # c\n", 1, 1, {"a\\\"b"}},
        {"a\\#b\\\\c\n", 1, 1, {"a\\#b\\\\c"}},
        {"a\\\tb\n", 1, 1, {"a b"}},
        {"ab\\", 1, 0, {"ab"}},
        {"#only", 1, 0, {}},
        {"a\\\nb\n#c\nd", 1, 3, {"a b", "", "d"}},
        {"# c\na\\\nb\n", 0, 3, {"# c", "a\\", "b"}},
        {"a\tb\r\nc \t \n", 0, 2, {"a b", "c"}},
        {"a\vb\fc\n", 1, 1, {"a b c"}},
        {"   \n\n\n", 0, 3, {" ", "", ""}},
        {"", 0, 0, {}},
        {"a\nx", 0, 1, {"a", "x"}},
        {"a\nx   ", 0, 1, {"a"}},
        {" ", 0, 0, {" "}},
        {"a\0b\n"s, 0, 1, {"a\0b"s}},
        {"a\0#b\n"s, 1, 1, {"a\0"s}},
        {"\xa0x\xa0\n", 0, 1, {"\xa0x\xa0"}},
        {"K=" + big + "\nnext\n", 1, 2, {"K=" + big, "next"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(shown(row.text));
        LineReader in(row.text);
        Lines lines;
        int lineCount = 0;
        for (std::string line = "left over"; getNextLineD_(in, lineCount, row.confFormat, line);) {
            lines.push_back(line);
        }
        EXPECT_EQ(lines, row.lines);
        EXPECT_EQ(lineCount, row.lineCount);
    }
}

TEST(TextReader, ConfLinesPassOverBlankAndCommentLines) {
    LineReader conf("  \n#c\n\t\nA=1\n\nB=2 # x\n"s);
    int lineCount = 0;
    std::string line;
    ASSERT_TRUE(getNextLineC_(conf, lineCount, 1, line));
    EXPECT_EQ(line, "A=1");
    EXPECT_EQ(lineCount, 4);
    ASSERT_TRUE(getNextLineC_(conf, lineCount, 1, line));
    EXPECT_EQ(line, "B=2");
    EXPECT_FALSE(getNextLineC_(conf, lineCount, 1, line));
    EXPECT_EQ(lineCount, 6);
}

TEST(TextReader, WordsAreCutAt4095Characters) {
    const std::string words = "  ab\t" + std::string(5000, 'w') + " ";
    std::string_view cursor(words);
    EXPECT_EQ(getNextWord_(cursor), "ab");
    EXPECT_EQ(getNextWord_(cursor), std::string(4095, 'w'));
    EXPECT_EQ(getNextWord_(cursor), std::string(905, 'w'));
    EXPECT_EQ(getNextWord_(cursor), nullopt);
}

TEST(TextReader, KeyLines) {
    const std::string fits(4092, 'x');
    const struct {
        std::string line;
        int result;
        std::string key, value;  // "<old>": left alone
    } rows[] = {
        {"KEY=value", 0, "KEY", "value"},
        {"KEY=", 0, "KEY", ""},
        {" KEY=v", 0, "KEY", "v"},
        {"KEY==x", 0, "KEY", "=x"},
        {"KEY=\"a   b\"", 0, "KEY", "a b"},
        {"KEY=a \"unclosed", 0, "KEY", "a"},
        {"KEY=\"abc\"def", 0, "KEY", "abc"},
        {"KEY=\" abc\"", 0, "KEY", "abc"},
        {"KEY=\"\"", 0, "KEY", ""},
        {"KEY=\"a b\"c\" d", -1, "KEY", "a b\"c"},
        {"KEY=\"  ", -1, "KEY", "<old>"},
        {"KEY= x", -1, "KEY", "<old>"},
        {"KEY =x", -1, "KEY", "<old>"},
        {"KEY=a b", -1, "KEY", "a"},
        {"KEY=\"abc", -1, "KEY", "<old>"},
        {"no equals", -1, "no", "<old>"},
        {"", -1, "", "<old>"},
        {"K=" + fits, 0, "K", fits},
        {"K=x" + fits, -1, "<old>", "<old>"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(shown(row.line));
        std::string key = "<old>", value = "<old>";
        EXPECT_EQ(parseLine(row.line, key, value), row.result);
        EXPECT_EQ(key, row.key);
        EXPECT_EQ(value, row.value);
    }
}

TEST_F(Text, ConfLookupTakesTheFirstLineWithTheKeyPassingOverOneMalformedLine) {
    const std::string conf =
        write("orv.conf", "# A=0\nA=\"x  y\" # note\nB=2\nA=3\nLONG=\\\ntail\n");
    EXPECT_EQ(getConfByKey("A", conf), "x y");
    EXPECT_EQ(getConfByKey("B", conf), "2");
    EXPECT_EQ(getConfByKey("b", conf), nullopt);
    EXPECT_EQ(getConfByKey("LONG", conf), nullopt);  // "LONG= tail" is malformed
    EXPECT_EQ(getConfByKey("A", write("c1", "X=1 2\nA=a b\n")), "a");
    EXPECT_EQ(getConfByKey("A", write("c2", "A=a b\nA=c\n")), "c");
    EXPECT_EQ(getConfByKey("A", write("c4", "A = 1\nA=2\n")), "2");
    EXPECT_EQ(getConfByKey("A", dir_), nullopt);
}

// A large file is looked up in its first 64 KiB first: a line that the head cuts short, or
// one that only starts below it, must come out as from the whole file.
TEST_F(Text, LookupsAtTheEdgeOfTheHeadOfALargeFile) {
    const auto filled = [](std::size_t upTo, const std::string& tail) {
        std::string text;
        while (text.size() + 10 < upTo) text += "# filler\n";
        return text + std::string(upTo - text.size() - 1, '#') + "\n" + tail;
    };
    const std::size_t head = 64 * 1024;
    const std::string after = "\n" + std::string(100000, '#') + "\n";
    EXPECT_EQ(getConfByKey("A", write("top", "A=1\n" + after)), "1");
    EXPECT_EQ(getConfByKey("A", write("cut", filled(head - 4, "A=123456\n" + after))), "123456");
    EXPECT_EQ(getConfByKey("A", write("nl", filled(head - 4, "A=1\nA=2\n" + after))), "1");
    EXPECT_EQ(getConfByKey("A", write("below", filled(head + 10, "A=7\n"))), "7");
    EXPECT_EQ(getConfByKey("A", write("none", filled(head + 10, "B=7\n"))), nullopt);
}

TEST(TextReader, FirstRawLineHolding) {
    const auto notComment = [](const std::string& line) { return line[0] != '#'; };
    LineReader in("# K=0\nx\tK=1  \n  K\nK=2\n"s), folded("a\tK=1\n"s);
    EXPECT_EQ(firstRawLineHolding(in, "K=", notComment), "x K=1");
    EXPECT_EQ(in.position(), 14U);
    EXPECT_EQ(firstRawLineHolding(in, "K=", notComment), "K=2");
    EXPECT_EQ(firstRawLineHolding(in, "K=", notComment), nullopt);
    // whitespace in the needle
    EXPECT_EQ(firstRawLineHolding(folded, "a K", notComment), "a K=1");
}

TEST(Strings, Tokenize) {
    const struct {
        const char *source, *delimiter;
        Lines tokens;
    } rows[] = {
        {"h1, h2 h3", " ,", {"h1", "h2", "h3"}},
        {"abc", "", {"abc"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.source);
        Lines tokens = {"stale"};
        EXPECT_EQ(tokenize(row.source, tokens, row.delimiter), static_cast<int>(row.tokens.size()));
        EXPECT_EQ(tokens, row.tokens);
    }
}

TEST(Strings, SubStrings) {
    EXPECT_EQ(subString("abcdef", 3), "abc");
    EXPECT_EQ(subString("ab", 5), "ab");
    EXPECT_EQ(subString("abc", 0), "");
    EXPECT_EQ(subString("abc", -2), "");
    EXPECT_EQ(subString2("abcdef", 2, 4), "cd");
    EXPECT_EQ(subString2("abcdef", 4, 2), nullopt);
    EXPECT_EQ(subString2("abcdef", -1, 2), nullopt);
    EXPECT_EQ(subString2("abcdef", 1, -1), nullopt);
    EXPECT_EQ(subString2("abcdef", 2, 100), "cdef");
    EXPECT_EQ(subString2("abcdef", 10, 12), "");
}

TEST(Strings, LastHitWithoutOverlap) {
    EXPECT_EQ(strrfind("/a/conf/b/conf", "conf"), 10U);
    EXPECT_EQ(strrfind("aaa", "aa"), 0U);
    EXPECT_EQ(strrfind("aaaa", "aa"), 2U);
    EXPECT_EQ(strrfind("abc", ""), std::string_view::npos);
}

TEST(Strings, ReplaceVariableReplacesTheFirstHitOnly) {
    std::string line = "@A@:@A@";
    replaceVariable(line, "@A@", "a longer one");
    EXPECT_EQ(line, "a longer one:@A@");
}

TEST_F(Text, AppendString) {
    EXPECT_EQ(appendString(path("new"), "first"), 1);
    EXPECT_EQ(appendString(write("kept", "no newline"), "x"), 1);
    EXPECT_EQ(read("new"), "first\n");
    EXPECT_EQ(read("kept"), "no newlinex\n");
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    for (const std::string& target : {dir_, path("fifo")}) {
        SCOPED_TRACE(target);
        const Ran run = inChild([&] { return appendString(target, "x"); });
        EXPECT_RAN(run, "", 255);
    }
}

using Primitive = int (*)(const std::string&, const std::string&, const std::string&);

const char* nameOf(Primitive edit) {
    if (edit == replaceString) return "replaceString";
    if (edit == replaceString3) return "replaceString3";
    if (edit == replaceStringInFile) return "replaceStringInFile";
    return "replaceStringWithoutComment";
}

TEST_F(Text, WhatEachRewritePrimitiveWrites) {
    const std::string wide(5000, 'w');
    const struct {
        Primitive edit;
        std::string before, key, value, after;
    } rows[] = {
        {replaceString, "A=1\n#A=0\nXA=2\n", "A=", "A=5", "A=5\nA=5\nA=5\n"},
        {replaceString, "A=1\n#A=0\nB=2\n", "A=", "", "B=2\n"},
        {replaceString, "A=1\tB   \nK=1\n", "K=", "K=a\tb ", "A=1 B\nK=a b\n"},
        {replaceString, "K=1\n", "K=", "K=1\nL=2", "K=1\nL=2\n"},
        {replaceString, "a\nb\n", "", "z", "z\nz\n"},
        {replaceString, "A=1\nK=" + wide + "\n", "K=", "K=2", "A=1\nK=2\n"},
        {replaceString3, "A=1\nB=2", "C=", "C=3 \t ", "A=1\nB=2\nC=3\n"},
        {replaceString3, "A=1\nB=2\nA=3\n", "A=", "A=9", "A=9\nB=2\nA=9\n"},
        {replaceString3, "A=1\nB=2\n", "A=", "", "\nB=2\n"},
        {replaceString3, "B=2\n", "A=", "", "B=2\n"},
        {replaceString3, "B=2\n", "C", "x  ", "B=2\n"},
        {replaceString3, "", "A=", "A=" + wide, "A=" + wide + "\n"},
        {replaceStringInFile, "A=TOKEN/x\n", "TOKEN", "", "A=/x\n"},
        {replaceStringInFile, "A\tTOKEN  \nB", "TOKEN", "$HOME/x", "A\tTOKEN  \nB"},
        {replaceStringWithoutComment, "A=1\n#A=0\nXA=2\n", "A=", "A=5", "A=5\n#A=0\nA=5\n"},
        {replaceStringWithoutComment, "   KEY=1\n  # KEY=1\n", "O=", "O", "KEY=1\n# KEY=1\n"},
        {replaceStringWithoutComment, "A=1\n # A=1\nB=2\n", "A=", "", "\n# A=1\nB=2\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(nameOf(row.edit) + (" of " + shown(row.before)));
        const std::string file = write("orv.conf", row.before);
        EXPECT_EQ(row.edit(file, row.key, row.value), 1);
        EXPECT_EQ(read(file), row.after);
        EXPECT_FALSE(exists(file + ".tmp"));
    }
}

// Only the lines an editor selects are handed to it, the rest copied as spans: on generated
// texts (what the reader folds, blank-led lines, many edited lines) that must give the bytes
// of what a rewrite has always meant: every line read, edited, and the result read back.
TEST_F(Text, SelectedLinesRewriteAsEveryLine) {
    const Lines pieces = {"K1=1", "K2", "xK1y",     "# K2 note", " ",     "  ",          "\t",
                          "\r",   "a",  "  ind",    "K1K2",      "\0"s,   "trail ",      "\n",
                          "\n",   "\n", "A_PORT=1", "B_PORT",    "_PORT", "A_PORTB_PORT"};
    const Lines keySets[] = {{"K1", "K2"}, {"A_PORT", "B_PORT"}, {"K1"}, {""}};
    const Lines valueSets[] = {
        {"K1=9", "K2=8"}, {"", "K2=8"}, {"K1=\t9 ", "K2"}, {"two\nlines", "B_PORT=1"}};
    std::mt19937 random(20261123);
    for (int round = 0; round < 400 && !HasFailure(); ++round) {
        std::string content;
        const int pieceCount = round % 50 == 0 ? 3000 : static_cast<int>(random() % 30);
        for (int i = 0; i < pieceCount; ++i) content += pieces[random() % pieces.size()];
        if (random() % 4 != 0) content += "\n";
        SCOPED_TRACE(testing::PrintToString(content));
        const Lines& keys = keySets[round % 4];
        const Lines& values = valueSets[(round / 4) % 4];
        const bool indented = round % 3 == 0;
        const LineEditor edit = [&](const std::string& line, std::string& out) {
            const std::size_t start = indented ? line.find_first_not_of(' ') : 0;
            std::string current = line.substr(std::min(start, line.size()));
            for (std::size_t i = 0; i < keys.size(); ++i) {
                if (current.find(keys[i]) != std::string::npos) current = values[i % values.size()];
            }
            if (!current.empty() || line.empty()) out += current + "\n";
        };
        LineReader in(content);
        std::string line, expected;
        for (int count = 0; getNextLineD_(in, count, 0, line);) edit(line, expected);
        const std::string selected = write("selected", content), every = write("every", content);
        EXPECT_EQ(rewriteLines(selected, edit, {.needles = keys, .indented = indented}),
                  RewriteStatus::Ok);
        EXPECT_EQ(rewriteLines(every, edit), RewriteStatus::Ok);
        EXPECT_EQ(read(selected), normalisedLines(expected));
        EXPECT_EQ(read(every), read(selected));
    }
}

// Every rewrite reads and commits through one path: a missing file, a directory or a FIFO
// is reported and never waited on; a link at the ".tmp" is never followed; a file that
// cannot be written stays as it was (proven for one primitive of each way of naming a ".tmp"
// that cannot be made: the file, or the ".tmp" itself). A failed ".tmp" write loses nothing;
// a no-op writes nothing; a rewrite keeps the inode, hard links and mode, and edits through
// a symbolic link.
TEST_F(Text, SafetyRulesOfEveryRewrite) {
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    for (const Primitive edit : {replaceString, replaceString3}) {
        SCOPED_TRACE(nameOf(edit));
        const bool namesTmp = edit == replaceString3;
        for (const std::string& file : {path("missing"), dir_, path("fifo")}) {
            SCOPED_TRACE(file);
            const Ran run = inChild([&] { return edit(file, "A=", "A=1"); });
            EXPECT_RAN(run, "Cannot open file " + file + ".\n", 255);
            EXPECT_FALSE(exists(file + ".tmp"));
        }
        const std::string file = write("orv.conf", "A=1\n"), victim = write("victim", "precious\n");
        ASSERT_EQ(::symlink(victim.c_str(), (file + ".tmp").c_str()), 0);
        Ran run = inChild([&] { return edit(file, "A=", "A=2"); });
        EXPECT_RAN(run, "Cannot open file " + file + (namesTmp ? ".tmp" : "") + ".\n", 255);
        EXPECT_EQ(read(file), "A=1\n");
        EXPECT_EQ(read(victim), "precious\n");
        ASSERT_EQ(::unlink((file + ".tmp").c_str()), 0);
        ASSERT_EQ(::chmod(file.c_str(), 0444), 0);
        run = inChild([&] { return edit(file, "A=", "A=2"); }, {.unprivileged = true});
        EXPECT_RAN(run, "Cannot open file " + file + ".\n", 255);
        EXPECT_EQ(read(file), "A=1\n");
        EXPECT_FALSE(exists(file + ".tmp"));
        ASSERT_EQ(::unlink(file.c_str()), 0);
    }
    const std::string file = write("orv.conf", "A=1\n#\tkeep   me\nB=2");
    const Ran run =
        inChild([&] { return replaceString(file, "A=", "A=" + std::string(5000, 'v')); },
                {.sizeLimit = 1000});
    EXPECT_RAN(run, "Cannot write file " + file + ".tmp.\n", 255);
    EXPECT_EQ(read(file), "A=1\n#\tkeep   me\nB=2");
    EXPECT_FALSE(exists(file + ".tmp"));
    const std::string same = write("same", "A=1\n# note\nB=2\n"), link = path("soft");
    const long long before = agedMtime(same);
    EXPECT_EQ(replaceString(same, "C=", "C=3"), 1);
    EXPECT_EQ(replaceString3(same, "A=", "A=1"), 1);
    EXPECT_EQ(mtimeOf(same), before);
    ASSERT_EQ(::chmod(same.c_str(), 0640), 0);
    ASSERT_EQ(::link(same.c_str(), path("hard").c_str()), 0);
    ASSERT_EQ(::symlink(same.c_str(), link.c_str()), 0);
    struct stat old {
    }, now{};
    ASSERT_EQ(::stat(same.c_str(), &old), 0);
    EXPECT_EQ(replaceString(link, "A=", "A=2"), 1);
    ASSERT_EQ(::stat(same.c_str(), &now), 0);
    EXPECT_EQ(read("hard"), "A=2\n# note\nB=2\n");
    EXPECT_EQ(now.st_ino, old.st_ino);
    EXPECT_EQ(now.st_mode & 07777, 0640U);
    ASSERT_EQ(::lstat(link.c_str(), &now), 0);
    EXPECT_TRUE(S_ISLNK(now.st_mode));
}

TEST_F(Text, XmlValueReplaced) {
    const std::string env = "<env name=\"OSC_PORT\">";
    const std::string nine = env + "9</env>\n", attribute = "<a OSC_PORT=\"x\">";
    const std::string hidden = "<!-- " + env + "7</env> -->\n<![CDATA[OSC_PORT>1<]]>\n";
    const std::string runOn =
        std::string(25, 'o') + "\n<x>" + std::string(30, 'y') + "\n" + std::string(34, 'z');
    const struct {
        std::string before, value, after;
    } rows[] = {
        {"    " + env + "7</env>\n\t" + env + "8</env>  \n", "9", "    " + nine + " " + nine},
        {hidden, "9", hidden},
        {env + "</env>\n", "9000", env + "9000</env>\n"},
        {attribute + "1</a><b>OSC_PORT>2</b>\n", "9", attribute + "9</a><b>OSC_PORT>2</b>\n"},
        {"<env name=\"OSC_PORT\"\n  >7000\n</env>\n<o/>\n", "9000", env + "9000\n\n</env>\n<o/>\n"},
        {"<env name=\"OSC_PORT\" />\n<next/>\n", "9000", "<env name=\"OSC_PORT\" />9000\n\n"},
        {env + "7000\n" + runOn + "</env>\n<n>1</n>\n", "9000", env + "9000\n</env>\n<n>1</n>\n"},
        {"<e OSC_PORT>7\nold text that is long\n", "9000", "<e OSC_PORT>9000\n"},
        {"<e OSC_PORT>1</e>\n", "a  b\t", "<e OSC_PORT>a  b </e>\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(shown(row.before));
        const std::string file = write("orvsc_conf.xml", row.before);
        EXPECT_EQ(replaceValueInXML(file, "OSC_PORT", row.value), 1);
        EXPECT_EQ(read(file), row.after);
        EXPECT_FALSE(exists(file + ".tmp"));
    }
}

TEST_F(Text, XmlValueRead) {
    const std::string named = "<e name=\"P\">";
    const struct {
        std::string text, value;
    } rows[] = {
        {named + "1</e>\n" + named + "22</e>\n", "22"},
        {named + "</e>\n", ""},
        {"<e name=\"Q\">1</e>\n", ""},
        {named + "1</e>\n<!-- " + named + "2</e> -->\n", "1"},
        {named + "12   \n" + named + "34</e>\n", "12"},
        {named + "1</e>\n<e name=\"P\"\n" + named + "3</e>\n", "1"},
        {named + "a\tb</e>\n", "a b"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(shown(row.text));
        EXPECT_EQ(getValueInXML(write("d.xml", row.text), "name=\"P\""), row.value);
    }
}

// Several tags in one pass, or one by one where a value runs on below its line.
TEST_F(Text, XmlValuesInOnePass) {
    const std::string two = write("two.xml", "<a P>1</a><b Q>2</b>\n<c Q>3</c>\n");
    const std::string runOn = write("on.xml", "<a P>1\nold\n<b Q>2</b>\n");
    EXPECT_EQ(replaceValuesInXML(two, {{"P", "7"}, {"Q", "8"}}), 2U);
    EXPECT_EQ(replaceValuesInXML(runOn, {{"P", "7"}, {"Q", "8"}}), 2U);
    EXPECT_EQ(read(two), "<a P>7</a><b Q>8</b>\n<c Q>8</c>\n");
    EXPECT_EQ(read(runOn), "<a P>7\n\n<b Q>8</b>\n");
}

// Unreadable files are reported by both; a file that cannot be written keeps the new text
// in its ".tmp"; a link at the ".tmp" is never followed.
TEST_F(Text, XmlValueFailures) {
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    for (const std::string& file : {path("missing.xml"), dir_, path("fifo")}) {
        SCOPED_TRACE(file);
        const Ran replaced = inChild([&] { return replaceValueInXML(file, "P", "9"); });
        EXPECT_RAN(replaced, "Cannot open file " + file + ".\n", 255);
        const Ran got = inChild([&] { return getValueInXML(file, "P").has_value() ? 1 : 0; });
        EXPECT_RAN(got, "Cannot open file " + file + ".\n", 0);
    }
    const std::string file = write("mrss.xml", "<e OSC_PORT>1</e>\n<f/>\n");
    ASSERT_EQ(::chmod(file.c_str(), 0444), 0);
    Ran run =
        inChild([&] { return replaceValueInXML(file, "OSC_PORT", "2"); }, {.unprivileged = true});
    EXPECT_RAN(run, "Cannot open file " + file + ".\n", 255);
    EXPECT_EQ(read(file), "<e OSC_PORT>1</e>\n<f/>\n");
    EXPECT_EQ(read(file + ".tmp"), "<e OSC_PORT>2</e>\n<f/>\n");
    const std::string linked = write("rs.xml", "<e OSC_PORT>1</e>\n");
    ASSERT_EQ(::symlink(write("victim", "precious\n").c_str(), (linked + ".tmp").c_str()), 0);
    run = inChild([&] { return replaceValueInXML(linked, "OSC_PORT", "2"); });
    EXPECT_RAN(run, "Cannot open file " + linked + ".\n", 255);
    EXPECT_EQ(read(linked), "<e OSC_PORT>1</e>\n");
    EXPECT_EQ(read("victim"), "precious\n");
}

// A sparse file may claim a size no string can hold (tmpfs allows the largest off_t): it
// is a file that cannot be read, not the end of the run.
TEST(Storage, FileTooLargeToHoldIsNotRead) {
    const std::string huge = "/dev/shm/orv_text_test_sparse." + std::to_string(::getpid());
    const int fd = ::open(huge.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    FileText out;
    out.assign("junk");
    if (fd >= 0 && ::ftruncate(fd, std::numeric_limits<off_t>::max()) == 0) {
        EXPECT_FALSE(readRegularFile(huge, out));
        EXPECT_TRUE(out.empty());
    }
    if (fd >= 0) ::close(fd), ::unlink(huge.c_str());
}

// A failed append leaves no half line and fails the run.
TEST_F(Text, FailedAppend) {
    const std::string file = write("conf", std::string(4000, 'a'));
    EXPECT_TRUE(appendToFile(file, "\nB=1"));
    const std::string tooLong = "\nK=" + std::string(500, 'v');
    const Ran appended =
        inChild([&] { return appendToFile(file, tooLong) ? 1 : 0; }, {.sizeLimit = 4096});
    EXPECT_RAN(appended, "Cannot write file " + file + ".\n", 0);
    const Ran failedRun = inChild(
        [&] { return appendToFile(file, tooLong) ? 0 : anyWriteFailed(); }, {.sizeLimit = 4096});
    EXPECT_EQ(failedRun.status, 1);
    EXPECT_EQ(read(file), std::string(4000, 'a') + "\nB=1");
}

TEST_F(Text, PreviewHunksAreThoseOfDiff) {
    const auto lines = [](int from, int to) {
        std::string text;
        for (int i = from; i <= to; ++i) text += "line " + std::to_string(i) + "\n";
        return text;
    };
    const std::string base = lines(1, 30);
    const struct {
        std::string before, after;
    } rows[] = {
        {base, base},
        {base, lines(1, 14) + "changed\n" + lines(16, 30)},
        {base, "new\n" + lines(2, 30)},
        {base, lines(1, 29)},
        {base, lines(1, 10) + lines(12, 17) + "x\n" + lines(19, 30)},
        {base, lines(1, 10) + lines(12, 18) + "x\n" + lines(20, 30)},
        {"", "a\nb\n"},
        {"a\nb\n", ""},
        {"a\nb", "a\nb\n"},
        {"a\nb\n", "a\nc"},
        {"only\n", "only\nadded\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(shown(row.before) + " -> " + shown(row.after));
        const std::string command =
            "diff -u " + write("a", row.before) + " " + write("b", row.after) + " | tail -n +3";
        FILE* pipe = popen(command.c_str(), "r");
        std::string hunks;
        char buffer[4096];
        for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            hunks.append(buffer, n);
        pclose(pipe);
        EXPECT_EQ(unifiedHunks(row.before, row.after), hunks);
    }
}

}  // namespace
}  // namespace orv
