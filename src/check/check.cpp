// orvconfig check: reads the files every subcommand would read, never writes, and needs no
// administrator, so that any user who can read the files can run it before a restart.
#include "check/check.hpp"

#include <optional>
#include <string>

#include "check/check_parts.hpp"
#include "console/messages.hpp"
#include "context/environment.hpp"
#include "hosts/host_identity.hpp"
#include "ports/base_port.hpp"
#include "storage/file_store.hpp"

namespace orv {

namespace {

// The directories of the environment; nothing (after the message the other subcommands
// give) when the host cannot be checked at all.
std::optional<CheckContext> environmentOf(Report& report) {
    const char* confDir = getOrvConfDir();
    if (confDir == nullptr) return std::nullopt;
    // Only a directory can be checked; checkDirectory prints why this one cannot.
    if (pathKind(confDir) != PathKind::Directory) {
        checkDirectory(confDir);
        return std::nullopt;
    }
    const char* local = getOrvLocalConfDir();
    if (local == nullptr) return std::nullopt;
    CheckContext c;
    c.confDir = confDir;
    c.thisHost = thisHostName();
    if (std::optional<std::string> dir = localPortDirectory()) {
        c.localDir = *dir;
        c.localUsable = true;
        c.shared = IsSameDirectory(c.confDir, c.localDir) == 0;
    } else {
        c.localDir = local;
        report.error(local, 0, "env.local-dir", "ORV_LOCAL_CONFDIR is not a directory");
    }
    // The shared side's batch product lives under the installation top.
    if (c.shared && getInstallTop() == nullptr) return std::nullopt;
    return c;
}

}  // namespace

int orvconfig_check(bool json) {
    Report report;
    std::optional<CheckContext> c = environmentOf(report);
    if (!c) return -1;
    FileChecker files(report);
    checkIdentity(files, report, *c);
    checkMasterList(files, report, *c);
    checkPorts(files, report, *c);
    checkSharedDirectory(files, report, *c);
    checkTags(files, report, *c);
    const std::string cluster = c->cluster.empty() ? "?" : c->cluster;
    printText(json ? report.json(c->role, cluster) : report.text(c->role, cluster));
    return report.errors() == 0 ? 0 : 1;
}

}  // namespace orv
