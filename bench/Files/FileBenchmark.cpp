// File construction (normalisation and the split into parts) per path, beside the standard
// library's lexical normalisation of the same generated paths.
#include "Base/Files/File.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace QELTA {
namespace {

constexpr std::size_t path_count = 1024;

// Paths of 2 to 8 pieces with mixed and doubled separators, some '.' pieces and extensions, from
// a fixed seed so that both sides see the same input.
std::vector<std::string> const & Paths() {
    static std::vector<std::string> const paths = [] {
        std::mt19937 random(1234);
        std::uniform_int_distribution<int> pieces(2, 8);
        std::uniform_int_distribution<int> length(1, 12);
        std::uniform_int_distribution<int> letter('a', 'z');
        std::uniform_int_distribution<int> choice(0, 9);
        std::vector<std::string> out;
        for (std::size_t i = 0; i < path_count; ++i) {
            std::string path = choice(random) < 5 ? "/home/user" : "C:";
            int const count = pieces(random);
            for (int piece = 0; piece < count; ++piece) {
                path += choice(random) < 2 ? "//" : (choice(random) < 5 ? "/" : "\\");
                if (choice(random) == 0) {
                    path += '.';
                    continue;
                }
                int const size = length(random);
                for (int c = 0; c < size; ++c) {
                    path += static_cast<char>(letter(random));
                }
            }
            path += choice(random) < 7 ? ".txt" : "/";
            out.push_back(path);
        }
        return out;
    }();
    return paths;
}

void FilePathQELTA(benchmark::State & state) {
    std::vector<String> inputs;
    for (std::string const & path : Paths()) {
        inputs.emplace_back(path);
    }
    std::size_t index = 0;
    for (auto _ : state) {
        File const file(inputs[index]);
        benchmark::DoNotOptimize(file.getPath(File::NAME).data());
        index = (index + 1) % path_count;
    }
}

void FilePathStd(benchmark::State & state) {
    std::size_t index = 0;
    for (auto _ : state) {
        std::filesystem::path const path = std::filesystem::path(Paths()[index]).lexically_normal();
        benchmark::DoNotOptimize(path.native().data());
        benchmark::DoNotOptimize(path.stem().native().data());
        index = (index + 1) % path_count;
    }
}

BENCHMARK(FilePathQELTA)->Name("FilePath/QELTA");
BENCHMARK(FilePathStd)->Name("FilePath/std::filesystem");

} // namespace
} // namespace QELTA
