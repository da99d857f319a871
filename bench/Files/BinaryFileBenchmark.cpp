// Deferred blocks: reading a memory-mode container of 4096 deflated blocks of 64 KiB (256 MiB of
// text and numbers) and decompressing them with uncompressAll on two threads beside one thread,
// and on one thread beside a plain loop of zlib's uncompress over the same streams.
#include "Base/Files/BinaryFile.h"

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <random>
#include <string>
#include <vector>

namespace QELTA {
namespace {

constexpr unsigned int block_size = 64 * 1024;
constexpr unsigned int block_count = 4096;
// The bytes in front of each stream: count, size plus one and the mode byte.
constexpr unsigned int header_size = 9;

struct Container {
    BinaryFile file;
    std::vector<String> targets;
    // Where each stream lies in the image, for the plain loop.
    std::vector<std::pair<unsigned long long, unsigned long long>> streams;

    Container() : targets(block_count) {
        std::mt19937 random(99);
        BinaryFile writer;
        writer.cachedOpen(false);
        std::string text;
        for (unsigned int b = 0; b < block_count; ++b) {
            text.clear();
            while (text.size() < block_size) {
                text += "t=" + std::to_string(random() % 86400) + "\tch" + std::to_string(random() % 32) + "\t" +
                        std::to_string(random() % 1000000) + "e-3\tstatus " + (random() % 5 == 0 ? "warn" : "ok") +
                        "\n";
            }
            unsigned long long const start = writer.position();
            writer.write(String(text.data(), block_size), BEST_SPEED);
            streams.emplace_back(start + header_size, writer.position() - start - header_size);
        }
        file = BinaryFile(writer.cachedData());
    }

    // Reads every block, deferring each, and decompresses them all.
    void read() {
        file.seek(0);
        for (String & target : targets) {
            bool may_defer = true;
            file.read(target, may_defer);
        }
        file.uncompressAll();
    }
};

Container & Data() {
    static Container container;
    return container;
}

void Count(benchmark::State & state) {
    state.SetBytesProcessed(static_cast<long long>(state.iterations()) * block_size * block_count);
}

void ReadWithThreads(benchmark::State & state, unsigned int threads) {
    Container & container = Data();
    BinaryFile::SetDecompressionThreads(threads);
    for (auto _ : state) {
        container.read();
        benchmark::DoNotOptimize(container.targets.back().data());
    }
    BinaryFile::SetDecompressionThreads(0);
    Count(state);
}

void UncompressAllTwoThreads(benchmark::State & state) {
    ReadWithThreads(state, 2);
}

void UncompressAllOneThread(benchmark::State & state) {
    ReadWithThreads(state, 1);
}

void UncompressLoop(benchmark::State & state) {
    Container & container = Data();
    unsigned char const * const image = container.file.cachedData().data();
    for (auto _ : state) {
        for (unsigned int b = 0; b < block_count; ++b) {
            uLongf size = block_size;
            uncompress(reinterpret_cast<unsigned char *>(container.targets[b].data()), &size,
                       image + container.streams[b].first, container.streams[b].second);
        }
        benchmark::DoNotOptimize(container.targets.back().data());
    }
    Count(state);
}

BENCHMARK(UncompressAllTwoThreads)->Name("UncompressAll/QELTA")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(UncompressAllOneThread)->Name("UncompressAll/QELTA-1-thread")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(UncompressAllOneThread)->Name("UncompressAllSerial/QELTA")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(UncompressLoop)
    ->Name("UncompressAllSerial/zlib-uncompress-loop")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

} // namespace
} // namespace QELTA
