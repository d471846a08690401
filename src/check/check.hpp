// The check subcommand: a read-only report of whether this host's configuration files hang
// together as the subcommands keep them, and of text the next edit would lose.
#pragma once

namespace orv {

// Prints the findings and the summary line (json: one JSON document instead). 0 when there
// is no error, 1 when there is, -1 (after the message) when the host cannot be checked.
int orvconfig_check(bool json);

}  // namespace orv
