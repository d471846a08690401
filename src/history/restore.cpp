#include "history/restore.hpp"

#include "console/messages.hpp"
#include "journal/sha256.hpp"
#include "storage/file_store.hpp"

namespace orv {

Text currentText(const std::string& path) {
    if (pathKind(path) != PathKind::Regular) return std::nullopt;
    FileText text;
    if (!readRegularFile(path, text)) return std::nullopt;
    return std::string(text.view());
}

std::string shaOfText(const Text& text) {
    return text ? sha256Hex(*text) : std::string(kAbsent);
}

bool walkBack(const RunRecord& run, const FileChange& file, Text& text, bool& damaged) {
    damaged = false;
    std::string sha = shaOfText(text);
    for (auto step = file.steps.rbegin(); step != file.steps.rend(); ++step) {
        if (step->shaAfter != sha) {
            // Only a run that did not end may have a last change that never happened.
            if (!run.complete && step->shaBefore == sha) continue;
            return false;
        }
        FileText data;
        Text before;
        const std::string name =
            run.directory + "/" + std::to_string(file.number) + "." + std::to_string(step->number);
        if (!readRegularFile(name, data) ||
            !applyRestoreData(data.view(), text.value_or(""), before) ||
            shaOfText(before) != step->shaBefore) {
            damaged = true;
            return false;
        }
        text = std::move(before);
        sha = step->shaBefore;
    }
    if (sha == file.shaBefore) return true;
    damaged = run.complete;
    return false;
}

std::vector<RunRecord> readJournal(const std::string& journal) {
    std::vector<RunRecord> runs;
    for (const std::string& id : listRunIds(journal)) {
        if (auto run = readRunRecord(journal, id)) runs.push_back(std::move(*run));
    }
    return runs;
}

std::string undoneBy(const std::vector<RunRecord>& runs, const std::string& id) {
    std::string by;
    for (const RunRecord& run : runs) {
        if (run.undoes == id) by = run.id;
    }
    return by;
}

std::optional<std::string> journalOrMessage() {
    std::string journal = journalDirectory();
    if (journal.empty()) {
        alertI18n("The journal is turned off.");
        return std::nullopt;
    }
    return journal;
}

}  // namespace orv
