// Usage texts and the version banner of the command line.
#pragma once

namespace orv {

// The usage texts: the full listing, or the lines of one subcommand. The values are the
// selectors of the legacy usage function; any other value prints nothing.
enum class UsageText {
    Full = 2,
    Masterlist = 3,
    Join = 4,
    Mghost = 6,
    Setbaseport = 8,
    Unsetmghost = 9,
    Addresourceattr = 10,
    Hovhdfsport = 12,
    Check = 20,
    History = 13,
    Undo = 14,
};

// Prints an empty line, then the usage text.
void usage(UsageText text);

// Writes the five-line version banner to standard error.
void printVersionBanner();

}  // namespace orv
