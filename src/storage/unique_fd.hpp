// One open file descriptor, closed when it goes; the storage layer's only owner of
// descriptors.
#pragma once

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>

namespace orv {

class UniqueFd {
  public:
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
    UniqueFd& operator=(UniqueFd&&) = delete;
    ~UniqueFd() {
        if (fd_ >= 0) ::close(fd_);
    }
    explicit operator bool() const { return fd_ >= 0; }
    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }
    // Whether the kernel accepted the data: a failed close is a failed write.
    bool close() {
        const int fd = std::exchange(fd_, -1);
        return fd >= 0 && ::close(fd) == 0;
    }

  private:
    int fd_;
};

// open(2), again after a signal.
inline UniqueFd openRetrying(const char* path, int flags, mode_t mode = 0) {
    int fd = -1;
    do {
        fd = ::open(path, flags, mode);
    } while (fd < 0 && errno == EINTR);
    return UniqueFd(fd);
}

// write(2) of all of `data`, again after a signal; false when a write fails or stops.
inline bool writeAll(int fd, std::string_view data) {
    while (!data.empty()) {
        const ssize_t n = ::write(fd, data.data(), data.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        data.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

}  // namespace orv
