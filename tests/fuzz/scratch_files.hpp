// Scratch files for the fuzz targets whose parsers read from disk.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace orvfuzz {

// A per-process scratch directory (created once).
const std::string& scratchDir();

// Writes the bytes to scratchDir()/name and returns the path.
std::string writeScratch(const std::string& name, const uint8_t* data, size_t size);

}  // namespace orvfuzz
