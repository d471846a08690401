// A fresh temporary directory per text-engine test, with helpers to lay files out and
// read them back byte for byte.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

#include "child_process.hpp"

namespace orv::test {

class TextFileTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char name[] = "/tmp/orv_text_test.XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        dir_ = name;
    }
    void TearDown() override {
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }

    std::string path(const std::string& rel) const { return dir_ + "/" + rel; }

    std::string write(const std::string& rel, const std::string& content) const {
        const std::string p = path(rel);
        std::FILE* f = std::fopen(p.c_str(), "wb");
        EXPECT_NE(f, nullptr);
        if (f != nullptr) {
            EXPECT_EQ(std::fwrite(content.data(), 1, content.size(), f), content.size());
            std::fclose(f);
        }
        return p;
    }

    static std::string read(const std::string& p) { return readWholeFile(p); }

    static bool exists(const std::string& p) {
        struct stat st {};
        return ::lstat(p.c_str(), &st) == 0;
    }

    static struct stat statOf(const std::string& p) {
        struct stat st {};
        EXPECT_EQ(::stat(p.c_str(), &st), 0);
        return st;
    }

    // Moves a file's modification time one hour into the past.
    static void ageFile(const std::string& p) {
        struct timespec times[2];
        times[0].tv_sec = times[1].tv_sec = ::time(nullptr) - 3600;
        times[0].tv_nsec = times[1].tv_nsec = 0;
        ASSERT_EQ(::utimensat(AT_FDCWD, p.c_str(), times, 0), 0);
    }

    // For a child that must meet a file it may read but not write: a superuser child
    // becomes "nobody", since permission bits do not stop the superuser. The directory is
    // opened up so that the child can still create and remove files in it.
    bool dropPrivileges() const {
        if (::chmod(dir_.c_str(), 0777) != 0) return false;
        return ::geteuid() != 0 || ::setuid(65534) == 0;
    }

    std::string dir_;
};

}  // namespace orv::test
