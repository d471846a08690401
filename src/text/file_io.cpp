#include "text/file_io.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>

#include "console/messages.hpp"
#include "text/file_store.hpp"

namespace orv {

namespace {

// Owns one file descriptor; close() reports whether the kernel accepted the data.
class UniqueFd {
  public:
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
    UniqueFd& operator=(UniqueFd&&) = delete;
    ~UniqueFd() {
        if (fd_ >= 0) ::close(fd_);
    }
    explicit operator bool() const { return fd_ >= 0; }
    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }
    bool close() {
        const int fd = fd_;
        fd_ = -1;
        return fd >= 0 && ::close(fd) == 0;
    }

  private:
    int fd_;
};

int openRetrying(const char* path, int flags, mode_t mode = 0) {
    int fd = -1;
    do {
        fd = ::open(path, flags, mode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

// Set once any write of the run failed, so that the run ends with a failure status even
// where a command goes on past a failed edit.
bool writeFailure = false;

// Files whose ".tmp" was kept because it holds the only complete copy of their new text.
// No later edit in the same run may create that ".tmp" afresh and so destroy it.
std::set<std::string>& keptTmps() {
    static std::set<std::string> files;
    return files;
}

bool isRegularFd(int fd) {
    struct stat st {};
    return ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
}

// A file as the kernel knows it: one path may be spelled several ways.
using FileId = std::pair<dev_t, ino_t>;

FileId fileIdOf(int fd) {
    struct stat st {};
    if (::fstat(fd, &st) != 0) return {0, 0};
    return {st.st_dev, st.st_ino};
}

// The files this run holds an exclusive lock on, with the number of FileLocks holding each.
std::map<FileId, int>& heldLocks() {
    static std::map<FileId, int> held;
    return held;
}

bool heldByThisRun(int fd) {
    return heldLocks().count(fileIdOf(fd)) != 0;
}

// Takes a lock of `type` (F_RDLCK or F_WRLCK) on the whole open file, waiting for other
// runs at most lockWaitSeconds(). Throws LockFailure on time-out, and when an exclusive
// lock cannot be taken at all (a file system without locks); a read goes on without one.
void waitForLock(int fd, short type, const std::string& path) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                             std::chrono::duration<double>(lockWaitSeconds()));
    auto pause = std::chrono::milliseconds(1);
    int command = F_OFD_SETLK;
    for (;;) {
        struct flock request {};
        request.l_type = type;
        request.l_whence = SEEK_SET;
        if (::fcntl(fd, command, &request) == 0) return;
        if (errno == EINTR) continue;
        if (errno == EINVAL && command == F_OFD_SETLK) {
            command = F_SETLK;  // a kernel without open-file-description locks
            continue;
        }
        if (errno != EAGAIN && errno != EACCES) {
            if (type == F_RDLCK) return;
            throw LockFailure{path, false};
        }
        const auto now = Clock::now();
        if (now >= deadline) throw LockFailure{path, true};
        std::this_thread::sleep_for(std::min<Clock::duration>(pause, deadline - now));
        pause = std::min(pause * 2, std::chrono::milliseconds(50));
    }
}

// Locks an open file for writing unless this run holds it already.
void lockForWrite(int fd, const std::string& path) {
    if (!heldByThisRun(fd)) waitForLock(fd, F_WRLCK, path);
}

// Opens for writing and refuses anything but a regular file. O_NONBLOCK keeps a FIFO
// without a reader from stalling the run; it has no effect on regular files.
UniqueFd openRegularForWrite(const std::string& path, int extraFlags) {
    UniqueFd fd(openRetrying(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC | extraFlags, 0666));
    if (fd && !isRegularFd(fd.get())) return UniqueFd(-1);
    return fd;
}

// The ".tmp" beside a file: created afresh and never reached through a symbolic link.
UniqueFd openTmp(const std::string& tmp) {
    return openRegularForWrite(tmp, O_CREAT | O_TRUNC | O_NOFOLLOW);
}

bool writeAll(int fd, std::string_view data) {
    while (!data.empty()) {
        const ssize_t n = ::write(fd, data.data(), data.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        data.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

// Writes the pieces in order. Small pieces (the lines of an edit and the spans between
// them) are gathered in one reused buffer first, so that an edit of many lines costs a few
// large writes rather than one system call per piece.
bool writeAll(int fd, const TextPieces& pieces) {
    constexpr std::size_t kStage = 1 << 20;
    static std::string stage;
    stage.clear();
    stage.reserve(kStage);
    for (const std::string_view piece : pieces) {
        if (stage.size() + piece.size() <= kStage) {
            stage += piece;
            continue;
        }
        if (!writeAll(fd, std::string_view(stage))) return false;
        stage.clear();
        if (piece.size() >= kStage) {
            if (!writeAll(fd, piece)) return false;
        } else {
            stage += piece;
        }
    }
    return writeAll(fd, std::string_view(stage));
}

std::size_t sizeOf(const TextPieces& pieces) {
    std::size_t size = 0;
    for (const std::string_view piece : pieces) size += piece.size();
    return size;
}

bool samePieces(std::string_view text, const TextPieces& pieces) {
    if (sizeOf(pieces) != text.size()) return false;
    for (const std::string_view piece : pieces) {
        // Spans of the old text are the old text where they stand.
        if (piece.data() != text.data() && text.substr(0, piece.size()) != piece) return false;
        text.remove_prefix(piece.size());
    }
    return true;
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

// Fills the ".tmp"; on failure it is removed and the failure reported with its path.
bool fillTmp(UniqueFd& fd, const std::string& tmp, const TextPieces& content, bool sync) {
    bool ok = writeAll(fd.get(), content) && (!sync || ::fsync(fd.get()) == 0);
    ok = fd.close() && ok;
    if (ok) return true;
    ::unlink(tmp.c_str());
    writeFailure = true;
    alertI18nWithParameter("Cannot write file %s.", tmp);
    return false;
}

// Rewrites an open file in place (same inode). The new text is written over the old one
// and the file then cut to its length, so the file system keeps the file's blocks instead
// of freeing and allocating them again (on a large file that costs as much as the write).
// On failure the ".tmp" is kept, since it then holds the only complete copy of the text.
bool rewriteInPlace(UniqueFd& fd, const std::string& file, const std::string& tmp,
                    const TextPieces& content, bool sync) {
    bool ok = writeAll(fd.get(), content) &&
              ::ftruncate(fd.get(), static_cast<off_t>(sizeOf(content))) == 0 &&
              (!sync || ::fsync(fd.get()) == 0);
    ok = fd.close() && ok;
    if (!ok) {
        writeFailure = true;
        keptTmps().insert(file);
        alertI18nWithTwoParameters("Cannot write file %s. Its new content is kept in %s.", file,
                                   tmp);
    }
    return ok;
}

CommitResult writeBoth(const std::string& file, const TextPieces& content, bool sync,
                       bool createFile, bool keepTmpOnFileOpenFailure, UniqueFd& tmpFd) {
    const std::string tmp = tmpPathOf(file);
    if (!fillTmp(tmpFd, tmp, content, sync)) return CommitResult::TmpWriteFailed;
    UniqueFd fd = openRegularForWrite(file, createFile ? O_CREAT : 0);
    if (!fd) {
        if (!keepTmpOnFileOpenFailure) ::unlink(tmp.c_str());
        return CommitResult::FileOpenFailed;
    }
    try {
        lockForWrite(fd.get(), file);
    } catch (const LockFailure&) {
        ::unlink(tmp.c_str());  // the file is untouched: its ".tmp" holds nothing needed
        throw;
    }
    if (!rewriteInPlace(fd, file, tmp, content, sync)) return CommitResult::FileWriteFailed;
    ::unlink(tmp.c_str());
    return CommitResult::Written;
}

}  // namespace

void FileText::Free::operator()(char* p) const {
    std::free(p);
}

void* allocateLarge(std::size_t bytes) {
    constexpr std::size_t kHuge = std::size_t{2} << 20;
    // A sparse file may claim any size; no configuration text comes near a terabyte, and
    // asking the allocator for more is refused before it is made.
    constexpr std::size_t kLargest = std::size_t{1} << 40;
    if (bytes > kLargest) throw std::bad_alloc();
    const bool large = bytes >= kHuge;
    const std::size_t size = large ? (bytes + kHuge - 1) / kHuge * kHuge : std::max<std::size_t>(bytes, 1);
    void* p = large ? std::aligned_alloc(kHuge, size) : std::malloc(size);
    if (p == nullptr) throw std::bad_alloc();
    if (large) ::madvise(p, size, MADV_HUGEPAGE);
    return p;
}

char* FileText::reserve(std::size_t capacity) {
    if (capacity <= capacity_) return data_.get();
    std::unique_ptr<char[], Free> grown(static_cast<char*>(allocateLarge(capacity)));
    if (size_ > 0) std::memcpy(grown.get(), data_.get(), size_);
    data_ = std::move(grown);
    capacity_ = capacity;
    return data_.get();
}

void FileText::assign(std::string_view text) {
    clear();
    if (!text.empty()) std::memcpy(reserve(text.size()), text.data(), text.size());
    size_ = text.size();
}

// The disk: today's safe rewrite, with the locks of parallel runs.
class DiskStore final : public FileStore {
  public:
    bool read(const std::string& path, FileText& out, std::size_t limit) override;
    PathKind kind(const std::string& path) override;
    CommitResult commit(const std::string& file, std::string_view original,
                        const TextPieces& updated, bool keepTmpOnFileOpenFailure) override;
    CommitResult writeThroughTmp(const std::string& target, std::string_view content) override;
    NewFileResult writeNewFile(const std::string& path, std::string_view content) override;
    bool append(const std::string& path, std::string_view text) override;
    int makeDirectory(const std::string& path, mode_t mode) override {
        return ::mkdir(path.c_str(), mode);
    }
    int remove(const std::string& path) override { return ::unlink(path.c_str()); }
    int changeMode(const std::string& path, mode_t mode) override {
        return ::chmod(path.c_str(), mode);
    }
};

bool DiskStore::read(const std::string& path, FileText& out, std::size_t limit) {
    out.clear();
    UniqueFd fd(openRetrying(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fd) return false;
    struct stat st {};
    if (::fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    if (!heldByThisRun(fd.get())) waitForLock(fd.get(), F_RDLCK, path);
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
                               const TextPieces& updated, bool keepTmpOnFileOpenFailure) {
    const std::string tmp = tmpPathOf(file);
    if (keptTmps().count(file) != 0) return CommitResult::TmpOpenFailed;
    UniqueFd tmpFd = openTmp(tmp);
    if (!tmpFd) return CommitResult::TmpOpenFailed;
    // An edit that changes nothing leaves the file (and its mtime) alone. The ".tmp" is
    // still created first, so a directory that refuses it is reported as before.
    if (samePieces(original, updated)) {
        tmpFd.close();
        ::unlink(tmp.c_str());
        return CommitResult::Unchanged;
    }
    return writeBoth(file, updated, true, false, keepTmpOnFileOpenFailure, tmpFd);
}

CommitResult DiskStore::writeThroughTmp(const std::string& target, std::string_view content) {
    if (keptTmps().count(target) != 0) return CommitResult::TmpOpenFailed;
    UniqueFd tmpFd = openTmp(tmpPathOf(target));
    if (!tmpFd) return CommitResult::TmpOpenFailed;
    return writeBoth(target, TextPieces{content}, false, true, false, tmpFd);
}

FileStore& diskStore() {
    static DiskStore disk;
    return disk;
}

namespace {
FileStore* current = nullptr;
}  // namespace

FileStore& fileStore() {
    return current != nullptr ? *current : diskStore();
}

void useFileStore(FileStore& store) {
    current = &store;
}

bool readRegularFile(const std::string& path, FileText& out, std::size_t limit) {
    return fileStore().read(path, out, limit);
}

bool isRegularFile(const std::string& path) {
    return fileStore().kind(path) == PathKind::Regular;
}

PathKind pathKind(const std::string& path) {
    return fileStore().kind(path);
}

CommitResult commitRewrite(const std::string& file, std::string_view original,
                           std::string_view updated, bool keepTmpOnFileOpenFailure) {
    return fileStore().commit(file, original, TextPieces{updated}, keepTmpOnFileOpenFailure);
}

CommitResult commitRewrite(const std::string& file, std::string_view original,
                           const TextPieces& updated, bool keepTmpOnFileOpenFailure) {
    return fileStore().commit(file, original, updated, keepTmpOnFileOpenFailure);
}

CommitResult writeThroughTmp(const std::string& target, std::string_view content) {
    return fileStore().writeThroughTmp(target, content);
}

NewFileResult writeNewFile(const std::string& path, std::string_view content) {
    return fileStore().writeNewFile(path, content);
}

bool appendToFile(const std::string& path, std::string_view text) {
    return fileStore().append(path, text);
}

int makeDirectory(const std::string& path, mode_t mode) {
    return fileStore().makeDirectory(path, mode);
}

int removePath(const std::string& path) {
    return fileStore().remove(path);
}

int changeMode(const std::string& path, mode_t mode) {
    return fileStore().changeMode(path, mode);
}

bool anyWriteFailed() {
    return writeFailure;
}

FileLock::FileLock(const std::string& path) {
    if (&fileStore() != &diskStore()) return;  // a dry run writes nothing: no lock needed
    UniqueFd fd(openRetrying(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!fd || !isRegularFd(fd.get())) return;
    const FileId id = fileIdOf(fd.get());
    auto held = heldLocks().find(id);
    if (held != heldLocks().end()) {
        ++held->second;  // the run holds it already: the outer lock covers this edit too
    } else {
        waitForLock(fd.get(), F_WRLCK, path);
        heldLocks().emplace(id, 1);
        fd_ = fd.release();  // closing the last descriptor of the lock releases it
    }
    dev_ = id.first;
    ino_ = id.second;
    holds_ = true;
}

FileLock::~FileLock() {
    if (!holds_) return;
    auto held = heldLocks().find({dev_, ino_});
    if (held != heldLocks().end() && --held->second == 0) heldLocks().erase(held);
    if (fd_ >= 0) ::close(fd_);
}

double lockWaitSeconds() {
    const char* text = std::getenv("ORVCONFIG_LOCK_WAIT");
    if (text == nullptr) return 60;
    char* end = nullptr;
    const double seconds = std::strtod(text, &end);
    return end != text && *end == '\0' && seconds >= 0 && seconds < 1e6 ? seconds : 60;
}

NewFileResult DiskStore::writeNewFile(const std::string& path, std::string_view content) {
    UniqueFd fd = openTmp(path);
    if (!fd) return NewFileResult::OpenFailed;
    const bool written = writeAll(fd.get(), content);
    if (fd.close() && written) return NewFileResult::Written;
    ::unlink(path.c_str());
    writeFailure = true;
    alertI18nWithParameter("Cannot write file %s.", path);
    return NewFileResult::WriteFailed;
}

bool DiskStore::append(const std::string& path, std::string_view text) {
    UniqueFd fd = openRegularForWrite(path, O_CREAT | O_APPEND);
    if (!fd) return false;
    lockForWrite(fd.get(), path);
    struct stat before {};
    const bool sized = ::fstat(fd.get(), &before) == 0;
    bool ok = writeAll(fd.get(), text);
    if (!ok && sized) {
        // A short append would leave half a line behind: cut the file back to what it was.
        (void)::ftruncate(fd.get(), before.st_size);
    }
    ok = fd.close() && ok;
    if (!ok) {
        writeFailure = true;
        alertI18nWithParameter("Cannot write file %s.", path);
    }
    return ok;
}

}  // namespace orv
