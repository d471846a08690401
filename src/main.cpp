#include "cli/usage.hpp"

// The dispatcher's -1 becomes exit status 255.
int main(int argc, char** argv) {
    return orv::orvconfigMain(argc, argv) == 0 ? 0 : 255;
}
