#include "text/strings.hpp"

#include "storage/file_store.hpp"

namespace orv {

int tokenize(std::string_view source, std::vector<std::string>& tokens,
             std::string_view delimiter) {
    tokens.clear();
    std::size_t start = 0;
    while (start < source.size()) {
        start = source.find_first_not_of(delimiter, start);
        if (start == std::string_view::npos) break;
        std::size_t end = source.find_first_of(delimiter, start);
        if (end == std::string_view::npos) end = source.size();
        tokens.emplace_back(source.substr(start, end - start));
        start = end;
    }
    return static_cast<int>(tokens.size());
}

std::string subString(std::string_view str, int num) {
    if (num <= 0) return {};
    return std::string(str.substr(0, static_cast<std::size_t>(num)));
}

std::optional<std::string> subString2(std::string_view str, int start, int end) {
    if (start < 0 || end < 0 || start > end) return std::nullopt;
    const auto first = static_cast<std::size_t>(start);
    if (first >= str.size()) return std::string();
    return std::string(str.substr(first, static_cast<std::size_t>(end - start)));
}

std::size_t strrfind(std::string_view source, std::string_view searcher) {
    if (searcher.empty()) return std::string_view::npos;
    std::size_t last = std::string_view::npos;
    // Hits never overlap: each search resumes just past the previous hit.
    for (std::size_t at = source.find(searcher); at != std::string_view::npos;
         at = source.find(searcher, at + searcher.size())) {
        last = at;
    }
    return last;
}

int appendString(const std::string& filename, std::string_view sourcestring) {
    std::string text;
    text.reserve(sourcestring.size() + 1);
    text.append(sourcestring);
    text.push_back('\n');
    return appendToFile(filename, text) ? 1 : -1;
}

void replaceVariable(std::string& str, std::string_view source, std::string_view dest) {
    const std::size_t at = str.find(source);
    if (at == std::string::npos) return;
    str.replace(at, source.size(), dest);
}

}  // namespace orv
