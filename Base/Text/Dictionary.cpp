// The process-ending failures of Dictionary: a fixed message on standard error, then std::abort.
#include "Base/Text/Dictionary.h"

#include "Base/Text/Platform/RandomPlatform.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace QELTA {

namespace {

constexpr char missing_key_message[] = "Couldn't find key.";
constexpr char table_too_large_message[] = "The hash table exceeds its maximum size.";
constexpr char too_many_buckets_message[] = "The map exceeds its maximum bucket count.";

// std::abort rather than exit: no handler or static destructor runs on the broken state, and
// the abort signal leaves a core dump with the stack of the failing call.
[[noreturn]] void WriteAndAbort(char const * message) noexcept {
    std::fputs(message, stderr);
    std::fputs("\n", stderr);
    std::fflush(stderr);
    std::abort();
}

// The secret key of DictionarySecretHash, drawn once per process.
struct SecretKey {
    std::uint64_t start;
    std::uint64_t multiplier;
};

SecretKey const & Secret() noexcept {
    static SecretKey const key = [] {
        SecretKey drawn{};
        RandomPlatform::FillRandom(reinterpret_cast<unsigned char *>(&drawn), sizeof(drawn));
        drawn.multiplier |= 1; // odd, so that no word is multiplied away
        return drawn;
    }();
    return key;
}

// The full 128-bit product, folded to 64 bits: every input bit reaches every output bit.
std::uint64_t Fold(std::uint64_t a, std::uint64_t b) noexcept {
    __extension__ using Wide = unsigned __int128;
    Wide const product = static_cast<Wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

} // namespace

std::uint64_t DictionarySecretHash(void const * bytes, std::size_t size, std::uint64_t chain) noexcept {
    constexpr std::uint64_t spread = 0x9E3779B97F4A7C15ULL;
    SecretKey const & key = Secret();
    unsigned char const * data = static_cast<unsigned char const *>(bytes);
    std::uint64_t hash = Fold(chain ^ key.start, spread ^ static_cast<std::uint64_t>(size));
    for (; size >= 8; size -= 8, data += 8) {
        std::uint64_t word;
        std::memcpy(&word, data, 8);
        hash = Fold(hash ^ word, key.multiplier);
    }
    std::uint64_t tail = 0;
    std::memcpy(&tail, data, size);
    return Fold(hash ^ tail, key.multiplier ^ spread);
}

void DictionaryFailure::MissingKey() noexcept {
    WriteAndAbort(missing_key_message);
}

void DictionaryFailure::TableTooLarge() noexcept {
    WriteAndAbort(table_too_large_message);
}

void DictionaryFailure::TooManyBuckets() noexcept {
    WriteAndAbort(too_many_buckets_message);
}

} // namespace QELTA
