// Usage texts and the version banner of the command line.
#pragma once

namespace orv {

// Prints the usage text for a selector (2: full listing; 3, 4, 6, 8, 9, 10, 12: one
// subcommand). Other selectors print nothing.
void usage(int type);

// Writes the five-line version banner to standard error.
void printVersionBanner();

// Hook for consoles that close when the program ends; on this system it does nothing.
void pauseForVista();

// The dispatcher: returns 0 (exit 0) or -1 (exit 255).
int orvconfigMain(int argc, char** argv);

}  // namespace orv
