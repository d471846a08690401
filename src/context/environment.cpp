// The configuration directories named by the environment, the shared top, directory
// checks and the permission bits kept across an edit.
#include "context/environment.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>

#include "console/messages.hpp"
#include "storage/file_store.hpp"

namespace orv {

namespace {

constexpr const char* kNoConfDir =
    "The cluster configuration directory cannot be found because the environment variable "
    "ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig.";
constexpr const char* kNoLocalConfDir =
    "The cluster local configuration directory cannot be found because the environment "
    "variable ORV_LOCAL_CONFDIR is not defined.  On unix, source the environment before "
    "running orvconfig.";
constexpr const char* kSystemCallFailed = "%s function failed. Error code [%s]";
constexpr const char* kConfDirNotDirectory =
    "The cluster configuration directory cannot be used because the environment variable "
    "ORV_CONFDIR is not set to a valid directory.";
constexpr const char* kNoWritePermission =
    "You do not have permission to modify the cluster configuration directory %s.";
constexpr const char* kDoesNotExist = "%s does not exist.";

const char* envOrMessage(const char* name, const char* message) {
    const char* value = std::getenv(name);
    if (value == nullptr) {
        alertI18n(message);
    }
    return value;
}

void reportStatFailure(int error) {
    alertI18nWithTwoParameters(kSystemCallFailed, "stat", std::to_string(error));
}

// stat with the usual reporting: a missing path is silent, any other failure is printed.
// Returns 0 on success, otherwise the errno.
int statReporting(const std::string& path, struct stat& st) {
    if (::stat(path.c_str(), &st) == 0) {
        return 0;
    }
    const int error = errno;
    if (error != ENOENT) {
        reportStatFailure(error);
    }
    return error;
}

}  // namespace

const char* getOrvConfDir() {
    return envOrMessage("ORV_CONFDIR", kNoConfDir);
}

const char* getOrvLocalConfDir() {
    return envOrMessage("ORV_LOCAL_CONFDIR", kNoLocalConfDir);
}

const char* getVosEnvDir() {
    return std::getenv("VOS_ENVDIR");
}

// A missing ORV_TOP is reported with the ORV_CONFDIR text: both come from the same
// environment script, and administrators know the message by its wording.
const char* getInstallTop() {
    return envOrMessage("ORV_TOP", kNoConfDir);
}

std::optional<std::string> getShareTop() {
    const char* confDir = getOrvConfDir();
    if (confDir == nullptr) {
        return std::nullopt;
    }
    const char* localDir = std::getenv("ORV_LOCAL_CONFDIR");
    if (localDir == nullptr) {
        alertI18n(kNoConfDir);
        return std::nullopt;
    }
    if (IsSameDirectory(confDir, localDir) != 0) {
        return std::nullopt;
    }
    // The configuration directory in use is <shared top>/kernel/conf.
    const std::string up = std::string(confDir) + "/../..";
    std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(up.c_str(), nullptr),
                                                         &std::free);
    if (!resolved) {
        return std::nullopt;
    }
    return std::string(resolved.get());
}

int getOrvDirFromBinary(std::string& newOrvConfDir) {
    const char* localDir = getOrvLocalConfDir();
    if (localDir == nullptr) {
        return -1;
    }
    newOrvConfDir = localDir;
    return 1;
}

int checkDirectory(const std::string& path) {
    struct stat st {};
    if (statReporting(path, st) != 0) {
        return -1;
    }
    if (!S_ISDIR(st.st_mode)) {
        alertI18n(kConfDirNotDirectory);
        return -1;
    }
    if (::access(path.c_str(), W_OK) != 0) {
        alertI18nWithParameter(kNoWritePermission, path);
        return -1;
    }
    return 1;
}

// Only the inode numbers are compared, not the devices: a missing first path counts as
// "different", a missing second path is an error.
int IsSameDirectory(const std::string& first, const std::string& second) {
    struct stat a {};
    struct stat b {};
    if (::stat(first.c_str(), &a) != 0) {
        const int error = errno;
        if (error == ENOENT) {
            return 0;
        }
        reportStatFailure(error);
        return -1;
    }
    if (::stat(second.c_str(), &b) != 0) {
        const int error = errno;
        if (error == ENOENT) {
            alertI18nWithParameter(kDoesNotExist, second);
        } else {
            reportStatFailure(error);
        }
        return -1;
    }
    return a.st_ino == b.st_ino ? 1 : 0;
}

int isAbsolutePath(const std::string& path) {
    return !path.empty() && path[0] == '/' ? 1 : 0;
}

namespace {

void fillInfo(const struct stat& st, FILEINFO& info) {
    info.owner = st.st_uid;
    info.group = st.st_gid;
    info.filemode = st.st_mode;
    info.recorded = true;
}

// Only the permission bits are restored; owner and group stay those of the editor.
// A record that was never filled is never applied.
bool restoreMode(const std::string& fullpath, const FILEINFO& info) {
    return info.recorded && changeMode(fullpath, info.filemode & 07777) == 0;
}

}  // namespace

int getFileInfo(const std::string& path, const std::string& filename, FILEINFO& info) {
    struct stat st {};
    if (statReporting(path + "/" + filename, st) != 0) {
        return -1;
    }
    fillInfo(st, info);
    return 1;
}

int getFileInfo2(const std::string& fullpath, FILEINFO& info) {
    struct stat st {};
    if (::stat(fullpath.c_str(), &st) != 0) {
        return -1;
    }
    fillInfo(st, info);
    return 1;
}

int setFileInfo(const std::string& path, const std::string& filename, const FILEINFO& info) {
    if (!info.recorded) {
        return -1;
    }
    if (!restoreMode(path + "/" + filename, info)) {
        printText("\n");
        return -1;
    }
    return 1;
}

int setFileInfo2(const std::string& fullpath, const FILEINFO& info) {
    return restoreMode(fullpath, info) ? 1 : -1;
}

bool pathExists(const std::string& path) {
    return pathKind(path) != PathKind::Absent;
}

bool isRootPrefixed(const std::string& user) {
    return user.compare(0, 4, "root") == 0;
}

}  // namespace orv
