// Every effect of a run on files (a read, a rewrite, a copy, a new or appended file, a
// directory made, a file removed, a mode set) goes through one FileStore. The disk is one;
// a dry run puts an overlay in its place, which keeps new contents in memory, answers
// later reads from them, writes nothing, and at the end shows what it would have changed.
// The real run and its preview so share every line of their logic.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

#include "text/file_io.hpp"

namespace orv {

class FileStore {
  public:
    virtual ~FileStore() = default;
    virtual bool read(const std::string& path, FileText& out, std::size_t limit) = 0;
    virtual PathKind kind(const std::string& path) = 0;
    virtual CommitResult commit(const std::string& file, std::string_view original,
                                const TextPieces& updated, bool keepTmpOnFileOpenFailure) = 0;
    virtual CommitResult writeThroughTmp(const std::string& target, std::string_view content) = 0;
    virtual NewFileResult writeNewFile(const std::string& path, std::string_view content) = 0;
    virtual bool append(const std::string& path, std::string_view text) = 0;
    virtual int makeDirectory(const std::string& path, mode_t mode) = 0;
    virtual int remove(const std::string& path) = 0;
    virtual int changeMode(const std::string& path, mode_t mode) = 0;
};

// The disk, as every run without --dry-run uses it.
FileStore& diskStore();

// The store of this run (the disk unless another was put in its place).
FileStore& fileStore();
void useFileStore(FileStore& store);

// --dry-run: from now on the run's effects go to an in-memory overlay of the disk.
void beginDryRun();

// Prints what the dry run would have done: a unified diff of every file it would change,
// create or remove, a line per directory it would make, and a closing line.
void printDryRunReport();

}  // namespace orv
