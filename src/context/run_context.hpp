// The preamble of every subcommand that changes the cluster's files: the configuration
// directory, the user, the cluster and the administrator check, each printing its own
// message when it fails.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "context/cluster_identity.hpp"

namespace orv {

// The context a changing run works in.
struct RunContext {
    std::string confDir;   // ORV_CONFDIR
    std::string user;      // login name of the real user
    ClusterNames cluster;  // the cluster and its cluster file's name (in confDir)
};

// Where subcommands differ: each field's default is what most of them do.
struct PreambleOptions {
    // ORV_CONFDIR must be a directory the user may write.
    bool requireWritableConfDir = true;
    // A step of the subcommand's own after the configuration directory (its local
    // directory, say); false after its message ends the preamble.
    std::function<bool(const std::string& confDir)> afterConfDir = nullptr;
    // The cluster; by default the one named in confDir/orv.shared.
    std::function<std::optional<ClusterNames>(const std::string& confDir)> findCluster = nullptr;
    // Printed when there is no cluster file to name.
    const char* noClusterMessage = kNoClusterNameMessage;
    // A second directory whose copy of the cluster file may name the user instead.
    const char* alsoAdministratorsIn = nullptr;
};

// The run's context, or nothing after the failing step's message.
std::optional<RunContext> administratorPreamble(const PreambleOptions& options = {});

}  // namespace orv
