// SHA-256 of texts, as the journal records the content of a file before and after a run.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace orv {

class Sha256 {
  public:
    // `portable`: the portable rounds even where the processor's extensions would serve
    // (both must give the same digests).
    explicit Sha256(bool portable = false);
    void update(std::string_view data);
    // The digest as 64 lower-case hexadecimal digits; the object is spent afterwards.
    std::string hex();

  private:
    void blocks(const unsigned char* data, std::size_t count);
    bool portable_;
    std::array<std::uint32_t, 8> state_;
    std::array<unsigned char, 64> buffer_{};
    std::size_t buffered_ = 0;
    std::uint64_t length_ = 0;
};

std::string sha256Hex(std::string_view data);

}  // namespace orv
