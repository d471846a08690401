// The command line's dispatcher: -h, -V, --dry-run and the table of subcommands.
#pragma once

namespace orv {

// Runs the command line: returns 0 (exit 0) or -1 (exit 255).
int orvconfigMain(int argc, char** argv);

}  // namespace orv
