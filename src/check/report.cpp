#include "check/report.hpp"

#include <algorithm>
#include <cstdio>

namespace orv {

namespace {

std::string jsonString(const std::string& s) {
    std::string out = "\"";
    for (const char ch : s) {
        const auto c = static_cast<unsigned char>(ch);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += ch;
        } else if (c < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
        } else {
            out += ch;
        }
    }
    return out + "\"";
}

std::string plural(int n, const char* word) {
    return std::to_string(n) + " " + word + (n == 1 ? "" : "s");
}

}  // namespace

int Report::errors() const {
    return static_cast<int>(std::count_if(findings_.begin(), findings_.end(),
                                          [](const Finding& f) { return f.error; }));
}

int Report::warnings() const {
    return static_cast<int>(findings_.size()) - errors();
}

std::string Report::text(const std::string& role, const std::string& cluster) const {
    std::string out;
    for (const Finding& f : findings_) {
        out += f.path;
        if (f.line > 0) {
            out += ':';
            out += std::to_string(f.line);
        }
        out += f.error ? ": error: " : ": warning: ";
        out += f.text + "\n";
    }
    out += "check: " + plural(errors(), "error") + ", " + plural(warnings(), "warning") + " (" +
           role + " of cluster " + cluster + ")\n";
    return out;
}

std::string Report::json(const std::string& role, const std::string& cluster) const {
    std::string out = "{\"role\": " + jsonString(role) + ", \"cluster\": " + jsonString(cluster) +
                      ", \"errors\": " + std::to_string(errors()) +
                      ", \"warnings\": " + std::to_string(warnings()) + ", \"findings\": [";
    const char* separator = "\n";
    for (const Finding& f : findings_) {
        out += separator;
        out += "  {\"level\": ";
        out += f.error ? "\"error\"" : "\"warning\"";
        out += ", \"path\": " + jsonString(f.path) +
               ", \"line\": " + (f.line > 0 ? std::to_string(f.line) : std::string("null")) +
               ", \"code\": " + jsonString(f.code) + ", \"text\": " + jsonString(f.text) + "}";
        separator = ",\n";
    }
    out += findings_.empty() ? "]}\n" : "\n]}\n";
    return out;
}

}  // namespace orv
