#include "journal/journal_files.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <set>
#include <vector>

#include "storage/unique_fd.hpp"

namespace orv {

namespace {

std::string failure(const std::string& path) {
    return "cannot write the journal " + path + ": " + std::strerror(errno);
}

// mkdir -p with owner-only directories.
bool makeDirectories(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0) return S_ISDIR(st.st_mode) || (errno = ENOTDIR, false);
    const std::size_t slash = path.rfind('/');
    if (slash != std::string::npos && slash > 0 && !makeDirectories(path.substr(0, slash))) {
        return false;
    }
    return ::mkdir(path.c_str(), 0700) == 0 || errno == EEXIST;
}

std::string pathIn(const std::string& dir, const std::string& name) {
    std::string path = dir;
    path += '/';
    path += name;
    return path;
}

std::vector<std::string> entriesOf(const std::string& dir) {
    std::vector<std::string> names;
    std::unique_ptr<DIR, int (*)(DIR*)> d(::opendir(dir.c_str()), &::closedir);
    if (!d) return names;
    while (const dirent* entry = ::readdir(d.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    return names;
}

std::uintmax_t sizeOfRun(const std::string& dir) {
    std::uintmax_t size = 0;
    for (const std::string& name : entriesOf(dir)) {
        struct stat st {};
        if (::lstat(pathIn(dir, name).c_str(), &st) == 0)
            size += static_cast<std::uintmax_t>(st.st_size);
    }
    return size;
}

// True while the run of `id` may still be writing its record: it has none yet and the
// process its id names is alive.
bool stillWriting(const std::string& journal, const std::string& id) {
    struct stat st {};
    if (::stat((journal + "/" + id + "/record").c_str(), &st) == 0) return false;
    const std::size_t dash = id.rfind('-');
    const long pid =
        dash == std::string::npos ? 0 : std::strtol(id.c_str() + dash + 1, nullptr, 10);
    return pid > 0 && (::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM);
}

void prune(const std::string& journal, const std::string& current, std::size_t keepRuns,
           std::uintmax_t keepBytes) {
    std::vector<std::string> ids = listRunIds(journal);
    std::reverse(ids.begin(), ids.end());  // newest first
    std::uintmax_t bytes = 0;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        if (ids[i] == current || stillWriting(journal, ids[i])) continue;
        bytes += sizeOfRun(journal + "/" + ids[i]);
        if (i >= keepRuns || bytes > keepBytes) removeRunDirectory(journal + "/" + ids[i]);
    }
}

}  // namespace

// A file as the record names it: its directory resolved, its last component as given.
std::string absolutePath(const std::string& path) {
    std::string full = path;
    if (full.empty() || full[0] != '/') {
        std::unique_ptr<char, decltype(&std::free)> cwd(::getcwd(nullptr, 0), &std::free);
        full = std::string(cwd ? cwd.get() : "") + "/" + path;
    }
    while (full.size() > 1 && full.back() == '/') full.pop_back();
    const std::size_t slash = full.rfind('/');
    const std::string dir = slash == 0 ? "/" : full.substr(0, slash);
    std::unique_ptr<char, decltype(&std::free)> real(::realpath(dir.c_str(), nullptr), &std::free);
    const std::string parent = real ? std::string(real.get()) : dir;
    return (parent == "/" ? "" : parent) + "/" + full.substr(slash + 1);
}

std::string runId(const timespec& now) {
    std::tm utc{};
    ::gmtime_r(&now.tv_sec, &utc);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &utc);
    char id[64];
    std::snprintf(id, sizeof id, "%s.%03ld-%ld", stamp, now.tv_nsec / 1000000L,
                  static_cast<long>(::getpid()));
    return id;
}

std::unique_ptr<JournalFiles> JournalFiles::create(const std::string& journal,
                                                   const std::string& id, std::string& why) {
    const std::string dir = journal + "/" + id;
    if (!makeDirectories(journal) || ::mkdir(dir.c_str(), 0700) != 0) {
        why = failure(journal);
        return nullptr;
    }
    const std::string changes = dir + "/changes";
    UniqueFd fd = openRetrying(
        changes.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (!fd) {
        why = failure(changes);
        ::rmdir(dir.c_str());
        return nullptr;
    }
    return std::unique_ptr<JournalFiles>(new JournalFiles(journal, dir, std::move(fd)));
}

bool JournalFiles::writeFile(const std::string& name, std::string_view data, bool sync,
                             std::string& why) {
    const std::string path = dir_ + "/" + name;
    UniqueFd fd =
        openRetrying(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd && writeAll(fd.get(), data) && (!sync || ::fsync(fd.get()) == 0) && fd.close()) {
        return true;
    }
    why = failure(path);
    return false;
}

bool JournalFiles::writeData(int file, int step, std::string_view data, bool sync,
                             std::string& why) {
    return writeFile(std::to_string(file) + "." + std::to_string(step), data, sync, why);
}

bool JournalFiles::log(std::string_view lines, bool sync, std::string& why) {
    if (writeAll(changes_.get(), lines) && (!sync || ::fsync(changes_.get()) == 0)) return true;
    why = failure(dir_ + "/changes");
    return false;
}

bool JournalFiles::complete(const RunRecord& run, std::size_t keepRuns, std::uintmax_t keepBytes,
                            std::string& why) {
    std::string text = recordHeader(run);
    std::set<std::string> used = {"record"};
    for (const FileChange& file : run.files) {
        text += fileLine(file);
        for (const ChangeStep& step : file.steps) {
            text += stepLine(file, step);
            used.insert(std::to_string(file.number) + "." + std::to_string(step.number));
        }
        text += afterLine(file);
    }
    for (const std::string& dir : run.dirs) text += dirLine(dir);
    for (const RunRecord::RemovedDir& dir : run.removedDirs) text += removedDirLine(dir);
    if (!writeFile("record.tmp", text, true, why)) return false;
    if (::rename((dir_ + "/record.tmp").c_str(), (dir_ + "/record").c_str()) != 0) {
        why = failure(dir_ + "/record");
        return false;
    }
    changes_.close();
    for (const std::string& name : entriesOf(dir_)) {
        if (used.count(name) == 0) ::unlink((dir_ + "/" + name).c_str());
    }
    prune(journal_, run.id, keepRuns, keepBytes);
    return true;
}

void JournalFiles::discard() {
    changes_.close();
    removeRunDirectory(dir_);
}

void removeRunDirectory(const std::string& dir) {
    for (const std::string& name : entriesOf(dir)) ::unlink(pathIn(dir, name).c_str());
    ::rmdir(dir.c_str());
}

}  // namespace orv
