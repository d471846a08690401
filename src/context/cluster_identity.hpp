// The cluster's name (Cluster section of orv.shared / vos.shared), the current user and
// the cluster administrator check.
#pragma once

#include <optional>
#include <string>

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

// 0 if the batch product's configuration (vosEnvDir/vos.conf, VOS_ORV_ENVDIR) points at
// this cluster; 1 otherwise.
int checkVosCluster(const char* orvConfDir, const char* vosEnvDir);

// The name of a cluster's cluster file: "orv.cluster.<clusterName>".
std::string clusterFileName(const std::string& clusterName);

// The cluster file of confDir: clusterFileName of the name in confDir/orv.shared, or failing
// that "vos.cluster.<name>" from the batch product's vosEnvDir/vos.shared; nullopt when
// neither names the cluster.
std::optional<std::string> clusterFileNameIn(const std::string& confDir, const char* vosEnvDir);

// The administrator check that most subcommands make first: the cluster name from
// confDir/orv.shared (the no-name message when there is none), then checkExecuteUser of
// user against confDir/orv.cluster.<name>. 1, or -1 after the failing check's message;
// clusterName receives the name when it is found.
int checkClusterAdministrator(const std::string& confDir, const std::string& user,
                              std::string* clusterName = nullptr);

// The message printed when no cluster name can be found.
inline constexpr const char* kNoClusterNameMessage =
    "Cannot get cluster name. The cluster does not work properly. The orv.shared file may be "
    "corrupt.";

}  // namespace orv
