// Small string helpers shared by every subcommand.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

// Splits source at any character of delimiter; empty tokens never occur.
int tokenize(std::string_view source, std::vector<std::string>& tokens, std::string_view delimiter);

// First num characters of str (fewer when str is shorter).
std::string subString(std::string_view str, int num);

// Characters [start, end) of str (stopping at its end); nullopt when start or end is
// negative or start exceeds end.
std::optional<std::string> subString2(std::string_view str, int start, int end);

// Position of the last non-overlapping occurrence of searcher, or npos.
std::size_t strrfind(std::string_view source, std::string_view searcher);

// Appends sourcestring and a newline to filename; 1, or -1 when it cannot be written.
int appendString(const std::string& filename, std::string_view sourcestring);

// Replaces the first occurrence of source in str by dest.
void replaceVariable(std::string& str, std::string_view source, std::string_view dest);

// True when text contains needle.
inline bool contains(std::string_view text, std::string_view needle) {
    return text.find(needle) != std::string_view::npos;
}

}  // namespace orv
