// Runs a piece of test code in a forked child with its own standard input and a captured
// standard output. Used for code whose state lives for the whole process (the once-only
// prompts) and for code that prints or changes the environment.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>

namespace orv::test {

struct ChildRun {
    std::string output;  // everything the child wrote to standard output
    int result = -1;     // the body's return value, modulo 256
};

inline std::string makeTempFile(const std::string& content) {
    char name[] = "/tmp/orv_unit_child.XXXXXX";
    const int fd = mkstemp(name);
    EXPECT_GE(fd, 0);
    if (fd >= 0) {
        EXPECT_EQ(write(fd, content.data(), content.size()), static_cast<ssize_t>(content.size()));
        close(fd);
    }
    return name;
}

inline std::string readWholeFile(const std::string& path) {
    std::string out;
    if (FILE* f = std::fopen(path.c_str(), "rb")) {
        char buf[4096];
        std::size_t n = 0;
        while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) {
            out.append(buf, n);
        }
        std::fclose(f);
    }
    return out;
}

// The child starts with the parent's state; tests keep prompt and environment changes
// inside children so that every case starts fresh.
inline ChildRun runInChild(const std::string& input, const std::function<int()>& body) {
    const std::string in = makeTempFile(input);
    const std::string out = makeTempFile("");
    std::fflush(stdout);
    const pid_t pid = fork();
    if (pid == 0) {
        const int inFd = open(in.c_str(), O_RDONLY);
        const int outFd = open(out.c_str(), O_WRONLY | O_TRUNC);
        if (inFd < 0 || outFd < 0 || dup2(inFd, 0) < 0 || dup2(outFd, 1) < 0) {
            _exit(255);
        }
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
    unlink(in.c_str());
    unlink(out.c_str());
    return run;
}

}  // namespace orv::test
