// FIPS 180-4 SHA-256. Where the processor has the SHA extensions (most x86-64 machines of
// the last years) the blocks are hashed with them, several times faster than the portable
// rounds: the journal hashes every text a run changes, large files included.
#include "journal/sha256.hpp"

#include <algorithm>
#include <cstring>

#if defined(__x86_64__) && defined(__GNUC__)
#include <cpuid.h>
#include <immintrin.h>
#define ORV_SHA_NI 1
#endif

namespace orv {

namespace {

constexpr std::array<std::uint32_t, 64> kRound = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr std::uint32_t rotr(std::uint32_t x, int n) {
    return (x >> n) | (x << (32 - n));
}

std::uint32_t loadBig(const unsigned char* p) {
    return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) |
           std::uint32_t{p[3]};
}

void portableBlocks(std::uint32_t* state, const unsigned char* data, std::size_t count) {
    for (; count > 0; --count, data += 64) {
        std::array<std::uint32_t, 64> w{};
        for (int i = 0; i < 16; ++i) w[i] = loadBig(data + static_cast<std::ptrdiff_t>(4 * i));
        for (int i = 16; i < 64; ++i) {
            const std::uint32_t s0 = rotr(w[i - 15], 7) ^ rotr(w[i - 15], 18) ^ (w[i - 15] >> 3);
            const std::uint32_t s1 = rotr(w[i - 2], 17) ^ rotr(w[i - 2], 19) ^ (w[i - 2] >> 10);
            w[i] = w[i - 16] + s0 + w[i - 7] + s1;
        }
        std::uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
        std::uint32_t e = state[4], f = state[5], g = state[6], h = state[7];
        for (int i = 0; i < 64; ++i) {
            const std::uint32_t t1 = h + (rotr(e, 6) ^ rotr(e, 11) ^ rotr(e, 25)) +
                                     ((e & f) ^ (~e & g)) + kRound[i] + w[i];
            const std::uint32_t t2 =
                (rotr(a, 2) ^ rotr(a, 13) ^ rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
            h = g, g = f, f = e, e = d + t1, d = c, c = b, b = a, a = t1 + t2;
        }
        state[0] += a, state[1] += b, state[2] += c, state[3] += d;
        state[4] += e, state[5] += f, state[6] += g, state[7] += h;
    }
}

#ifdef ORV_SHA_NI
bool haveShaExtensions() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (__get_cpuid_count(7, 0, &a, &b, &c, &d) == 0 || (b & (1U << 29)) == 0) return false;
    return __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & bit_SSE4_1) != 0 && (c & bit_SSSE3) != 0;
}

// The rounds of four message words: two sha256rnds2 over the words plus their constants.
__attribute__((target("sha,sse4.1"))) inline void fourRounds(__m128i& abef, __m128i& cdgh,
                                                             __m128i words, int i) {
    __m128i k;
    std::memcpy(&k, &kRound[static_cast<std::size_t>(i)], sizeof k);
    __m128i msg = _mm_add_epi32(words, k);
    cdgh = _mm_sha256rnds2_epu32(cdgh, abef, msg);
    msg = _mm_shuffle_epi32(msg, 0x0E);
    abef = _mm_sha256rnds2_epu32(abef, cdgh, msg);
}

__attribute__((target("sha,sse4.1,ssse3"))) void shaNiBlocks(std::uint32_t* state,
                                                             const unsigned char* data,
                                                             std::size_t count) {
    const __m128i swap = _mm_set_epi64x(0x0c0d0e0f08090a0bLL, 0x0405060700010203LL);
    __m128i tmp;
    __m128i cdgh;
    std::memcpy(&tmp, state, 16);
    std::memcpy(&cdgh, state + 4, 16);
    tmp = _mm_shuffle_epi32(tmp, 0xB1);            // CDAB
    cdgh = _mm_shuffle_epi32(cdgh, 0x1B);          // EFGH
    __m128i abef = _mm_alignr_epi8(tmp, cdgh, 8);  // ABEF
    cdgh = _mm_blend_epi16(cdgh, tmp, 0xF0);       // CDGH
    for (; count > 0; --count, data += 64) {
        const __m128i saveAbef = abef;
        const __m128i saveCdgh = cdgh;
        __m128i w[4];  // NOLINT(cppcoreguidelines-pro-type-member-init): filled below
        for (std::size_t i = 0; i < 4; ++i) {
            std::memcpy(&w[i], data + 16 * i, 16);
            w[i] = _mm_shuffle_epi8(w[i], swap);
        }
        for (int i = 0; i < 16; ++i) {
            const auto j = static_cast<std::size_t>(i % 4);
            fourRounds(abef, cdgh, w[j], 4 * i);
            if (i < 12) {
                // The schedule: word block i+4 from blocks i..i+3.
                __m128i next = _mm_sha256msg1_epu32(w[j], w[(j + 1) % 4]);
                next = _mm_add_epi32(next, _mm_alignr_epi8(w[(j + 3) % 4], w[(j + 2) % 4], 4));
                w[j] = _mm_sha256msg2_epu32(next, w[(j + 3) % 4]);
            }
        }
        abef = _mm_add_epi32(abef, saveAbef);
        cdgh = _mm_add_epi32(cdgh, saveCdgh);
    }
    tmp = _mm_shuffle_epi32(abef, 0x1B);      // FEBA
    cdgh = _mm_shuffle_epi32(cdgh, 0xB1);     // DCHG
    abef = _mm_blend_epi16(tmp, cdgh, 0xF0);  // DCBA
    cdgh = _mm_alignr_epi8(cdgh, tmp, 8);     // HGFE
    std::memcpy(state, &abef, 16);
    std::memcpy(state + 4, &cdgh, 16);
}
#endif

void hashBlocks(std::uint32_t* state, const unsigned char* data, std::size_t count) {
#ifdef ORV_SHA_NI
    static const bool fast = haveShaExtensions();
    if (fast) {
        shaNiBlocks(state, data, count);
        return;
    }
#endif
    portableBlocks(state, data, count);
}

}  // namespace

Sha256::Sha256(bool portable)
    : portable_(portable), state_{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                  0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19} {}

void Sha256::blocks(const unsigned char* data, std::size_t count) {
    if (portable_) {
        portableBlocks(state_.data(), data, count);
    } else {
        hashBlocks(state_.data(), data, count);
    }
}

void Sha256::update(std::string_view data) {
    const auto* p = reinterpret_cast<const unsigned char*>(data.data());
    std::size_t n = data.size();
    length_ += n;
    if (buffered_ > 0) {
        const std::size_t take = std::min(n, 64 - buffered_);
        std::memcpy(buffer_.data() + buffered_, p, take);
        buffered_ += take, p += take, n -= take;
        if (buffered_ < 64) return;
        blocks(buffer_.data(), 1);
        buffered_ = 0;
    }
    blocks(p, n / 64);
    p += n / 64 * 64;
    n %= 64;
    std::memcpy(buffer_.data(), p, n);
    buffered_ = n;
}

std::string Sha256::hex() {
    const std::uint64_t bits = length_ * 8;
    unsigned char pad[128] = {0x80};
    const std::size_t padLength = (buffered_ < 56 ? 56 : 120) - buffered_;
    for (int i = 0; i < 8; ++i)
        pad[padLength + i] = static_cast<unsigned char>(bits >> (56 - 8 * i));
    update(std::string_view(reinterpret_cast<const char*>(pad), padLength + 8));
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string out;
    for (const std::uint32_t word : state_) {
        for (int shift = 28; shift >= 0; shift -= 4) out += kDigits[(word >> shift) & 0xF];
    }
    return out;
}

std::string sha256Hex(std::string_view data) {
    Sha256 hash;
    hash.update(data);
    return hash.hex();
}

}  // namespace orv
