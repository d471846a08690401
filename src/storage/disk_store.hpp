// The disk, as every run without --dry-run uses it: the safe in-place rewrite with the
// locks of parallel runs.
#pragma once

#include <unistd.h>

#include <set>
#include <string>

#include "storage/file_store.hpp"
#include "storage/unique_fd.hpp"

namespace orv {

class DiskStore final : public FileStore {
  public:
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
    int removeDirectory(const std::string& path) override { return ::rmdir(path.c_str()); }
    int changeMode(const std::string& path, mode_t mode) override;
    std::unique_ptr<EditLock> lockForEdit(const std::string& path) override;
    bool anyWriteFailed() const override { return writeFailed_; }

  private:
    // How a new text reaches its file: fsynced (edits) or not (copies), into a file that
    // must exist or may be created, and what the ".tmp" becomes when the file cannot be
    // opened.
    struct Install {
        bool sync;
        bool create;
        TmpOnOpenFailure tmpOnOpenFailure;
    };
    CommitResult writeBoth(const std::string& file, const TextPieces& content, Install how,
                           UniqueFd& tmpFd, const BeforeOverwrite& beforeOverwrite);
    bool fillTmp(UniqueFd& fd, const std::string& tmp, const TextPieces& content, bool sync);
    bool rewriteInPlace(UniqueFd& fd, const std::string& file, const TextPieces& content,
                        bool sync);
    bool writePieces(int fd, const TextPieces& pieces);
    void failWrite(const char* message, const std::string& path);

    LockTable locks_;
    // Set once any write of the run failed, so that the run ends with a failure status even
    // where a command goes on past a failed edit.
    bool writeFailed_ = false;
    // Files whose ".tmp" was kept because it holds the only complete copy of their new text.
    // No later edit in the same run may create that ".tmp" afresh and so destroy it.
    std::set<std::string> keptTmps_;
    std::string stage_;  // gathers small pieces into large writes
};

// The disk store of this process.
DiskStore& diskStore();

}  // namespace orv
