// The setbaseport subcommand and the port edit primitive shared with the HDFS port.
#pragma once

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

// ORV_CONFDIR and the local configuration directory as setbaseport and hovhdfsport
// obtain them (with the conf.old fallback); false after the failing function's message.
bool getPortDirectories(std::string& confDir, std::string& localDir);

// The caller must be an administrator of the cluster configured in confDir: 1 if so,
// -1 after the message of whichever check failed (no cluster name, not an administrator).
int checkPortAdministrator(const std::string& confDir);

// True when text is made of decimal digits only (the empty text passes).
bool isAllDigits(std::string_view text);

// The decimal value of a port text the way the command line has always read it: leading
// blanks and a sign are accepted, reading stops at the first non-digit, and a value that
// does not fit an int is pinned to INT_MAX or INT_MIN (so it always fails a range test).
int portTextToInt(std::string_view text);

// The services directory of the kernel's service controller, reached upward from a
// configuration directory.
std::string servicesDirOf(const std::string& confDir);

// The port numbers a service may be given.
inline constexpr int kLowestPort = 1025;
inline constexpr int kHighestPort = 65535;

}  // namespace orv
