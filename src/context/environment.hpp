// Where the cluster lives: the configuration directories named by the environment,
// the shared and installation tops, and the permission bits kept across an edit.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace orv {

// The environment's own strings, or nullptr. getOrvConfDir and getInstallTop print the
// ORV_CONFDIR message when unset, getOrvLocalConfDir the ORV_LOCAL_CONFDIR message;
// getVosEnvDir is silent.
const char* getOrvConfDir();
const char* getOrvLocalConfDir();
const char* getVosEnvDir();
const char* getInstallTop();

// The shared top (two levels above ORV_CONFDIR, resolved) when this host uses a
// configuration directory other than its local one; nullopt otherwise.
std::optional<std::string> getShareTop();

// 1 and a copy of ORV_LOCAL_CONFDIR; -1 after its message.
int getOrvDirFromBinary(std::string& newOrvConfDir);

// 1 for an existing directory the real user may write, -1 otherwise (with a message
// except for a missing path).
int checkDirectory(const std::string& path);

// Compares inode numbers only: 1 same, 0 different or first missing, -1 on error.
int IsSameDirectory(const std::string& first, const std::string& second);

int isAbsolutePath(const std::string& path);

struct FILEINFO {
    uid_t owner = 0;
    gid_t group = 0;
    mode_t filemode = 0;
    // False until a getFileInfo call filled the record: a mode that was never recorded
    // is never applied to a file.
    bool recorded = false;
};

int getFileInfo(const std::string& path, const std::string& filename, FILEINFO& info);
int getFileInfo2(const std::string& fullpath, FILEINFO& info);
int setFileInfo(const std::string& path, const std::string& filename, const FILEINFO& info);
int setFileInfo2(const std::string& fullpath, const FILEINFO& info);

// True when the path names an existing file system object (stat succeeds).
bool pathExists(const std::string& path);

// True when the current user's name begins with "root" (the rule that decides whether
// recorded file modes are restored after an edit).
bool isRootPrefixed(const std::string& user);

}  // namespace orv
