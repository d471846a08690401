#include "text/text_hazards.hpp"

#include <algorithm>

#include "text/line_reader.hpp"
#include "text/strings.hpp"

namespace orv {

namespace {

// True when a line (without its newline) ends in a backslash before trailing whitespace.
bool endsInBackslash(std::string_view line) {
    const std::size_t last = line.find_last_not_of(" \t\r\f\v");
    return last != std::string_view::npos && line[last] == '\\';
}

// The key of `keys` a line holds, or nullptr.
const std::string* keyHeld(std::string_view line, const std::vector<std::string>& keys) {
    for (const std::string& key : keys) {
        if (!key.empty() && contains(line, key)) return &key;
    }
    return nullptr;
}

// The number of lines the raw reader gives back.
std::size_t readBackLines(std::string_view text) {
    const std::string back = normalisedLines(text);
    return static_cast<std::size_t>(std::count(back.begin(), back.end(), '\n'));
}

}  // namespace

std::vector<TextHazard> rewriteHazards(std::string_view text,
                                       const std::vector<std::string>& keys) {
    std::vector<TextHazard> hazards;
    std::size_t crIndex = 0;
    int number = 0;
    std::size_t at = 0;
    while (at < text.size()) {
        ++number;
        const std::size_t nl = text.find('\n', at);
        const bool terminated = nl != std::string_view::npos;
        const std::string_view line =
            text.substr(at, terminated ? nl - at : std::string_view::npos);
        at = terminated ? nl + 1 : text.size();
        if (terminated && !line.empty() && line.back() == '\r') {
            if (crIndex == 0) {
                hazards.push_back({TextHazard::Kind::CarriageReturn, number, "", 0});
                crIndex = hazards.size();
            }
            ++hazards[crIndex - 1].count;
        }
        if (const std::string* key = keyHeld(line, keys); key != nullptr && endsInBackslash(line)) {
            hazards.push_back({TextHazard::Kind::Continuation, number, *key});
        }
    }
    const std::size_t physical = static_cast<std::size_t>(number);
    if (!text.empty() && text.back() != '\n' && readBackLines(text) < physical) {
        hazards.push_back({TextHazard::Kind::DroppedLastLine, number, ""});
    }
    return hazards;
}

}  // namespace orv
