// Setting several port keys of one key file in one rewrite must leave exactly what one
// chgPorts call per key leaves: the same bytes, messages and result. Each case runs both
// ways on copies of one text, generated (mixing what the line reader normalises) or pinned.
#include <random>

#include "fixture.hpp"
#include "ports/base_port.hpp"

namespace orv {
namespace {

using namespace std::string_literals;
using Settings = std::vector<PortSetting>;
const Settings kKernel = {
    {"ORV_LIM_PORT", "40000"}, {"ORV_KD_PORT", "40001"}, {"ORV_PEM_PORT", "40002"}};

class PortKeyLines : public test::TempDirTest {
  protected:
    // Checks the one rewrite against the per-key ones and returns its text; with a size limit
    // both run in a child under that limit, so that their messages are compared too.
    std::string both(const std::string& content, const Settings& settings, rlim_t childLimit = 0) {
        const std::string a = write("a/orv.conf", content), b = write("b/orv.conf", content);
        const auto run = [&](const std::function<int()>& body) {
            return childLimit != 0 ? inChild(body, {.sizeLimit = childLimit}) : Ran{"", body()};
        };
        last = run([&] { return chgKeyLines(a, settings); });
        Ran each = run([&] {
            int result = 0;
            for (const PortSetting& s : settings) result |= chgPorts(b, s.key, s.value);
            return result;
        });
        for (std::size_t p = each.output.find(b); p != std::string::npos;
             p = each.output.find(b, p)) {
            each.output.replace(p, b.size(), a);
        }
        EXPECT_EQ(last.output, each.output) << testing::PrintToString(content);
        EXPECT_EQ(last.status, each.status) << testing::PrintToString(content);
        EXPECT_EQ(read(a), read(b)) << testing::PrintToString(content);
        EXPECT_EQ(exists(a + ".tmp"), exists(b + ".tmp"));
        return read(a);
    }
    Ran last;
};

TEST_F(PortKeyLines, ComeOutAsFromOneRewritePerKey) {
    // Generated texts.
    const std::vector<std::string> pieces = {
        "K1=1",  "K2",       "xK1y",     "# K2 note",   " ",     "  ",       "\t",
        "\r",    "a",        "b c",      "  ind",       "K1K2",  "\0"s,      "trail ",
        "\n",    "\n",       "\n",       "\n",          "_PORT", "A_PORT=1", "B_PORT",
        "A_POR", "#B_PORT ", "xA_PORTy", "A_PORTB_PORT"};
    // K1 and K2 are searched one by one; A_PORT and B_PORT share "_PORT", found with one
    // search (lines with "_PORT" alone stay as they are).
    const std::vector<Settings> settings = {
        {{"K1", "9"}, {"K2", "8"}},
        {{"K1", "\t9 "}, {"K2", "8"}},
        {{"K1", "9 K2"}, {"K2", "8"}},
        {{"K1", "two\nlines"}, {"K2", "8"}},
        {{"A_PORT", "1 B_PORT"}, {"B_PORT", "2"}},
        {{"A_PORT", "7"}, {"B_PORT", "2"}},
    };
    std::mt19937 random(20261122);
    for (int round = 0; round < 300 && !HasFailure(); ++round) {
        std::string content;
        for (int i = static_cast<int>(random() % 30); i > 0; --i) {
            content += pieces[random() % pieces.size()];
        }
        both(content + (random() % 4 != 0 ? "\n" : ""),
             settings[static_cast<std::size_t>(round) % settings.size()]);
    }
    // Pinned texts.
    EXPECT_EQ(both("# ORV kernel\nORV_LIM_PORT=7869\n#ORV_KD_PORT=1\n\tORV_PEM_PORT = 7871   \n"
                   "XORV_KD_PORT_OLD=2\r\n# ORV_LIM_PORT ORV_KD_PORT ORV_PEM_PORT\n   \n"
                   "KEEP=\"a\tb\"  \nNUL=a\0b\ntail   "s,
                   kKernel),
              "# ORV kernel\nORV_LIM_PORT=40000\nORV_KD_PORT=40001\nORV_PEM_PORT=40002\n"
              "ORV_KD_PORT=40001\nORV_LIM_PORT=40000\n \nKEEP=\"a b\"\nNUL=a\0b\ntail\n"s);
    EXPECT_EQ(both("LIM\nM=5\nother\n", {{"LIM", "5"}, {"M=5", "6"}, {"other", "7"}}),
              "M=5=6\nM=5=6\nother=7\n");
    EXPECT_EQ(both("A=1\nB=2\n", {{"A", "1\t B"}, {"B", "2 "}}), "B=2\nB=2\n");
    EXPECT_EQ(both("A=1\nB=2\n", {{"1\nB", "X"}}), "A=1\nB=2\n");
    EXPECT_EQ(both("A=1\nB=2\n", {{"", "X"}}), "=X\n=X\n");
    // appended piece by piece: g++ 12 at -O3 warns falsely (-Wrestrict) on "B" + string
    std::string many, expected;
    for (int i = 0; i < 300; ++i) {
        many.append("B").append(std::to_string(i)).append("\nA=1\n");
        expected.append("B").append(std::to_string(i)).append("\nA=x\n");
    }
    EXPECT_EQ(both(many, {{"A", "x"}}), expected);
    // An unchanged file is not written; a failed ".tmp" write reports every key in turn, as
    // three failing rewrites would (a missing file: setbaseport.t).
    const std::string same =
        write("same.conf", "ORV_LIM_PORT=40000\nORV_KD_PORT=40001\nORV_PEM_PORT=40002\n");
    const long long before = agedMtime(same);
    EXPECT_EQ(chgKeyLines(same, kKernel), 0);
    EXPECT_EQ(mtimeOf(same), before);
    const auto failed = [](const std::string& how) {
        return how + "Set ORV_LIM_PORT in 40000 failed.\n" + how +
               "Set ORV_KD_PORT in 40001 failed.\n" + how + "Set ORV_PEM_PORT in 40002 failed.\n";
    };
    const std::string content =
        "ORV_LIM_PORT=7869\n" + std::string(3000, '#') + "\nORV_KD_PORT=7870\nORV_PEM_PORT=7871\n";
    const std::string file = path("a/orv.conf");
    EXPECT_EQ(both(content, kKernel, 1000), content);
    EXPECT_RAN(last, failed("Cannot write file " + file + ".tmp.\n"), 255);
}

}  // namespace
}  // namespace orv
