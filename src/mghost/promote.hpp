// The mghost subcommand: promotion to a management host and the layered products.
#pragma once

#include <optional>
#include <string>

namespace orv {

int orvconfig_setshare(std::string sharedTop);
int orvconfig_setshare_orv(const std::string& shareTop);
int precheckCurrentUser();
int checkShareTop(std::string& path);
int checkHead(const std::string& keyword, std::string& outDir);
int orvconfig_setshare_vos(const std::optional<std::string>& shareTop);
int orvconfig_setshare_kirn(const std::optional<std::string>& shareTop);
int orvconfig_setshare_zt(const std::string& addOnTop);

}  // namespace orv
