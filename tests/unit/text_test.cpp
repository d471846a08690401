// The text engine: the line reader and KEY=VALUE parser, the string helpers, the four
// rewrite primitives (what each writes, and the safety rules every rewrite keeps), XML
// values, and the hunks of the dry-run preview against diff -u itself.
#include <limits>
#include <random>

#include "fixture.hpp"
#include "storage/file_store.hpp"
#include "text/line_reader.hpp"
#include "text/rewrite.hpp"
#include "text/strings.hpp"
#include "preview/unified_diff.hpp"
#include "text/xml_value.hpp"

namespace orv {
namespace {

using namespace std::string_literals;
using Lines = std::vector<std::string>;
using std::nullopt;
using Text = test::TempDirTest;

TEST(TextReader, LogicalLinesWordsValuesAndKeyLines) {
    const std::string big(1 << 20, 'v');
    const struct { std::string text; int confFormat, count; Lines lines; } texts[] = {  // confFormat 1: '#' comments and backslashes apply
        {"KEY=value # note\nB=2\n", 1, 2, {"KEY=value", "B=2"}}, {"A=\"x # y\"  # c\n", 1, 1, {"A=\"x # y\""}},
        {"A=1 \\\n  B=2\nC\n", 1, 3, {"A=1    B=2", "C"}}, {"a\\\"b # c\n", 1, 1, {"a\\\"b"}},
        {"a\\#b\\\\c\n", 1, 1, {"a\\#b\\\\c"}}, {"a\\\tb\n", 1, 1, {"a b"}}, {"ab\\", 1, 0, {"ab"}},
        {"#c\nA\n", 1, 2, {"", "A"}}, {"A=1 #c", 1, 0, {"A=1"}}, {"#only", 1, 0, {}},
        {"a\\\nb\n#c\nd", 1, 3, {"a b", "", "d"}}, {"# c\na\\\nb\n", 0, 3, {"# c", "a\\", "b"}},
        {"a\tb\r\nc \t \n", 0, 2, {"a b", "c"}}, {"a\vb\fc\n", 1, 1, {"a b c"}}, {"   \n\n\n", 0, 3, {" ", "", ""}},
        {"", 0, 0, {}}, {"a\nx", 0, 1, {"a", "x"}}, {"a\nx   ", 0, 1, {"a"}}, {" ", 0, 0, {" "}},
        {"a\0b\n"s, 0, 1, {"a\0b"s}}, {"a\0#b\n"s, 1, 1, {"a\0"s}}, {"\xa0x\xa0\n", 0, 1, {"\xa0x\xa0"}},
        {"K=" + big + "\nnext\n", 1, 2, {"K=" + big, "next"}},
    };
    for (const auto& c : texts) {
        LineReader in(c.text);
        Lines lines;
        int count = 0;
        for (std::string line = "left over"; getNextLineD_(in, count, c.confFormat, line);) lines.push_back(line);
        EXPECT_EQ(lines, c.lines) << c.text.substr(0, 40);
        EXPECT_EQ(count, c.count) << c.text.substr(0, 40);
    }
    LineReader conf("  \n#c\n\t\nA=1\n\nB=2 # x\n"s);
    int count = 0;
    std::string line;
    EXPECT_TRUE(getNextLineC_(conf, count, 1, line) && line == "A=1" && count == 4);
    EXPECT_TRUE(getNextLineC_(conf, count, 1, line) && line == "B=2" && !getNextLineC_(conf, count, 1, line) && count == 6);
    const std::string words = "  ab\t" + std::string(5000, 'w') + " ";
    std::string_view cursor(words);
    EXPECT_EQ(getNextWord_(cursor), "ab");
    EXPECT_EQ(getNextWord_(cursor), std::string(4095, 'w'));
    EXPECT_EQ(getNextWord_(cursor), std::string(905, 'w'));
    EXPECT_EQ(getNextWord_(cursor), nullopt);
    const struct { const char* text; std::optional<std::string> first, second; } values[] = {
        {"plain rest", "plain", "rest"}, {"\"a   b\" c", "a b", "c"}, {"\"abc\"def", "abc", nullopt}, {"\" abc\"", "abc", nullopt},
        {"\"a b\"c\" d", "a b\"c", "d"}, {"\"\"", "", nullopt}, {"\"unclosed and more", nullopt, nullopt}, {"   ", nullopt, nullopt}};
    for (const auto& c : values) {
        std::string_view at(c.text);
        EXPECT_EQ(getNextValueQ_(at, '"', '"'), c.first) << c.text;
        EXPECT_EQ(getNextValueQ_(at, '"', '"'), c.second) << c.text;
    }
    const struct { std::string line; int result; std::string keyAndValue; } keyLines[] = {  // "<old>": left alone
        {"KEY=value", 0, "KEY|value"}, {"KEY=", 0, "KEY|"}, {" KEY=v", 0, "KEY|v"}, {"KEY==x", 0, "KEY|=x"},
        {"KEY=\"a   b\"", 0, "KEY|a b"}, {"KEY=\"a#b\"", 0, "KEY|a#b"}, {"KEY=a \"unclosed", 0, "KEY|a"},
        {"KEY= x", -1, "KEY|<old>"}, {"KEY =x", -1, "KEY|<old>"}, {"KEY=a b", -1, "KEY|a"}, {"KEY=\"abc", -1, "KEY|<old>"},
        {"no equals", -1, "no|<old>"}, {"", -1, "|<old>"}, {"K=" + std::string(4092, 'x'), 0, "K|" + std::string(4092, 'x')},
        {"K=" + std::string(4093, 'x'), -1, "<old>|<old>"},
    };
    for (const auto& c : keyLines) {
        std::string key = "<old>", value = "<old>";
        EXPECT_EQ(parseLine(c.line, key, value), c.result) << c.line.substr(0, 20);
        EXPECT_EQ(key + "|" + value, c.keyAndValue) << c.line.substr(0, 20);
    }
}

TEST_F(Text, ConfLookupTakesTheFirstLineWithTheKeyPassingOverOneMalformedLine) {
    const std::string conf = write("orv.conf", "# A=0\nA=\"x  y\" # note\nB=2\nA=3\nLONG=\\\ntail\n");
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
    const auto notComment = [](const std::string& line) { return line[0] != '#'; };
    LineReader in("# K=0\nx\tK=1  \n  K\nK=2\n"s), folded("a\tK=1\n"s);
    EXPECT_EQ(firstRawLineHolding(in, "K=", notComment), "x K=1");
    EXPECT_EQ(in.position(), 14U);
    EXPECT_EQ(firstRawLineHolding(in, "K=", notComment), "K=2");
    EXPECT_EQ(firstRawLineHolding(in, "K=", notComment), nullopt);
    EXPECT_EQ(firstRawLineHolding(folded, "a K", notComment), "a K=1");  // whitespace in the needle
}

TEST_F(Text, Strings) {
    const struct { const char *source, *delimiter; Lines tokens; } cases[] = {
        {"a,,b,", ",", {"a", "b"}}, {",,,", ",", {}}, {"h1, h2 h3", " ,", {"h1", "h2", "h3"}}, {"abc", "", {"abc"}}};
    for (const auto& c : cases) {
        Lines tokens = {"stale"};
        EXPECT_EQ(tokenize(c.source, tokens, c.delimiter), static_cast<int>(c.tokens.size()));
        EXPECT_EQ(tokens, c.tokens) << c.source;
    }
    EXPECT_EQ(subString("abcdef", 3) + subString("ab", 5) + subString("abc", 0) + subString("abc", -2), "abcab");
    EXPECT_EQ(subString2("abcdef", 2, 4).value_or("-") + subString2("abcdef", 4, 2).value_or("-") +
                  subString2("abcdef", -1, 2).value_or("-") + subString2("abcdef", 1, -1).value_or("-") +
                  subString2("abcdef", 2, 100).value_or("-") + subString2("abcdef", 10, 12).value_or("-") + "|",
              "cd---cdef|");
    EXPECT_EQ(strrfind("/a/conf/b/conf", "conf"), 10u);
    EXPECT_EQ(strrfind("aaa", "aa") + strrfind("aaaa", "aa"), 2u);  // hits never overlap
    EXPECT_EQ(strrfind("abc", ""), std::string_view::npos);
    std::string line = "@A@:@A@";
    replaceVariable(line, "@A@", "a longer one");
    EXPECT_EQ(line, "a longer one:@A@");
    EXPECT_EQ(appendString(path("new"), "first") + appendString(write("kept", "no newline"), "x"), 2);
    EXPECT_EQ(read("new") + read("kept"), "first\nno newlinex\n");
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    EXPECT_EQ(inChild([&] { return appendString(dir_, "x") + appendString(path("fifo"), "x"); }), "[254]");
}

using Primitive = int (*)(const std::string&, const std::string&, const std::string&);

TEST_F(Text, WhatEachRewritePrimitiveWrites) {
    const std::string wide(5000, 'w');
    const Primitive S = replaceString, S3 = replaceString3, F = replaceStringInFile, W = replaceStringWithoutComment;
    const struct { Primitive edit; std::string before, key, value, after; } cases[] = {
        {S, "A=1\n#A=0\nXA=2\n", "A=", "A=5", "A=5\nA=5\nA=5\n"}, {S, "A=1\n#A=0\nB=2\n", "A=", "", "B=2\n"},
        {S, "A=1\tB   \nK=1\n", "K=", "K=a\tb ", "A=1 B\nK=a b\n"}, {S, "K=1\n", "K=", "K=1\nL=2", "K=1\nL=2\n"},
        {S, "A=1\r\nB=2", "B=", "B=5", "A=1\nB=5\n"}, {S, "A\0B=1\nK=1\n"s, "K=", "K=2", "A\0B=1\nK=2\n"s},
        {S, "A=1\nx   ", "A=", "A=2", "A=2\n"}, {S, "A=1\n   \n\n", "A=", "A=2", "A=2\n \n\n"}, {S, "a\nb\n", "", "z", "z\nz\n"},
        {S, "A=1\nK=" + wide + "\n", "K=", "K=2", "A=1\nK=2\n"}, {S3, "A=1\nB=2", "C=", "C=3 \t ", "A=1\nB=2\nC=3\n"},
        {S3, "A=1\nB=2\nA=3\n", "A=", "A=9", "A=9\nB=2\nA=9\n"}, {S3, "A=1\nB=2\n", "A=", "", "\nB=2\n"},
        {S3, "B=2\n", "A=", "", "B=2\n"}, {S3, "B=2\n", "C", "x  ", "B=2\n"}, {S3, "", "A=", "A=" + wide, "A=" + wide + "\n"},
        {F, "PATH=TOKEN/bin:TOKEN/lib\nO=1\n", "TOKEN", "/opt/x", "PATH=/opt/x/bin:TOKEN/lib\nO=1\n"},
        {F, "A=TOKEN/x\n", "TOKEN", "", "A=/x\n"}, {F, "A\tTOKEN  \nB", "TOKEN", "$HOME/x", "A\tTOKEN  \nB"},
        {W, "A=1\n#A=0\nXA=2\n", "A=", "A=5", "A=5\n#A=0\nA=5\n"}, {W, "   KEY=1\n  # KEY=1\n", "O=", "O", "KEY=1\n# KEY=1\n"},
        {W, "A=1\n # A=1\nB=2\n", "A=", "", "\n# A=1\nB=2\n"},
    };
    for (const auto& c : cases) {
        const std::string file = write("orv.conf", c.before);
        EXPECT_EQ(c.edit(file, c.key, c.value), 1) << c.before;
        EXPECT_EQ(read(file), c.after) << c.before;
        EXPECT_FALSE(exists(file + ".tmp")) << c.before;
    }
}

// Only the lines an editor selects are handed to it, the rest copied as spans: on generated
// texts (what the reader folds, blank-led lines, many edited lines) that must give the bytes
// of what a rewrite has always meant: every line read, edited, and the result read back.
TEST_F(Text, SelectedLinesRewriteAsEveryLine) {
    const Lines pieces = {"K1=1", "K2", "xK1y", "# K2 note", " ", "  ", "\t", "\r", "a", "  ind", "K1K2", "\0"s,
                          "trail ", "\n", "\n", "\n", "A_PORT=1", "B_PORT", "_PORT", "A_PORTB_PORT"};
    const Lines keys[] = {{"K1", "K2"}, {"A_PORT", "B_PORT"}, {"K1"}, {""}};
    const Lines values[] = {{"K1=9", "K2=8"}, {"", "K2=8"}, {"K1=\t9 ", "K2"}, {"two\nlines", "B_PORT=1"}};
    std::mt19937 rnd(20261123);
    for (int round = 0; round < 400; ++round) {
        std::string content;
        const int n = round % 50 == 0 ? 3000 : static_cast<int>(rnd() % 30);
        for (int i = 0; i < n; ++i) content += pieces[rnd() % pieces.size()];
        if (rnd() % 4 != 0) content += "\n";
        const Lines& k = keys[round % 4];
        const Lines& v = values[(round / 4) % 4];
        const bool indented = round % 3 == 0;
        const LineEditor edit = [&](const std::string& line, std::string& out) {
            std::string current = indented ? line.substr(std::min(line.find_first_not_of(' '), line.size())) : line;
            for (std::size_t i = 0; i < k.size(); ++i) {
                if (current.find(k[i]) != std::string::npos) current = v[i % v.size()];
            }
            if (!current.empty() || line.empty()) out += current + "\n";
        };
        LineReader in(content);
        std::string line, expected;
        for (int count = 0; getNextLineD_(in, count, 0, line);) edit(line, expected);
        const std::string a = write("a", content), b = write("b", content);
        EXPECT_EQ(rewriteLines(a, edit, {k, indented}), RewriteStatus::Ok);
        EXPECT_EQ(rewriteLines(b, edit), RewriteStatus::Ok);
        EXPECT_EQ(read(a), normalisedLines(expected)) << testing::PrintToString(content);
        EXPECT_EQ(read(b), read(a)) << testing::PrintToString(content);
        if (HasFailure()) return;
    }
}

// Every rewrite: a missing file, a directory or a FIFO is reported and never waited on; a
// link at the ".tmp" is never followed (two primitives name the ".tmp", two the file); a file
// that cannot be written stays as it was; a failed ".tmp" write loses nothing; a no-op writes
// nothing; a rewrite keeps the inode, hard links and mode, and edits through a symbolic link.
TEST_F(Text, SafetyRulesOfEveryRewrite) {
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    for (const Primitive edit : {replaceString, replaceString3, replaceStringInFile, replaceStringWithoutComment}) {
        const bool namesTmp = edit == replaceString3 || edit == replaceStringInFile;
        for (const std::string& file : {path("missing"), dir_, path("fifo")}) {
            const std::string run = inChild([&] { return edit(file, "A=", "A=1"); });
            EXPECT_EQ(run + std::to_string(exists(file + ".tmp")), "Cannot open file " + file + ".\n[255]0");
        }
        const std::string file = write("orv.conf", "A=1\n"), victim = write("victim", "precious\n");
        ASSERT_EQ(::symlink(victim.c_str(), (file + ".tmp").c_str()), 0);
        std::string run = inChild([&] { return edit(file, "A=", "A=2"); });
        EXPECT_EQ(run + read(file) + read(victim),
                  "Cannot open file " + file + (namesTmp ? ".tmp" : "") + ".\n[255]A=1\nprecious\n");
        ASSERT_EQ(::unlink((file + ".tmp").c_str()) + ::chmod(file.c_str(), 0444), 0);
        run = inChild([&] { return edit(file, "A=", "A=2"); }, true);
        EXPECT_EQ(run + read(file) + std::to_string(exists(file + ".tmp")),
                  "Cannot open file " + file + ".\n[255]A=1\n0");
        ASSERT_EQ(::unlink(file.c_str()), 0);
    }
    const std::string file = write("orv.conf", "A=1\n#\tkeep   me\nB=2");
    const std::string run = inChild([&] { return replaceString(file, "A=", "A=" + std::string(5000, 'v')); }, false, 1000);
    EXPECT_EQ(run + read(file) + std::to_string(exists(file + ".tmp")),
              "Cannot write file " + file + ".tmp.\n[255]A=1\n#\tkeep   me\nB=2" + "0");
    const std::string same = write("same", "A=1\n# note\nB=2\n"), link = path("soft");
    const long long before = agedMtime(same);
    EXPECT_EQ(replaceString(same, "C=", "C=3") + replaceString3(same, "A=", "A=1") + replaceStringInFile(same, "B=", "B=") +
                  replaceStringWithoutComment(same, "B=", "B=2"), 4);
    EXPECT_EQ(mtimeOf(same), before);
    ASSERT_EQ(::chmod(same.c_str(), 0640) + ::link(same.c_str(), path("hard").c_str()) + ::symlink(same.c_str(), link.c_str()), 0);
    struct stat old {}, now {};
    ASSERT_EQ(::stat(same.c_str(), &old), 0);
    EXPECT_EQ(replaceString(link, "A=", "A=2"), 1);
    ASSERT_EQ(::stat(same.c_str(), &now), 0);
    EXPECT_EQ(read("hard"), "A=2\n# note\nB=2\n");
    EXPECT_TRUE(now.st_ino == old.st_ino && (now.st_mode & 07777) == 0640 && ::lstat(link.c_str(), &now) == 0 && S_ISLNK(now.st_mode));
}

TEST_F(Text, XmlValues) {
    const std::string e = "<env name=\"OSC_PORT\">", o(25, 'o'), y(30, 'y'), z(34, 'z');
    const struct { std::string before, value, after; } cases[] = {
        {"<p>\n    " + e + "7000</env>\n\t" + e + "7001</env>  \n</p>", "9000", "<p>\n    " + e + "9000</env>\n " + e + "9000</env>\n</p>\n"},
        {"<!-- " + e + "7000</env> -->\n<![CDATA[OSC_PORT>1<]]>\n", "9", "<!-- " + e + "7000</env> -->\n<![CDATA[OSC_PORT>1<]]>\n"},
        {e + "</env>\n", "9000", e + "9000</env>\n"}, {"<a OSC_PORT=\"x\">1</a><b>OSC_PORT>2</b>\n", "9", "<a OSC_PORT=\"x\">9</a><b>OSC_PORT>2</b>\n"},
        {"<env name=\"OSC_PORT\"\n  >7000\n</env>\n<o>1</o>\n", "9000", e + "9000\n\n</env>\n<o>1</o>\n"},
        {"<env name=\"OSC_PORT\" />\n<next/>\n", "9000", "<env name=\"OSC_PORT\" />9000\n\n"},
        {e + "7000\n" + o + "\n<x>" + y + "\n" + z + "</env>\n<n>1</n>\n", "9000", e + "9000\n</env>\n<n>1</n>\n"},
        {"<e OSC_PORT>7\nold text that is long\n", "9000", "<e OSC_PORT>9000\n"}, {"<e OSC_PORT>1</e>\n", "a  b\t", "<e OSC_PORT>a  b </e>\n"},
    };
    for (const auto& c : cases) {
        const std::string file = write("orvsc_conf.xml", c.before);
        EXPECT_EQ(replaceValueInXML(file, "OSC_PORT", c.value), 1) << c.before;
        EXPECT_EQ(read(file), c.after) << c.before;
        EXPECT_FALSE(exists(file + ".tmp"));
    }
    const std::string p = "<e name=\"P\">";
    const struct { std::string text, value; } reads[] = {{p + "1</e>\n" + p + "22</e>\n", "22"}, {p + "</e>\n", ""}, {"<e name=\"Q\">1</e>\n", ""},
                 {p + "1</e>\n<!-- " + p + "2</e> -->\n", "1"}, {p + "12   \n" + p + "34</e>\n", "12"},
                 {p + "1</e>\n<e name=\"P\"\n" + p + "3</e>\n", "1"}, {p + "a\tb</e>\n", "a b"}};
    for (const auto& c : reads) EXPECT_EQ(getValueInXML(write("d.xml", c.text), "name=\"P\""), c.value) << c.text;
    // Several tags in one pass, or one by one where a value runs on below its line.
    const std::string two = "<a P>1</a><b Q>2</b>\n<c Q>3</c>\n", runOn = "<a P>1\nold\n<b Q>2</b>\n";
    EXPECT_EQ(replaceValuesInXML(write("two.xml", two), {{"P", "7"}, {"Q", "8"}}), 2U);
    EXPECT_EQ(replaceValuesInXML(write("on.xml", runOn), {{"P", "7"}, {"Q", "8"}}), 2U);
    EXPECT_EQ(read("two.xml") + read("on.xml"), "<a P>7</a><b Q>8</b>\n<c Q>8</c>\n<a P>7\n\n<b Q>8</b>\n");
    // Unreadable files are reported by both; a file that cannot be written keeps the new
    // text in its ".tmp"; a link at the ".tmp" is never followed.
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    for (const std::string& file : {path("missing.xml"), dir_, path("fifo")}) {
        EXPECT_EQ(inChild([&] { return replaceValueInXML(file, "P", "9") == -1 && !getValueInXML(file, "P"); }),
                  "Cannot open file " + file + ".\nCannot open file " + file + ".\n[1]");
    }
    const std::string file = write("mrss.xml", "<e OSC_PORT>1</e>\n<f/>\n");
    ASSERT_EQ(::chmod(file.c_str(), 0444), 0);
    std::string run = inChild([&] { return replaceValueInXML(file, "OSC_PORT", "2"); }, true);
    EXPECT_EQ(run + read(file) + read(file + ".tmp"),
              "Cannot open file " + file + ".\n[255]<e OSC_PORT>1</e>\n<f/>\n<e OSC_PORT>2</e>\n<f/>\n");
    const std::string rs = write("rs.xml", "<e OSC_PORT>1</e>\n");
    ASSERT_EQ(::symlink(write("victim", "precious\n").c_str(), (rs + ".tmp").c_str()), 0);
    run = inChild([&] { return replaceValueInXML(rs, "OSC_PORT", "2"); });
    EXPECT_EQ(run + read(rs) + read("victim"),
              "Cannot open file " + rs + ".\n[255]<e OSC_PORT>1</e>\nprecious\n");
}

// A sparse file may claim a size no string can hold (tmpfs allows the largest off_t): it
// is a file that cannot be read, not the end of the run. A failed append leaves no half
// line and fails the run.
TEST_F(Text, FilesTooLargeToHoldAndFailedAppends) {
    const std::string huge = "/dev/shm/orv_text_test_sparse." + std::to_string(::getpid());
    const int fd = ::open(huge.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    FileText out;
    out.assign("junk");
    if (fd >= 0 && ::ftruncate(fd, std::numeric_limits<off_t>::max()) == 0) {
        EXPECT_FALSE(readRegularFile(huge, out) || !out.empty());
    }
    if (fd >= 0) ::close(fd), ::unlink(huge.c_str());
    const std::string file = write("conf", std::string(4000, 'a'));
    const std::string run = inChild([&] { return appendToFile(file, "\nB=1") && !appendToFile(file, "\nK=" + std::string(500, 'v')) && anyWriteFailed(); },
                                    false, 4096);
    EXPECT_EQ(run + read(file),
              "Cannot write file " + file + ".\n[1]" + std::string(4000, 'a') + "\nB=1");
}

TEST_F(Text, PreviewHunksAreThoseOfDiff) {
    const auto lines = [](int from, int to) {
        std::string text;
        for (int i = from; i <= to; ++i) text += "line " + std::to_string(i) + "\n";
        return text;
    };
    const std::string base = lines(1, 30);
    const struct { std::string before, after; } cases[] = {{base, base}, {base, lines(1, 14) + "changed\n" + lines(16, 30)}, {base, "new\n" + lines(2, 30)}, {base, lines(1, 29)},
                 {base, lines(1, 10) + lines(12, 17) + "x\n" + lines(19, 30)}, {base, lines(1, 10) + lines(12, 18) + "x\n" + lines(20, 30)},
                 {"", "a\nb\n"}, {"a\nb\n", ""}, {"a\nb", "a\nb\n"}, {"a\nb\n", "a\nc"}, {"only\n", "only\nadded\n"}};
    for (const auto& c : cases) {
        FILE* pipe = popen(("diff -u " + write("a", c.before) + " " + write("b", c.after) + " | tail -n +3").c_str(), "r");
        std::string hunks;
        char buffer[4096];
        for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) hunks.append(buffer, n);
        pclose(pipe);
        EXPECT_EQ(unifiedHunks(c.before, c.after), hunks) << c.before << "->\n" << c.after;
    }
}

}  // namespace
}  // namespace orv
