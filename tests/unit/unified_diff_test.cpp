// The hunks of the dry-run preview, checked against diff -u itself on a table of texts.
#include "text/unified_diff.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

std::string numbered(int from, int to) {
    std::string text;
    for (int i = from; i <= to; ++i) text += "line " + std::to_string(i) + "\n";
    return text;
}

// diff -u's hunks for the two texts (its two header lines dropped).
std::string diffHunks(const std::string& before, const std::string& after) {
    const std::string a = testing::TempDir() + "/before";
    const std::string b = testing::TempDir() + "/after";
    std::ofstream(a, std::ios::binary) << before;
    std::ofstream(b, std::ios::binary) << after;
    FILE* pipe = popen(("diff -u " + a + " " + b + " | tail -n +3").c_str(), "r");
    std::string out;
    char buffer[4096];
    for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
    pclose(pipe);
    return out;
}

TEST(UnifiedDiff, HunksAreThoseOfDiff) {
    const std::string base = numbered(1, 30);
    const struct {
        std::string before, after;
    } cases[] = {
        {base, base},
        {base, numbered(1, 14) + "changed\n" + numbered(16, 30)},
        {base, "new first\n" + numbered(2, 30)},
        {base, numbered(1, 29)},
        {base, numbered(1, 10) + numbered(12, 17) + "x\n" + numbered(19, 30)},  // 6 apart: one hunk
        {base, numbered(1, 10) + numbered(12, 18) + "x\n" + numbered(20, 30)},  // 7 apart: two
        {"", "a\nb\n"},
        {"a\nb\n", ""},
        {"a\nb", "a\nb\n"},
        {"a\nb\n", "a\nc"},
        {"only\n", "only\nadded\n"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(orv::unifiedHunks(c.before, c.after), diffHunks(c.before, c.after))
            << "before:\n" << c.before << "after:\n" << c.after;
    }
}

}  // namespace
