// The search-based rewrite must leave exactly the bytes of the line-by-line rewrite with
// the same editor. Checked on generated texts that mix the cases the reader normalises
// (tabs, returns, trailing blanks, lone blanks, NUL bytes, no final newline) and on a few
// pinned ones.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "text/rewrite.hpp"
#include "text_test_support.hpp"

namespace orv {
namespace {

using namespace std::string_literals;

class RewriteHolding : public test::TextFileTest {
  protected:
    // An editor of the kind the search-based rewrite is for: lines that hold a key are
    // replaced (or dropped when the replacement is empty), the rest written as they are.
    static LineEditor replacing(const std::vector<std::string>& keys,
                                const std::vector<std::string>& values) {
        return [keys, values](const std::string& line, std::string& out) {
            const std::string* current = &line;
            for (std::size_t i = 0; i < keys.size(); ++i) {
                if (current->find(keys[i]) != std::string::npos) current = &values[i];
            }
            if (current != &line && current->empty()) return;
            out += *current;
            out.push_back('\n');
        };
    }

    // Runs both rewrites on copies of content; returns the search-based result.
    std::string both(const std::string& content, const std::vector<std::string>& keys,
                     const std::vector<std::string>& values) {
        const std::string a = write("a.conf", content);
        const std::string b = write("b.conf", content);
        const LineEditor edit = replacing(keys, values);
        EXPECT_EQ(rewriteLinesHolding(a, keys, edit), RewriteStatus::Ok);
        EXPECT_EQ(rewriteLines(b, edit), RewriteStatus::Ok);
        const std::string result = read(a);
        EXPECT_EQ(result, read(b)) << "content: " << testing::PrintToString(content);
        EXPECT_FALSE(exists(a + ".tmp"));
        return result;
    }
};

// Keys K1 and K2 are searched one by one; the keys of the second set share "_PORT" and
// are found with one search for it (lines with "_PORT" alone must stay as they are).
TEST_F(RewriteHolding, GeneratedTextsComeOutAsFromTheLineByLineRewrite) {
    const std::vector<std::string> pieces = {
        "K1=1",  "K2",       "xK1y",     "# K2 note",   " ",     "  ",       "\t",
        "\r",    "a",        "b c",      "  ind",       "K1K2",  "\0"s,      "trail ",
        "\n",    "\n",       "\n",       "\n",          "_PORT", "A_PORT=1", "B_PORT",
        "A_POR", "#B_PORT ", "xA_PORTy", "A_PORTB_PORT"};
    const std::vector<std::vector<std::string>> keySets = {{"K1", "K2"}, {"A_PORT", "B_PORT"}};
    const std::vector<std::vector<std::string>> valueSets = {
        {"K1=9", "K2=8"},        // plain replacements
        {"", "K2=8"},            // a dropped line
        {"K1=\t9 ", "K2=8"},     // a replacement the read-back must fold
        {"K2 now", "K2=8"},      // the first replacement holds the second key
        {"two\nlines", "K2=8"},  // a replacement that becomes two lines
        {"B_PORT=1", "X"},       // the first replacement holds the second port key
    };
    std::mt19937 rnd(20261122);
    for (int round = 0; round < 600; ++round) {
        std::string content;
        const int n = static_cast<int>(rnd() % 30);
        for (int i = 0; i < n; ++i) content += pieces[rnd() % pieces.size()];
        if (rnd() % 4 != 0) content += "\n";
        both(content, keySets[static_cast<std::size_t>(round) % keySets.size()],
             valueSets[static_cast<std::size_t>(round / 2) % valueSets.size()]);
        if (HasFailure()) return;
    }
}

TEST_F(RewriteHolding, PinnedCases) {
    EXPECT_EQ(both("A=1\nB=2\nA=3\n", {"A="}, {"A=5"}), "A=5\nB=2\nA=5\n");
    // A text not in the reader's form is edited line by line: tab folded, blanks dropped.
    EXPECT_EQ(both("A=1\t\nB=2  \nC", {"A="}, {"A=5"}), "A=5\nB=2\nC\n");
    EXPECT_EQ(both("a \nA=1\n", {"A="}, {"A=5"}), "a\nA=5\n");
    EXPECT_EQ(both(" \nA=1\r\n", {"A="}, {"A=5"}), " \nA=5\n");
    // A needle with a newline never matches a line; an empty needle matches every line.
    EXPECT_EQ(both("A=1\nB=2\n", {"1\nB"}, {"X"}), "A=1\nB=2\n");
    EXPECT_EQ(both("A=1\nB=2\n", {""}, {"X"}), "X\nX\n");
    EXPECT_EQ(both("", {"A="}, {"A=5"}), "");
    EXPECT_EQ(both("A=1\n\n \nA=1", {"A="}, {"A=5"}), "A=5\n\n \nA=5\n");
    // Many edited lines, and an edit on the last line.
    std::string many, expected;
    for (int i = 0; i < 300; ++i) {
        // Appended piece by piece: g++ 12 at -O3 warns falsely (-Wrestrict) on "B" + string.
        const std::string n = std::to_string(i);
        many.append("B").append(n).append("\nA=").append(n).append("\n");
        expected.append("B").append(n).append("\nA=x\n");
    }
    EXPECT_EQ(both(many, {"A="}, {"A=x"}), expected);
    EXPECT_EQ(both("B\nA=1\n", {"A="}, {"A=x"}), "B\nA=x\n");
}

TEST_F(RewriteHolding, UnchangedTextIsNotWrittenAndFailuresAreStatuses) {
    const std::string file = write("same.conf", "A=5\nB=2\n");
    ageFile(file);
    const struct stat before = statOf(file);
    EXPECT_EQ(rewriteLinesHolding(file, {"A="}, replacing({"A="}, {"A=5"})), RewriteStatus::Ok);
    EXPECT_EQ(statOf(file).st_mtim.tv_sec, before.st_mtim.tv_sec);
    EXPECT_EQ(statOf(file).st_mtim.tv_nsec, before.st_mtim.tv_nsec);

    EXPECT_EQ(rewriteLinesHolding(path("missing"), {"A="}, replacing({"A="}, {"A=5"})),
              RewriteStatus::ReadFailed);
    EXPECT_FALSE(exists(path("missing.tmp")));
    EXPECT_EQ(rewriteLinesHolding(dir_, {"A="}, replacing({"A="}, {"A=5"})),
              RewriteStatus::ReadFailed);
}

}  // namespace
}  // namespace orv
