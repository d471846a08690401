#include "storage/file_store.hpp"

#include "storage/disk_store.hpp"

namespace orv {

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
                           const TextPieces& updated, TmpOnOpenFailure tmp) {
    return fileStore().commit(file, original, updated, tmp, {});
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

int removeDirectory(const std::string& path) {
    return fileStore().removeDirectory(path);
}

int changeMode(const std::string& path, mode_t mode) {
    return fileStore().changeMode(path, mode);
}

bool anyWriteFailed() {
    return fileStore().anyWriteFailed();
}

}  // namespace orv
