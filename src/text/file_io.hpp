// Safe file access for every reader and editor: regular files only (a FIFO, socket or
// device is never opened in a way that could block), temporary files never follow links,
// and every write is checked.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

// Memory for the large arrays of a run (texts, their pieces): from 2 MB on it is aligned to
// huge pages and asked to be backed by them, so that filling it costs a page fault per
// 2 MB rather than per 4 KB. Released with std::free; throws std::bad_alloc.
void* allocateLarge(std::size_t bytes);

template <class T>
struct LargeAllocator {
    using value_type = T;
    LargeAllocator() = default;
    template <class U>
    explicit LargeAllocator(const LargeAllocator<U>& /*other*/) {}
    T* allocate(std::size_t n) { return static_cast<T*>(allocateLarge(n * sizeof(T))); }
    void deallocate(T* p, std::size_t /*n*/) { std::free(p); }
    friend bool operator==(const LargeAllocator&, const LargeAllocator&) { return true; }
};

// The text of a file as read. Unlike a std::string it is sized without being filled first,
// and a large one is placed in huge pages: a large file then costs one pass of the
// kernel's copy, not a zero-fill and thousands of page faults before it.
class FileText {
  public:
    std::string_view view() const { return {data_.get(), size_}; }
    char* data() { return data_.get(); }
    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    void assign(std::string_view text);
    void clear() { size_ = 0; }
    // Room for at least `capacity` characters, keeping the text; its contents past size()
    // are unset until written.
    char* reserve(std::size_t capacity);
    std::size_t capacity() const { return capacity_; }
    void resize(std::size_t size) { size_ = size; }  // size <= capacity()

  private:
    struct Free {
        void operator()(char* p) const;
    };
    std::unique_ptr<char[], Free> data_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

// Reads a whole regular file (or its first `limit` characters), holding a shared lock on it
// while it reads, so that it never sees another run's rewrite half done. False when it
// cannot be opened, is not a regular file, or cannot be read; out is then empty.
bool readRegularFile(const std::string& path, FileText& out, std::size_t limit = SIZE_MAX);

// Several runs may edit one file at once (a parallel shell promoting many hosts onto one
// shared directory). Every read-modify-write holds an exclusive lock on the file from the
// read of the text it changes until the new text is committed; the lock is an
// open-file-description record lock, which network file systems honour and the kernel
// drops when the process dies. While a run holds it, its own reads and rewrites of that
// file go through without waiting; other runs wait, for at most lockWaitSeconds().
class FileLock {
  public:
    FileLock() = default;
    // Locks `path` for an edit; holds nothing when the file cannot be opened for writing
    // (the edit then fails as it always has, when it commits).
    explicit FileLock(const std::string& path);
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();

  private:
    int fd_ = -1;  // the descriptor holding the lock, when this is the outermost holder
    dev_t dev_ = 0;
    ino_t ino_ = 0;
    bool holds_ = false;
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

// True when path is an existing regular file (stat follows links).
bool isRegularFile(const std::string& path);

// Result of committing the new text of an in-place edit.
enum class CommitResult {
    Written,         // the file now holds the new text; the ".tmp" is gone
    Unchanged,       // the new text equals the old: nothing written, the ".tmp" is gone
    TmpOpenFailed,   // the ".tmp" could not be created; nothing changed
    TmpWriteFailed,  // writing the ".tmp" failed; removed, "Cannot write file" printed
    FileOpenFailed,  // the file could not be opened for writing; untouched
    FileWriteFailed  // rewriting the file failed; the ".tmp" keeps the new text (printed)
};

// Replaces the contents of `file` by `updated`, keeping its inode: the new text goes to
// "<file>.tmp" (opened O_NOFOLLOW, fsynced), then the file is overwritten, cut to length and
// fsynced, and the ".tmp" removed. When `updated` equals `original` the file is left
// alone. On FileOpenFailed the ".tmp" is removed unless keepTmpOnFileOpenFailure.
// Prints only the write failures ("Cannot write file %s." with the ".tmp" path, or
// "Cannot write file %s. Its new content is kept in %s."); open failures are the caller's.
CommitResult commitRewrite(const std::string& file, std::string_view original,
                           std::string_view updated, bool keepTmpOnFileOpenFailure = false);

// The new text of an edit given as pieces in order, so that a large text made mostly of
// spans of the old one is written without being joined first.
using TextPieces = std::vector<std::string_view, LargeAllocator<std::string_view>>;

// As commitRewrite, for a new text given as pieces.
CommitResult commitRewrite(const std::string& file, std::string_view original,
                           const TextPieces& updated, bool keepTmpOnFileOpenFailure = false);

// Writes `content` to `target` through "<target>.tmp" without fsync (used by copies).
// Returns the same codes as commitRewrite (Unchanged is never returned; an existing
// target is overwritten).
CommitResult writeThroughTmp(const std::string& target, std::string_view content);

// True once a write of this run failed ("Cannot write file" was printed). A file whose
// new text was kept in its ".tmp" is not edited again in the same run (TmpOpenFailed).
bool anyWriteFailed();

// Creates (or empties) `path`, never through a link, and writes `content`. A failed open is
// silent (OpenFailed); a failed write removes the file again and is reported with
// "Cannot write file %s." (WriteFailed), so half a file is never left behind.
enum class NewFileResult { Written, OpenFailed, WriteFailed };
NewFileResult writeNewFile(const std::string& path, std::string_view content);

// Appends text to a file (created when missing, never a link target's special file).
// False when it cannot be opened or written.
bool appendToFile(const std::string& path, std::string_view text);

// What stands at a path, links followed.
enum class PathKind { Absent, Regular, Directory, Other };
PathKind pathKind(const std::string& path);

// mkdir(2), unlink(2) and chmod(2) of the run: 0, or -1 with errno set.
int makeDirectory(const std::string& path, mode_t mode);
int removePath(const std::string& path);
int changeMode(const std::string& path, mode_t mode);

// The temporary name of a file: "<file>.tmp".
inline std::string tmpPathOf(const std::string& file) {
    return file + ".tmp";
}

}  // namespace orv
