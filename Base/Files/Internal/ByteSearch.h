// ByteSearch: the search for one byte in the short runs between delimiters and line ends, and
// the masks of one byte's places that a long text is indexed with.
//
// Plain functions on the caller's bytes; no state, no failure. Eight bytes are tested at a time
// (a word-wise zero-byte test), which beats a call of memchr on the runs of a few dozen bytes
// that lines and fields have.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace QELTA::Internal {

// The first byte equal to `byte` in [begin, end), or `end`.
inline char const * FindByte(char const * begin, char const * end, char byte) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
        constexpr std::uint64_t ones = 0x0101010101010101ull;
        std::uint64_t const pattern = ones * static_cast<unsigned char>(byte);
        while (end - begin >= 8) {
            std::uint64_t word = 0;
            std::memcpy(&word, begin, sizeof word);
            word ^= pattern;
            // The lowest marked byte is the first zero byte; marks above it may be false.
            std::uint64_t const marks = (word - ones) & ~word & (ones << 7);
            if (marks != 0) {
                return begin + (std::countr_zero(marks) >> 3);
            }
            begin += 8;
        }
    }
    while (begin < end && *begin != byte) {
        ++begin;
    }
    return begin;
}

// ByteMask64 and ByteMask64Words: bit i of the result is set when p[i] equals `byte`, for i
// from 0 to 63; the 64 bytes at `p` must be readable. ByteMask64 uses the vector unit where the
// machine always has one and is ByteMask64Words elsewhere; both give the same bits.
inline std::uint64_t ByteMask64Words(char const * p, char byte) noexcept {
    constexpr std::uint64_t ones = 0x0101010101010101ull;
    constexpr std::uint64_t low_bits = ones * 0x7F;
    // Moves bit 8k of a word to bit 56 + k; the partial products never meet, so nothing carries.
    constexpr std::uint64_t gather = 0x0102040810204080ull;
    std::uint64_t const pattern = ones * static_cast<unsigned char>(byte);
    std::uint64_t mask = 0;
    for (unsigned int i = 0; i < 8; ++i) {
        std::uint64_t word = 0;
        std::memcpy(&word, p + 8 * i, sizeof word);
        if constexpr (std::endian::native == std::endian::big) {
            word = __builtin_bswap64(word);
        }
        word ^= pattern;
        // Exact: the high bit of each zero byte and of no other.
        std::uint64_t const marks = ~(((word & low_bits) + low_bits) | word | low_bits);
        mask |= (((marks >> 7) * gather) >> 56) << (8 * i);
    }
    return mask;
}

inline std::uint64_t ByteMask64(char const * p, char byte) noexcept {
#if defined(__SSE2__)
    __m128i const pattern = _mm_set1_epi8(byte);
    std::uint64_t mask = 0;
    for (unsigned int i = 0; i < 4; ++i) {
        __m128i const chunk = _mm_loadu_si128(reinterpret_cast<__m128i const *>(p + 16 * i));
        auto const bits = static_cast<unsigned int>(_mm_movemask_epi8(_mm_cmpeq_epi8(chunk, pattern)));
        mask |= static_cast<std::uint64_t>(bits) << (16 * i);
    }
    return mask;
#else
    return ByteMask64Words(p, byte);
#endif
}

} // namespace QELTA::Internal
