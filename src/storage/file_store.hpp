// Every effect of a run on files (a read, a rewrite, a copy, a new or appended file, a
// directory made, a file removed, a mode set) goes through one FileStore. The disk is one;
// a dry run puts an overlay in its place, which keeps new contents in memory, answers
// later reads from them, writes nothing, and at the end shows what it would have changed.
// The real run and its preview so share every line of their logic. Regular files only: a
// FIFO, socket or device is never opened in a way that could block.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "storage/file_text.hpp"
#include "storage/record_lock.hpp"

namespace orv {

// Result of committing the new text of an in-place edit.
enum class CommitResult {
    Written,         // the file now holds the new text; the ".tmp" is gone
    Unchanged,       // the new text equals the old: nothing written, the ".tmp" is gone
    TmpOpenFailed,   // the ".tmp" could not be created; nothing changed
    TmpWriteFailed,  // writing the ".tmp", or reserving the file's new length, failed: the
                     // file untouched, the ".tmp" removed, "Cannot write file" printed
    FileOpenFailed,  // the file could not be opened for writing; untouched
    FileWriteFailed  // rewriting the file failed; the ".tmp" keeps the new text (printed)
};

// What becomes of the ".tmp" when the file itself cannot be opened for writing.
enum class TmpOnOpenFailure { Remove, Keep };

// Creates (or empties) a path: written, not opened (silent), or a write failed (reported,
// the half-written file removed again).
enum class NewFileResult { Written, OpenFailed, WriteFailed };

// Called by a commit once the new text is safe in the ".tmp" and before the first byte of
// the file is overwritten (never when the commit stops earlier): what must be on disk before
// the file changes, the journal's record of the change, is written there.
using BeforeOverwrite = std::function<void()>;

// What stands at a path, links followed.
enum class PathKind { Absent, Regular, Directory, Other };

class FileStore {
  public:
    FileStore() = default;
    FileStore(const FileStore&) = delete;
    FileStore& operator=(const FileStore&) = delete;
    virtual ~FileStore() = default;
    virtual bool read(const std::string& path, FileText& out, std::size_t limit) = 0;
    virtual PathKind kind(const std::string& path) = 0;
    virtual CommitResult commit(const std::string& file, std::string_view original,
                                const TextPieces& updated, TmpOnOpenFailure tmp,
                                const BeforeOverwrite& beforeOverwrite) = 0;
    virtual CommitResult writeThroughTmp(const std::string& target, std::string_view content) = 0;
    virtual NewFileResult writeNewFile(const std::string& path, std::string_view content) = 0;
    virtual bool append(const std::string& path, std::string_view text) = 0;
    virtual int makeDirectory(const std::string& path, mode_t mode) = 0;
    virtual int remove(const std::string& path) = 0;
    virtual int removeDirectory(const std::string& path) = 0;
    virtual int changeMode(const std::string& path, mode_t mode) = 0;
    // Holds `path` against other runs for an edit (nullptr: nothing to hold).
    virtual std::unique_ptr<EditLock> lockForEdit(const std::string& path) = 0;
    // True once a write failed ("Cannot write file" was printed).
    virtual bool anyWriteFailed() const = 0;
};

// The store of this run: the disk unless another was put in its place.
FileStore& fileStore();
void useFileStore(FileStore& store);

// The rest are the store's operations on the store of this run.

// Reads a whole regular file (or its first `limit` characters), holding a shared lock on it
// while it reads, so that it never sees another run's rewrite half done. False when it
// cannot be opened, is not a regular file, or cannot be read; out is then empty.
bool readRegularFile(const std::string& path, FileText& out, std::size_t limit = SIZE_MAX);

// True when path is an existing regular file (stat follows links).
bool isRegularFile(const std::string& path);
PathKind pathKind(const std::string& path);

// Replaces the contents of `file` by `updated`, keeping its inode: the new text goes to
// "<file>.tmp" (opened O_NOFOLLOW, fsynced), the file's new length is reserved, then the
// file is overwritten, cut to length and fsynced, and the ".tmp" removed. When `updated`
// equals `original` the file is left alone. Prints only the write failures ("Cannot write
// file %s." with the ".tmp" path, or with the file's when its space cannot be reserved, or
// "Cannot write file %s. Its new content is kept in %s."); open failures are the caller's.
CommitResult commitRewrite(const std::string& file, std::string_view original,
                           const TextPieces& updated,
                           TmpOnOpenFailure tmp = TmpOnOpenFailure::Remove);

// Writes `content` to `target` through "<target>.tmp" without fsync (used by copies).
// Returns the same codes as commitRewrite (Unchanged is never returned; an existing
// target is overwritten).
CommitResult writeThroughTmp(const std::string& target, std::string_view content);

// True once a write of this run failed ("Cannot write file" was printed). A file whose
// new text was kept in its ".tmp" is not edited again in the same run (TmpOpenFailed).
bool anyWriteFailed();

// Creates (or empties) `path`, never through a link, and writes `content`.
NewFileResult writeNewFile(const std::string& path, std::string_view content);

// Appends text to a file (created when missing, never a link target's special file).
// False when it cannot be opened or written.
bool appendToFile(const std::string& path, std::string_view text);

// mkdir(2), unlink(2) and chmod(2) of the run: 0, or -1 with errno set.
int makeDirectory(const std::string& path, mode_t mode);
int removePath(const std::string& path);
// rmdir(2) of the run (an empty directory only): 0, or -1 with errno set.
int removeDirectory(const std::string& path);
int changeMode(const std::string& path, mode_t mode);

// Holds a file against other runs from the read of the text an edit changes until its
// commit.
class FileLock {
  public:
    explicit FileLock(const std::string& path) : held_(fileStore().lockForEdit(path)) {}

  private:
    std::unique_ptr<EditLock> held_;
};

// The temporary name of a file: "<file>.tmp".
inline std::string tmpPathOf(const std::string& file) {
    return file + ".tmp";
}

}  // namespace orv
