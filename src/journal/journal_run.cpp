#include "journal/journal_run.hpp"

#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "console/messages.hpp"
#include "journal/sha256.hpp"

namespace orv {

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

}  // namespace orv
