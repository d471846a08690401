// The cluster's name (Cluster section of orv.shared / vos.shared), the current user and
// the cluster administrator check.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace orv {

std::optional<std::string> getClusterName(const std::string& path);   // path/orv.shared
std::optional<std::string> getClusterName2(const std::string& path);  // path/vos.shared

// getClusterName of ORV_LOCAL_CONFDIR; empty when the variable is unset (after its message).
std::string get_cluster_name();

// Login name of the real user id; always 1.
int getCurrentUser(std::string& username);

// 1 if currentuser is listed as an administrator in confdir/clusterfile, -1 otherwise
// (with its message). Null confdir or clusterfile gives -1.
int checkExecuteUser(const char* confdir, const char* clusterfile, const std::string& currentuser);

// The user names of the Administrators line of a cluster file, read as checkExecuteUser
// reads them (empty when there is none); nullopt when the file cannot be read.
std::optional<std::vector<std::string>> clusterAdministrators(const std::string& file);

// 0 if the batch product's configuration (vosEnvDir/vos.conf, VOS_ORV_ENVDIR) points at
// this cluster; 1 otherwise.
int checkVosCluster(const char* orvConfDir, const char* vosEnvDir);

// The name of a cluster's cluster file: "orv.cluster.<clusterName>".
std::string clusterFileName(const std::string& clusterName);

// A cluster's name and the name of its cluster file.
struct ClusterNames {
    std::string cluster;
    std::string file;
};

// The cluster of confDir: its name in confDir/orv.shared with clusterFileName, or failing
// that the batch product's name in vosEnvDir/vos.shared with "vos.cluster.<name>"; nullopt
// when neither names the cluster.
std::optional<ClusterNames> clusterFileNameIn(const std::string& confDir, const char* vosEnvDir);

// The message printed when no cluster name can be found.
inline constexpr const char* kNoClusterNameMessage =
    "Cannot get cluster name. The cluster does not work properly. The orv.shared file may be "
    "corrupt.";

}  // namespace orv
