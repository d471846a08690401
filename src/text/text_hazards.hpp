// Text that a rewrite of a file changes beyond the lines it edits: the rewrite reads every
// line back as the raw reader gives it, and a key line's edit replaces one physical line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orv {

struct TextHazard {
    enum class Kind {
        CarriageReturn,   // a line ends in "\r\n": the rewrite ends it with "\n" alone
        Continuation,     // a line holding `key` is continued with a backslash: an edit of
                          // the key replaces the first line and leaves the rest behind
        DroppedLastLine,  // the last line has no newline and the reader drops it
    };
    Kind kind;
    int line;         // 1-based; for CarriageReturn the first such line
    std::string key;  // Continuation: the key the line holds
    int count = 1;    // CarriageReturn: how many lines end so
};

// The hazards of a text, in the order of their lines; `keys` are the keys an edit of the
// file looks for (a line holding one of them as a substring is that key's line).
std::vector<TextHazard> rewriteHazards(std::string_view text, const std::vector<std::string>& keys);

}  // namespace orv
