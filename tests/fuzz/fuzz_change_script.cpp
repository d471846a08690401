// One line of a change script, in the copy script and in the update scripts.
#include <cstdint>
#include <string>

#include "mghost/change_script.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string line(reinterpret_cast<const char*>(data), size);
    (void)orv::classifyScriptLine(line, orv::ScriptKind::Copy);
    (void)orv::classifyScriptLine(line, orv::ScriptKind::Update);
    return 0;
}
