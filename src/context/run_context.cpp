#include "context/run_context.hpp"

#include "console/messages.hpp"
#include "context/environment.hpp"

namespace orv {

namespace {

std::optional<ClusterNames> clusterOfConfDir(const std::string& confDir) {
    const std::optional<std::string> name = getClusterName(confDir);
    if (!name) return std::nullopt;
    return ClusterNames{*name, clusterFileName(*name)};
}

bool isAdministrator(const RunContext& run, const char* alsoIn) {
    const char* file = run.cluster.file.c_str();
    if (checkExecuteUser(run.confDir.c_str(), file, run.user) == 1) return true;
    return alsoIn != nullptr && checkExecuteUser(alsoIn, file, run.user) == 1;
}

}  // namespace

std::optional<RunContext> administratorPreamble(const PreambleOptions& options) {
    const char* confDir = getOrvConfDir();
    if (confDir == nullptr) return std::nullopt;
    RunContext run;
    run.confDir = confDir;
    if (options.requireWritableConfDir && checkDirectory(run.confDir) != 1) return std::nullopt;
    if (options.afterConfDir && !options.afterConfDir(run.confDir)) return std::nullopt;
    getCurrentUser(run.user);
    std::optional<ClusterNames> cluster =
        options.findCluster ? options.findCluster(run.confDir) : clusterOfConfDir(run.confDir);
    if (!cluster) {
        alertI18n(options.noClusterMessage);
        return std::nullopt;
    }
    run.cluster = std::move(*cluster);
    if (!isAdministrator(run, options.alsoAdministratorsIn)) return std::nullopt;
    return run;
}

}  // namespace orv
