// The setbaseport subcommand and the port edit primitive shared with the HDFS port.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

int chgPorts(const std::string& file, const std::string& key, const std::string& value);

// One key line to set: the key and the decimal text of its port.
struct PortSetting {
    std::string key;
    std::string value;
};

// Sets several key lines (no XML keys) of one file in a single rewrite, with the file
// text, the messages and the result that one chgPorts call per setting would give.
int chgKeyLines(const std::string& file, const std::vector<PortSetting>& settings);
int checkPortsInUse(int base, int count);
int orvconfig_setbaseport(const std::string& baseportstr);

// The local configuration directory as the port edits use it: ORV_LOCAL_CONFDIR, or the
// conf.old directory beside it; nothing (after the variable's message, if unset) when
// neither is a directory.
std::optional<std::string> localPortDirectory();

// The two sides a port edit changes.
struct PortDirectories {
    std::string confDir;   // ORV_CONFDIR
    std::string localDir;  // localPortDirectory()
};

// The preamble of setbaseport and hovhdfsport: the directories, then the administrator
// check; nothing after the failing step's message.
std::optional<PortDirectories> portPreamble();

// True when text is made of decimal digits only (the empty text passes).
bool isAllDigits(std::string_view text);

// The decimal value of a port text the way the command line has always read it: leading
// blanks and a sign are accepted, reading stops at the first non-digit, and a value that
// does not fit an int is pinned to INT_MAX or INT_MIN (so it always fails a range test).
int portTextToInt(std::string_view text);

// The services directory of the kernel's service controller, reached upward from a
// configuration directory.
std::string servicesDirOf(const std::string& confDir);

// True for the port keys kept as element text of an XML profile; the others are key lines.
bool isXmlPortKey(std::string_view key);

// The port table: each file a side of setbaseport edits, in the order it edits them, with
// its keys and their offsets from the base port. Every file but orv.conf is edited only
// where it exists.
struct PortKey {
    const char* key;
    int offset;
};
struct PortFile {
    std::string path;
    std::vector<PortKey> keys;
    bool always = false;
};

// One side of the port edit: the directory whose files are edited, the top under which
// the batch product's vos.conf lives (none: no vos.conf) and the directory whose services
// hold the mrss.xml profile that this side edits.
struct PortSide {
    std::string confDir;
    std::optional<std::string> top;
    std::string mrssConfDir;
};
std::vector<PortFile> portFilesOf(const PortSide& side);

// The sides setbaseport edits, in its order: the shared one (on a host that uses a shared
// configuration directory), then the local one.
std::vector<PortSide> portSides(const std::string& confDir, const std::string& localDir,
                                bool shared);

// The port numbers a service may be given.
inline constexpr int kLowestPort = 1025;
inline constexpr int kHighestPort = 65535;

}  // namespace orv
