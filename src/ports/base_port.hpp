// The setbaseport subcommand and the port edit primitive shared with the HDFS port.
#pragma once

#include <string>

namespace orv {

int chgPorts(const std::string& file, const std::string& key, const std::string& value);
int checkPortsInUse(int base, int count);
int orvconfig_setbaseport(const std::string& baseportstr, const char* pname);

// ORV_CONFDIR and the local configuration directory as setbaseport and hovhdfsport
// obtain them (with the conf.old fallback); false after the failing function's message.
bool getPortDirectories(const char* pname, std::string& confDir, std::string& localDir);

}  // namespace orv
