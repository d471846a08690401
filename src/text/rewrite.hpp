// The line-rewriting primitives for plain-text configuration files. Each rewrites the
// whole file, normalising whitespace, and reports "Cannot open file %s." on failure.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace orv {

int replaceString(const std::string& file, const std::string& key, const std::string& value);
int replaceString3(const std::string& file, const std::string& key, const std::string& value);
int replaceStringInFile(const std::string& file, const std::string& key, const std::string& value);
int replaceStringWithoutComment(const std::string& file, const std::string& key,
                                const std::string& value);
// Service-account changes are not made by this system: always 0, nothing touched.
int changeService(const std::string& file, const std::string& key, const std::string& value);

// Shared machinery for in-place editors: reads `file` line by line (raw reader, comment
// handling off), lets `edit` append each output line (with its newline) to `out` (the
// editor may keep state of its own between lines), then lets `finish` append text at the
// end. The new text is read back line by line before it is stored, as every rewrite has
// always done: whitespace in inserted text becomes blanks, trailing blanks go, every line
// ends in a newline (a last piece without one may be dropped by the reader's end-of-input
// rule). It is then committed with commitRewrite (no write when nothing changed).
// Statuses: ReadFailed (file missing, unreadable or not a regular file), TmpOpenFailed,
// FileOpenFailed (the ".tmp" is removed unless keepTmpOnFileOpenFailure) and WriteFailed.
// Messages for the first three are the caller's; WriteFailed has already been reported.
enum class RewriteStatus { Ok, ReadFailed, TmpOpenFailed, FileOpenFailed, WriteFailed };
using LineEditor = std::function<void(const std::string& line, std::string& out)>;
RewriteStatus rewriteLines(const std::string& file, const LineEditor& edit,
                           const std::function<void(std::string& out)>& finish = nullptr,
                           bool keepTmpOnFileOpenFailure = false);

// As rewriteLines, for an editor that writes every line holding none of `needles` as it
// is, followed by its newline. When the file is already in the form the line reader gives
// back, only the lines that hold a needle are handed to `edit` (found by searching the
// whole text) and the text between them is copied in one piece: the same result in a
// fraction of the time on a large file. Otherwise every line is edited as rewriteLines does.
RewriteStatus rewriteLinesHolding(const std::string& file, const std::vector<std::string>& needles,
                                  const LineEditor& edit);

}  // namespace orv
