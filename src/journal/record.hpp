// The journal on disk: where it lives, the record of one run, and the data that gives a
// file's earlier text back from its later one.
//
// One directory per run, named by the run's id, readable by its owner only. While the run
// goes on, "changes" grows by a line per file touched, per change of its text and per
// directory made, each written before the change itself; every change of a text first
// leaves its restore data in a file "<file>.<change>" beside it. At the end the run writes
// "record": who ran what, when, with which status, the same lines, and each file's state
// after the run. A run killed before its end leaves "changes" alone, which still gives back
// every text it had begun to change.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "storage/file_text.hpp"

namespace orv {

// The journal's directory ($ORVCONFIG_STATE_DIR/journal, by default under /var/lib/orvconfig
// for root and the XDG state directory for other users), or "" when it is turned off
// (ORVCONFIG_JOURNAL=off) or no home is known.
std::string journalDirectory();

// How many runs are kept (ORVCONFIG_JOURNAL_KEEP, default 100) and how many bytes at most.
std::size_t journalKeepRuns();
inline constexpr std::uintmax_t kJournalKeepBytes = 100ULL << 20;

// A text's state: absent, or present with its SHA-256.
inline constexpr const char* kAbsent = "-";

struct ChangeStep {
    int number = 0;         // names its restore data "<file>.<number>"; increasing
    std::string shaBefore;  // the text before this change, or kAbsent
    std::string shaAfter;   // the text after it, or kAbsent
};

struct FileChange {
    int number = 0;                 // the file's number in the record
    std::string path;               // absolute
    std::string shaBefore;          // kAbsent: the run created it
    mode_t modeBefore = 0;          // permission bits (unused when created)
    std::vector<ChangeStep> steps;  // in order
    bool finished = false;          // the after state below is known (a complete record)
    std::string shaAfter;           // kAbsent: the run removed it
    mode_t modeAfter = 0;
};

struct RunRecord {
    std::string id;
    std::string directory;  // the record's own directory
    bool complete = false;  // the run ended and wrote its record
    std::time_t start = 0;
    std::string host, user, sudoUser, command;
    int status = -1;
    std::string undoes;  // the id of the run this one undid
    std::vector<FileChange> files;
    std::vector<std::string> dirs;  // directories made, in order
    struct RemovedDir {
        std::string path;
        mode_t mode = 0;
    };
    std::vector<RemovedDir> removedDirs;  // empty directories removed, in order
};

// The ids of the journal's records, oldest first.
std::vector<std::string> listRunIds(const std::string& journal);

// Reads the record of a run (its "record", or the "changes" of a run that did not end);
// nothing when neither can be read or parsed.
std::optional<RunRecord> readRunRecord(const std::string& journal, const std::string& id);

// The lines of a record.
std::string fileLine(const FileChange& file);
std::string stepLine(const FileChange& file, const ChangeStep& step);
std::string dirLine(const std::string& path);
std::string removedDirLine(const RunRecord::RemovedDir& dir);
std::string recordHeader(const RunRecord& run);
std::string afterLine(const FileChange& file);

// Restore data: how the text before a change is made from the text after it: spans of the
// later text and the literal bytes that are not in it. Built from an edit's pieces (spans of
// the old text and new lines), so only the changed lines are stored.
std::string restoreData(std::string_view before, const TextPieces& after);
// `text` as pieces that take its common beginning and end with `base` from `base` itself, so
// that the restore data of a rewrite of `base` into `text` holds only what lies between.
TextPieces sharingEnds(std::string_view base, std::string_view text);
// For a file that did not exist before the change.
std::string restoreAbsent();
// The earlier text (nullopt: the file did not exist), or false when the data is damaged.
bool applyRestoreData(std::string_view data, std::string_view after,
                      std::optional<std::string>& before);

// A path as one field of a line: backslashes and newlines escaped.
std::string escapeField(std::string_view text);
std::string unescapeField(std::string_view text);

}  // namespace orv
