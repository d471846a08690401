// The one fixture of the unit tests: a fresh temporary directory per case with helpers to
// lay files out and read them back byte for byte, and a runner for code that prints, reads
// standard input or changes process state (it runs in a forked child).
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <functional>
#include <fstream>
#include <sstream>
#include <string>

namespace orv::test {

inline std::string readWholeFile(const std::string& p) {
    std::ifstream in(p, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

inline void writeWholeFile(const std::string& p, const std::string& content) {
    std::ofstream(p, std::ios::binary | std::ios::trunc) << content;
}

struct ChildRun {
    std::string output;  // everything the child wrote to standard output
    int result = -1;     // the body's return value, modulo 256
};

// Runs body in a child with `input` on standard input; captures its standard output.
inline ChildRun runInChild(const std::string& input, const std::function<int()>& body) {
    char in[] = "/tmp/orv_unit_in.XXXXXX";
    char out[] = "/tmp/orv_unit_out.XXXXXX";
    const int inFd = mkstemp(in);
    const int outFd = mkstemp(out);
    EXPECT_TRUE(inFd >= 0 && outFd >= 0);
    EXPECT_EQ(::write(inFd, input.data(), input.size()), static_cast<ssize_t>(input.size()));
    ::lseek(inFd, 0, SEEK_SET);
    std::fflush(stdout);
    const pid_t pid = fork();
    if (pid == 0) {
        if (dup2(inFd, 0) < 0 || dup2(outFd, 1) < 0) _exit(255);
        clearerr(stdin);
        const int code = body();
        std::fflush(stdout);
        _exit(code & 0xff);
    }
    ChildRun run;
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status));
    run.result = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.output = readWholeFile(out);
    ::close(inFd);
    ::close(outFd);
    ::unlink(in);
    ::unlink(out);
    return run;
}

class TempDirTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char name[] = "/tmp/orv_unit.XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        dir_ = name;
    }
    void TearDown() override {
        std::error_code ec;
        for (const auto& e : std::filesystem::recursive_directory_iterator(dir_, ec)) {
            if (e.is_directory(ec) && !e.is_symlink(ec)) ::chmod(e.path().c_str(), 0700);
        }
        std::filesystem::remove_all(dir_, ec);
    }

    std::string path(const std::string& rel) const { return dir_ + "/" + rel; }
    std::string mkdir(const std::string& rel) const {
        std::filesystem::create_directories(path(rel));
        return path(rel);
    }
    // Writes rel (making its parents) and returns its full path.
    std::string write(const std::string& rel, const std::string& content) const {
        std::filesystem::create_directories(std::filesystem::path(path(rel)).parent_path());
        writeWholeFile(path(rel), content);
        return path(rel);
    }
    // Reads a full path, or a path relative to the case's directory.
    std::string read(const std::string& p) const {
        return readWholeFile(!p.empty() && p[0] == '/' ? p : path(p));
    }
    static bool exists(const std::string& p) {
        struct stat st {};
        return ::lstat(p.c_str(), &st) == 0;
    }
    bool has(const std::string& rel) const { return exists(path(rel)); }
    static struct stat statOf(const std::string& p) {
        struct stat st {};
        EXPECT_EQ(::stat(p.c_str(), &st), 0);
        return st;
    }
    static mode_t modeOf(const std::string& p) { return statOf(p).st_mode & 07777; }
    // Moves a file's modification time one hour into the past.
    static void ageFile(const std::string& p) {
        struct timespec times[2];
        times[0].tv_sec = times[1].tv_sec = ::time(nullptr) - 3600;
        times[0].tv_nsec = times[1].tv_nsec = 0;
        ASSERT_EQ(::utimensat(AT_FDCWD, p.c_str(), times, 0), 0);
    }
    // For a child that must meet a file it may read but not write: a superuser child becomes
    // "nobody"; the directory is opened up so that it can still create and remove files.
    bool dropPrivileges() const {
        if (::chmod(dir_.c_str(), 0777) != 0) return false;
        return ::geteuid() != 0 || ::setuid(65534) == 0;
    }

    std::string dir_;
};

}  // namespace orv::test
