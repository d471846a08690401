// Tokenising, substrings, the last-occurrence search, placeholder substitution and
// appending a line to a file.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <optional>
#include <string>
#include <vector>

#include "text/strings.hpp"
#include "fixture.hpp"

namespace orv {
namespace {

TEST(TextStrings, Tokenize) {
    struct Case {
        const char* source;
        const char* delimiter;
        std::vector<std::string> tokens;
    };
    const std::vector<Case> cases = {
        {"a,,b,", ",", {"a", "b"}},
        {",,,", ",", {}},
        {"", ",", {}},
        {"h1, h2 h3", " ,", {"h1", "h2", "h3"}},
        {",x", ",", {"x"}},
        {"abc", "", {"abc"}},
        {"hostA hostB", ",", {"hostA hostB"}},
    };
    for (const Case& c : cases) {
        std::vector<std::string> tokens = {"stale"};
        EXPECT_EQ(tokenize(c.source, tokens, c.delimiter), static_cast<int>(c.tokens.size()))
            << c.source;
        EXPECT_EQ(tokens, c.tokens) << c.source;
    }
}

TEST(TextStrings, Substrings) {
    EXPECT_EQ(subString("abcdef", 3), "abc");
    EXPECT_EQ(subString("ab", 5), "ab");
    EXPECT_EQ(subString("abc", 0), "");
    EXPECT_EQ(subString("abc", -2), "");

    struct Case {
        int start, end;
        std::optional<std::string> result;
    };
    const std::vector<Case> cases = {
        {2, 4, "cd"},          {4, 2, std::nullopt}, {0, 0, ""},   {-1, 2, std::nullopt},
        {1, -1, std::nullopt}, {2, 100, "cdef"},     {10, 12, ""}, {0, 6, "abcdef"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(subString2("abcdef", c.start, c.end), c.result) << c.start << "," << c.end;
    }
    const std::string wide(3000, 'z');
    EXPECT_EQ(subString2(wide, 1, 2999), std::string(2998, 'z'));
}

TEST(TextStrings, LastOccurrence) {
    EXPECT_EQ(strrfind("/a/conf/b/conf", "conf"), 10u);
    EXPECT_EQ(strrfind("aaa", "aa"), 0u);  // hits never overlap
    EXPECT_EQ(strrfind("aaaa", "aa"), 2u);
    EXPECT_EQ(strrfind("abc", "x"), std::string_view::npos);
    EXPECT_EQ(strrfind("", "a"), std::string_view::npos);
    EXPECT_EQ(strrfind("abc", ""), std::string_view::npos);
}

TEST(TextStrings, ReplaceVariable) {
    struct Case {
        const char* line;
        const char* source;
        const char* dest;
        const char* result;
    };
    const std::vector<Case> cases = {
        {"X=@SHARETOP@/conf", "@SHARETOP@", "/share", "X=/share/conf"},
        {"X=/conf", "@SHARETOP@", "/share", "X=/conf"},
        {"@A@:@A@", "@A@", "1", "1:@A@"},
        {"PATH=TOKEN/bin", "TOKEN", "", "PATH=/bin"},
        {"x", "x", "a much longer replacement", "a much longer replacement"},
    };
    for (const Case& c : cases) {
        std::string line = c.line;
        replaceVariable(line, c.source, c.dest);
        EXPECT_EQ(line, c.result) << c.line;
    }
}

class TextAppend : public test::TempDirTest {};

TEST_F(TextAppend, AppendsALineAndCreatesMissingFiles) {
    const std::string file = path("new.txt");
    EXPECT_EQ(appendString(file, "first"), 1);
    EXPECT_EQ(appendString(file, "second line"), 1);
    EXPECT_EQ(read(file), "first\nsecond line\n");

    const std::string kept = write("kept.txt", "no newline");
    EXPECT_EQ(appendString(kept, "x"), 1);
    EXPECT_EQ(read(kept), "no newlinex\n");
}

TEST_F(TextAppend, RefusesDirectoriesAndSpecialFiles) {
    EXPECT_EQ(appendString(dir_, "x"), -1);
    EXPECT_EQ(appendString(path("no/such/dir/file"), "x"), -1);
    const std::string fifo = path("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const test::ChildRun run = test::runInChild("", [&] {
        ::alarm(5);
        return appendString(fifo, "x") == -1 ? 0 : 1;
    });
    EXPECT_EQ(run.result, 0);
}

}  // namespace
}  // namespace orv
