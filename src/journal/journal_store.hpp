// The journal of a run: a store laid over the disk that, before each change of a file,
// records what gives the file back, and at the end of the run completes the run's record
// and sends one audit line to the system log. A run that changes nothing records nothing. A
// journal that cannot be written never stops the run: one line on standard error says that
// the run cannot be undone, and why.
#pragma once

#include <string>

namespace orv {

// Who runs what, for the record and the audit line.
struct RunInfo {
    std::string host;
    std::string user;
    std::string sudoUser;
    std::string command;
};

// From now on the run's changes are recorded (in journalDirectory(), unless it is off) and
// audited.
void beginJournal(const RunInfo& info);

// The run gives back the files of run `id` (its record says so).
void journalUndoes(const std::string& id);

// The id of this run's record once it has one ("" before its first change or without a
// journal).
std::string journalRunId();

// Completes the record with the run's exit status and sends the audit line; nothing when
// the run changed nothing or no journal began.
void finishJournal(int status);

}  // namespace orv
