// The resource tag grammar, as typed on the command line and as read back from orv.conf.
#include <cstdint>
#include <string>
#include <vector>

#include "resources/local_resources.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    for (int flag = 0; flag <= 1; ++flag) {
        std::vector<orv::LOCAL_RESOURCE> list;
        int r = orv::parseLocalResources(text, list, flag);
        if (r == 0 && list.empty()) __builtin_trap();
    }
    return 0;
}
