// The findings of a check and their two printed forms: compiler-style lines with a summary
// line, or one JSON document.
#pragma once

#include <string>
#include <vector>

namespace orv {

struct Finding {
    bool error;
    std::string path;  // as the environment names it
    int line;          // 1-based; 0 when the finding is about the whole file
    std::string code;  // stable, for scripts
    std::string text;
};

class Report {
  public:
    void error(const std::string& path, int line, const char* code, const std::string& text) {
        findings_.push_back({true, path, line, code, text});
    }
    void warning(const std::string& path, int line, const char* code, const std::string& text) {
        findings_.push_back({false, path, line, code, text});
    }
    int errors() const;
    int warnings() const;
    // "PATH[:LINE]: error|warning: TEXT" lines, then
    // "check: N errors, M warnings (ROLE of cluster NAME)".
    std::string text(const std::string& role, const std::string& cluster) const;
    std::string json(const std::string& role, const std::string& cluster) const;

  private:
    std::vector<Finding> findings_;
};

}  // namespace orv
