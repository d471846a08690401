// Several runs may edit one file at once (a parallel shell promoting many hosts onto one
// shared directory). Every read-modify-write holds an exclusive lock on the file from the
// read of the text it changes until the new text is committed; the lock is an
// open-file-description record lock, which network file systems honour and the kernel
// drops when the process dies. While a run holds it, its own reads and rewrites of that
// file go through without waiting; other runs wait, for at most lockWaitSeconds().
#pragma once

#include <sys/types.h>

#include <map>
#include <memory>
#include <string>
#include <utility>

namespace orv {

// A file held by this run for an edit, until this is destroyed.
class EditLock {
  public:
    EditLock() = default;
    EditLock(const EditLock&) = delete;
    EditLock& operator=(const EditLock&) = delete;
    virtual ~EditLock() = default;
};

// A lock that was not granted in time, or could not be taken at all. Thrown before
// anything of the edit is written; the run reports it and ends with status 255.
struct LockFailure {
    std::string path;
    bool timedOut;
};

// How long a run waits for another run's lock: ORVCONFIG_LOCK_WAIT seconds when set to a
// number, else 60.
double lockWaitSeconds();

// The exclusive locks one run holds, counted, so that nested edits of one file (however
// its path is spelled) share the outermost lock.
class LockTable {
  public:
    // Locks `path` for an edit; holds nothing (nullptr) when the file cannot be opened for
    // writing, and the edit then fails as it always has, when it commits.
    std::unique_ptr<EditLock> lockForEdit(const std::string& path);
    // Locks an open file exclusively, or shares it for a read, unless this run holds it.
    void lockForWrite(int fd, const std::string& path);
    void lockForRead(int fd, const std::string& path);

  private:
    using FileId = std::pair<dev_t, ino_t>;
    class Held;
    bool holds(int fd) const;
    std::map<FileId, int> held_;  // with the number of EditLocks holding each
};

}  // namespace orv
