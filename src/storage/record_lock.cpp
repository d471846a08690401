#include "storage/record_lock.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "storage/unique_fd.hpp"

namespace orv {

namespace {

std::pair<dev_t, ino_t> fileIdOf(int fd) {
    struct stat st {};
    if (::fstat(fd, &st) != 0) return {0, 0};
    return {st.st_dev, st.st_ino};
}

bool isRegularFd(int fd) {
    struct stat st {};
    return ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
}

// Takes a lock of `type` (F_RDLCK or F_WRLCK) on the whole open file, waiting for other
// runs at most lockWaitSeconds(). Throws LockFailure on time-out, and when an exclusive
// lock cannot be taken at all (a file system without locks); a read goes on without one.
void waitForLock(int fd, short type, const std::string& path) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                             std::chrono::duration<double>(lockWaitSeconds()));
    auto pause = std::chrono::milliseconds(1);
    int command = F_OFD_SETLK;
    for (;;) {
        struct flock request {};
        request.l_type = type;
        request.l_whence = SEEK_SET;
        if (::fcntl(fd, command, &request) == 0) return;
        if (errno == EINTR) continue;
        if (errno == EINVAL && command == F_OFD_SETLK) {
            command = F_SETLK;  // a kernel without open-file-description locks
            continue;
        }
        if (errno != EAGAIN && errno != EACCES) {
            if (type == F_RDLCK) return;
            throw LockFailure{path, false};
        }
        const auto now = Clock::now();
        if (now >= deadline) throw LockFailure{path, true};
        std::this_thread::sleep_for(std::min<Clock::duration>(pause, deadline - now));
        pause = std::min(pause * 2, std::chrono::milliseconds(50));
    }
}

}  // namespace

class LockTable::Held final : public EditLock {
  public:
    Held(LockTable& table, FileId id, UniqueFd fd) : table_(table), id_(id), fd_(std::move(fd)) {}
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held() override {
        auto held = table_.held_.find(id_);
        if (held != table_.held_.end() && --held->second == 0) table_.held_.erase(held);
        // Closing the last descriptor of the lock releases it.
    }

  private:
    LockTable& table_;
    FileId id_;
    UniqueFd fd_;  // the descriptor holding the lock, when this is the outermost holder
};

bool LockTable::holds(int fd) const {
    return held_.count(fileIdOf(fd)) != 0;
}

std::unique_ptr<EditLock> LockTable::lockForEdit(const std::string& path) {
    UniqueFd fd = openRetrying(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (!fd || !isRegularFd(fd.get())) return nullptr;
    const FileId id = fileIdOf(fd.get());
    auto held = held_.find(id);
    if (held != held_.end()) {
        ++held->second;  // the run holds it already: the outer lock covers this edit too
        return std::make_unique<Held>(*this, id, UniqueFd(-1));
    }
    waitForLock(fd.get(), F_WRLCK, path);
    held_.emplace(id, 1);
    return std::make_unique<Held>(*this, id, std::move(fd));
}

void LockTable::lockForWrite(int fd, const std::string& path) {
    if (!holds(fd)) waitForLock(fd, F_WRLCK, path);
}

void LockTable::lockForRead(int fd, const std::string& path) {
    if (!holds(fd)) waitForLock(fd, F_RDLCK, path);
}

double lockWaitSeconds() {
    const char* text = std::getenv("ORVCONFIG_LOCK_WAIT");
    if (text == nullptr) return 60;
    char* end = nullptr;
    const double seconds = std::strtod(text, &end);
    return end != text && *end == '\0' && seconds >= 0 && seconds < 1e6 ? seconds : 60;
}

}  // namespace orv
