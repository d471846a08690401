// The overlay of a dry run: the disk as the run would leave it, held in memory. Reads of a
// file the run has written come from the overlay; everything else is read from the disk.
// Where the real run would fail to open a ".tmp" or a file, the overlay fails the same way
// (judged from what stands on the disk and the permissions there), so the preview prints
// the messages of the real run. Failures of the writes themselves (a full disk) cannot be
// foreseen and are not.
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "console/messages.hpp"
#include "preview/dry_run.hpp"
#include "preview/unified_diff.hpp"
#include "storage/file_store.hpp"

namespace orv {

namespace {

std::string realPathOf(const std::string& path) {
    std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    return real ? std::string(real.get()) : std::string();
}

std::string currentDirectory() {
    std::unique_ptr<char, decltype(&std::free)> cwd(::getcwd(nullptr, 0), &std::free);
    return cwd ? std::string(cwd.get()) : std::string("/");
}

// The directory part and the last component of a path ("" and "." stand for the current
// directory).
std::pair<std::string, std::string> splitPath(const std::string& path) {
    std::string trimmed = path;
    while (trimmed.size() > 1 && trimmed.back() == '/') trimmed.pop_back();
    const std::size_t slash = trimmed.rfind('/');
    if (slash == std::string::npos) return {".", trimmed};
    return {slash == 0 ? "/" : trimmed.substr(0, slash), trimmed.substr(slash + 1)};
}

class OverlayStore final : public FileStore {
  public:
    explicit OverlayStore(FileStore& disk) : disk_(disk) {}
    bool read(const std::string& path, FileText& out, std::size_t limit) override;
    PathKind kind(const std::string& path) override;
    CommitResult commit(const std::string& file, std::string_view original,
                        const TextPieces& updated, TmpOnOpenFailure tmp,
                        const BeforeOverwrite& beforeOverwrite) override;
    CommitResult writeThroughTmp(const std::string& target, std::string_view content) override;
    NewFileResult writeNewFile(const std::string& path, std::string_view content) override;
    bool append(const std::string& path, std::string_view text) override;
    int makeDirectory(const std::string& path, mode_t mode) override;
    int remove(const std::string& path) override;
    int removeDirectory(const std::string& path) override;
    int changeMode(const std::string& path, mode_t mode) override;
    // A dry run writes nothing, so there is nothing to hold against other runs.
    std::unique_ptr<EditLock> lockForEdit(const std::string& /*path*/) override { return nullptr; }
    bool anyWriteFailed() const override { return false; }
    void report() const;

  private:
    // One name per file whatever the spelling of its path: the resolved directory and the
    // last component as given (a link there is the link, as O_NOFOLLOW and unlink see it).
    std::string keyOf(const std::string& path) const;
    const std::optional<std::string>* written(const std::string& key) const;
    void store(const std::string& key, std::optional<std::string> content);
    bool directoryWritable(const std::string& path) const;
    bool canCreateFresh(const std::string& path) const;
    enum class IfMissing { Fail, Create };
    bool canOpenForWrite(const std::string& path, IfMissing missing) const;

    FileStore& disk_;                                          // what the overlay lies on
    std::map<std::string, std::optional<std::string>> files_;  // nullopt: removed
    std::vector<std::string> fileOrder_;
    std::set<std::string> dirs_;
    std::vector<std::string> dirOrder_;
    std::vector<std::string> removedDirs_;
};

std::string OverlayStore::keyOf(const std::string& path) const {
    const std::string absolute =
        !path.empty() && path[0] == '/' ? path : currentDirectory() + "/" + path;
    auto [dir, name] = splitPath(absolute);
    if (name.empty()) return "/";
    std::string parent = realPathOf(dir);
    if (parent.empty()) parent = keyOf(dir);  // a directory this run made, or none
    if (name == ".") return parent;
    if (name == "..") return splitPath(parent).first;
    return parent == "/" ? "/" + name : parent + "/" + name;
}

const std::optional<std::string>* OverlayStore::written(const std::string& key) const {
    auto found = files_.find(key);
    return found == files_.end() ? nullptr : &found->second;
}

void OverlayStore::store(const std::string& key, std::optional<std::string> content) {
    if (files_.find(key) == files_.end()) fileOrder_.push_back(key);
    files_[key] = std::move(content);
}

bool OverlayStore::directoryWritable(const std::string& path) const {
    const std::string key = keyOf(path);
    if (dirs_.count(key) != 0) return true;
    struct stat st {};
    return ::stat(key.c_str(), &st) == 0 && S_ISDIR(st.st_mode) &&
           ::access(key.c_str(), W_OK | X_OK) == 0;
}

// Whether an O_CREAT|O_TRUNC|O_NOFOLLOW open of the path would succeed.
bool OverlayStore::canCreateFresh(const std::string& path) const {
    const std::string key = keyOf(path);
    if (const auto* content = written(key)) {
        if (*content) return true;
        return directoryWritable(splitPath(key).first);
    }
    struct stat st {};
    if (::lstat(key.c_str(), &st) != 0) return directoryWritable(splitPath(key).first);
    return S_ISREG(st.st_mode) && ::access(key.c_str(), W_OK) == 0;
}

// Whether the file could be opened for writing (links followed), or created.
bool OverlayStore::canOpenForWrite(const std::string& path, IfMissing missing) const {
    const std::string key = keyOf(path);
    const bool create = missing == IfMissing::Create;
    if (const auto* content = written(key)) {
        return content->has_value() || (create && directoryWritable(splitPath(key).first));
    }
    struct stat st {};
    if (::stat(key.c_str(), &st) != 0) {
        return create && directoryWritable(splitPath(key).first);
    }
    return S_ISREG(st.st_mode) && ::access(key.c_str(), W_OK) == 0;
}

bool OverlayStore::read(const std::string& path, FileText& out, std::size_t limit) {
    if (const auto* content = written(keyOf(path))) {
        out.assign(std::string_view(content->value_or(std::string())).substr(0, limit));
        return content->has_value();
    }
    return disk_.read(path, out, limit);
}

PathKind OverlayStore::kind(const std::string& path) {
    const std::string key = keyOf(path);
    if (const auto* content = written(key)) {
        return *content ? PathKind::Regular : PathKind::Absent;
    }
    if (dirs_.count(key) != 0) return PathKind::Directory;
    if (std::find(removedDirs_.begin(), removedDirs_.end(), key) != removedDirs_.end()) {
        return PathKind::Absent;
    }
    return disk_.kind(path);
}

CommitResult OverlayStore::commit(const std::string& file, std::string_view original,
                                  const TextPieces& updated, TmpOnOpenFailure /*tmp*/,
                                  const BeforeOverwrite& beforeOverwrite) {
    if (!canCreateFresh(tmpPathOf(file))) return CommitResult::TmpOpenFailed;
    std::string text;
    for (const std::string_view piece : updated) text += piece;
    if (text == original) return CommitResult::Unchanged;
    if (beforeOverwrite) beforeOverwrite();
    if (!canOpenForWrite(file, IfMissing::Fail)) return CommitResult::FileOpenFailed;
    store(keyOf(file), std::move(text));
    return CommitResult::Written;
}

CommitResult OverlayStore::writeThroughTmp(const std::string& target, std::string_view content) {
    if (!canCreateFresh(tmpPathOf(target))) return CommitResult::TmpOpenFailed;
    if (!canOpenForWrite(target, IfMissing::Create)) return CommitResult::FileOpenFailed;
    store(keyOf(target), std::string(content));
    return CommitResult::Written;
}

NewFileResult OverlayStore::writeNewFile(const std::string& path, std::string_view content) {
    if (!canCreateFresh(path)) return NewFileResult::OpenFailed;
    store(keyOf(path), std::string(content));
    return NewFileResult::Written;
}

bool OverlayStore::append(const std::string& path, std::string_view text) {
    if (!canOpenForWrite(path, IfMissing::Create)) return false;
    FileText before;
    if (kind(path) == PathKind::Regular && !read(path, before, SIZE_MAX)) return false;
    std::string content(before.view());
    content += text;
    store(keyOf(path), std::move(content));
    return true;
}

int OverlayStore::makeDirectory(const std::string& path, mode_t /*mode*/) {
    const std::string key = keyOf(path);
    struct stat st {};
    if (kind(key) != PathKind::Absent || ::lstat(key.c_str(), &st) == 0) {
        errno = EEXIST;
        return -1;
    }
    const std::string parent = splitPath(key).first;
    if (kind(parent) != PathKind::Directory) {
        errno = kind(parent) == PathKind::Absent ? ENOENT : ENOTDIR;
        return -1;
    }
    if (!directoryWritable(parent)) {
        errno = EACCES;
        return -1;
    }
    dirs_.insert(key);
    dirOrder_.push_back(key);
    return 0;
}

int OverlayStore::remove(const std::string& path) {
    const std::string key = keyOf(path);
    const auto* content = written(key);
    struct stat st {};
    const bool onDisk = content == nullptr && ::lstat(key.c_str(), &st) == 0;
    if (!onDisk && (content == nullptr || !*content)) {
        errno = ENOENT;
        return -1;
    }
    if (onDisk && S_ISDIR(st.st_mode)) {
        errno = EISDIR;
        return -1;
    }
    if (!directoryWritable(splitPath(key).first)) {
        errno = EACCES;
        return -1;
    }
    store(key, std::nullopt);
    return 0;
}

// Only an empty directory goes, as rmdir(2) has it: none of its entries on the disk is
// left unless the run removed it, and the run wrote no file in it.
int OverlayStore::removeDirectory(const std::string& path) {
    const std::string key = keyOf(path);
    if (kind(key) != PathKind::Directory) {
        errno = kind(key) == PathKind::Absent ? ENOENT : ENOTDIR;
        return -1;
    }
    const std::string inside = key + "/";
    bool empty = true;
    for (const auto& [file, content] : files_) {
        if (content && file.starts_with(inside)) empty = false;
    }
    std::unique_ptr<DIR, int (*)(DIR*)> dir(::opendir(key.c_str()), &::closedir);
    while (dir && empty) {
        const dirent* entry = ::readdir(dir.get());
        if (entry == nullptr) break;
        const std::string name = entry->d_name;
        const auto* content = written(inside + name);
        empty = name == "." || name == ".." || (content != nullptr && !*content);
    }
    if (!empty) {
        errno = ENOTEMPTY;
        return -1;
    }
    if (dirs_.erase(key) == 0) removedDirs_.push_back(key);
    return 0;
}

int OverlayStore::changeMode(const std::string& path, mode_t /*mode*/) {
    // Permission bits are not part of the preview; the file only has to be there.
    if (kind(path) != PathKind::Absent) return 0;
    errno = ENOENT;
    return -1;
}

void OverlayStore::report() const {
    for (const std::string& key : fileOrder_) {
        const std::optional<std::string>& after = files_.at(key);
        struct stat st {};
        FileText before;
        const bool existed = ::lstat(key.c_str(), &st) == 0;
        if (existed && S_ISREG(st.st_mode)) disk_.read(key, before, SIZE_MAX);
        if (!existed && !after) continue;
        if (existed && after && before.view() == *after) continue;
        if (!existed && after->empty()) {
            alertI18nWithParameter("Would create the empty file %s.", key);
            continue;
        }
        printText("--- " + (existed ? key : std::string("/dev/null")) + "\n");
        printText("+++ " + (after ? key : std::string("/dev/null")) + "\n");
        printText(unifiedHunks(before.view(), after.value_or(std::string())));
    }
    for (const std::string& dir : dirOrder_) {
        if (dirs_.count(dir) != 0) alertI18nWithParameter("Would make the directory %s.", dir);
    }
    for (const std::string& dir : removedDirs_) {
        alertI18nWithParameter("Would remove the directory %s.", dir);
    }
    alertI18n("Dry run: nothing was changed.");
}

std::unique_ptr<OverlayStore>& overlay() {
    static std::unique_ptr<OverlayStore> store;
    return store;
}

}  // namespace

void beginDryRun() {
    overlay() = std::make_unique<OverlayStore>(fileStore());
    useFileStore(*overlay());
}

void printDryRunReport() {
    if (overlay()) overlay()->report();
}

}  // namespace orv
