// The files of one run's record in the journal, written with plain POSIX calls (they are the
// journal's own, not effects of the run), owner-only.
#pragma once

#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>

#include "journal/record.hpp"
#include "storage/unique_fd.hpp"

namespace orv {

class JournalFiles {
  public:
    // Makes the journal (0700, with its missing parents) and the run's directory in it; on
    // failure nothing and `why` says what failed.
    static std::unique_ptr<JournalFiles> create(const std::string& journal, const std::string& id,
                                                std::string& why);
    // The restore data of a file's change: "<file>.<step>".
    bool writeData(int file, int step, std::string_view data, bool sync, std::string& why);
    // Appends lines to the run's changes.
    bool log(std::string_view lines, bool sync, std::string& why);
    // Writes the run's record in place of its changes, removes restore data the record does
    // not use, and prunes the journal to its newest `keepRuns` runs and `keepBytes` bytes.
    bool complete(const RunRecord& run, std::size_t keepRuns, std::uintmax_t keepBytes,
                  std::string& why);
    // Removes the run's directory (a run that changed nothing, or a journal that failed).
    void discard();

  private:
    JournalFiles(std::string journal, std::string dir, UniqueFd changes)
        : journal_(std::move(journal)), dir_(std::move(dir)), changes_(std::move(changes)) {}
    bool writeFile(const std::string& name, std::string_view data, bool sync, std::string& why);

    std::string journal_;
    std::string dir_;
    UniqueFd changes_;
};

// A file as a record names it: its directory resolved, its last component as given.
std::string absolutePath(const std::string& path);

// The id of a run that started at `now`: its UTC time and the process id, so that ids sort
// as the runs started.
std::string runId(const timespec& now);

// Removes a record's directory and everything in it.
void removeRunDirectory(const std::string& dir);

}  // namespace orv
