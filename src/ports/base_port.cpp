// setbaseport: moves the kernel, the service controller, its services and the batch
// product to a new block of consecutive ports, after checking that the block is free.
#include "ports/base_port.hpp"

#include <netdb.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <climits>
#include <initializer_list>
#include <optional>
#include <utility>
#include <vector>

#include "console/messages.hpp"
#include "context/cluster_identity.hpp"
#include "context/environment.hpp"
#include "context/run_context.hpp"
#include "hosts/host_identity.hpp"
#include "text/rewrite.hpp"
#include "text/strings.hpp"
#include "text/xml_value.hpp"

namespace orv {

namespace {

constexpr const char* kInvalidBasePort =
    "Invalid base port %s. The base port must be larger than 1024 and less than 65532.";
// The second placeholder receives the value, not the file: administrators' scripts
// match this line as it has always been printed.
constexpr const char* kSetFailed = "Set %s in %s failed.";
constexpr const char* kPortInUse = "The port %s is in use.";
constexpr const char* kBasePortChanged =
    "Communication ports have been changed. The new base port is %s.";

// The settings that live as element text in XML profiles; every other key is a key line.
constexpr std::array<std::string_view, 7> kXmlKeys = {"OSC_PORT",
                                                      "SD_SDK_PORT",
                                                      "SD_ADMIN_PORT",
                                                      "REPOSITORY_SERVICE_PORT",
                                                      "HOV_HDFS_PORT",
                                                      "HOV_MRSS_SHUFFLE_CLIENT_PORT",
                                                      "HOV_MRSS_SHUFFLE_DATA_WRITE_PORT"};

constexpr int kPortsWithSd = 7;
constexpr int kPortsWithoutSd = 5;

bool isDirectory(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// Frees an address list on every path out of the probe.
struct AddrInfoList {
    addrinfo* head = nullptr;
    AddrInfoList() = default;
    AddrInfoList(const AddrInfoList&) = delete;
    AddrInfoList& operator=(const AddrInfoList&) = delete;
    ~AddrInfoList() {
        if (head != nullptr) {
            ::freeaddrinfo(head);
        }
    }
};

// Closes a socket on every path out of the probe.
struct SocketFd {
    int fd;
    explicit SocketFd(int f) : fd(f) {}
    SocketFd(const SocketFd&) = delete;
    SocketFd& operator=(const SocketFd&) = delete;
    ~SocketFd() {
        if (fd >= 0) {
            ::close(fd);
        }
    }
};

enum class Probe { Free, Busy, Abort };

// Binds the first address for which a socket can be made. No socket option is set,
// so a port still in TIME_WAIT counts as busy: the daemons bind the same way.
Probe probeAddresses(const addrinfo* list, int port) {
    for (const addrinfo* ai = list; ai != nullptr; ai = ai->ai_next) {
        SocketFd sock(::socket(ai->ai_family, ai->ai_socktype | SOCK_CLOEXEC, ai->ai_protocol));
        if (sock.fd < 0) {
            continue;
        }
        if (::bind(sock.fd, ai->ai_addr, ai->ai_addrlen) != 0) {
            alertI18nWithParameter(kPortInUse, std::to_string(port));
            return Probe::Busy;
        }
        return Probe::Free;
    }
    return Probe::Free;
}

Probe probePort(int port) {
    if (port < kLowestPort || port > kHighestPort) {
        return Probe::Abort;
    }
    AddrInfoList addrs;
    if (my_getaddrinfo_(nullptr, port, AI_PASSIVE, AF_UNSPEC, SOCK_STREAM, &addrs.head) != 0) {
        return Probe::Abort;
    }
    return probeAddresses(addrs.head, port);
}

// Replaces the last "\conf" of a path by "/conf.old", the place an upgrade leaves the
// old configuration directory; the path is returned as it is when it has no "\conf".
std::string confOldFallback(const std::string& dir) {
    const std::string marker = "\\conf";
    const std::size_t pos = strrfind(dir, marker);
    if (pos == std::string::npos) {
        return dir;
    }
    return dir.substr(0, pos) + "/" + "conf" + ".old" + dir.substr(pos + marker.size());
}

bool hasSdProfile(const std::string& dir) {
    const std::string services = servicesDirOf(dir);
    return pathExists(services + "/sd.xml") || pathExists(services + "/SD.xml");
}

class PortEditor {
  public:
    explicit PortEditor(int base) : base_(base) {}
    int result() const { return result_; }

    void set(const std::string& file, const char* key, int offset) {
        result_ |= chgPorts(file, key, std::to_string(base_ + offset));
    }
    // Several keys of one file, in one rewrite of it where that gives the same text.
    void setKeyLines(const std::string& file, const std::vector<PortKey>& keys) {
        std::vector<PortSetting> settings;
        settings.reserve(keys.size());
        for (const PortKey& k : keys) {
            settings.push_back({k.key, std::to_string(base_ + k.offset)});
        }
        result_ |= chgKeyLines(file, settings);
    }

  private:
    int base_;
    int result_ = 0;
};

int editPortSide(int base, const PortSide& side) {
    PortEditor ed(base);
    for (const PortFile& f : portFilesOf(side)) {
        if (!f.always && !pathExists(f.path)) continue;
        if (f.keys.size() == 1) {
            ed.set(f.path, f.keys[0].key, f.keys[0].offset);
        } else {
            ed.setKeyLines(f.path, f.keys);
        }
    }
    return ed.result();
}

// Moves every port of both sides: on a host with a shared configuration directory the
// shared files first (their failures are reported but do not fail the command, since
// another management host may own them), then always the local ones.
int editAllPorts(int base, const std::string& confDir, const std::string& localDir, bool shared) {
    const std::vector<PortSide> sides = portSides(confDir, localDir, shared);
    if (shared) {
        (void)editPortSide(base, sides.front());
    }
    return editPortSide(base, sides.back());
}

}  // namespace

bool isXmlPortKey(std::string_view key) {
    return std::find(kXmlKeys.begin(), kXmlKeys.end(), key) != kXmlKeys.end();
}

std::vector<PortFile> portFilesOf(const PortSide& side) {
    const std::string services = servicesDirOf(side.confDir);
    std::vector<PortFile> files = {{side.confDir + "/orv.conf",
                                    {{"ORV_LIM_PORT", 0}, {"ORV_KD_PORT", 1}, {"ORV_PEM_PORT", 2}},
                                    true}};
    if (side.top) {
        // The batch product's directory has always been named with a backslash here;
        // the form is kept so that existing installations keep being found.
        files.push_back({*side.top + "\\conf" + "/vos.conf", {{"VOS_LIM_PORT", 0}}});
    }
    files.push_back({side.confDir + "/../../oservice/osc/conf/orvsc_conf.xml", {{"OSC_PORT", 3}}});
    files.push_back({side.confDir + "/../oservice/osc/conf/orvsc_conf.xml", {{"OSC_PORT", 3}}});
    for (const char* name : {"/sd.xml", "/SD.xml"}) {
        files.push_back({services + name, {{"SD_SDK_PORT", 5}, {"SD_ADMIN_PORT", 6}}});
    }
    files.push_back({services + "/rs.xml", {{"REPOSITORY_SERVICE_PORT", 4}}});
    files.push_back(
        {servicesDirOf(side.mrssConfDir) + "/mrss.xml",
         {{"HOV_MRSS_SHUFFLE_CLIENT_PORT", 10}, {"HOV_MRSS_SHUFFLE_DATA_WRITE_PORT", 11}}});
    return files;
}

std::vector<PortSide> portSides(const std::string& confDir, const std::string& localDir,
                                bool shared) {
    std::vector<PortSide> sides;
    if (shared) {
        const char* installTop = getInstallTop();
        std::optional<std::string> top;
        if (installTop != nullptr) top = installTop;
        sides.push_back({confDir, top, confDir});
    }
    // The local side's mrss.xml is taken from ORV_CONFDIR, where the shuffle service's
    // profile is kept.
    sides.push_back({localDir, getShareTop(), confDir});
    return sides;
}

bool isAllDigits(std::string_view text) {
    for (char c : text) {
        if (std::isdigit(static_cast<unsigned char>(c)) == 0) {
            return false;
        }
    }
    return true;
}

int portTextToInt(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i])) != 0) {
        ++i;
    }
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    long long value = 0;
    for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])) != 0; ++i) {
        value = value * 10 + (text[i] - '0');
        if (value > static_cast<long long>(INT_MAX) + 1) {
            value = static_cast<long long>(INT_MAX) + 1;
        }
    }
    if (negative) {
        return static_cast<int>(-value < INT_MIN ? INT_MIN : -value);
    }
    return static_cast<int>(value > INT_MAX ? INT_MAX : value);
}

std::string servicesDirOf(const std::string& confDir) {
    return confDir + "/../../oservice/osc/conf/services";
}

int chgPorts(const std::string& file, const std::string& key, const std::string& value) {
    const std::string line = key + "=" + value;
    const int rc =
        isXmlPortKey(key) ? replaceValueInXML(file, key, value) : replaceString(file, key, line);
    if (rc == -1) {
        alertI18nWithTwoParameters(kSetFailed, key, value);
        return -1;
    }
    return 0;
}

int chgKeyLines(const std::string& file, const std::vector<PortSetting>& settings) {
    const bool xml = !settings.empty() && isXmlPortKey(settings[0].key);
    std::vector<std::pair<std::string, std::string>> edits;
    edits.reserve(settings.size());
    for (const PortSetting& s : settings) {
        edits.emplace_back(s.key, xml ? s.value : s.key + "=" + s.value);
    }
    // The settings are made in one rewrite; after a failure the ones still to be made go
    // on, each failed one reported on its own as it always has been.
    int result = 0;
    for (std::size_t done = 0; done < edits.size();) {
        const std::vector<std::pair<std::string, std::string>> rest(
            edits.begin() + static_cast<std::ptrdiff_t>(done), edits.end());
        done += xml ? replaceValuesInXML(file, rest) : replaceStrings(file, rest);
        if (done < edits.size()) {
            alertI18nWithTwoParameters(kSetFailed, settings[done].key, settings[done].value);
            result = -1;
            ++done;
        }
    }
    return result;
}

int checkPortsInUse(int base, int count) {
    int result = 0;
    for (int i = 0; i < count; ++i) {
        const Probe p = probePort(base + i);
        if (p == Probe::Abort) {
            return -1;
        }
        if (p == Probe::Busy) {
            result = -1;
        }
    }
    return result;
}

std::optional<std::string> localPortDirectory() {
    std::string local;
    if (getOrvDirFromBinary(local) == -1) {
        return std::nullopt;
    }
    if (!isDirectory(local)) {
        local = confOldFallback(local);
        if (!isDirectory(local)) {
            return std::nullopt;
        }
    }
    return local;
}

std::optional<PortDirectories> portPreamble() {
    std::optional<std::string> local;
    const auto findLocal = [&local](const std::string& /*confDir*/) {
        local = localPortDirectory();
        return local.has_value();
    };
    const std::optional<RunContext> run = administratorPreamble({.afterConfDir = findLocal});
    if (!run) {
        return std::nullopt;
    }
    return PortDirectories{run->confDir, *local};
}

int orvconfig_setbaseport(const std::string& baseportstr) {
    if (!isAllDigits(baseportstr)) {
        alertI18nWithParameter(kInvalidBasePort, baseportstr);
        return -1;
    }
    const int base = portTextToInt(baseportstr);
    const std::optional<PortDirectories> dirs = portPreamble();
    if (!dirs) {
        return -1;
    }
    const std::string& confDir = dirs->confDir;
    const std::string& localDir = dirs->localDir;
    // The service directory's profile brings two more ports into the block, and the
    // highest base shrinks with it. The message has always named 65532 either way.
    const int count = hasSdProfile(localDir) ? kPortsWithSd : kPortsWithoutSd;
    if (base < kLowestPort || base > kHighestPort + 1 - count) {
        alertI18nWithParameter(kInvalidBasePort, baseportstr);
        return -1;
    }
    if (checkPortsInUse(base, count) != 0) {
        return -1;
    }
    const int same = IsSameDirectory(confDir, localDir);
    if (same == -1) {
        return -1;
    }
    if (editAllPorts(base, confDir, localDir, same == 0) != 0) {
        alertI18n(kCommandFailedMessage);
        return -1;
    }
    alertI18nWithParameter(kBasePortChanged, baseportstr);
    return 1;
}

}  // namespace orv
