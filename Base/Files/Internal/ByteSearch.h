// ByteSearch: the search for one byte in the short runs between delimiters and line ends.
//
// Plain functions on the caller's bytes; no state, no failure. Eight bytes are tested at a time
// (a word-wise zero-byte test), which beats a call of memchr on the runs of a few dozen bytes
// that lines and fields have.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

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

} // namespace QELTA::Internal
