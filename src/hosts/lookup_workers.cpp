// Many lookups side by side: each worker is a forked copy of this process that resolves
// its share of the names with the same function as a lookup made here, and writes each
// answer to its pipe as a record (index, flags, length of the canonical name, the name).
// The answers are therefore exactly those that lookups one after another would give.
#include "hosts/lookup_workers.hpp"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include "hosts/host_identity.hpp"

namespace orv {

namespace {

struct AddrInfoDeleter {
    void operator()(struct addrinfo* ai) const {
        if (ai != nullptr) {
            freeaddrinfo(ai);
        }
    }
};
using AddrInfoPtr = std::unique_ptr<struct addrinfo, AddrInfoDeleter>;

constexpr std::uint8_t kResolved = 1;
constexpr std::uint8_t kHasIPv4 = 2;
constexpr std::size_t kRecordHead = 4 + 1 + 4;  // index, flags, length
constexpr std::size_t kFlushAt = 4096;

void appendU32(std::string& out, std::uint32_t value) {
    char bytes[4];
    std::memcpy(bytes, &value, sizeof bytes);
    out.append(bytes, sizeof bytes);
}

std::uint32_t readU32(const char* at) {
    std::uint32_t value = 0;
    std::memcpy(&value, at, sizeof value);
    return value;
}

void appendAnswer(std::string& out, std::uint32_t index, const HostLookup& answer) {
    appendU32(out, index);
    out += static_cast<char>((answer.resolved ? kResolved : 0) | (answer.hasIPv4 ? kHasIPv4 : 0));
    appendU32(out, static_cast<std::uint32_t>(answer.canonical.size()));
    out += answer.canonical;
}

bool writeAll(int fd, const std::string& data) {
    std::size_t done = 0;
    while (done < data.size()) {
        ssize_t n = ::write(fd, data.data() + done, data.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

// The worker's whole life: names first, first + step, ... are looked up in turn. It ends
// with _exit, so that none of the parent's exit handlers run and no stdio buffer it
// inherited is written a second time.
[[noreturn]] void runWorker(int fd, const std::vector<std::string>& names, std::size_t first,
                            std::size_t step) {
    std::string out;
    for (std::size_t i = first; i < names.size(); i += step) {
        appendAnswer(out, static_cast<std::uint32_t>(i), lookUpHost(names[i]));
        if (out.size() >= kFlushAt) {
            if (!writeAll(fd, out)) ::_exit(1);
            out.clear();
        }
    }
    ::_exit(writeAll(fd, out) ? 0 : 1);
}

struct Worker {
    pid_t pid = -1;
    int fd = -1;
    std::string received;
};

// Starts up to `count` workers; fewer when a pipe or a process cannot be made (their
// names then stay unanswered).
std::vector<Worker> startWorkers(const std::vector<std::string>& names, std::size_t count) {
    std::vector<Worker> started;
    // Nothing waiting in stdout may be copied into a worker (the workers never flush it,
    // but a copy is not worth the risk).
    std::fflush(stdout);
    for (std::size_t w = 0; w < count; ++w) {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) break;
        pid_t pid = ::fork();
        if (pid < 0) {
            ::close(ends[0]);
            ::close(ends[1]);
            break;
        }
        if (pid == 0) {
            ::close(ends[0]);
            for (const Worker& other : started) ::close(other.fd);
            runWorker(ends[1], names, w, count);
        }
        ::close(ends[1]);
        started.push_back({pid, ends[0], {}});
    }
    return started;
}

// Reads every pipe to its end; the workers' writes never wait on one another.
void collect(std::vector<Worker>& workers) {
    std::vector<Worker*> open;
    open.reserve(workers.size());
    for (Worker& w : workers) open.push_back(&w);
    char buf[65536];
    while (!open.empty()) {
        std::vector<struct pollfd> fds;
        fds.reserve(open.size());
        for (const Worker* w : open) fds.push_back({w->fd, POLLIN, 0});
        if (::poll(fds.data(), fds.size(), -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        std::vector<Worker*> still;
        for (std::size_t i = 0; i < fds.size(); ++i) {
            Worker* w = open[i];
            if (fds[i].revents == 0) {
                still.push_back(w);
                continue;
            }
            ssize_t n = ::read(w->fd, buf, sizeof buf);
            if (n > 0 || (n < 0 && errno == EINTR)) {
                if (n > 0) w->received.append(buf, static_cast<std::size_t>(n));
                still.push_back(w);
                continue;
            }
            ::close(w->fd);
            w->fd = -1;
        }
        open.swap(still);
    }
    for (Worker* w : open) ::close(w->fd);  // only after a failed poll
    for (const Worker& w : workers) {
        while (::waitpid(w.pid, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
}

// The complete records of one worker; a record cut short by its death is dropped.
void decode(const std::string& data, std::vector<std::optional<HostLookup>>& answers) {
    std::size_t at = 0;
    while (data.size() - at >= kRecordHead) {
        const std::uint32_t index = readU32(data.data() + at);
        const auto flags = static_cast<std::uint8_t>(data[at + 4]);
        const std::uint32_t length = readU32(data.data() + at + 5);
        if (index >= answers.size() || data.size() - at - kRecordHead < length) return;
        HostLookup answer;
        answer.resolved = (flags & kResolved) != 0;
        answer.hasIPv4 = (flags & kHasIPv4) != 0;
        answer.canonical.assign(data, at + kRecordHead, length);
        answers[index] = std::move(answer);
        at += kRecordHead + length;
    }
}

}  // namespace

HostLookup lookUpHost(const std::string& name) {
    HostLookup r;
    struct addrinfo* raw = nullptr;
    int rc = my_getaddrinfo_(name.c_str(), -1, AI_CANONNAME, AF_UNSPEC, SOCK_STREAM, &raw);
    AddrInfoPtr list(raw);
    if (rc != 0 || !list) {
        return r;
    }
    r.resolved = true;
    r.canonical = list->ai_canonname != nullptr ? list->ai_canonname : name;
    for (const struct addrinfo* ai = list.get(); ai != nullptr; ai = ai->ai_next) {
        if (ai->ai_family == AF_INET) {
            r.hasIPv4 = true;
        }
    }
    return r;
}

std::vector<std::optional<HostLookup>> lookUpInWorkers(const std::vector<std::string>& names,
                                                       std::size_t workers) {
    std::vector<std::optional<HostLookup>> answers(names.size());
    if (names.empty() || workers == 0) return answers;
    std::vector<Worker> started =
        startWorkers(names, workers < names.size() ? workers : names.size());
    collect(started);
    for (const Worker& w : started) decode(w.received, answers);
    return answers;
}

}  // namespace orv
