// The texts a recorded run found and left, rebuilt from the files as they are now and the
// run's restore data, every step checked against its recorded SHA-256.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "journal/record.hpp"

namespace orv {

// A file's text (nullopt: no file).
using Text = std::optional<std::string>;

// What stands at a path now, read through the run's store.
Text currentText(const std::string& path);
std::string shaOfText(const Text& text);

// Walks one file's changes back from `text` (the text the run left, or for a run that did
// not end the text at any of its steps) to the text before the run. False when the record's
// data does not give back a text of the recorded SHA-256 (`damaged`) or `text` is none of
// the run's texts (`damaged` false: changed since).
bool walkBack(const RunRecord& run, const FileChange& file, Text& text, bool& damaged);

// The journal's records, oldest first (unreadable ones left out).
std::vector<RunRecord> readJournal(const std::string& journal);

// The id of the run that undid `id` last, or "".
std::string undoneBy(const std::vector<RunRecord>& runs, const std::string& id);

// The journal, or nothing after "The journal is turned off." when there is none.
std::optional<std::string> journalOrMessage();

}  // namespace orv
