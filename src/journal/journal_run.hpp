// The journal's store of one run (journal_store.cpp: the changes of texts;
// journal_run.cpp: the run's record, its other changes and its end). Only those two files
// include this header; the rest of the program uses journal_store.hpp.
#pragma once

#include <sys/types.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "journal/journal_files.hpp"
#include "journal/journal_store.hpp"
#include "journal/record.hpp"
#include "storage/file_store.hpp"

namespace orv {

// One file as the run goes: its entry in the record, what it holds now, whether the run
// changed it (for the audit when nothing is recorded).
struct Tracked {
    FileChange change;
    std::string current;  // SHA-256 of what it holds now ("" unknown, kAbsent removed)
    bool changed = false;
    bool logged = false;  // its file line is in the run's changes
};

class JournalStore final : public FileStore {
  public:
    JournalStore(FileStore& inner, const RunInfo& info);
    bool read(const std::string& path, FileText& out, std::size_t limit) override {
        return inner_.read(path, out, limit);
    }
    PathKind kind(const std::string& path) override { return inner_.kind(path); }
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
    std::unique_ptr<EditLock> lockForEdit(const std::string& path) override {
        return inner_.lockForEdit(path);
    }
    bool anyWriteFailed() const override { return inner_.anyWriteFailed(); }

    void finish(int status);
    void undoes(const std::string& id) { run_.undoes = id; }
    std::string id() const { return files_ ? run_.id : std::string(); }

  private:
    // Before a change of a file's text: its entry, its restore data and the step, written
    // (and synced when `durable`) before the change itself. Nothing when the journal is off
    // or failed; the step's after state is `shaAfter`.
    Tracked* before(const std::string& path, const std::optional<std::string_view>& text,
                    const std::string& data, const std::string& shaAfter, bool durable);
    // before() for a change that makes the whole text of `path` `content` (a copy, a new
    // file): the old text kept whole, or its absence. Sets `shaAfter`.
    Tracked* beforeWholeText(const std::string& path, const std::optional<std::string>& old,
                             std::string_view content, std::string& shaAfter);
    // The step of a change whose before state is known: its restore data and its line (with
    // the file's line first, once), written and synced when `durable`.
    void recordStep(Tracked& tracked, const std::string& data, const std::string& shaAfter,
                    bool durable);
    // The line of a step whose restore data is written.
    void logStep(Tracked& tracked, const std::string& shaAfter, bool durable);
    static int nextStep(const Tracked& tracked) {
        return tracked.change.steps.empty() ? 1 : tracked.change.steps.back().number + 1;
    }
    Tracked& track(const std::string& path);
    // Takes `sha` (of `text`, made when empty) as what the file holds before the change.
    void knowBefore(Tracked& tracked, const std::optional<std::string_view>& text,
                    std::string sha = {});
    bool keeping() const { return !journal_.empty() && !failed_; }
    void settle(Tracked* tracked, bool changed, const std::string& shaAfter);
    bool recording();
    void fail(const std::string& why);
    std::optional<std::string> textAt(const std::string& path);
    std::string finalSha(const Tracked& tracked, bool exists);
    void audit(const std::vector<std::string>& paths, std::size_t count);

    FileStore& inner_;
    RunRecord run_;
    std::string journal_;                  // "" when off
    std::unique_ptr<JournalFiles> files_;  // the record's files, once the run changes one
    bool failed_ = false;
    std::map<std::string, Tracked> tracked_;
    std::vector<std::string> order_;  // paths in the order first touched
};

}  // namespace orv
