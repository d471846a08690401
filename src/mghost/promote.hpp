// The mghost subcommand: promotion to a management host and the layered products.
#pragma once

#include <optional>
#include <string>

namespace orv {

int orvconfig_setshare(const std::string& operand);
int orvconfig_setshare_orv(const std::string& requestedTop);
int precheckCurrentUser();
// The shared top as it is used: nothing (after its message) for a path that is not
// absolute, else the path with one trailing backslash dropped.
std::optional<std::string> checkShareTop(std::string path);
int checkHead(const std::string& keyword, std::string& outDir);
int orvconfig_setshare_vos(const std::optional<std::string>& shareTop);
int orvconfig_setshare_kirn(const std::optional<std::string>& shareTop);
int orvconfig_setshare_zt(const std::string& addOnTop);

}  // namespace orv
