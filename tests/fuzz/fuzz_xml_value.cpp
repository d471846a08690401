// Element text of an XML service profile: reading, and rewriting through the ".tmp" copy.
#include <cstdint>
#include <string>

#include "scratch_files.hpp"
#include "text/xml_value.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string path = orvfuzz::writeScratch("profile.xml", data, size);
    (void)orv::getValueInXML(path, "OSC_PORT");
    if (orv::replaceValueInXML(path, "OSC_PORT", "9000") != 1) __builtin_trap();
    return 0;
}
