#include "history/history.hpp"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "console/messages.hpp"
#include "history/restore.hpp"
#include "preview/unified_diff.hpp"

namespace orv {

namespace {

std::string localTime(std::time_t when) {
    std::tm local{};
    ::localtime_r(&when, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

std::string userOf(const RunRecord& run) {
    return run.sudoUser.empty() ? run.user : run.user + " (sudo " + run.sudoUser + ")";
}

std::string statusOf(const RunRecord& run) {
    return run.complete ? "exit " + std::to_string(run.status) : std::string("did not end");
}

std::string octalMode(mode_t mode) {
    char text[8];
    std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(mode & 07777));
    return text;
}

void listRuns(const std::vector<RunRecord>& runs) {
    for (auto run = runs.rbegin(); run != runs.rend(); ++run) {
        const std::size_t n = run->files.size();
        std::string line =
            formatMessage("%s  %s  %s  %s  %s  %s",
                          {run->id, localTime(run->start), userOf(*run), statusOf(*run),
                           std::to_string(n) + (n == 1 ? " file" : " files"), run->command});
        const std::string by = undoneBy(runs, run->id);
        if (!by.empty()) line += "  (undone by " + by + ")";
        if (!run->undoes.empty()) line += "  (undo of " + run->undoes + ")";
        printText(line + "\n");
    }
}

// What a file held right after run `index`: what it holds now, walked back through the
// later runs that changed it.
bool textAfter(const std::vector<RunRecord>& runs, std::size_t index, const FileChange& file,
               Text& text) {
    text = currentText(file.path);
    bool damaged = false;
    for (std::size_t i = runs.size(); i-- > index + 1;) {
        for (const FileChange& later : runs[i].files) {
            if (later.path == file.path && !walkBack(runs[i], later, text, damaged)) return false;
        }
    }
    return !runs[index].complete || shaOfText(text) == file.shaAfter;
}

void showFile(const std::vector<RunRecord>& runs, std::size_t index, const FileChange& file) {
    const RunRecord& run = runs[index];
    Text after;
    Text before;
    bool damaged = false;
    if (!textAfter(runs, index, file, after) || !walkBack(run, file, before = after, damaged)) {
        alertI18nWithParameter("%s was changed since; its changes cannot be shown.", file.path);
        return;
    }
    if (before != after) {
        printText("--- " + (before ? file.path : std::string("/dev/null")) + "\n");
        printText("+++ " + (after ? file.path : std::string("/dev/null")) + "\n");
        printText(unifiedHunks(before.value_or(""), after.value_or("")));
    }
    if (before && after && file.modeBefore != file.modeAfter) {
        alertI18nWithThreeParameters("Mode of %s: %s, then %s.", file.path.c_str(),
                                     octalMode(file.modeBefore).c_str(),
                                     octalMode(file.modeAfter).c_str());
    }
}

void showRun(const std::vector<RunRecord>& runs, std::size_t index) {
    const RunRecord& run = runs[index];
    alertI18nWithParameter("Run: %s", run.id);
    alertI18nWithParameter("Started: %s", localTime(run.start));
    alertI18nWithParameter("Host: %s", run.host);
    alertI18nWithParameter("User: %s", userOf(run));
    alertI18nWithParameter("Command: %s", run.command);
    alertI18nWithParameter("Status: %s", statusOf(run));
    if (!run.undoes.empty()) alertI18nWithParameter("Undo of: %s", run.undoes);
    const std::string by = undoneBy(runs, run.id);
    if (!by.empty()) alertI18nWithParameter("Undone by: %s", by);
    for (const FileChange& file : run.files) showFile(runs, index, file);
    for (const std::string& dir : run.dirs) alertI18nWithParameter("Made the directory %s.", dir);
    for (const RunRecord::RemovedDir& dir : run.removedDirs) {
        alertI18nWithParameter("Removed the directory %s.", dir.path);
    }
}

}  // namespace

int orvconfig_history(const std::optional<std::string>& id) {
    const std::optional<std::string> journal = journalOrMessage();
    if (!journal) return -1;
    const std::vector<RunRecord> runs = readJournal(*journal);
    if (!id) {
        listRuns(runs);
        return 1;
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        if (runs[i].id == *id) {
            showRun(runs, i);
            return 1;
        }
    }
    alertI18nWithParameter("There is no run %s in the journal.", *id);
    return -1;
}

}  // namespace orv
