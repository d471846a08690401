// The key-file reader: logical lines with comments and continuations, the KEY=VALUE
// parser on each line, the word and quoted-value readers, and one key lookup.
#include <cstdint>
#include <string>
#include <string_view>

#include "scratch_files.hpp"
#include "text/line_reader.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    for (int confFormat = 0; confFormat <= 1; ++confFormat) {
        orv::LineReader in(text);
        int count = 0;
        std::string line, key, value;
        while (orv::getNextLineD_(in, count, confFormat, line)) {
            orv::parseLine(line, key, value);
            std::string_view cursor(line);
            while (orv::getNextValueQ_(cursor, '"', '"')) {
            }
        }
        orv::LineReader skipping(text);
        while (orv::getNextLineC_(skipping, count, confFormat, line)) {
        }
    }
    std::string path = orvfuzz::writeScratch("orv.conf", data, size);
    (void)orv::getConfByKey("ORV_MASTER_LIST", path);
    return 0;
}
