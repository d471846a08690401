// The unsetmghost subcommand: a management host goes back to its local configuration.
#pragma once

namespace orv {

// The lines of the kernel's environment scripts (in the local configuration directory)
// that name the configuration directory in use: found by the text before the directory.
inline constexpr const char* kCshrcOrv = "cshrc.orv";
inline constexpr const char* kCshrcConfDirLine = "setenv ORV_CONFDIR";
inline constexpr const char* kProfileOrv = "profile.orv";
inline constexpr const char* kProfileConfDirLine = "ORV_CONFDIR=";

int orvconfig_removeshare();

}  // namespace orv
