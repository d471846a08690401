// Whole-file reads that refuse special files, and writes through a ".tmp" that never
// follows a link and never loses the original on a failed write.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <limits>
#include <string>

#include "text/file_io.hpp"
#include "fixture.hpp"

namespace orv {
namespace {

using namespace std::string_literals;

class TextFileIo : public test::TempDirTest {};

TEST_F(TextFileIo, ReadsRegularFilesByteForByte) {
    const std::string bytes = "a\0b\t \r\n\xff"s + std::string(200000, 'x');
    FileText out;
    ASSERT_TRUE(readRegularFile(write("bytes", bytes), out));
    EXPECT_EQ(out.view(), bytes);
    ASSERT_TRUE(readRegularFile(write("empty", ""), out));
    EXPECT_EQ(out.view(), "");
    out.assign("junk");
    EXPECT_FALSE(readRegularFile(path("missing"), out));
    EXPECT_EQ(out.view(), "");
    EXPECT_FALSE(readRegularFile(dir_, out));
    EXPECT_TRUE(isRegularFile(path("bytes")));
    EXPECT_FALSE(isRegularFile(dir_));
}

// A sparse file may claim a size no string can hold (tmpfs allows the largest off_t):
// it is a file that cannot be read, not the end of the run.
TEST_F(TextFileIo, AFileTooLargeToHoldCannotBeRead) {
    const off_t largest = std::numeric_limits<off_t>::max();
    std::string huge;
    for (const std::string& dir : {dir_, std::string("/dev/shm")}) {
        const std::string candidate = dir + "/orv_text_test_sparse." + std::to_string(::getpid());
        const int fd = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
        if (fd < 0) continue;
        const bool sized = ::ftruncate(fd, largest) == 0;
        ::close(fd);
        if (sized) {
            huge = candidate;
            break;
        }
        ::unlink(candidate.c_str());
    }
    if (huge.empty()) GTEST_SKIP() << "no file system here takes a file of the largest size";
    FileText out;
    out.assign("junk");
    bool read = true;
    try {
        read = readRegularFile(huge, out);
    } catch (...) {
        ::unlink(huge.c_str());
        throw;
    }
    ::unlink(huge.c_str());
    EXPECT_FALSE(read);
    EXPECT_EQ(out.view(), "");
}

TEST_F(TextFileIo, SpecialFilesAreRefusedWithoutWaiting) {
    const std::string fifo = path("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const test::ChildRun run = test::runInChild("", [&] {
        ::alarm(5);
        FileText out;
        if (readRegularFile(fifo, out) || readRegularFile("/dev/null", out)) return 1;
        return isRegularFile(fifo) ? 2 : 0;
    });
    EXPECT_EQ(run.result, 0);
}

TEST_F(TextFileIo, CopyWritesExactBytesAndReplacesTheTarget) {
    const std::string target = path("copy");
    EXPECT_EQ(writeThroughTmp(target, "x\t \0y"s), CommitResult::Written);
    EXPECT_EQ(read(target), "x\t \0y"s);
    EXPECT_EQ(writeThroughTmp(target, "z"), CommitResult::Written);
    EXPECT_EQ(read(target), "z");
    EXPECT_EQ(writeThroughTmp(target, ""), CommitResult::Written);
    EXPECT_EQ(read(target), "");
    EXPECT_FALSE(exists(target + ".tmp"));

    // A directory in the target's place: nothing can be written and the ".tmp" goes.
    const std::string blocked = path("blocked");
    ASSERT_EQ(::mkdir(blocked.c_str(), 0700), 0);
    EXPECT_EQ(writeThroughTmp(blocked, "x"), CommitResult::FileOpenFailed);
    EXPECT_FALSE(exists(blocked + ".tmp"));
}

TEST_F(TextFileIo, CopyNeverFollowsALinkAtTheTemporaryPath) {
    const std::string target = write("copy", "old");
    const std::string victim = write("victim", "precious");
    ASSERT_EQ(::symlink(victim.c_str(), (target + ".tmp").c_str()), 0);
    EXPECT_EQ(writeThroughTmp(target, "new"), CommitResult::TmpOpenFailed);
    EXPECT_EQ(read(target), "old");
    EXPECT_EQ(read(victim), "precious");
}

TEST_F(TextFileIo, FailedWriteRemovesTheTemporaryFileAndKeepsTheOriginal) {
    const std::string original = "original\tbytes\n";
    const std::string target = write("copy", original);
    const std::string file = write("conf", original);
    const test::ChildRun run = test::runInChild("", [&] {
        ::signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit = {4096, 4096};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 99;
        const std::string large(10000, 'L');
        const bool copyFailed = writeThroughTmp(target, large) == CommitResult::TmpWriteFailed;
        const bool editFailed =
            commitRewrite(file, original, large) == CommitResult::TmpWriteFailed;
        return copyFailed && editFailed ? 0 : 1;
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(run.output,
              "Cannot write file " + target + ".tmp.\nCannot write file " + file + ".tmp.\n");
    EXPECT_EQ(read(target), original);
    EXPECT_EQ(read(file), original);
    EXPECT_FALSE(exists(target + ".tmp"));
    EXPECT_FALSE(exists(file + ".tmp"));
}

TEST_F(TextFileIo, CommitRemovesAStaleTemporaryFileEvenWhenNothingChanges) {
    const std::string file = write("conf", "A=1\n");
    write("conf.tmp", "stale");
    EXPECT_EQ(commitRewrite(file, "A=1\n", "A=1\n"), CommitResult::Unchanged);
    EXPECT_FALSE(exists(file + ".tmp"));
    EXPECT_EQ(read(file), "A=1\n");

    write("conf.tmp", "stale");
    EXPECT_EQ(commitRewrite(file, "A=1\n", "B=2\n"), CommitResult::Written);
    EXPECT_FALSE(exists(file + ".tmp"));
    EXPECT_EQ(read(file), "B=2\n");

    // An in-place edit never creates the file it edits.
    EXPECT_EQ(commitRewrite(path("gone"), "x", "y"), CommitResult::FileOpenFailed);
    EXPECT_FALSE(exists(path("gone")));
    EXPECT_FALSE(exists(path("gone.tmp")));
}

TEST_F(TextFileIo, AFailedAppendLeavesNoHalfLineAndFailsTheRun) {
    const std::string original(4000, 'a');
    const std::string file = write("conf", original);
    const test::ChildRun run = test::runInChild("", [&] {
        ::signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit = {4096, 4096};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 99;
        const bool fitting = appendToFile(file, "\nB=1");
        const bool tooLong = appendToFile(file, "\nKEY=" + std::string(500, 'v') + "\n");
        return fitting && !tooLong && anyWriteFailed() ? 0 : 1;
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(run.output, "Cannot write file " + file + ".\n");
    EXPECT_EQ(read(file), original + "\nB=1");
}

}  // namespace
}  // namespace orv
