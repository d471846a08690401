// Splitting, substrings and placeholder replacement on arbitrary text.
#include <cstdint>
#include <string>
#include <vector>

#include "text/strings.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    std::string delim(reinterpret_cast<const char*>(data), 1);
    std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::vector<std::string> tokens;
    int n = orv::tokenize(text, tokens, delim);
    if (n != static_cast<int>(tokens.size())) __builtin_trap();
    for (const auto& t : tokens)
        if (t.empty() || t.find(delim[0]) != std::string::npos) __builtin_trap();
    (void)orv::subString(text, static_cast<int>(size % 7));
    (void)orv::subString2(text, static_cast<int>(size % 5), static_cast<int>(size % 11));
    if (!tokens.empty()) (void)orv::strrfind(text, tokens.back());
    std::string line = text;
    orv::replaceVariable(line, "@SHARETOP@", "/share");
    return 0;
}
