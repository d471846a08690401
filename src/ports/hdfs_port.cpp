// hovhdfsport: shows or sets the HDFS service port, kept as the HOV_HDFS_PORT element of
// the NameNode, secondary node and DataNode service profiles.
#include "ports/hdfs_port.hpp"

#include <optional>

#include "console/messages.hpp"
#include "context/environment.hpp"
#include "ports/base_port.hpp"
#include "text/xml_value.hpp"

namespace orv {

namespace {

constexpr const char* kHdfsKey = kHdfsPortKey;
constexpr const char* kCannotGetPort =
    "Cannot get HDFS service port number (HOV_HDFS_PORT). Check the NameNode profile "
    "(namenode.xml) for HDFS service port number.";
constexpr const char* kShowPort = "%d will be used as the HDFS service port, set as HOV_HDFS_PORT.";
// The text names 65532 although every port up to 65535 is accepted; the wording is what
// administrators know and is kept.
constexpr const char* kInvalidPort =
    "Invalid port number. The HDFS service port number (HOV_HDFS_PORT) must be greater than "
    "1024 but lower than 65532.";
constexpr const char* kPortChanged =
    "Communication ports have changed. The HDFS service port (HOV_HDFS_PORT) is %s.";

// Sets the port in each HDFS profile of one configuration directory that exists.
int setProfilesIn(const std::string& dir, const std::string& port) {
    int result = 0;
    for (const std::string& file : hdfsProfilesOf(dir)) {
        if (pathExists(file)) {
            result |= chgPorts(file, kHdfsKey, port);
        }
    }
    return result;
}

}  // namespace

std::vector<std::string> hdfsProfilesOf(const std::string& dir) {
    const std::string services = servicesDirOf(dir);
    return {services + "/namenode.xml", services + "/secondarynode.xml",
            services + "/datanode.xml"};
}

int getPorts(const std::string& file, const std::string& key) {
    if (key != kHdfsKey) {
        return -1;
    }
    const std::optional<std::string> value = getValueInXML(file, key);
    if (!value) {
        return -1;
    }
    return portTextToInt(*value);
}

int orvconfig_showhovhdfsport() {
    const std::optional<PortDirectories> dirs = portPreamble();
    if (!dirs) {
        return -1;
    }
    const std::string& confDir = dirs->confDir;
    const std::string& localDir = dirs->localDir;
    const int same = IsSameDirectory(confDir, localDir);
    if (same == -1) {
        return -1;
    }
    // A host on a shared directory reads the profile that the cluster shares.
    const std::string namenode = hdfsProfilesOf(same == 0 ? confDir : localDir).front();
    int port = 0;
    if (pathExists(namenode)) {
        port = getPorts(namenode, kHdfsKey);
    }
    if (port == -1) {
        alertI18nWithParameter("%s", kCannotGetPort);
        return -1;
    }
    alertI18nWithParameter(kShowPort, std::to_string(port));
    return 1;
}

int orvconfig_sethovhdfsport(const std::string& hovhdfsportstr) {
    if (!isAllDigits(hovhdfsportstr)) {
        alertI18n(kInvalidPort);
        return -1;
    }
    const int port = portTextToInt(hovhdfsportstr);
    const std::optional<PortDirectories> dirs = portPreamble();
    if (!dirs) {
        return -1;
    }
    const std::string& confDir = dirs->confDir;
    const std::string& localDir = dirs->localDir;
    if (port < kLowestPort || port > kHighestPort) {
        alertI18n(kInvalidPort);
        return -1;
    }
    if (checkPortsInUse(port, 1) != 0) {
        return -1;
    }
    const int same = IsSameDirectory(confDir, localDir);
    if (same == -1) {
        return -1;
    }
    const std::string value = std::to_string(port);
    if (same == 0) {
        // The shared profiles may belong to another management host: a failure there is
        // reported by the edit itself and does not fail the command.
        (void)setProfilesIn(confDir, value);
    }
    if (setProfilesIn(localDir, value) != 0) {
        alertI18n(kCommandFailedMessage);
        return -1;
    }
    alertI18nWithParameter(kPortChanged, hovhdfsportstr);
    return 1;
}

}  // namespace orv
