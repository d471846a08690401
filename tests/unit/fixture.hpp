// The one fixture of the unit tests: a fresh temporary directory per case with helpers to
// lay files out and read them back byte for byte, and a runner for code that prints or
// changes process state (it runs in a forked child, its standard output captured).
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

namespace orv::test {

// A text as a failure names it: quoted and escaped, its first 60 bytes.
inline std::string shown(const std::string& text) {
    return testing::PrintToString(text.substr(0, 60));
}

// Expects a child run (TempDirTest::inChild) to have printed PRINTED and ended with STATUS,
// each asserted on its own.
#define EXPECT_RAN(RUN, PRINTED, STATUS)       \
    do {                                       \
        const auto& ranToCheck = (RUN);        \
        EXPECT_EQ(ranToCheck.output, PRINTED); \
        EXPECT_EQ(ranToCheck.status, STATUS);  \
    } while (false)

// How a child runs: `unprivileged`, a superuser child becomes "nobody" first (the
// directory opened up for it); with `sizeLimit`, writes past it fail.
struct ChildOptions {
    bool unprivileged = false;
    rlim_t sizeLimit = 0;
};

class TempDirTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char name[] = "/tmp/orv_unit.XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        dir_ = name;
        // A run's journal (when a case journals) stays in the case's directory.
        ::setenv("ORVCONFIG_STATE_DIR", path("state").c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }
    std::string path(const std::string& rel) const { return dir_ + "/" + rel; }
    // Writes rel (making its parents) and returns its full path.
    std::string write(const std::string& rel, const std::string& content) const {
        std::filesystem::create_directories(std::filesystem::path(path(rel)).parent_path());
        std::ofstream(path(rel), std::ios::binary | std::ios::trunc) << content;
        return path(rel);
    }
    // Reads a full path, or a path relative to the case's directory.
    std::string read(const std::string& p) const {
        std::ifstream in(!p.empty() && p[0] == '/' ? p : path(p), std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        return s.str();
    }
    static bool exists(const std::string& p) {
        struct stat st {};
        return ::lstat(p.c_str(), &st) == 0;
    }
    // The modification time in nanoseconds; agedMtime first moves it one hour back.
    static long long mtimeOf(const std::string& p) {
        struct stat st {};
        EXPECT_EQ(::stat(p.c_str(), &st), 0);
        return st.st_mtim.tv_sec * 1000000000LL + st.st_mtim.tv_nsec;
    }
    static long long agedMtime(const std::string& p) {
        const std::time_t hourAgo = ::time(nullptr) - 3600;
        const struct timespec times[2] = {{hourAgo, 0}, {hourAgo, 0}};
        EXPECT_EQ(::utimensat(AT_FDCWD, p.c_str(), times, 0), 0);
        return mtimeOf(p);
    }
    // What a child printed, and its result modulo 256 (-1 when killed).
    struct Ran {
        std::string output;
        int status;
    };
    // Runs body in a child (standard input empty; killed after 10 s, so a blocking open of a
    // FIFO shows as a failure).
    Ran inChild(const std::function<int()>& body, ChildOptions options = {}) const {
        char out[] = "/tmp/orv_unit_out.XXXXXX";
        const int outFd = mkstemp(out);
        std::fflush(stdout);
        const pid_t pid = fork();
        if (pid == 0) {
            const int in = ::open("/dev/null", O_RDONLY);
            const struct rlimit limit = {options.sizeLimit, options.sizeLimit};
            if (in < 0 || dup2(in, 0) < 0 || dup2(outFd, 1) < 0) _exit(250);
            ::alarm(10);
            ::signal(SIGXFSZ, SIG_IGN);
            if (options.sizeLimit != 0 && ::setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(251);
            if (options.unprivileged && !becomeNobody()) _exit(252);
            const int code = body();
            std::fflush(stdout);
            _exit(code & 0xff);
        }
        int status = 0;
        EXPECT_EQ(waitpid(pid, &status, 0), pid);
        Ran ran{read(out), WIFEXITED(status) ? WEXITSTATUS(status) : -1};
        ::close(outFd);
        ::unlink(out);
        return ran;
    }
    bool becomeNobody() const {
        return ::chmod(dir_.c_str(), 0777) == 0 && (::geteuid() != 0 || ::setuid(65534) == 0);
    }

    std::string dir_;
};

}  // namespace orv::test
