// Copying configuration onto the shared directory. No shell is ever involved.
#pragma once

#include <string>

namespace orv {

int copyTextFile(const std::string& source, const std::string& target, bool overwrite);
int copyAnyFile(const std::string& source, const std::string& target, bool overwrite);
int copyDir(const std::string& source, const std::string& target, bool overwrite);

// One file copied by copyTextFile (Text) or copyAnyFile (Bytes), after which the target is
// given the source's permission bits: 0, or -1 when the copy failed.
enum class CopyKind { Text, Bytes };
int copyFileKeepingMode(const std::string& source, const std::string& target, bool overwrite,
                        CopyKind kind);
// Makes the directory and its missing parents (mode 0777 less the umask); 0 on success.
int makeDir(const std::string& path);
int removeFile(const std::string& path);  // always 1

}  // namespace orv
