// --dry-run: the run's file effects go to an in-memory overlay of the disk, and at its end
// the run shows what it would have changed.
#pragma once

namespace orv {

// From now on the run's effects go to the overlay.
void beginDryRun();

// Prints what the dry run would have done: a unified diff of every file it would change,
// create or remove, a line per directory it would make, and a closing line. Nothing when
// no dry run began.
void printDryRunReport();

}  // namespace orv
