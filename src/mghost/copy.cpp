// Copying configuration files and trees onto the shared directory. Every copy goes through
// the target's ".tmp" file (never following a link planted there, every write checked), and
// directory trees are walked by absolute-or-joined paths, so the working directory of the
// process is never changed.
#include "mghost/copy.hpp"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "console/messages.hpp"
#include "context/environment.hpp"
#include "storage/file_store.hpp"
#include "text/line_reader.hpp"

namespace orv {

namespace {

// Owns an open directory stream; closed on every way out of the walk.
class DirHandle {
  public:
    explicit DirHandle(const std::string& path) : dir_(opendir(path.c_str())) {}
    ~DirHandle() {
        if (dir_ != nullptr) closedir(dir_);
    }
    DirHandle(const DirHandle&) = delete;
    DirHandle& operator=(const DirHandle&) = delete;
    bool isOpen() const { return dir_ != nullptr; }
    // Next entry name; false at the end of the directory.
    bool next(std::string& name) {
        const dirent* entry = readdir(dir_);
        if (entry == nullptr) return false;
        name = entry->d_name;
        return true;
    }

  private:
    DIR* dir_;
};

// Identity of a directory on the current copy path, to notice a link back to an ancestor.
using DirId = std::pair<dev_t, ino_t>;

std::string joinPath(const std::string& dir, const std::string& name) {
    return dir + "/" + name;
}

// The directory part of a target path: everything before its last '/'. A target without
// a '/' lives in the current directory, which needs no creating.
std::optional<std::string> parentOf(const std::string& target) {
    const std::size_t slash = target.rfind('/');
    if (slash == std::string::npos) return std::nullopt;
    if (slash == 0) return std::string("/");
    return target.substr(0, slash);
}

// The steps shared by both file copies before any byte is read: a missing source is no
// error (nothing to copy), the target's directory is made, and an existing target is kept
// unless overwrite is set. Returns nullopt to go on copying, or the result to return.
std::optional<int> prepareCopy(const std::string& source, const std::string& target,
                               bool overwrite) {
    if (!pathExists(source)) return 0;
    if (const auto parent = parentOf(target); parent && makeDir(*parent) != 0) return -1;
    if (!overwrite && pathExists(target)) return 0;
    return std::nullopt;
}

// Writes the copied content through the target's ".tmp" and maps the outcome to the
// copy's result. A failed write has already been reported by the writer.
int commitCopy(const std::string& target, std::string_view content) {
    switch (writeThroughTmp(target, content)) {
        case CommitResult::Written:
        case CommitResult::Unchanged:
            return 0;
        case CommitResult::FileOpenFailed:
            alertI18nWithParameter(kCannotOpenFileMessage, tmpPathOf(target));
            return -1;
        case CommitResult::TmpOpenFailed:
        case CommitResult::TmpWriteFailed:
        case CommitResult::FileWriteFailed:
            break;
    }
    return -1;
}

int copyTree(const std::string& source, const std::string& target, bool overwrite,
             std::vector<DirId>& ancestors);

void reportMkdirFailure(const std::string& path, int error) {
    alertI18nWithTwoParameters("Cannot make the directory %s,error number %s", path,
                               std::to_string(error));
}

// A sub-directory of a tree: made with the source's mode bits (an existing one is fine,
// any other failure is reported and the copy goes on), then filled recursively.
int copyTreeDir(const std::string& source, const std::string& target, const struct stat& st,
                bool overwrite, std::vector<DirId>& ancestors) {
    const DirId id{st.st_dev, st.st_ino};
    for (const DirId& seen : ancestors) {
        // A link back to a directory being copied would make the tree endless: it is
        // reported like any directory that cannot be made, and skipped.
        if (seen == id) {
            reportMkdirFailure(target, ELOOP);
            return 0;
        }
    }
    if (makeDirectory(target, st.st_mode & 07777) != 0 && errno != EEXIST) {
        reportMkdirFailure(target, errno);
    }
    return copyTree(source, target, overwrite, ancestors);
}

int copyTreeEntry(const std::string& source, const std::string& target, const std::string& name,
                  bool overwrite, std::vector<DirId>& ancestors) {
    const std::string from = joinPath(source, name);
    const std::string to = joinPath(target, name);
    struct stat st {};
    if (stat(from.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {
        // A plain entry (a link counts as what it points at) is copied byte for byte.
        return copyFileKeepingMode(from, to, overwrite, CopyKind::Bytes);
    }
    if (name == "." || name == "..") return 0;
    return copyTreeDir(from, to, st, overwrite, ancestors);
}

int copyTree(const std::string& source, const std::string& target, bool overwrite,
             std::vector<DirId>& ancestors) {
    DirHandle dir(source);
    if (!dir.isOpen()) return -1;
    struct stat self {};
    const bool known = stat(source.c_str(), &self) == 0;
    if (known) ancestors.emplace_back(self.st_dev, self.st_ino);
    std::string name;
    int result = 0;
    while (result == 0 && dir.next(name)) {
        result = copyTreeEntry(source, target, name, overwrite, ancestors);
    }
    if (known) ancestors.pop_back();
    return result;
}

// mkdir of one path component; an existing directory is fine, an existing file is not.
bool makeOneDir(const std::string& path) {
    if (makeDirectory(path, 0777) == 0) return true;
    return errno == EEXIST && pathKind(path) == PathKind::Directory;
}

}  // namespace

int copyTextFile(const std::string& source, const std::string& target, bool overwrite) {
    if (const auto early = prepareCopy(source, target, overwrite)) return *early;
    // Every line through the raw reader, each ended by one newline, so that tabs become
    // blanks, trailing blanks go and the last line is always terminated.
    FileText content;
    if (!readRegularFile(source, content)) return -1;
    return commitCopy(target, normalisedLines(content.view()));
}

int copyAnyFile(const std::string& source, const std::string& target, bool overwrite) {
    if (const auto early = prepareCopy(source, target, overwrite)) return *early;
    FileText content;
    if (!readRegularFile(source, content)) return -1;
    return commitCopy(target, content.view());
}

int copyDir(const std::string& source, const std::string& target, bool overwrite) {
    if (!pathExists(source)) return 0;
    std::vector<DirId> ancestors;
    return copyTree(source, target, overwrite, ancestors);
}

int copyFileKeepingMode(const std::string& source, const std::string& target, bool overwrite,
                        CopyKind kind) {
    FILEINFO info;
    const int recorded = getFileInfo2(source, info);
    const int copied = kind == CopyKind::Text ? copyTextFile(source, target, overwrite)
                                              : copyAnyFile(source, target, overwrite);
    if (copied == -1) return -1;
    if (recorded == 1) setFileInfo2(target, info);
    return 0;
}

int makeDir(const std::string& path) {
    if (pathExists(path)) return 0;
    if (path.empty()) return 1;
    // Each missing parent first, like "mkdir -p"; repeated and trailing slashes are fine.
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        if (path[slash - 1] == '/') continue;
        if (!makeOneDir(path.substr(0, slash))) return 1;
    }
    if (path.back() == '/') return 0;
    return makeOneDir(path) ? 0 : 1;
}

int removeFile(const std::string& path) {
    removePath(path);
    return 1;
}

}  // namespace orv
