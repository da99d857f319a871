// Block compression: Compressor::CompressData and DecompressData on 64 KiB blocks of text and
// numbers beside zlib's own compress2 (level 1) and uncompress on the same bytes, and beside
// libdeflate at level 1 as a yardstick of what the machine can do.
#include "Base/Files/Compressor.h"

#include <benchmark/benchmark.h>
#include <zlib.h>

#if defined(QELTA_HAVE_LIBDEFLATE)
#include <libdeflate.h>
#endif

#include <random>
#include <string>
#include <vector>

namespace QELTA {
namespace {

constexpr std::size_t block_size = 64 * 1024;
constexpr std::size_t block_count = 64;

using Bytes = std::vector<unsigned char>;

// A table written as text: words, integers and decimals, from a fixed seed.
struct Blocks {
    std::vector<Bytes> plain;
    std::vector<Bytes> packed;

    Blocks() {
        std::mt19937 random(1234);
        for (std::size_t b = 0; b < block_count; ++b) {
            std::string text;
            while (text.size() < block_size) {
                text += "sensor_" + std::to_string(random() % 64) + "\t" + std::to_string(random() % 100000) + "." +
                        std::to_string(random() % 1000) + "\t" + (random() % 3 == 0 ? "ok" : "drift") + "\n";
            }
            plain.emplace_back(text.begin(), text.begin() + block_size);
            Bytes out(compressBound(block_size));
            uLongf size = out.size();
            compress2(out.data(), &size, plain.back().data(), block_size, 1);
            out.resize(size);
            packed.push_back(std::move(out));
        }
    }
};

Blocks const & Data() {
    static Blocks const blocks;
    return blocks;
}

void Count(benchmark::State & state) {
    state.SetBytesProcessed(static_cast<long long>(state.iterations() * block_size * block_count));
}

void CompressQELTA(benchmark::State & state) {
    Blocks const & blocks = Data();
    Bytes out(block_size);
    for (auto _ : state) {
        for (Bytes const & plain : blocks.plain) {
            BinaryCompressionObject object;
            object.compression_mode = BEST_SPEED;
            object.uncompressed_data = const_cast<unsigned char *>(plain.data());
            object.uncompressed_size = plain.size();
            object.compressed_data = out.data();
            object.compressed_size = out.size();
            Compressor::CompressData(object);
            benchmark::DoNotOptimize(object.compressed_size);
        }
    }
    Count(state);
}

void CompressZLib(benchmark::State & state) {
    Blocks const & blocks = Data();
    Bytes out(block_size);
    for (auto _ : state) {
        for (Bytes const & plain : blocks.plain) {
            uLongf size = out.size();
            benchmark::DoNotOptimize(compress2(out.data(), &size, plain.data(), plain.size(), 1));
        }
    }
    Count(state);
}

void DecompressQELTA(benchmark::State & state) {
    Blocks const & blocks = Data();
    Bytes out(block_size);
    for (auto _ : state) {
        for (Bytes const & packed : blocks.packed) {
            BinaryCompressionObject object;
            object.compression_mode = BEST_SPEED;
            object.uncompressed_data = out.data();
            object.uncompressed_size = out.size();
            object.compressed_data = const_cast<unsigned char *>(packed.data());
            object.compressed_size = packed.size();
            Compressor::DecompressData(object);
            benchmark::DoNotOptimize(out.data());
        }
    }
    Count(state);
}

void DecompressZLib(benchmark::State & state) {
    Blocks const & blocks = Data();
    Bytes out(block_size);
    for (auto _ : state) {
        for (Bytes const & packed : blocks.packed) {
            uLongf size = out.size();
            benchmark::DoNotOptimize(uncompress(out.data(), &size, packed.data(), packed.size()));
        }
    }
    Count(state);
}

BENCHMARK(CompressQELTA)->Name("CompressBlocks/QELTA")->Unit(benchmark::kMillisecond);
BENCHMARK(CompressZLib)->Name("CompressBlocks/zlib-compress2")->Unit(benchmark::kMillisecond);
BENCHMARK(DecompressQELTA)->Name("DecompressBlocks/QELTA")->Unit(benchmark::kMillisecond);
BENCHMARK(DecompressZLib)->Name("DecompressBlocks/zlib-uncompress")->Unit(benchmark::kMillisecond);

#if defined(QELTA_HAVE_LIBDEFLATE)
void CompressLibDeflate(benchmark::State & state) {
    Blocks const & blocks = Data();
    Bytes out(block_size);
    libdeflate_compressor * const compressor = libdeflate_alloc_compressor(1);
    for (auto _ : state) {
        for (Bytes const & plain : blocks.plain) {
            benchmark::DoNotOptimize(
                libdeflate_zlib_compress(compressor, plain.data(), plain.size(), out.data(), out.size()));
        }
    }
    libdeflate_free_compressor(compressor);
    Count(state);
}

void DecompressLibDeflate(benchmark::State & state) {
    Blocks const & blocks = Data();
    Bytes out(block_size);
    libdeflate_decompressor * const decompressor = libdeflate_alloc_decompressor();
    for (auto _ : state) {
        for (Bytes const & packed : blocks.packed) {
            benchmark::DoNotOptimize(libdeflate_zlib_decompress(decompressor, packed.data(), packed.size(), out.data(),
                                                                out.size(), nullptr));
        }
    }
    libdeflate_free_decompressor(decompressor);
    Count(state);
}

BENCHMARK(CompressLibDeflate)->Name("CompressBlocks/libdeflate")->Unit(benchmark::kMillisecond);
BENCHMARK(DecompressLibDeflate)->Name("DecompressBlocks/libdeflate")->Unit(benchmark::kMillisecond);
#endif

} // namespace
} // namespace QELTA
