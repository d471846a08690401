// The cluster's name, the current user and the cluster administrator check.
#include "context/cluster_identity.hpp"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "console/messages.hpp"
#include "context/environment.hpp"
#include "text/line_reader.hpp"
#include "text/strings.hpp"

namespace orv {

namespace {

// The last blank-separated word of a data line (the reader has already folded tabs to
// blanks and dropped trailing blanks).
std::string lastWord(const std::string& line) {
    const std::size_t blank = line.rfind(' ');
    return blank == std::string::npos ? line : line.substr(blank + 1);
}

// Reads the Cluster section: "Begin Cluster", then the "ClusterName" header, then the first
// line without '#' is the data line. "End Cluster" before a data line means no name.
std::optional<std::string> clusterNameFrom(const std::string& file) {
    LineReader in;
    if (!in.load(file)) {
        return std::nullopt;
    }
    enum class Stage { BeforeSection, BeforeHeader, BeforeData } stage = Stage::BeforeSection;
    int lineCount = 0;
    std::string line;
    while (getNextLineC_(in, lineCount, 1, line)) {
        if (stage == Stage::BeforeSection) {
            if (contains(line, "Begin Cluster")) {
                stage = Stage::BeforeHeader;
            }
        } else if (contains(line, "End Cluster")) {
            return std::nullopt;
        } else if (stage == Stage::BeforeHeader) {
            if (contains(line, "ClusterName")) {
                stage = Stage::BeforeData;
            }
        } else if (!contains(line, "#")) {
            return lastWord(line);
        }
    }
    return std::nullopt;
}

// The value of the Administrators line: after the first '=', leading blanks skipped, up to
// the first ','. Administrator files have always been read this way, so names after a comma
// do not count, and a one-character first entry directly followed by a comma yields none.
std::string administratorsValue(const std::string& line) {
    const std::size_t eq = line.find('=');
    if (eq == std::string::npos) {
        return "";
    }
    std::string_view rest = std::string_view(line).substr(eq + 1);
    while (!rest.empty() && rest.front() == ' ') {
        rest.remove_prefix(1);
    }
    const std::size_t comma = rest.find(',');
    if (comma == 1) {
        return "";
    }
    return std::string(rest.substr(0, comma));
}

// The raw Administrators value of the ClusterAdmins section ("" when there is none).
std::string readAdministrators(LineReader& in) {
    bool inSection = false;
    int lineCount = 0;
    std::string line;
    while (getNextLineC_(in, lineCount, 1, line)) {
        const bool adminsLine = contains(line, "ClusterAdmins");
        if (adminsLine && contains(line, "Begin")) {
            inSection = true;
        } else if (adminsLine && contains(line, "End")) {
            inSection = false;
        } else if (inSection && contains(line, "Administrators")) {
            return administratorsValue(line);
        }
    }
    return "";
}

}  // namespace

std::optional<std::string> getClusterName(const std::string& path) {
    return clusterNameFrom(path + "/orv.shared");
}

std::optional<std::string> getClusterName2(const std::string& path) {
    return clusterNameFrom(path + "/vos.shared");
}

std::string get_cluster_name() {
    const char* localDir = getOrvLocalConfDir();
    if (localDir == nullptr) {
        return "";
    }
    return getClusterName(localDir).value_or("");
}

int getCurrentUser(std::string& username) {
    const struct passwd* pw = ::getpwuid(::getuid());
    username = (pw != nullptr && pw->pw_name != nullptr) ? pw->pw_name : "";
    return 1;
}

int checkExecuteUser(const char* confdir, const char* clusterfile, const std::string& currentuser) {
    if (confdir == nullptr || clusterfile == nullptr) {
        return -1;
    }
    const std::string file = std::string(confdir) + "/" + clusterfile;
    LineReader in;
    if (!in.load(file)) {
        alertI18nWithParameter(kCannotOpenTheFileMessage, file);
        return -1;
    }
    const std::string value = readAdministrators(in);
    std::vector<std::string> admins;
    tokenize(value, admins, " ");
    for (const std::string& admin : admins) {
        if (admin == currentuser) {
            return 1;
        }
    }
    alertI18nWithParameter("You must be cluster administrator [%s] to use orvconfig.", value);
    return -1;
}

std::optional<std::vector<std::string>> clusterAdministrators(const std::string& file) {
    LineReader in;
    if (!in.load(file)) {
        return std::nullopt;
    }
    std::vector<std::string> admins;
    tokenize(readAdministrators(in), admins, " ");
    return admins;
}

std::string clusterFileName(const std::string& clusterName) {
    return "orv.cluster." + clusterName;
}

std::optional<ClusterNames> clusterFileNameIn(const std::string& confDir, const char* vosEnvDir) {
    if (std::optional<std::string> name = getClusterName(confDir)) {
        return ClusterNames{*name, clusterFileName(*name)};
    }
    if (vosEnvDir != nullptr) {
        if (std::optional<std::string> name = getClusterName2(vosEnvDir)) {
            return ClusterNames{*name, "vos.cluster." + *name};
        }
    }
    return std::nullopt;
}

int checkVosCluster(const char* orvConfDir, const char* vosEnvDir) {
    if (orvConfDir == nullptr || vosEnvDir == nullptr) {
        return 1;
    }
    const std::optional<std::string> vosOrvDir =
        getConfByKey("VOS_ORV_ENVDIR", std::string(vosEnvDir) + "/vos.conf");
    if (!vosOrvDir) {
        return 1;
    }
    if (IsSameDirectory(*vosOrvDir, orvConfDir) == 1) {
        return 0;
    }
    const char* localDir = std::getenv("ORV_LOCAL_CONFDIR");
    if (localDir != nullptr && IsSameDirectory(*vosOrvDir, localDir) == 1) {
        return 0;
    }
    return 1;
}

}  // namespace orv
