#include "storage/disk_store.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <stdexcept>

#include "console/messages.hpp"

namespace orv {

namespace {

bool isRegularFd(int fd) {
    struct stat st {};
    return ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
}

// Opens for writing and refuses anything but a regular file. O_NONBLOCK keeps a FIFO
// without a reader from stalling the run; it has no effect on regular files.
UniqueFd openRegularForWrite(const std::string& path, int extraFlags) {
    UniqueFd fd = openRetrying(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC | extraFlags, 0666);
    if (fd && !isRegularFd(fd.get())) return UniqueFd(-1);
    return fd;
}

// The file that an edit or a copy overwrites; `created` tells whether this run made it.
UniqueFd openTarget(const std::string& file, bool create, bool& created) {
    created = false;
    if (UniqueFd fd = openRegularForWrite(file, 0); fd || !create || errno != ENOENT) return fd;
    if (UniqueFd fd = openRegularForWrite(file, O_CREAT | O_EXCL); fd || errno != EEXIST) {
        created = static_cast<bool>(fd);
        return fd;
    }
    return openRegularForWrite(file, 0);  // made by another run meanwhile
}

// The ".tmp" beside a file: created afresh and never reached through a symbolic link.
UniqueFd openTmp(const std::string& tmp) {
    return openRegularForWrite(tmp, O_CREAT | O_TRUNC | O_NOFOLLOW);
}

// Reserves the blocks of the first `size` bytes of a file without changing its size or its
// bytes, so that overwriting it cannot stop half-way for want of space. False (errno set)
// when the space cannot be had; a file system that cannot reserve counts as done, and the
// rewrite goes on as it always has. Blocks reserved past the end of a file that is not then
// rewritten stay with it until it is next cut.
bool reserveSpace(int fd, std::size_t size) {
    if (size == 0) return true;
    for (;;) {
        if (::fallocate(fd, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(size)) == 0) return true;
        if (errno == EINTR) continue;
        return errno == EOPNOTSUPP || errno == ENOSYS;
    }
}

// Reads straight into the text, sized from fstat (one spare byte lets the end of a file of
// unchanged size be seen without growing); files that grow meanwhile are read whole. Stops
// once `limit` characters are in.
bool readAll(int fd, FileText& out, std::size_t sizeHint, std::size_t limit) {
    std::size_t used = 0;
    out.clear();
    char* data = out.reserve(std::min(std::max<std::size_t>(sizeHint + 1, 4096), limit));
    while (used < limit) {
        if (used == out.capacity()) data = out.reserve(std::min(used * 2, limit));
        const ssize_t n = ::read(fd, data + used, out.capacity() - used);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return false;
        if (n == 0) break;
        used += static_cast<std::size_t>(n);
        out.resize(used);
    }
    return true;
}

}  // namespace

void DiskStore::failWrite(const char* message, const std::string& path) {
    writeFailed_ = true;
    alertI18nWithParameter(message, path);
}

// Writes the pieces in order. Small pieces (the lines of an edit and the spans between
// them) are gathered in one reused buffer first, so that an edit of many lines costs a few
// large writes rather than one system call per piece.
bool DiskStore::writePieces(int fd, const TextPieces& pieces) {
    constexpr std::size_t kStage = 1 << 20;
    stage_.clear();
    stage_.reserve(kStage);
    for (const std::string_view piece : pieces) {
        if (stage_.size() + piece.size() <= kStage) {
            stage_ += piece;
            continue;
        }
        if (!writeAll(fd, stage_)) return false;
        stage_.clear();
        if (piece.size() >= kStage) {
            if (!writeAll(fd, piece)) return false;
        } else {
            stage_ += piece;
        }
    }
    return writeAll(fd, stage_);
}

// Fills the ".tmp"; on failure it is removed and the failure reported with its path.
bool DiskStore::fillTmp(UniqueFd& fd, const std::string& tmp, const TextPieces& content,
                        bool sync) {
    bool ok = writePieces(fd.get(), content) && (!sync || ::fsync(fd.get()) == 0);
    ok = fd.close() && ok;
    if (ok) return true;
    ::unlink(tmp.c_str());
    failWrite("Cannot write file %s.", tmp);
    return false;
}

// Rewrites an open file in place (same inode). The new text is written over the old one
// and the file then cut to its length, so the file system keeps the file's blocks instead
// of freeing and allocating them again (on a large file that costs as much as the write).
// On failure the ".tmp" is kept, since it then holds the only complete copy of the text.
bool DiskStore::rewriteInPlace(UniqueFd& fd, const std::string& file, const TextPieces& content,
                               bool sync) {
    bool ok = writePieces(fd.get(), content) &&
              ::ftruncate(fd.get(), static_cast<off_t>(sizeOf(content))) == 0 &&
              (!sync || ::fsync(fd.get()) == 0);
    ok = fd.close() && ok;
    if (!ok) {
        writeFailed_ = true;
        keptTmps_.insert(file);
        alertI18nWithTwoParameters("Cannot write file %s. Its new content is kept in %s.", file,
                                   tmpPathOf(file));
    }
    return ok;
}

CommitResult DiskStore::writeBoth(const std::string& file, const TextPieces& content, Install how,
                                  UniqueFd& tmpFd, const BeforeOverwrite& beforeOverwrite) {
    const std::string tmp = tmpPathOf(file);
    if (!fillTmp(tmpFd, tmp, content, how.sync)) return CommitResult::TmpWriteFailed;
    if (beforeOverwrite) beforeOverwrite();
    bool created = false;
    UniqueFd fd = openTarget(file, how.create, created);
    if (!fd) {
        if (how.tmpOnOpenFailure == TmpOnOpenFailure::Remove) ::unlink(tmp.c_str());
        return CommitResult::FileOpenFailed;
    }
    try {
        locks_.lockForWrite(fd.get(), file);
    } catch (const LockFailure&) {
        ::unlink(tmp.c_str());  // the file is untouched: its ".tmp" holds nothing needed
        throw;
    }
    if (!reserveSpace(fd.get(), sizeOf(content))) {
        // A full disk or a file-size limit: the file is still whole, so it is left as it was
        // (a file this run has just made is removed again).
        if (created) ::unlink(file.c_str());
        fd.close();
        ::unlink(tmp.c_str());
        failWrite("Cannot write file %s.", file);
        return CommitResult::TmpWriteFailed;
    }
    if (!rewriteInPlace(fd, file, content, how.sync)) return CommitResult::FileWriteFailed;
    ::unlink(tmp.c_str());
    return CommitResult::Written;
}

bool DiskStore::read(const std::string& path, FileText& out, std::size_t limit) {
    out.clear();
    UniqueFd fd = openRetrying(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (!fd) return false;
    struct stat st {};
    if (::fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    locks_.lockForRead(fd.get(), path);
    try {
        if (readAll(fd.get(), out, static_cast<std::size_t>(st.st_size), limit)) return true;
    } catch (const std::bad_alloc&) {
        // A file too large to hold is a file that cannot be read.
    } catch (const std::length_error&) {
        // So is a sparse file whose size is past what a string can hold at all.
    }
    out = FileText();
    return false;
}

PathKind DiskStore::kind(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return PathKind::Absent;
    if (S_ISREG(st.st_mode)) return PathKind::Regular;
    return S_ISDIR(st.st_mode) ? PathKind::Directory : PathKind::Other;
}

CommitResult DiskStore::commit(const std::string& file, std::string_view original,
                               const TextPieces& updated, TmpOnOpenFailure tmp,
                               const BeforeOverwrite& beforeOverwrite) {
    if (keptTmps_.count(file) != 0) return CommitResult::TmpOpenFailed;
    UniqueFd tmpFd = openTmp(tmpPathOf(file));
    if (!tmpFd) return CommitResult::TmpOpenFailed;
    // An edit that changes nothing leaves the file (and its mtime) alone. The ".tmp" is
    // still created first, so a directory that refuses it is reported as before.
    if (samePieces(original, updated)) {
        tmpFd.close();
        ::unlink(tmpPathOf(file).c_str());
        return CommitResult::Unchanged;
    }
    return writeBoth(file, updated, {.sync = true, .create = false, .tmpOnOpenFailure = tmp}, tmpFd,
                     beforeOverwrite);
}

CommitResult DiskStore::writeThroughTmp(const std::string& target, std::string_view content) {
    if (keptTmps_.count(target) != 0) return CommitResult::TmpOpenFailed;
    UniqueFd tmpFd = openTmp(tmpPathOf(target));
    if (!tmpFd) return CommitResult::TmpOpenFailed;
    return writeBoth(target, TextPieces{content},
                     {.sync = false, .create = true, .tmpOnOpenFailure = TmpOnOpenFailure::Remove},
                     tmpFd, {});
}

NewFileResult DiskStore::writeNewFile(const std::string& path, std::string_view content) {
    UniqueFd fd = openTmp(path);
    if (!fd) return NewFileResult::OpenFailed;
    const bool written = writeAll(fd.get(), content);
    if (fd.close() && written) return NewFileResult::Written;
    ::unlink(path.c_str());
    failWrite("Cannot write file %s.", path);
    return NewFileResult::WriteFailed;
}

bool DiskStore::append(const std::string& path, std::string_view text) {
    UniqueFd fd = openRegularForWrite(path, O_CREAT | O_APPEND);
    if (!fd) return false;
    locks_.lockForWrite(fd.get(), path);
    struct stat before {};
    const bool sized = ::fstat(fd.get(), &before) == 0;
    bool ok = writeAll(fd.get(), text);
    if (!ok && sized) {
        // A short append would leave half a line behind: cut the file back to what it was
        // (the append is reported as failed whether or not the cut succeeds).
        [[maybe_unused]] const int cut = ::ftruncate(fd.get(), before.st_size);
    }
    ok = fd.close() && ok;
    if (!ok) failWrite("Cannot write file %s.", path);
    return ok;
}

int DiskStore::makeDirectory(const std::string& path, mode_t mode) {
    return ::mkdir(path.c_str(), mode);
}

int DiskStore::remove(const std::string& path) {
    return ::unlink(path.c_str());
}

int DiskStore::changeMode(const std::string& path, mode_t mode) {
    return ::chmod(path.c_str(), mode);
}

std::unique_ptr<EditLock> DiskStore::lockForEdit(const std::string& path) {
    return locks_.lockForEdit(path);
}

DiskStore& diskStore() {
    static DiskStore disk;
    return disk;
}

}  // namespace orv
