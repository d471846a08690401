// The change-script interpreter: the line grammar, each operation of mgconf.txt and of the
// update scripts on temporary trees, warnings with their line numbers, the error flag, and
// dotInstall's run order and clean-up.
#include "mghost/change_script.hpp"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "console/messages.hpp"
#include "fixture.hpp"

namespace orv {
namespace {


using test::TempDirTest;

struct LineCase {
    std::string line;
    bool isUpdate;
    ScriptLineKind kind;
    std::string operation, first, second, third;
};

TEST(ChangeScriptGrammar, TableOfLines) {
    const std::string op19(19, 'o');
    const std::string op39(39, 'o');
    const std::string big(10000, 'v');
    const ScriptLineKind P = ScriptLineKind::Parsed;
    const ScriptLineKind M = ScriptLineKind::Malformed;
    const ScriptLineKind C = ScriptLineKind::Comment;
    const LineCase cases[] = {
        {"", false, M, "", "", "", ""},
        {"", true, M, "", "", "", ""},
        {"file|a|b", false, M, "", "", "", ""},
        {"file|a|b|", false, P, "file", "a", "b", ""},
        {"file|a|b|yes|more|x", false, P, "file", "a", "b", "yes"},
        {" file|a b|c |Y", false, P, " file", "a b", "c ", "Y"},
        {"|||", false, P, "", "", "", ""},
        {"file|/a#b|/c|y", false, C, "", "", "", ""},
        {"#file|a|b|y", false, C, "", "", "", ""},
        {op19 + "|a|b|c", false, P, op19, "a", "b", "c"},
        {op19 + "o|a|b|c", false, M, "", "", "", ""},
        {op39 + "|f|a|b", false, M, "", "", "", ""},
        {"file|" + big + "|" + big + "|" + big, false, P, "file", big, big, big},
        {std::string("file|a\0b|c|y", 12), false, P, "file", std::string("a\0b", 3), "c", "y"},
        {"replaceline|f", true, M, "", "", "", ""},
        {"replaceline|f|", true, P, "replaceline", "f", "", ""},
        {"replaceline|f|K=", true, P, "replaceline", "f", "", ""},
        {"replaceline|f|K=|", true, P, "replaceline", "f", "K=", ""},
        {"replaceline|f|K=|K=a|b||c", true, P, "replaceline", "f", "K=", "K=a|b||c"},
        {"xml|f|URL|http://h/p#frag", true, C, "", "", "", ""},
        {op39 + "|f|a|b", true, P, op39, "f", "a", "b"},
        {op39 + "o|f|a|b", true, M, "", "", "", ""},
        {"addline|" + big + "|" + big + "|" + big, true, P, "addline", big, big, big},
        {std::string("addline|f\0|\0|\0", 14), true, P, "addline", std::string("f\0", 2),
         std::string("\0", 1), std::string("\0", 1)},
    };
    for (const LineCase& c : cases) {
        ScriptLine out;
        const ScriptLineKind kind = classifyScriptLine(c.line, c.isUpdate, out);
        const std::string shown = c.line.substr(0, 60);
        EXPECT_EQ(kind, c.kind) << shown << (c.isUpdate ? " (update)" : " (mgconf)");
        EXPECT_EQ(parseScriptLine(c.line, c.isUpdate, out), c.kind == P) << shown;
        if (kind != P || c.kind != P) continue;
        EXPECT_EQ(out.operation, c.operation) << shown;
        EXPECT_EQ(out.first, c.first) << shown;
        EXPECT_EQ(out.second, c.second) << shown;
        EXPECT_EQ(out.third, c.third) << shown;
    }
}

// A temporary tree per case, the error flag cleared, stdout captured on demand.
class ChangeScriptRun : public TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        globalRnConfFileErrorFlag = 0;
    }
    void TearDown() override {
        globalRnConfFileErrorFlag = 0;
        TempDirTest::TearDown();
    }
    // Writes a script whose "%R" stand for the case's directory.
    std::string script(const std::string& rel, std::string text) const {
        for (std::size_t at = text.find("%R"); at != std::string::npos; at = text.find("%R")) {
            text.replace(at, 2, dir_);
        }
        write(rel, text);
        return path(rel);
    }
    std::string warning(const std::string& file, int line) const {
        return "Warning: The format of file " + file + " is error in line " + std::to_string(line) +
               ". \n";
    }
};

TEST_F(ChangeScriptRun, ConfCopiesFilesAndTreesAndRemovesFiles) {
    write("inst/orv.conf", "A=1\t\nB=2  \n");
    chmod(path("inst/orv.conf").c_str(), 0604);
    write("inst/tree/x.xml", "<x>\t</x>");
    write("inst/tree/sub/y", "y");
    write("inst/old", "old");
    write("share/keep.conf", "mine\n");
    write("inst/keep.conf", "theirs\n");
    const std::string s = script("mgconf.txt.tmp",
                                 "file|%R/inst/orv.conf|%R/share/conf/orv.conf|y\n"
                                 "directory|%R/inst/tree|%R/share/tree|yes\n"
                                 "removefile|%R/inst/old||\n"
                                 "file|%R/inst/keep.conf|%R/share/keep.conf|N\n"
                                 "file|%R/inst/absent|%R/share/absent|y\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(mgConf(s), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(read("share/conf/orv.conf"), "A=1\nB=2\n");
    EXPECT_EQ(modeOf(path("share/conf/orv.conf")), 0604U);
    EXPECT_EQ(read("share/tree/x.xml"), "<x>\t</x>");
    EXPECT_EQ(read("share/tree/sub/y"), "y");
    EXPECT_FALSE(has("inst/old"));
    EXPECT_EQ(read("share/keep.conf"), "mine\n");
    EXPECT_FALSE(has("share/absent"));
    EXPECT_EQ(globalRnConfFileErrorFlag, 0);
}

TEST_F(ChangeScriptRun, ConfWarnsWithOneBasedLinesAndOnlyMalformedLinesSetTheFlag) {
    const std::string s = script("mgconf.txt.tmp",
                                 "copyall|a|b|c\n"
                                 "removefile|%R/nothing||\n"
                                 "bad line\n"
                                 "file|x|y # note|z\n"
                                 "file|a|b\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(mgConf(s), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              warning(s, 1) + warning(s, 3) + warning(s, 5));
    EXPECT_EQ(globalRnConfFileErrorFlag, -1);
}

TEST_F(ChangeScriptRun, ConfUnknownOperationAloneLeavesTheFlag) {
    const std::string s = script("c.tmp", "File|a|b|c\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(mgConf(s), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), warning(s, 1));
    EXPECT_EQ(globalRnConfFileErrorFlag, 0);
}

TEST_F(ChangeScriptRun, ConfFailedCopyEndsTheScript) {
    write("inst/a", "a\n");
    write("inst/b", "b\n");
    write("blocker", "a file, not a directory\n");
    const std::string s = script("c.tmp",
                                 "file|%R/inst/a|%R/blocker/a|y\n"
                                 "file|%R/inst/b|%R/share/b|y\n");
    EXPECT_EQ(mgConf(s), -1);
    EXPECT_FALSE(has("share/b"));
    EXPECT_EQ(read("blocker"), "a file, not a directory\n");
}

TEST_F(ChangeScriptRun, MissingScriptIsReported) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(mgConf(path("none.tmp")), -1);
    EXPECT_EQ(mgUpdate(path("none2.tmp")), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Cannot open the file " + path("none.tmp") +
                                                          ".\nCannot open the file " +
                                                          path("none2.tmp") + ".\n");
}

TEST_F(ChangeScriptRun, UpdateAppliesEachOperation) {
    write("f1", "A=1\n#A=0\nXA=2\n");
    write("f2", "A=1\n#A=0\nXA=2\n");
    write("f3", "PATH=TOKEN/bin:TOKEN/lib\n");
    write("f4", "A=1");
    write("f5", "<p>\n\t<env name=\"OSC_PORT\">7000</env>\n</p>\n");
    write("f6", "K=old\n");
    write("f7", "K=old  \n");
    const std::string s = script("u.tmp",
                                 "replacestring|%R/f1|A=|A=5\n"
                                 "replaceline|%R/f2|A=|A=5\n"
                                 "replacestringinfile|%R/f3|TOKEN|/opt/x\n"
                                 "addline|%R/f4|NEW=|NEW=1\n"
                                 "xml|%R/f5|OSC_PORT|9000\n"
                                 "changeServiceAccount|%R/f6|K=|K=new\n"
                                 "replaceline|%R/f7|K=|K=a|b\n"
                                 "replaceline|%R/absent|A=|A=5\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(mgUpdate(s), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(read("f1"), "A=5\n#A=0\nA=5\n");
    EXPECT_EQ(read("f2"), "A=5\nA=5\nA=5\n");
    EXPECT_EQ(read("f3"), "PATH=/opt/x/bin:TOKEN/lib\n");
    EXPECT_EQ(read("f4"), "A=1\nNEW=1\n");
    EXPECT_EQ(read("f5"), "<p>\n <env name=\"OSC_PORT\">9000</env>\n</p>\n");
    EXPECT_EQ(read("f6"), "K=old\n");
    EXPECT_EQ(read("f7"), "K=a|b\n");
    EXPECT_FALSE(has("absent"));
    EXPECT_EQ(globalRnConfFileErrorFlag, 0);
}

TEST_F(ChangeScriptRun, UpdateWarnsWithZeroBasedLines) {
    write("f", "A=1\n");
    const std::string s = script("u.tmp",
                                 "oops\n"
                                 "replaceline|%R/f|A=|A=2\n"
                                 "# a comment|x|y\n"
                                 "frobnicate|%R/f|A=|A=3\n"
                                 "too|few\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(mgUpdate(s), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              warning(s, 0) + warning(s, 3) + warning(s, 4));
    EXPECT_EQ(read("f"), "A=2\n");
    EXPECT_EQ(globalRnConfFileErrorFlag, -1);
}

TEST_F(ChangeScriptRun, EmptyLinesAreFormatErrorsAndCountInTheLineNumbers) {
    write("f", "A=1\n");
    const std::string u = script("u.tmp",
                                 "replaceline|%R/f|A=|A=2\n"
                                 "\n"
                                 "frob\n");
    const std::string c = script("c.tmp",
                                 "\n"
                                 "bad\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(mgUpdate(u), 0);
    EXPECT_EQ(mgConf(c), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              warning(u, 1) + warning(u, 2) + warning(c, 1) + warning(c, 2));
    EXPECT_EQ(read("f"), "A=2\n");
    EXPECT_EQ(globalRnConfFileErrorFlag, -1);
}

TEST_F(ChangeScriptRun, UpdateUnknownOperationAloneLeavesTheFlag) {
    write("f", "A=1\n");
    const std::string s = script("u.tmp", "Replaceline|%R/f|A=|A=2\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(mgUpdate(s), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), warning(s, 0));
    EXPECT_EQ(read("f"), "A=1\n");
    EXPECT_EQ(globalRnConfFileErrorFlag, 0);
}

TEST_F(ChangeScriptRun, FailedEditIsReportedAndTheScriptGoesOn) {
    mkdir("adir");
    write("f", "A=1\n");
    const std::string s = script("u.tmp",
                                 "replaceline|%R/adir|KEY=|KEY=1\n"
                                 "replaceline|%R/f|A=|A=2\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(mgUpdate(s), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Cannot open file " + path("adir") + ".\nSet KEY= in " + path("adir") + " failed.\n");
    EXPECT_EQ(read("f"), "A=2\n");
    EXPECT_EQ(globalRnConfFileErrorFlag, -1);
}

// An installation with a .install directory whose scripts use every placeholder. The
// runs the transcripts make (master, candidate, missing script, planted link) are not
// repeated here.
class DotInstall : public ChangeScriptRun {
  protected:
    void SetUp() override {
        ChangeScriptRun::SetUp();
        install_ = path("top/.install");
        write("top/kernel/conf/orv.conf", "ORV_MASTER=old\nORV_X=1\n");
        write("top/kernel/conf/local.conf", "L=1\n");
        script("top/.install/mgconf.txt",
               "file|@INSTALLDIR@/kernel/conf/orv.conf|@SHARETOP@/kernel/conf/orv.conf|y\n");
        script("top/.install/mgmasterupdate.txt",
               "replaceline|@SHARETOP@/kernel/conf/orv.conf|ORV_MASTER=|"
               "ORV_MASTER=@CLUSTERNAME@\n");
        script("top/.install/mgupdate.txt",
               "addline|@HEADTOPDIR@/kernel/conf/local.conf|SHARED=|SHARED=@SHARETOP@\n");
    }
    int run(int mode) const {
        return dotInstall(install_, mode, path("top"), path("share"), "cl1", path("top"));
    }
    bool copiesGone() const {
        return !has("top/.install/mgconf.txt.tmp") && !has("top/.install/mgmasterupdate.txt.tmp") &&
               !has("top/.install/mgupdate.txt.tmp");
    }
    std::string install_;
};

TEST_F(DotInstall, LineEmptiedByAPlaceholderIsAFormatErrorButTheRunSucceeds) {
    script("top/.install/mgupdate.txt",
           "@SHARETOP@\n"
           "addline|@HEADTOPDIR@/kernel/conf/local.conf|SHARED=|SHARED=yes\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(dotInstall(install_, 0, path("top"), "", "cl1", path("top")), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), warning(install_ + "/mgupdate.txt.tmp", 0));
    EXPECT_EQ(read("top/kernel/conf/local.conf"), "L=1\nSHARED=yes\n");
    EXPECT_EQ(globalRnConfFileErrorFlag, -1);
    EXPECT_TRUE(copiesGone());
}

TEST_F(DotInstall, MissingConfScriptIsStillReportedForAnotherHost) {
    ASSERT_EQ(unlink(path("top/.install/mgconf.txt").c_str()), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(run(0), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Cannot open the file " + install_ + "/mgconf.txt.\n");
    EXPECT_EQ(read("top/kernel/conf/local.conf"), "L=1\nSHARED=" + path("share") + "\n");
    EXPECT_TRUE(copiesGone());
}

class ScriptCopies : public ChangeScriptRun {
  protected:
    std::string copyOf(const std::string& installTop, const std::string& shareTop,
                       const std::string& cluster, const std::string& line) {
        script("d/mgconf.txt", line);
        EXPECT_EQ(copyConfigAndReplace(path("d"), installTop, shareTop, cluster, "/head"), 0);
        std::string text = read("d/mgconf.txt.tmp");
        deleteTmpConfig(path("d"));
        return text;
    }
};

TEST_F(ScriptCopies, PlaceholdersAreFilledBlankLinesDroppedCommentsKept) {
    write("d/mgupdate.txt", "");
    const char* saved = getenv("ORV_CONFDIR");
    const bool hadValue = saved != nullptr;
    const std::string savedValue = hadValue ? saved : "";
    ASSERT_EQ(setenv("ORV_CONFDIR", "/conf/dir", 1), 0);
    testing::internal::CaptureStdout();
    const std::string copy = copyOf("/inst", "/sh", "",
                                    "file|@INSTALLDIR@/a|@SHARETOP@/a|y\n"
                                    " \t \n"
                                    "# note\t@SHARETOP@  \n"
                                    "x|@CLUSTERNAME@|@HEADTOPDIR@|@ORV_CONFDIR@@ORV_CONFDIR@");
    EXPECT_EQ(copy,
              "file|/inst/a|/sh/a|y\n"
              "# note /sh\n"
              "x|@CLUSTERNAME@|/head|/conf/dir/conf/dir\n");
    const std::string out = testing::internal::GetCapturedStdout();
    if (hadValue) {
        setenv("ORV_CONFDIR", savedValue.c_str(), 1);
    } else {
        unsetenv("ORV_CONFDIR");
    }
    EXPECT_EQ(out, "Cannot open the file " + path("d/mgmasterupdate.txt") + ".\n");
    EXPECT_FALSE(has("d/mgmasterupdate.txt.tmp"));
    EXPECT_TRUE(has("d/mgupdate.txt"));
}

TEST_F(ScriptCopies, ClusterNameIsFilledWhenKnown) {
    write("d/mgmasterupdate.txt", "");
    write("d/mgupdate.txt", "");
    EXPECT_EQ(copyOf("/i", "/s", "cl1", "a|@CLUSTERNAME@/@CLUSTERNAME@|b|c\n"), "a|cl1/cl1|b|c\n");
}

TEST_F(ScriptCopies, ValuesAreExpandedAgainButNeverForEver) {
    write("d/mgmasterupdate.txt", "");
    write("d/mgupdate.txt", "");
    // The value and the text after it form the placeholder once more: expanded again.
    EXPECT_EQ(copyOf("@INSTALLDIR", "/s", "", "@INSTALLDIR@@|x\n"), "@INSTALLDIR|x\n");
    // A value holding its own placeholder is put in once per occurrence.
    EXPECT_EQ(copyOf("/i", "/s/@SHARETOP@", "", "@SHARETOP@|@SHARETOP@\n"),
              "/s/@SHARETOP@|/s/@SHARETOP@\n");
    // A value that keeps forming the placeholder with its neighbours ends all the same.
    const std::string grown = copyOf("/i", "SHARETOP@@SHARETOP", "", "@@SHARETOP@\n");
    ASSERT_FALSE(grown.empty());
    EXPECT_LT(grown.size(), 4096U);
    EXPECT_EQ(grown.back(), '\n');
}

}  // namespace
}  // namespace orv
