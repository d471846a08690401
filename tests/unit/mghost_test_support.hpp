// Small file-system helpers for the management-host unit tests: a fresh directory per case,
// whole-file reads and writes, modes.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace orv::testing_support {

inline void writeFile(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
}

inline std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

inline bool exists(const std::string& path) {
    struct stat st {};
    return lstat(path.c_str(), &st) == 0;
}

inline mode_t modeOf(const std::string& path) {
    struct stat st {};
    if (stat(path.c_str(), &st) != 0) return 0;
    return st.st_mode & 07777;
}

inline mode_t currentUmask() {
    const mode_t mask = umask(022);
    umask(mask);
    return mask;
}

inline std::string currentDir() {
    char buf[PATH_MAX];
    return getcwd(buf, sizeof buf) != nullptr ? std::string(buf) : std::string();
}

// A fixture that gives each case its own directory, removed afterwards.
class TempDirTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/orv_mghost_test.XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        root_ = pattern;
    }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::permissions(root_, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
        std::filesystem::remove_all(root_, ignored);
    }
    std::string path(const std::string& rel) const { return root_ + "/" + rel; }
    void write(const std::string& rel, const std::string& text) const {
        std::filesystem::create_directories(std::filesystem::path(path(rel)).parent_path());
        writeFile(path(rel), text);
    }
    std::string read(const std::string& rel) const { return readFile(path(rel)); }
    bool has(const std::string& rel) const { return exists(path(rel)); }

    std::string root_;
};

}  // namespace orv::testing_support
