// The parts of `orvconfig check`, each a group of rules that the subcommands keep, checked
// on the files as they are. Nothing here writes: files are read whole under a shared lock.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "check/report.hpp"

namespace orv {

// What a file is to the subcommands: which one rewrites it (named in the warnings about
// text a rewrite would change) and which keys they edit in it.
enum class FileKind {
    OrvConf,
    VosConf,
    OrvShared,
    ClusterFile,
    ResourceGroups,
    PortProfile,
    HdfsProfile,
    CshrcOrv,
    ProfileOrv
};

// One line of a text with its 1-based number.
struct NumberedLine {
    int line;
    std::string text;
};

struct CheckContext {
    std::string confDir;   // ORV_CONFDIR
    std::string localDir;  // ORV_LOCAL_CONFDIR (or its conf.old fallback)
    bool localUsable = false;
    bool shared = false;  // ORV_CONFDIR is not the local directory
    std::string thisHost;
    std::string cluster;      // "" when orv.shared names none
    std::string clusterFile;  // its path in confDir, "" when there is no cluster name
    bool clusterFileRead = false;
    std::vector<std::string> clusterHosts;  // the host section's names
    std::vector<std::string> masterList;
    std::string role;
};

// Files already looked at (device and inode): their file-wide findings are made once.
class FileChecker {
  public:
    explicit FileChecker(Report& report) : report_(report) {}
    // The text of a configuration file, or nothing (with an error where the file must be
    // there, is not a regular file or cannot be read). The first time a file is read, its
    // file-wide warnings are made: leftover ".tmp", owner cannot write, and the text a
    // rewrite would change beyond its edit.
    std::optional<std::string> read(const std::string& path, FileKind kind, bool required);

  private:
    std::optional<std::string> readChecked(const std::string& path, bool required);
    void fileWarnings(const std::string& path, FileKind kind, const std::string& text);
    Report& report_;
    std::set<std::pair<unsigned long, unsigned long>> seen_;
    std::set<std::string> failed_;  // paths already reported as unusable
};

// The lines of a key file (comments and continuations as the key readers apply them) that
// hold `needle`, with the number of the physical line each begins on.
std::vector<NumberedLine> linesHolding(const std::string& text, const std::string& needle);

// The values of `key` in a key file: every line that parses as key=value with that key.
std::vector<NumberedLine> keyValues(const std::string& text, const std::string& key);

void checkIdentity(FileChecker& files, Report& report, CheckContext& c);
void checkMasterList(FileChecker& files, Report& report, CheckContext& c);
void checkSharedDirectory(FileChecker& files, Report& report, const CheckContext& c);
void checkTags(FileChecker& files, Report& report, const CheckContext& c);
void checkPorts(FileChecker& files, Report& report, const CheckContext& c);

}  // namespace orv
