// The unsetmghost subcommand: a management host goes back to its local configuration.
#pragma once

namespace orv {

int orvconfig_removeshare();

}  // namespace orv
