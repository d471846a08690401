// Setting several port keys of one key file in a single rewrite must leave exactly what
// one chgPorts call per key leaves: the same bytes, the same messages, the same result.
// Each case runs both ways on identical copies and compares them, and pins the text.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <string>
#include <vector>

#include "ports/base_port.hpp"
#include "fixture.hpp"

namespace orv {
namespace {

using namespace std::string_literals;
using test::runInChild;

const std::vector<PortSetting> kKernelPorts = {
    {"ORV_LIM_PORT", "40000"}, {"ORV_KD_PORT", "40001"}, {"ORV_PEM_PORT", "40002"}};

class PortKeyLines : public test::TempDirTest {
  protected:
    // Runs the one-pass edit on one copy and the per-key edits on another, each in a
    // child (so that messages are captured), and checks that both agree.
    struct Both {
        test::ChildRun onePass;
        test::ChildRun perKey;
        std::string onePassText;
        std::string perKeyText;
    };
    Both runBoth(const std::string& content, const std::vector<PortSetting>& settings,
                 long sizeLimit = 0) {
        return runBothOn(write("a/orv.conf", content), write("b/orv.conf", content), settings,
                         sizeLimit);
    }
    Both runBothOn(const std::string& a, const std::string& b,
                   const std::vector<PortSetting>& settings, long sizeLimit = 0) {
        Both r;
        r.onePass = runInChild("", [&] {
            limitFileSize(sizeLimit);
            return chgKeyLines(a, settings);
        });
        r.perKey = runInChild("", [&] {
            limitFileSize(sizeLimit);
            int result = 0;
            for (const PortSetting& s : settings) result |= chgPorts(b, s.key, s.value);
            return result;
        });
        r.onePassText = read(a);
        r.perKeyText = read(b);
        EXPECT_EQ(r.onePass.result, r.perKey.result);
        EXPECT_EQ(r.onePass.output, replaceAll(r.perKey.output, b, a));
        EXPECT_EQ(r.onePassText, r.perKeyText);
        EXPECT_EQ(exists(a + ".tmp"), exists(b + ".tmp"));
        return r;
    }

    void SetUp() override {
        TempDirTest::SetUp();
        ASSERT_EQ(::mkdir(path("a").c_str(), 0755), 0);
        ASSERT_EQ(::mkdir(path("b").c_str(), 0755), 0);
    }

  private:
    static void limitFileSize(long bytes) {
        if (bytes == 0) return;
        ::signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit = {static_cast<rlim_t>(bytes), static_cast<rlim_t>(bytes)};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    static std::string replaceAll(std::string text, const std::string& from,
                                  const std::string& to) {
        for (std::size_t p = text.find(from); p != std::string::npos;
             p = text.find(from, p + to.size())) {
            text.replace(p, from.size(), to);
        }
        return text;
    }
};

TEST_F(PortKeyLines, AwkwardFileComesOutAsWithOneRewritePerKey) {
    const std::string content =
        "# ORV kernel configuration\n"
        "ORV_LIM_PORT=7869\n"
        "#ORV_KD_PORT=1\n"
        "\tORV_PEM_PORT = 7871   \n"
        "XORV_KD_PORT_OLD=2\r\n"
        "# ORV_LIM_PORT ORV_KD_PORT ORV_PEM_PORT on one line\n"
        "   \n"
        "KEEP=\"a\tb\"  \n"
        "NUL=a\0b\n"
        "tail   "s;
    const Both r = runBoth(content, kKernelPorts);
    EXPECT_EQ(r.onePass.result, 0);
    EXPECT_EQ(r.onePass.output, "");
    EXPECT_EQ(r.onePassText,
              "# ORV kernel configuration\n"
              "ORV_LIM_PORT=40000\n"
              "ORV_KD_PORT=40001\n"
              "ORV_PEM_PORT=40002\n"
              "ORV_KD_PORT=40001\n"
              "ORV_LIM_PORT=40000\n"
              " \n"
              "KEEP=\"a b\"\n"
              "NUL=a\0b\n"
              "tail\n"s);
}

TEST_F(PortKeyLines, LaterKeysSeeTheLinesEarlierKeysWrote) {
    // The first replacement holds the second key, which then replaces it in turn.
    const Both r = runBoth("LIM\nM=5\nother\n", {{"LIM", "5"}, {"M=5", "6"}, {"other", "7"}});
    EXPECT_EQ(r.onePassText, "M=5=6\nM=5=6\nother=7\n");
}

TEST_F(PortKeyLines, ValuesWithWhitespaceAreFoldedAsTheReadBackFoldsThem) {
    const Both r = runBoth("A=1\nB=2\n", {{"A", "1\t B"}, {"B", "2 "}});
    EXPECT_EQ(r.onePassText, "B=2\nB=2\n");
}

TEST_F(PortKeyLines, UnchangedFileIsNotRewritten) {
    const std::string file =
        write("same.conf", "ORV_LIM_PORT=40000\nORV_KD_PORT=40001\nORV_PEM_PORT=40002\n");
    ageFile(file);
    const struct stat before = statOf(file);
    EXPECT_EQ(chgKeyLines(file, kKernelPorts), 0);
    const struct stat after = statOf(file);
    EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_FALSE(exists(file + ".tmp"));
}

TEST_F(PortKeyLines, MissingFileReportsEveryKeyInTurn) {
    const std::string missing = path("a/none.conf");
    const auto run = runInChild("", [&] { return chgKeyLines(missing, kKernelPorts); });
    EXPECT_EQ(run.result, 255);
    const std::string open = "Cannot open file " + missing + ".\n";
    EXPECT_EQ(run.output, open + "Set ORV_LIM_PORT in 40000 failed.\n" + open +
                              "Set ORV_KD_PORT in 40001 failed.\n" + open +
                              "Set ORV_PEM_PORT in 40002 failed.\n");
    EXPECT_FALSE(exists(missing));
    EXPECT_FALSE(exists(missing + ".tmp"));
}

TEST_F(PortKeyLines, DirectoryInPlaceOfTheFileFailsLikeSeparateEdits) {
    ASSERT_EQ(::mkdir(path("a/orv.conf").c_str(), 0755), 0);
    ASSERT_EQ(::mkdir(path("b/orv.conf").c_str(), 0755), 0);
    const Both r = runBothOn(path("a/orv.conf"), path("b/orv.conf"), kKernelPorts);
    EXPECT_EQ(r.onePass.result, 255);
    const std::string open = "Cannot open file " + path("a/orv.conf") + ".\n";
    EXPECT_EQ(r.onePass.output, open + "Set ORV_LIM_PORT in 40000 failed.\n" + open +
                                    "Set ORV_KD_PORT in 40001 failed.\n" + open +
                                    "Set ORV_PEM_PORT in 40002 failed.\n");
}

TEST_F(PortKeyLines, WriteFailureReportsEveryKeyAndKeepsTheFile) {
    // Under a file-size limit every ".tmp" write fails: the file stays as it was and each
    // key reports the failed write, as three failing rewrites would.
    const std::string content =
        "ORV_LIM_PORT=7869\n" + std::string(3000, '#') + "\nORV_KD_PORT=7870\nORV_PEM_PORT=7871\n";
    const Both r = runBoth(content, kKernelPorts, 1000);
    EXPECT_EQ(r.onePass.result, 255);
    const std::string write = "Cannot write file " + path("a/orv.conf") + ".tmp.\n";
    EXPECT_EQ(r.onePass.output, write + "Set ORV_LIM_PORT in 40000 failed.\n" + write +
                                    "Set ORV_KD_PORT in 40001 failed.\n" + write +
                                    "Set ORV_PEM_PORT in 40002 failed.\n");
    EXPECT_EQ(r.onePassText, content);
}

}  // namespace
}  // namespace orv
