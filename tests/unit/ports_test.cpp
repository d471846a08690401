// Setting several port keys of one key file in one rewrite must leave exactly what one
// chgPorts call per key leaves: the same bytes, messages and result. Each case runs both
// ways on copies of one text, generated (mixing what the line reader normalises) or pinned.
#include <sys/resource.h>

#include <csignal>
#include <random>

#include "fixture.hpp"
#include "ports/base_port.hpp"

namespace orv {
namespace {

using namespace std::string_literals;
using Settings = std::vector<PortSetting>;
const Settings kKernel = {{"ORV_LIM_PORT", "40000"}, {"ORV_KD_PORT", "40001"}, {"ORV_PEM_PORT", "40002"}};

class PortKeyLines : public test::TempDirTest {
  protected:
    // Checks the one rewrite against the per-key ones (under a file-size limit, in a child,
    // when sizeLimit is set) and returns its text; its output and result go to `output`.
    std::string both(const std::string& content, const Settings& settings, long sizeLimit = 0) {
        const std::string a = write("a/orv.conf", content), b = write("b/orv.conf", content);
        const auto run = [sizeLimit, this](const std::function<int()>& body) {
            if (sizeLimit == 0) {
                testing::internal::CaptureStdout();
                const int result = body() & 0xff;
                return test::ChildRun{testing::internal::GetCapturedStdout(), result};
            }
            return inChild([&] {
                const struct rlimit limit = {static_cast<rlim_t>(sizeLimit), static_cast<rlim_t>(sizeLimit)};
                ::signal(SIGXFSZ, SIG_IGN);
                ::setrlimit(RLIMIT_FSIZE, &limit);
                return body();
            });
        };
        const test::ChildRun one = run([&] { return chgKeyLines(a, settings); });
        test::ChildRun each = run([&] {
            int result = 0;
            for (const PortSetting& s : settings) result |= chgPorts(b, s.key, s.value);
            return result;
        });
        for (std::size_t p = each.output.find(b); p != std::string::npos; p = each.output.find(b, p)) each.output.replace(p, b.size(), a);
        EXPECT_EQ(one.output + std::to_string(one.result) + read(a), each.output + std::to_string(each.result) + read(b))
            << testing::PrintToString(content);
        EXPECT_EQ(exists(a + ".tmp"), exists(b + ".tmp"));
        output = one.output + std::to_string(one.result);
        return read(a);
    }
    std::string output;
};

TEST_F(PortKeyLines, GeneratedTextsComeOutAsFromOneRewritePerKey) {
    const std::vector<std::string> pieces = {"K1=1", "K2", "xK1y", "# K2 note", " ", "  ", "\t", "\r", "a", "b c", "  ind", "K1K2", "\0"s,
                                             "trail ", "\n", "\n", "\n", "\n", "_PORT", "A_PORT=1", "B_PORT", "A_POR", "#B_PORT ",
                                             "xA_PORTy", "A_PORTB_PORT"};
    // K1 and K2 are searched one by one; A_PORT and B_PORT share "_PORT", found with one
    // search (lines with "_PORT" alone stay as they are).
    const std::vector<Settings> settings = {{{"K1", "9"}, {"K2", "8"}}, {{"K1", "\t9 "}, {"K2", "8"}}, {{"K1", "9 K2"}, {"K2", "8"}},
                                            {{"K1", "two\nlines"}, {"K2", "8"}}, {{"A_PORT", "1 B_PORT"}, {"B_PORT", "2"}},
                                            {{"A_PORT", "7"}, {"B_PORT", "2"}}};
    std::mt19937 rnd(20261122);
    for (int round = 0; round < 300 && !HasFailure(); ++round) {
        std::string content;
        for (int i = static_cast<int>(rnd() % 30); i > 0; --i) content += pieces[rnd() % pieces.size()];
        both(content + (rnd() % 4 != 0 ? "\n" : ""), settings[static_cast<std::size_t>(round) % settings.size()]);
    }
}

TEST_F(PortKeyLines, PinnedTexts) {
    EXPECT_EQ(both("# ORV kernel\nORV_LIM_PORT=7869\n#ORV_KD_PORT=1\n\tORV_PEM_PORT = 7871   \nXORV_KD_PORT_OLD=2\r\n"
                   "# ORV_LIM_PORT ORV_KD_PORT ORV_PEM_PORT\n   \nKEEP=\"a\tb\"  \nNUL=a\0b\ntail   "s, kKernel),
              "# ORV kernel\nORV_LIM_PORT=40000\nORV_KD_PORT=40001\nORV_PEM_PORT=40002\nORV_KD_PORT=40001\n"
              "ORV_LIM_PORT=40000\n \nKEEP=\"a b\"\nNUL=a\0b\ntail\n"s);
    EXPECT_EQ(both("a \nORV_KD_PORT=1\n", kKernel), "a\nORV_KD_PORT=40001\n");
    EXPECT_EQ(both("LIM\nM=5\nother\n", {{"LIM", "5"}, {"M=5", "6"}, {"other", "7"}}), "M=5=6\nM=5=6\nother=7\n");
    EXPECT_EQ(both("A=1\nB=2\n", {{"A", "1\t B"}, {"B", "2 "}}) + both("A=1\nB=2\n", {{"1\nB", "X"}}) + both("A=1\nB=2\n", {{"", "X"}}),
              "B=2\nB=2\nA=1\nB=2\n=X\n=X\n");
    std::string many, expected;
    for (int i = 0; i < 300; ++i) {
        many.append("B").append(std::to_string(i)).append("\nA=").append(std::to_string(i)).append("\n");
        expected.append("B").append(std::to_string(i)).append("\nA=x\n");
    }
    EXPECT_EQ(both(many, {{"A", "x"}}), expected);
    // A file unchanged is not written; a missing file, a directory in its place and a failed
    // ".tmp" write report every key in turn, as three failing rewrites would.
    const std::string same = write("same.conf", "ORV_LIM_PORT=40000\nORV_KD_PORT=40001\nORV_PEM_PORT=40002\n");
    ageFile(same);
    const struct timespec before = mtimeOf(same);
    EXPECT_EQ(chgKeyLines(same, kKernel), 0);
    EXPECT_TRUE(mtimeOf(same).tv_nsec == before.tv_nsec && mtimeOf(same).tv_sec == before.tv_sec);
    const auto failed = [](const std::string& how) {
        return how + "Set ORV_LIM_PORT in 40000 failed.\n" + how + "Set ORV_KD_PORT in 40001 failed.\n" + how + "Set ORV_PEM_PORT in 40002 failed.\n255";
    };
    const test::ChildRun missing = inChild([&] { return chgKeyLines(path("none.conf"), kKernel); });
    EXPECT_EQ(missing.output + std::to_string(missing.result), failed("Cannot open file " + path("none.conf") + ".\n"));
    EXPECT_FALSE(exists(path("none.conf")));
    const std::string content = "ORV_LIM_PORT=7869\n" + std::string(3000, '#') + "\nORV_KD_PORT=7870\nORV_PEM_PORT=7871\n";
    EXPECT_EQ(both(content, kKernel, 1000), content);
    EXPECT_EQ(output, failed("Cannot write file " + path("a/orv.conf") + ".tmp.\n"));
    ASSERT_EQ(::unlink(path("a/orv.conf").c_str()) + ::mkdir(path("a/orv.conf").c_str(), 0755), 0);
    const test::ChildRun directory = inChild([&] { return chgKeyLines(path("a/orv.conf"), kKernel); });
    EXPECT_EQ(directory.output + std::to_string(directory.result), failed("Cannot open file " + path("a/orv.conf") + ".\n"));
}

}  // namespace
}  // namespace orv
