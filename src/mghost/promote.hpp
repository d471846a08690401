// The mghost subcommand: promotion to a management host and the layered products.
#pragma once

#include <optional>
#include <string>

namespace orv {

int orvconfig_setshare(const std::string& sharedTopArg);
int orvconfig_setshare_orv(const std::string& shareTop);
int precheckCurrentUser();
// -1 (after its message) for a path that is not absolute; else 0, with one trailing
// backslash dropped from path.
int checkShareTop(std::string& path);
int checkHead(const std::string& keyword, std::string& outDir);
int orvconfig_setshare_vos(const std::optional<std::string>& shareTop);
int orvconfig_setshare_kirn(const std::optional<std::string>& shareTop);
int orvconfig_setshare_zt(const std::string& addOnTop);

}  // namespace orv
