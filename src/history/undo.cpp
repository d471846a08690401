#include "history/undo.hpp"

#include <algorithm>

#include "console/messages.hpp"
#include "context/environment.hpp"
#include "context/run_context.hpp"
#include "history/restore.hpp"
#include "journal/journal_store.hpp"
#include "storage/file_store.hpp"

namespace orv {

namespace {

// Whether a run's changes are undone now: an undo of it that is not undone itself.
bool isUndone(const std::vector<RunRecord>& runs, const std::string& id) {
    for (auto run = runs.rbegin(); run != runs.rend(); ++run) {
        if (run->undoes == id) return !isUndone(runs, run->id);
    }
    return false;
}

const RunRecord* pickRun(const std::vector<RunRecord>& runs, const std::optional<std::string>& id) {
    if (id) {
        const auto found = std::find_if(runs.begin(), runs.end(),
                                        [&](const RunRecord& run) { return run.id == *id; });
        if (found != runs.end()) return &*found;
        alertI18nWithParameter("There is no run %s in the journal.", *id);
        return nullptr;
    }
    for (auto run = runs.rbegin(); run != runs.rend(); ++run) {
        if (run->complete && run->undoes.empty() && !isUndone(runs, run->id)) return &*run;
    }
    alertI18n("There is no run to undo.");
    return nullptr;
}

// One file to give back: what it holds now and what it held before the run.
struct GiveBack {
    const FileChange* file;
    Text now;
    Text before;
};

bool modeIs(const std::string& path, mode_t mode) {
    FILEINFO info;
    return getFileInfo2(path, info) == 1 && (info.filemode & 07777) == mode;
}

// The files of the run as they were before it, or nothing after naming each file that
// changed since (or whose record is damaged).
std::optional<std::vector<GiveBack>> planUndo(const RunRecord& run) {
    std::vector<GiveBack> plan;
    bool refused = false;
    for (const FileChange& file : run.files) {
        GiveBack item{.file = &file, .now = currentText(file.path), .before = std::nullopt};
        item.before = item.now;
        bool damaged = false;
        const bool left = !run.complete || (shaOfText(item.now) == file.shaAfter &&
                                            (!item.now || modeIs(file.path, file.modeAfter)));
        if (left && walkBack(run, file, item.before, damaged)) {
            plan.push_back(std::move(item));
            continue;
        }
        refused = true;
        alertI18nWithTwoParameters(damaged ? "The journal's record of %s in run %s is damaged."
                                           : "%s was changed after run %s.",
                                   file.path, run.id);
    }
    if (refused) return std::nullopt;
    return plan;
}

// Writes one file back under its lock, after checking again that it still holds what the
// plan found.
bool giveBack(const GiveBack& item, const std::string& id) {
    const std::string& path = item.file->path;
    FileLock lock(path);
    const Text now = currentText(path);
    if (shaOfText(now) != shaOfText(item.now)) {
        alertI18nWithTwoParameters("%s was changed after run %s.", path, id);
        return false;
    }
    if (!item.before) {
        if (now && removePath(path) != 0) {
            alertI18nWithParameter("Cannot remove file %s.", path);
            return false;
        }
        alertI18nWithParameter("Removed %s.", path);
        return true;
    }
    if (now) {
        const CommitResult result = commitRewrite(path, *now, sharingEnds(*now, *item.before));
        if (result == CommitResult::TmpOpenFailed || result == CommitResult::FileOpenFailed) {
            alertI18nWithParameter(kCannotOpenFileMessage, path);
        }
        if (result != CommitResult::Written && result != CommitResult::Unchanged) return false;
    } else if (writeNewFile(path, *item.before) != NewFileResult::Written) {
        alertI18nWithParameter(kCannotOpenFileMessage, path);
        return false;
    }
    if (changeMode(path, item.file->modeBefore) != 0) {
        alertI18nWithParameter("Cannot set the mode of %s.", path);
        return false;
    }
    alertI18nWithParameter("Restored %s.", path);
    return true;
}

bool undoRun(const RunRecord& run, const std::vector<GiveBack>& plan) {
    journalUndoes(run.id);
    // Directories the run removed come back parents first, the reverse of their removal.
    for (auto dir = run.removedDirs.rbegin(); dir != run.removedDirs.rend(); ++dir) {
        if (pathKind(dir->path) == PathKind::Absent && makeDirectory(dir->path, dir->mode) == 0) {
            alertI18nWithParameter("Made the directory %s.", dir->path);
        }
    }
    for (const GiveBack& item : plan) {
        if (!giveBack(item, run.id)) return false;
    }
    for (auto dir = run.dirs.rbegin(); dir != run.dirs.rend(); ++dir) {
        if (removeDirectory(*dir) == 0) alertI18nWithParameter("Removed the directory %s.", *dir);
    }
    return true;
}

}  // namespace

int orvconfig_undo(const std::optional<std::string>& id) {
    if (!administratorPreamble()) return -1;
    const std::optional<std::string> journal = journalOrMessage();
    if (!journal) return -1;
    const std::vector<RunRecord> runs = readJournal(*journal);
    const RunRecord* run = pickRun(runs, id);
    if (run == nullptr) return -1;
    const std::optional<std::vector<GiveBack>> plan = planUndo(*run);
    if (!plan) return -1;
    const std::string prompt = formatMessage(
        "The files of run %s (%s) will be given back as they were before it. Do you want to "
        "continue? [y/n]",
        {run->id, run->command});
    if (askYesNo(prompt) == 'n') {
        alertI18n("Nothing was undone.");
        return 0;
    }
    if (!undoRun(*run, *plan)) return -1;
    alertI18nWithParameter("Run %s is undone.", run->id);
    return 1;
}

}  // namespace orv
