// Copying files and trees onto the shared directory: text normalisation against byte-exact
// copies, overwrite rules, modes, links, failures, and the working directory left alone.
#include "mghost/copy.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "mghost_test_support.hpp"

namespace orv {
namespace {

using testing_support::currentDir;
using testing_support::currentUmask;
using testing_support::modeOf;
using testing_support::TempDirTest;

const std::string kRawText = "KEY=1\t# tab\nPATH=/a  \n\n\tindented\r\nlast";

class CopyFiles : public TempDirTest {};

TEST_F(CopyFiles, TextCopyNormalisesWhiteSpaceAndEndsWithNewline) {
    write("src.conf", kRawText);
    EXPECT_EQ(copyTextFile(path("src.conf"), path("out/dst.conf"), 0), 0);
    EXPECT_EQ(read("out/dst.conf"), "KEY=1 # tab\nPATH=/a\n\n indented\nlast\n");
    EXPECT_FALSE(has("out/dst.conf.tmp"));
    EXPECT_EQ(read("src.conf"), kRawText);
}

TEST_F(CopyFiles, AnyFileCopyKeepsEveryByte) {
    const std::string binary = kRawText + std::string("\0\x01\xff\n", 4) + std::string(70000, 'z');
    write("src.bin", binary);
    EXPECT_EQ(copyAnyFile(path("src.bin"), path("deep/er/dst.bin"), 0), 0);
    EXPECT_EQ(read("deep/er/dst.bin"), binary);
    EXPECT_FALSE(has("deep/er/dst.bin.tmp"));
}

TEST_F(CopyFiles, EmptySourceGivesEmptyTarget) {
    write("empty", "");
    EXPECT_EQ(copyAnyFile(path("empty"), path("any"), 0), 0);
    EXPECT_EQ(copyTextFile(path("empty"), path("text"), 0), 0);
    EXPECT_TRUE(has("any"));
    EXPECT_TRUE(has("text"));
    EXPECT_EQ(read("any"), "");
    EXPECT_EQ(read("text"), "");
}

TEST_F(CopyFiles, MissingSourceCopiesNothingAndIsNoError) {
    EXPECT_EQ(copyTextFile(path("none"), path("a/t"), 1), 0);
    EXPECT_EQ(copyAnyFile(path("none"), path("b/t"), 1), 0);
    EXPECT_EQ(copyDir(path("none"), path("c"), 1), 0);
    EXPECT_FALSE(has("a"));
    EXPECT_FALSE(has("b"));
    EXPECT_FALSE(has("c"));
}

TEST_F(CopyFiles, ExistingTargetIsKeptUnlessOverwriteIsSet) {
    write("src", "new\t\n");
    write("text", "old\n");
    write("any", "old\n");
    EXPECT_EQ(copyTextFile(path("src"), path("text"), 0), 0);
    EXPECT_EQ(copyAnyFile(path("src"), path("any"), 0), 0);
    EXPECT_EQ(read("text"), "old\n");
    EXPECT_EQ(read("any"), "old\n");
    EXPECT_EQ(copyTextFile(path("src"), path("text"), 1), 0);
    EXPECT_EQ(copyAnyFile(path("src"), path("any"), 1), 0);
    EXPECT_EQ(read("text"), "new\n");
    EXPECT_EQ(read("any"), "new\t\n");
}

TEST_F(CopyFiles, UnreadableSourceFailsAndLeavesTargetAlone) {
    if (geteuid() == 0) GTEST_SKIP() << "root reads any file";
    write("secret", "x\n");
    write("dst", "old\n");
    chmod(path("secret").c_str(), 0);
    EXPECT_EQ(copyTextFile(path("secret"), path("dst"), 1), -1);
    EXPECT_EQ(copyAnyFile(path("secret"), path("dst"), 1), -1);
    EXPECT_EQ(read("dst"), "old\n");
    EXPECT_FALSE(has("dst.tmp"));
}

TEST_F(CopyFiles, FifoSourceIsRefusedWithoutWaiting) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(copyAnyFile(path("pipe"), path("dst"), 1), -1);
    EXPECT_EQ(copyTextFile(path("pipe"), path("dst"), 1), -1);
    EXPECT_FALSE(has("dst"));
}

TEST_F(CopyFiles, LinkPlantedAtTheTemporaryNameIsNeverFollowed) {
    write("src", "new\n");
    write("victim", "precious\n");
    ASSERT_EQ(symlink(path("victim").c_str(), path("dst.tmp").c_str()), 0);
    EXPECT_EQ(copyAnyFile(path("src"), path("dst"), 1), -1);
    EXPECT_EQ(read("victim"), "precious\n");
    EXPECT_FALSE(has("dst"));
}

TEST_F(CopyFiles, PathsWithBlanksWork) {
    write("my src/a file", "v = 1\n");
    EXPECT_EQ(copyTextFile(path("my src/a file"), path("the share/conf dir/a file"), 0), 0);
    EXPECT_EQ(read("the share/conf dir/a file"), "v = 1\n");
}

TEST_F(CopyFiles, TargetUnderAFileCannotBeMade) {
    write("src", "x\n");
    write("plain", "not a directory\n");
    EXPECT_EQ(copyTextFile(path("src"), path("plain/sub/dst"), 1), -1);
    EXPECT_EQ(read("plain"), "not a directory\n");
}

TEST_F(CopyFiles, RemoveFileAlwaysSaysOne) {
    write("gone", "x");
    EXPECT_EQ(removeFile(path("gone")), 1);
    EXPECT_FALSE(has("gone"));
    EXPECT_EQ(removeFile(path("gone")), 1);
}

class MakeDirectories : public TempDirTest {};

TEST_F(MakeDirectories, MakesMissingParentsWithUmaskedMode) {
    EXPECT_EQ(makeDir(path("a/b c/d")), 0);
    EXPECT_TRUE(std::filesystem::is_directory(path("a/b c/d")));
    const mode_t expected = 0777 & ~currentUmask();
    EXPECT_EQ(modeOf(path("a")), expected);
    EXPECT_EQ(modeOf(path("a/b c/d")), expected);
}

TEST_F(MakeDirectories, ExistingPathsAndSlashesAreFine) {
    EXPECT_EQ(makeDir(root_), 0);
    EXPECT_EQ(makeDir(path("x//y/")), 0);
    EXPECT_TRUE(std::filesystem::is_directory(path("x/y")));
    write("file", "");
    EXPECT_EQ(makeDir(path("file")), 0);  // it exists, whatever it is
}

TEST_F(MakeDirectories, FileInTheWayFails) {
    write("file", "keep");
    EXPECT_NE(makeDir(path("file/sub")), 0);
    EXPECT_NE(makeDir(""), 0);
    EXPECT_EQ(read("file"), "keep");
}

class CopyTrees : public TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        write("src/top.conf", "a\tb  \n");
        write("src/.hidden", "h");
        write("src/sub/inner.xml", "<x>\t</x>");
        write("src/sub/deeper/leaf", "leaf");
        chmod(path("src/top.conf").c_str(), 0640);
        chmod(path("src/sub/inner.xml").c_str(), 0751);
        chmod(path("src/sub").c_str(), 0750);
    }
};

TEST_F(CopyTrees, CopiesEveryFileByteForByteWithItsMode) {
    const std::string before = currentDir();
    ASSERT_EQ(makeDir(path("dst")), 0);
    EXPECT_EQ(copyDir(path("src"), path("dst"), 0), 0);
    EXPECT_EQ(read("dst/top.conf"), "a\tb  \n");
    EXPECT_EQ(read("dst/.hidden"), "h");
    EXPECT_EQ(read("dst/sub/inner.xml"), "<x>\t</x>");
    EXPECT_EQ(read("dst/sub/deeper/leaf"), "leaf");
    EXPECT_EQ(modeOf(path("dst/top.conf")), 0640U);
    EXPECT_EQ(modeOf(path("dst/sub/inner.xml")), 0751U);
    EXPECT_EQ(modeOf(path("dst/sub")), 0750U & ~currentUmask());
    EXPECT_EQ(currentDir(), before);
}

TEST_F(CopyTrees, LinksAreFollowedAndDanglingOnesSkipped) {
    write("elsewhere/real", "real content");
    ASSERT_EQ(symlink(path("elsewhere/real").c_str(), path("src/link").c_str()), 0);
    ASSERT_EQ(symlink(path("elsewhere").c_str(), path("src/linkdir").c_str()), 0);
    ASSERT_EQ(symlink(path("nowhere").c_str(), path("src/dangling").c_str()), 0);
    EXPECT_EQ(copyDir(path("src"), path("dst"), 0), 0);
    struct stat st {};
    ASSERT_EQ(lstat(path("dst/link").c_str(), &st), 0);
    EXPECT_TRUE(S_ISREG(st.st_mode));
    EXPECT_EQ(read("dst/link"), "real content");
    EXPECT_EQ(read("dst/linkdir/real"), "real content");
    EXPECT_FALSE(has("dst/dangling"));
}

TEST_F(CopyTrees, ExistingTargetFilesFollowTheOverwriteFlag) {
    write("dst/top.conf", "mine\n");
    write("dst/sub/inner.xml", "mine too\n");
    EXPECT_EQ(copyDir(path("src"), path("dst"), 0), 0);
    EXPECT_EQ(read("dst/top.conf"), "mine\n");
    EXPECT_EQ(read("dst/sub/deeper/leaf"), "leaf");
    EXPECT_EQ(copyDir(path("src"), path("dst"), 1), 0);
    EXPECT_EQ(read("dst/top.conf"), "a\tb  \n");
    EXPECT_EQ(read("dst/sub/inner.xml"), "<x>\t</x>");
}

TEST_F(CopyTrees, RelativeSourceWorksAndWorkingDirectoryStays) {
    const std::string before = currentDir();
    ASSERT_EQ(chdir(root_.c_str()), 0);
    EXPECT_EQ(copyDir("src", "dst", 0), 0);
    EXPECT_EQ(currentDir(), root_);
    ASSERT_EQ(chdir(before.c_str()), 0);
    EXPECT_EQ(read("dst/sub/deeper/leaf"), "leaf");
}

TEST_F(CopyTrees, FailureStopsTheCopyAndLeavesTheWorkingDirectory) {
    const std::string before = currentDir();
    ASSERT_EQ(mkfifo(path("src/sub/deeper/pipe").c_str(), 0600), 0);
    EXPECT_EQ(copyDir(path("src"), path("dst"), 0), -1);
    EXPECT_EQ(currentDir(), before);
    EXPECT_EQ(copyDir(path("src/top.conf"), path("dst2"), 0), -1);  // not a directory
    EXPECT_FALSE(has("dst2"));
}

TEST_F(CopyTrees, UnmakeableDirectoryIsReportedAndTheCopyGoesOn) {
    // Only a sub-directory at the top, so nothing has made the target before it is met.
    write("lone/sub/leaf", "leaf");
    testing::internal::CaptureStdout();
    const int result = copyDir(path("lone"), path("missing/dst"), 0);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(out, "Cannot make the directory " + path("missing/dst/sub") + ",error number 2\n");
    EXPECT_EQ(read("missing/dst/sub/leaf"), "leaf");
}

TEST_F(CopyTrees, LinkBackToAnAncestorIsReportedNotFollowedForEver) {
    ASSERT_EQ(symlink("..", path("src/sub/up").c_str()), 0);
    testing::internal::CaptureStdout();
    const int result = copyDir(path("src"), path("dst"), 0);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(out, "Cannot make the directory " + path("dst/sub/up") + ",error number 40\n");
    EXPECT_FALSE(has("dst/sub/up"));
    EXPECT_EQ(read("dst/sub/deeper/leaf"), "leaf");
}

}  // namespace
}  // namespace orv
