// Derived ids: appendUUID chains beside a plain MD5 of the same bytes.
#include "Base/Text/Internal/MD5.h"
#include "Base/Text/UUID.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace QELTA {
namespace {

constexpr int chain_length = 64;

// Each step digests the previous id and one 4-byte value, as an object id chain does.
void AppendChain(benchmark::State & state) {
    UUID const base = UUID::CreateUUID(StringView("benchmark"));
    for (auto _ : state) {
        UUID id = base;
        for (int i = 0; i < chain_length; ++i) {
            id = id.appendUUID(i);
        }
        benchmark::DoNotOptimize(id.bytes);
    }
    state.SetItemsProcessed(state.iterations() * chain_length);
}

void PlainMD5Chain(benchmark::State & state) {
    UUID const base = UUID::CreateUUID(StringView("benchmark"));
    for (auto _ : state) {
        unsigned char block[20];
        std::memcpy(block, base.bytes, 16);
        for (int i = 0; i < chain_length; ++i) {
            unsigned int const value = static_cast<unsigned int>(i);
            for (int b = 0; b < 4; ++b) {
                block[16 + b] = static_cast<unsigned char>(value >> (8 * b));
            }
            MD5::Digest const digest = MD5::Compute(block, sizeof(block));
            std::memcpy(block, digest.bytes, 16);
        }
        benchmark::DoNotOptimize(block);
    }
    state.SetItemsProcessed(state.iterations() * chain_length);
}

[[maybe_unused]] bool const registered = [] {
    benchmark::RegisterBenchmark("AppendUUIDChain/QELTA", AppendChain);
    benchmark::RegisterBenchmark("AppendUUIDChain/plain MD5", PlainMD5Chain);
    return true;
}();

} // namespace
} // namespace QELTA
