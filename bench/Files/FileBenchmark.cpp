// File construction (normalisation and the split into parts) per path, beside the standard
// library's lexical normalisation of the same generated paths; and the listing of a folder of
// 10 000 files with the size and times of each, beside a directory iterator that asks for the
// status of each entry; and the copy of a 256 MB file beside cp and the standard library's copy.
#include "Base/Files/File.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
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

constexpr std::size_t listed_files = 10000;
constexpr char listed_folder[] = "/tmp/qelta-bench-list10k";

// The folder of listed_files small files, made on the first run and kept for later ones.
std::string const & ListedFolder() {
    static std::string const folder = [] {
        std::filesystem::create_directories(listed_folder);
        std::error_code ignored;
        std::size_t present = 0;
        for (auto it = std::filesystem::directory_iterator(listed_folder, ignored);
             it != std::filesystem::directory_iterator(); ++it) {
            ++present;
        }
        if (present != listed_files) {
            std::filesystem::remove_all(listed_folder, ignored);
            std::filesystem::create_directories(listed_folder);
            for (std::size_t i = 0; i < listed_files; ++i) {
                std::ofstream(std::string(listed_folder) + "/file" + std::to_string(i) + ".txt")
                    << std::string(i % 100, 'x');
            }
        }
        return std::string(listed_folder) + "/";
    }();
    return folder;
}

void ListFolderQELTA(benchmark::State & state) {
    File const folder{String(ListedFolder())};
    for (auto _ : state) {
        FileBuffer const children = folder.getChildren();
        unsigned long long bytes = 0;
        for (File const & child : children) {
            bytes += child.fileSize(); // from the listing's cache
        }
        benchmark::DoNotOptimize(bytes);
        if (children.size() != listed_files) {
            state.SkipWithError("wrong count");
        }
    }
}

void ListFolderStd(benchmark::State & state) {
    std::string const folder = ListedFolder();
    for (auto _ : state) {
        std::vector<std::filesystem::directory_entry> children;
        std::size_t regular = 0;
        for (std::filesystem::directory_entry const & entry : std::filesystem::directory_iterator(folder)) {
            regular += std::filesystem::is_regular_file(entry.status()) ? 1 : 0;
            children.push_back(entry);
        }
        benchmark::DoNotOptimize(regular);
        if (children.size() != listed_files) {
            state.SkipWithError("wrong count");
        }
    }
}

constexpr unsigned long long copied_bytes = 256ull << 20;
constexpr char copy_folder[] = "/tmp/qelta-bench-copy";

// A file of copied_bytes generated bytes, made on the first run and kept for later ones.
std::string const & CopySource() {
    static std::string const source = [] {
        std::string const path = std::string(copy_folder) + "/source.bin";
        std::filesystem::create_directories(copy_folder);
        std::error_code ignored;
        if (std::filesystem::file_size(path, ignored) != copied_bytes) {
            std::mt19937_64 random(1234);
            std::vector<std::uint64_t> block((1 << 20) / sizeof(std::uint64_t));
            std::ofstream out(path, std::ios::binary | std::ios::trunc);
            for (unsigned long long written = 0; written < copied_bytes; written += 1 << 20) {
                for (std::uint64_t & word : block) {
                    word = random();
                }
                out.write(reinterpret_cast<char const *>(block.data()), 1 << 20);
            }
        }
        return path;
    }();
    return source;
}

// Runs `copy` once an iteration onto a target removed beforehand, outside the timing.
template <class Copy>
void TimeCopies(benchmark::State & state, Copy copy) {
    std::string const source = CopySource();
    std::string const target = std::string(copy_folder) + "/target.bin";
    for (auto _ : state) {
        state.PauseTiming();
        std::filesystem::remove(target);
        state.ResumeTiming();
        copy(source, target);
        state.PauseTiming();
        if (std::filesystem::file_size(target) != copied_bytes) {
            state.SkipWithError("incomplete copy");
        }
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * copied_bytes));
}

void FileCopyQELTA(benchmark::State & state) {
    TimeCopies(state, [](std::string const & source, std::string const & target) {
        File(String(source)).copyTo(File(String(target)), true, LogPtr());
    });
}

void FileCopyCp(benchmark::State & state) {
    TimeCopies(state, [&state](std::string const & source, std::string const & target) {
        if (std::system(("cp " + source + " " + target).c_str()) != 0) {
            state.SkipWithError("cp failed");
        }
    });
}

void FileCopyStd(benchmark::State & state) {
    TimeCopies(state, [](std::string const & source, std::string const & target) {
        std::filesystem::copy_file(source, target, std::filesystem::copy_options::overwrite_existing);
    });
}

BENCHMARK(FilePathQELTA)->Name("FilePath/QELTA");
BENCHMARK(FilePathStd)->Name("FilePath/std::filesystem");
BENCHMARK(ListFolderQELTA)->Name("ListFolder10k/QELTA")->Unit(benchmark::kMillisecond);
BENCHMARK(ListFolderStd)->Name("ListFolder10k/std::filesystem")->Unit(benchmark::kMillisecond);

BENCHMARK(FileCopyQELTA)->Name("FileCopy256MB/QELTA")->Iterations(3)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(FileCopyCp)->Name("FileCopy256MB/cp")->Iterations(3)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(FileCopyStd)
    ->Name("FileCopy256MB/std::filesystem")
    ->Iterations(3)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
} // namespace QELTA
