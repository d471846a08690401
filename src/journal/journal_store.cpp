#include "journal/journal_store.hpp"

#include <memory>
#include <optional>
#include <thread>

#include "journal/journal_run.hpp"
#include "journal/sha256.hpp"

namespace orv {

namespace {

std::string shaOf(const TextPieces& pieces) {
    Sha256 hash;
    for (const std::string_view piece : pieces) hash.update(piece);
    return hash.hex();
}

}  // namespace

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

namespace {

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
