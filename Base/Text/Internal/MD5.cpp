// MD5 as RFC 1321 describes it: 64-byte blocks, four rounds of sixteen steps, little-endian words.
#include "Base/Text/Internal/MD5.h"

#include <cstring>

namespace QELTA {

namespace {

constexpr std::uint32_t RotateLeft(std::uint32_t value, unsigned int count) noexcept {
    return (value << count) | (value >> (32 - count));
}

// The sine table: floor(abs(sin(i + 1)) * 2^32).
constexpr std::uint32_t sine_table[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// The rotation of each step, four per round.
constexpr unsigned int shifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

} // namespace

MD5::MD5() noexcept
    : state_{0x67452301u, 0xefcdab89u, 0x98badcfeu, 0x10325476u}, length_(0), pending_{}, pending_size_(0) {}

void MD5::transform(unsigned char const * block) noexcept {
    std::uint32_t words[16];
    for (unsigned int i = 0; i < 16; ++i) {
        words[i] = std::uint32_t(block[i * 4]) | (std::uint32_t(block[i * 4 + 1]) << 8) |
                   (std::uint32_t(block[i * 4 + 2]) << 16) | (std::uint32_t(block[i * 4 + 3]) << 24);
    }
    std::uint32_t a = state_[0];
    std::uint32_t b = state_[1];
    std::uint32_t c = state_[2];
    std::uint32_t d = state_[3];
    for (unsigned int step = 0; step < 64; ++step) {
        unsigned int const round = step / 16;
        std::uint32_t mixed;
        unsigned int word;
        switch (round) {
        case 0:
            mixed = (b & c) | (~b & d);
            word = step;
            break;
        case 1:
            mixed = (d & b) | (~d & c);
            word = (5 * step + 1) % 16;
            break;
        case 2:
            mixed = b ^ c ^ d;
            word = (3 * step + 5) % 16;
            break;
        default:
            mixed = c ^ (b | ~d);
            word = (7 * step) % 16;
            break;
        }
        std::uint32_t const next = b + RotateLeft(a + mixed + sine_table[step] + words[word], shifts[round][step % 4]);
        a = d;
        d = c;
        c = b;
        b = next;
    }
    state_[0] += a;
    state_[1] += b;
    state_[2] += c;
    state_[3] += d;
}

void MD5::update(void const * bytes, std::size_t size) noexcept {
    if (size == 0) {
        return; // `bytes` may be null then
    }
    unsigned char const * in = static_cast<unsigned char const *>(bytes);
    length_ += size;
    if (pending_size_ != 0) {
        std::size_t const take = size < 64 - pending_size_ ? size : 64 - pending_size_;
        std::memcpy(pending_ + pending_size_, in, take);
        pending_size_ += take;
        in += take;
        size -= take;
        if (pending_size_ < 64) {
            return;
        }
        transform(pending_);
        pending_size_ = 0;
    }
    for (; size >= 64; in += 64, size -= 64) {
        transform(in);
    }
    if (size != 0) {
        std::memcpy(pending_, in, size);
        pending_size_ = size;
    }
}

MD5::Digest MD5::finish() noexcept {
    std::uint64_t const bits = length_ * 8;
    unsigned char padding[72] = {0x80};
    std::size_t const pad_size = (pending_size_ < 56 ? 56 : 120) - pending_size_;
    update(padding, pad_size);
    unsigned char length_bytes[8];
    for (unsigned int i = 0; i < 8; ++i) {
        length_bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
    }
    update(length_bytes, 8);
    Digest digest;
    for (unsigned int i = 0; i < 16; ++i) {
        digest.bytes[i] = static_cast<unsigned char>(state_[i / 4] >> (8 * (i % 4)));
    }
    return digest;
}

MD5::Digest MD5::Compute(void const * bytes, std::size_t size) noexcept {
    MD5 md5;
    md5.update(bytes, size);
    return md5.finish();
}

} // namespace QELTA
