// The line-rewriting primitives for plain-text configuration files. Each rewrites the
// whole file, normalising whitespace, and reports "Cannot open file %s." on failure.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "storage/file_store.hpp"

namespace orv {

int replaceString(const std::string& file, const std::string& key, const std::string& value);
int replaceString3(const std::string& file, const std::string& key, const std::string& value);
int replaceStringInFile(const std::string& file, const std::string& key, const std::string& value);
int replaceStringWithoutComment(const std::string& file, const std::string& key,
                                const std::string& value);
// replaceString of each (key, value) in turn. When every value is a line the reader gives
// back as itself they are made in one rewrite of the file, with the same text: a line
// holding a key becomes its value (or goes, for an empty value), which the keys after it
// see in turn. Returns how many of the edits were made before the first that failed (that
// one reported as replaceString reports it); a failed single rewrite is the first's.
std::size_t replaceStrings(const std::string& file,
                           const std::vector<std::pair<std::string, std::string>>& edits);

// Shared machinery for in-place editors: hands lines of `file` (as the raw reader gives
// them, comment handling off) to `edit`, which appends each line's new text (every line
// with its newline) to `out` and may keep state of its own between lines; then `finish`
// may append text at the end. A line whose new text is the line itself stays as it is.
// The new text is read back line by line before it is stored, as every rewrite has always
// done: whitespace in inserted text becomes blanks, trailing blanks go, every line ends in
// a newline (a last piece without one may be dropped by the reader's end-of-input rule).
// It is then committed with commitRewrite (no write when nothing changed).
// Statuses: ReadFailed (file missing, unreadable or not a regular file), TmpOpenFailed,
// FileOpenFailed (the ".tmp" removed unless `tmp` keeps it) and WriteFailed.
// Messages for the first three are the caller's; WriteFailed has already been reported.
enum class RewriteStatus { Ok, ReadFailed, TmpOpenFailed, FileOpenFailed, WriteFailed };
using LineEditor = std::function<void(const std::string& line, std::string& out)>;

// Which lines an editor must see; it is promised to keep every other line as it is. Only
// those lines are handed to it and the text between them is copied in large spans, which
// on a large file is the difference between one search and a call per line.
struct LineSelection {
    // The lines holding one of these; none (or an empty one) selects every line.
    std::vector<std::string> needles;
    // Also the lines that begin with a blank.
    bool indented = false;
    // Asked after each line handed over: true when the editor must see the next line too
    // (a value that runs on below its line).
    std::function<bool()> continues = nullptr;
};

RewriteStatus rewriteLines(const std::string& file, const LineEditor& edit,
                           const LineSelection& lines = {},
                           const std::function<void(std::string& out)>& finish = nullptr,
                           TmpOnOpenFailure tmp = TmpOnOpenFailure::Remove);

}  // namespace orv
