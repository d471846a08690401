#include "journal/journal_store.hpp"

#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <optional>
#include <thread>

#include "console/messages.hpp"
#include "journal/journal_files.hpp"
#include "journal/record.hpp"
#include "journal/sha256.hpp"
#include "storage/file_store.hpp"

namespace orv {

namespace {

std::string shaOf(const TextPieces& pieces) {
    Sha256 hash;
    for (const std::string_view piece : pieces) hash.update(piece);
    return hash.hex();
}

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

JournalStore::JournalStore(FileStore& inner, const RunInfo& info)
    : inner_(inner), journal_(journalDirectory()) {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    run_.id = runId(now);
    run_.start = now.tv_sec;
    run_.host = info.host;
    run_.user = info.user;
    run_.sudoUser = info.sudoUser;
    run_.command = info.command;
}

bool JournalStore::recording() {
    if (journal_.empty() || failed_) return false;
    if (files_) return true;
    std::string why;
    files_ = JournalFiles::create(journal_, run_.id, why);
    if (!files_) fail(why);
    return files_ != nullptr;
}

void JournalStore::fail(const std::string& why) {
    if (failed_) return;
    failed_ = true;
    printErrorLine(formatMessage("orvconfig: this run cannot be undone: %s", {why}));
    if (files_) files_->discard();
    files_.reset();
}

Tracked& JournalStore::track(const std::string& path) {
    const std::string key = absolutePath(path);
    auto found = tracked_.find(key);
    if (found != tracked_.end()) return found->second;
    Tracked& tracked = tracked_[key];
    order_.push_back(key);
    tracked.change.number = static_cast<int>(order_.size());
    tracked.change.path = key;
    struct stat st {};
    if (::stat(key.c_str(), &st) == 0) tracked.change.modeBefore = st.st_mode & 07777;
    return tracked;
}

void JournalStore::knowBefore(Tracked& tracked, const std::optional<std::string_view>& text,
                              std::string sha) {
    if (!keeping() || !tracked.current.empty()) return;
    if (sha.empty()) sha = text ? sha256Hex(*text) : kAbsent;
    tracked.current = std::move(sha);
    if (tracked.change.shaBefore.empty()) tracked.change.shaBefore = tracked.current;
}

Tracked* JournalStore::before(const std::string& path, const std::optional<std::string_view>& text,
                              const std::string& data, const std::string& shaAfter, bool durable) {
    Tracked& tracked = track(path);
    knowBefore(tracked, text);
    recordStep(tracked, data, shaAfter, durable);
    return &tracked;
}

void JournalStore::recordStep(Tracked& tracked, const std::string& data,
                              const std::string& shaAfter, bool durable) {
    if (!recording()) return;
    std::string why;
    if (!files_->writeData(tracked.change.number, nextStep(tracked), data, durable, why)) {
        fail(why);
        return;
    }
    logStep(tracked, shaAfter, durable);
}

void JournalStore::logStep(Tracked& tracked, const std::string& shaAfter, bool durable) {
    const ChangeStep step{
        .number = nextStep(tracked), .shaBefore = tracked.current, .shaAfter = shaAfter};
    std::string lines = tracked.logged ? std::string() : fileLine(tracked.change);
    lines += stepLine(tracked.change, step);
    std::string why;
    if (!files_->log(lines, durable, why)) {
        fail(why);
        return;
    }
    tracked.logged = true;
    tracked.change.steps.push_back(step);
}

// After the change: what the file holds now. A change that did not happen keeps its step in
// the record's changes but not in the record (its restore data is never needed).
void JournalStore::settle(Tracked* tracked, bool changed, const std::string& shaAfter) {
    if (tracked == nullptr) return;
    if (!changed) {
        if (!tracked->change.steps.empty() && tracked->change.steps.back().shaAfter == shaAfter &&
            recording()) {
            tracked->change.steps.pop_back();
        }
        return;
    }
    tracked->changed = true;
    tracked->current = shaAfter;
}

std::optional<std::string> JournalStore::textAt(const std::string& path) {
    if (inner_.kind(path) != PathKind::Regular) return std::nullopt;
    FileText text;
    if (!inner_.read(path, text, SIZE_MAX)) return std::nullopt;
    return std::string(text.view());
}

// What a large edit's record needs (the hashes of the text before and after, the restore
// data written and synced) is made on a second thread while the disk store writes and syncs
// the ".tmp", which takes about as long; the step's line then reaches the disk before the
// file's first byte changes. The thread only reads the two texts and writes the restore
// data's own file: it calls no resolver and takes no lock, and it is joined before the
// commit returns, even by an exception. A small edit does the same on the spot, where
// starting a thread would cost more than it saves.
CommitResult JournalStore::commit(const std::string& file, std::string_view original,
                                  const TextPieces& updated, TmpOnOpenFailure tmp,
                                  const BeforeOverwrite& beforeOverwrite) {
    if (samePieces(original, updated)) {
        return inner_.commit(file, original, updated, tmp, beforeOverwrite);
    }
    constexpr std::size_t kAside = std::size_t{1} << 20;
    Tracked& tracked = track(file);
    const bool keep = keeping() && recording();
    std::string shaBefore;
    std::string shaAfter;
    std::string why;
    bool dataWritten = false;
    const auto prepare = [&, needBefore = tracked.current.empty(), number = nextStep(tracked),
                          files = files_.get()] {
        if (needBefore) shaBefore = sha256Hex(original);
        shaAfter = shaOf(updated);
        const std::string data = restoreData(original, updated);
        dataWritten = files->writeData(tracked.change.number, number, data, true, why);
    };
    std::jthread aside;
    if (keep && original.size() + sizeOf(updated) >= kAside) {
        aside = std::jthread(prepare);
    } else if (keep) {
        prepare();
    }
    bool recorded = false;
    const CommitResult result = inner_.commit(file, original, updated, tmp, [&] {
        if (aside.joinable()) aside.join();
        knowBefore(tracked, original, shaBefore);
        if (keep && !dataWritten) fail(why);
        if (keep && dataWritten) logStep(tracked, shaAfter, true);
        recorded = true;
        if (beforeOverwrite) beforeOverwrite();
    });
    if (aside.joinable()) aside.join();
    if (result == CommitResult::FileWriteFailed) {
        tracked.changed = true;
        tracked.current.clear();  // what the file holds now is read at the end
    } else if (recorded || result == CommitResult::Written) {
        settle(&tracked, result == CommitResult::Written, shaAfter);
    }
    return result;
}

Tracked* JournalStore::beforeWholeText(const std::string& path,
                                       const std::optional<std::string>& old,
                                       std::string_view content, std::string& shaAfter) {
    const bool keep = !journal_.empty() && !failed_;
    shaAfter = keep ? sha256Hex(content) : std::string();
    const std::string data = !keep ? "" : old ? restoreData(*old, {}) : restoreAbsent();
    return before(path, old, data, shaAfter, old.has_value());
}

CommitResult JournalStore::writeThroughTmp(const std::string& target, std::string_view content) {
    const std::optional<std::string> old = textAt(target);
    if (old && *old == content) return inner_.writeThroughTmp(target, content);
    std::string shaAfter;
    Tracked* tracked = beforeWholeText(target, old, content, shaAfter);
    const CommitResult result = inner_.writeThroughTmp(target, content);
    settle(tracked, result == CommitResult::Written, shaAfter);
    if (result == CommitResult::FileWriteFailed) tracked->current.clear();
    return result;
}

NewFileResult JournalStore::writeNewFile(const std::string& path, std::string_view content) {
    const std::optional<std::string> old = textAt(path);
    if (old && *old == content) return inner_.writeNewFile(path, content);
    std::string shaAfter;
    Tracked* tracked = beforeWholeText(path, old, content, shaAfter);
    const NewFileResult result = inner_.writeNewFile(path, content);
    settle(tracked, result == NewFileResult::Written, shaAfter);
    if (result == NewFileResult::WriteFailed) tracked->current.clear();
    return result;
}

bool JournalStore::append(const std::string& path, std::string_view text) {
    if (text.empty()) return inner_.append(path, text);
    const std::optional<std::string> old = textAt(path);
    const bool keep = !journal_.empty() && !failed_;
    std::string shaAfter;
    std::string data;
    if (keep) {
        Sha256 hash;
        hash.update(old.value_or(std::string()));
        hash.update(text);
        shaAfter = hash.hex();
        data = old ? restoreData(*old, TextPieces{std::string_view(*old)}) : restoreAbsent();
    }
    Tracked* tracked = before(path, old, data, shaAfter, old.has_value());
    const bool ok = inner_.append(path, text);
    settle(tracked, ok, shaAfter);
    return ok;
}

int JournalStore::makeDirectory(const std::string& path, mode_t mode) {
    const int result = inner_.makeDirectory(path, mode);
    if (result != 0) return result;
    const int saved = errno;
    run_.dirs.push_back(absolutePath(path));
    std::string why;
    if (recording() && !files_->log(dirLine(run_.dirs.back()), false, why)) fail(why);
    errno = saved;
    return result;
}

int JournalStore::removeDirectory(const std::string& path) {
    struct stat st {};
    const mode_t mode = ::stat(path.c_str(), &st) == 0 ? st.st_mode & 07777 : 0755;
    const std::string key = absolutePath(path);
    const int result = inner_.removeDirectory(path);
    if (result != 0) return result;
    const int saved = errno;
    run_.removedDirs.push_back({.path = key, .mode = mode});
    std::string why;
    if (recording() && !files_->log(removedDirLine(run_.removedDirs.back()), false, why)) fail(why);
    errno = saved;
    return result;
}

int JournalStore::remove(const std::string& path) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return inner_.remove(path);
    const std::optional<std::string> old = textAt(path);
    const bool keep = !journal_.empty() && !failed_ && old;
    Tracked* tracked = before(path, old, keep ? restoreData(*old, {}) : "", kAbsent, true);
    const int result = inner_.remove(path);
    const int saved = errno;
    settle(tracked, result == 0, kAbsent);
    errno = saved;
    return result;
}

int JournalStore::changeMode(const std::string& path, mode_t mode) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode) ||
        (st.st_mode & 07777) == (mode & 07777)) {
        return inner_.changeMode(path, mode);
    }
    Tracked& tracked = track(path);
    if (!tracked.logged && keeping()) {
        knowBefore(tracked, textAt(path));
        std::string why;
        if (recording() && !files_->log(fileLine(tracked.change), true, why)) fail(why);
        tracked.logged = !failed_;
    }
    const int result = inner_.changeMode(path, mode);
    if (result == 0) tracked.changed = true;
    return result;
}

std::string JournalStore::finalSha(const Tracked& tracked, bool exists) {
    if (!exists) return kAbsent;
    if (!tracked.current.empty() && tracked.current != kAbsent) return tracked.current;
    const std::optional<std::string> text = textAt(tracked.change.path);
    return text ? sha256Hex(*text) : std::string();
}

void JournalStore::finish(int status) {
    run_.status = status;
    std::vector<std::string> changed;
    for (const std::string& path : order_) {
        Tracked& tracked = tracked_.at(path);
        if (!tracked.changed) continue;
        if (!files_) {
            changed.push_back(path);
            continue;
        }
        FileChange& file = tracked.change;
        struct stat st {};
        const bool exists = ::stat(path.c_str(), &st) == 0;
        file.finished = true;
        file.shaAfter = finalSha(tracked, exists);
        file.modeAfter = exists ? st.st_mode & 07777 : 0;
        const bool sameText = file.shaAfter == file.shaBefore;
        if (sameText && (!exists || file.modeAfter == file.modeBefore)) continue;
        run_.files.push_back(file);
        changed.push_back(path);
    }
    if (changed.empty() && run_.dirs.empty() && run_.removedDirs.empty()) {
        if (files_) files_->discard();
        return;
    }
    std::string why;
    if (files_ && !files_->complete(run_, journalKeepRuns(), kJournalKeepBytes, why)) fail(why);
    audit(changed, changed.size());
}

// One line per changing run, as sudo and the account tools log theirs.
void JournalStore::audit(const std::vector<std::string>& paths, std::size_t count) {
    constexpr std::size_t kNamed = 3;
    std::string named;
    for (std::size_t i = 0; i < paths.size() && i < kNamed; ++i) {
        if (i > 0) named += ' ';
        named += paths[i];
    }
    if (paths.size() > kNamed) named += " ...";
    std::string line = "user=" + run_.user;
    if (!run_.sudoUser.empty()) line += " sudo_user=" + run_.sudoUser;
    line += " status=" + std::to_string(run_.status) + " files=" + std::to_string(count);
    if (!named.empty()) line += " (" + named + ")";
    line += " journal=" + (files_ ? run_.id : std::string("none"));
    line += " command=" + run_.command;
    ::openlog("orvconfig", LOG_PID, LOG_AUTHPRIV);
    ::syslog(LOG_AUTHPRIV | LOG_NOTICE, "%s", line.c_str());
    ::closelog();
}

std::unique_ptr<JournalStore>& journal() {
    static std::unique_ptr<JournalStore> store;
    return store;
}

}  // namespace

void beginJournal(const RunInfo& info) {
    journal() = std::make_unique<JournalStore>(fileStore(), info);
    useFileStore(*journal());
}

void journalUndoes(const std::string& id) {
    if (journal()) journal()->undoes(id);
}

std::string journalRunId() {
    return journal() ? journal()->id() : std::string();
}

void finishJournal(int status) {
    if (journal()) journal()->finish(status);
}

}  // namespace orv
