// Delimited text: BufferedScanner reading the typed fields of a generated CSV file (ints,
// doubles, quoted text with delimiters inside, booleans) beside a hand loop of memchr and
// std::from_chars and beside std::getline with strtod; and Scanner walking the lines of the same
// file beside std::getline. The file has 100 MB and is read from the page cache.
#include "Base/Files/BufferedScanner.h"
#include "Base/Files/Scanner.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace QELTA {
namespace {

constexpr std::size_t csv_bytes = 100u << 20;

// The generated file, written once from a fixed seed and removed at exit.
struct CsvFile {
    std::string path;

    CsvFile() : path((std::filesystem::temp_directory_path() / "qelta-scanner-benchmark.csv").string()) {
        std::mt19937 random(4711);
        std::uniform_int_distribution<int> integer(-1000000, 1000000);
        std::uniform_int_distribution<int> thousandths(-10000000, 10000000);
        std::uniform_int_distribution<int> letter('a', 'z');
        std::uniform_int_distribution<int> length(0, 16);
        std::string content;
        content.reserve(csv_bytes + 256);
        char number[32];
        while (content.size() < csv_bytes) {
            content += std::to_string(integer(random));
            content += ',';
            auto const end = std::to_chars(number, number + sizeof number, thousandths(random) / 1000.0);
            content.append(number, end.ptr);
            content += ",\"";
            int const size = length(random);
            for (int i = 0; i < size; ++i) {
                content += i % 6 == 5 ? ',' : static_cast<char>(letter(random));
            }
            content += "\",";
            content += random() % 2 == 0 ? 'T' : 'F';
            content += '\n';
        }
        std::ofstream(path, std::ios::binary) << content;
    }
    ~CsvFile() {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
};

CsvFile const & Csv() {
    static CsvFile const file;
    return file;
}

// What every CSV reader adds up, so that no field read can be left out.
struct Totals {
    long long integers = 0;
    double reals = 0.0;
    std::size_t text = 0;
    long long flags = 0;
};

void Report(benchmark::State & state, Totals const & totals) {
    benchmark::DoNotOptimize(totals.integers);
    benchmark::DoNotOptimize(totals.reals);
    benchmark::DoNotOptimize(totals.text);
    benchmark::DoNotOptimize(totals.flags);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * std::filesystem::file_size(Csv().path)));
}

void CsvReadQELTA(benchmark::State & state) {
    File const file{String(Csv().path)};
    Totals totals;
    for (auto _ : state) {
        BufferedScanner scanner(file, ',', File::READ_BINARY);
        scanner.setQuoteCharacter('"');
        while (scanner.nextLine()) {
            totals.integers += scanner.getNext<int>();
            totals.reals += scanner.getNext<double>();
            totals.text += scanner.getNext().size();
            totals.flags += scanner.getNext<bool>();
        }
    }
    Report(state, totals);
}

std::string ReadWhole(std::string const & path) {
    std::string bytes;
    std::FILE * const stream = std::fopen(path.c_str(), "rb");
    if (stream == nullptr) {
        return bytes;
    }
    bytes.resize(std::filesystem::file_size(path));
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), stream));
    std::fclose(stream);
    return bytes;
}

void CsvReadMemchr(benchmark::State & state) {
    Totals totals;
    for (auto _ : state) {
        std::string const bytes = ReadWhole(Csv().path);
        char const * line = bytes.data();
        char const * const end = line + bytes.size();
        while (line < end) {
            auto const * newline =
                static_cast<char const *>(std::memchr(line, '\n', static_cast<std::size_t>(end - line)));
            char const * const stop = newline == nullptr ? end : newline;
            int integer = 0;
            char const * p = std::from_chars(line, stop, integer).ptr + 1;
            double real = 0.0;
            p = std::from_chars(p, stop, real).ptr + 1;
            char const * const text_end =
                static_cast<char const *>(std::memchr(p + 1, '"', static_cast<std::size_t>(stop - p - 1)));
            totals.text += static_cast<std::size_t>(text_end - p - 1);
            p = text_end + 2;
            totals.integers += integer;
            totals.reals += real;
            totals.flags += *p == 'T';
            line = stop + 1;
        }
    }
    Report(state, totals);
}

void CsvReadGetline(benchmark::State & state) {
    Totals totals;
    for (auto _ : state) {
        std::ifstream in(Csv().path, std::ios::binary);
        std::string line;
        while (std::getline(in, line)) {
            char * p = nullptr;
            totals.integers += std::strtol(line.c_str(), &p, 10);
            totals.reals += std::strtod(p + 1, &p);
            std::size_t const open = static_cast<std::size_t>(p + 1 - line.c_str());
            std::size_t const close = line.find('"', open + 1);
            totals.text += close - open - 1;
            totals.flags += line[close + 2] == 'T';
        }
    }
    Report(state, totals);
}

void ScanLinesQELTA(benchmark::State & state) {
    File const file{String(Csv().path)};
    std::size_t total = 0;
    for (auto _ : state) {
        Scanner scanner(file, ',', File::READ_BINARY);
        while (scanner.nextLine()) {
            total += scanner.getLineLength();
        }
    }
    benchmark::DoNotOptimize(total);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * std::filesystem::file_size(Csv().path)));
}

void ScanLinesGetline(benchmark::State & state) {
    std::size_t total = 0;
    for (auto _ : state) {
        std::ifstream in(Csv().path, std::ios::binary);
        std::string line;
        while (std::getline(in, line)) {
            total += line.size();
        }
    }
    benchmark::DoNotOptimize(total);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * std::filesystem::file_size(Csv().path)));
}

BENCHMARK(CsvReadQELTA)->Name("CsvRead/QELTA")->Unit(benchmark::kMillisecond);
BENCHMARK(CsvReadMemchr)->Name("CsvRead/memchr+from_chars")->Unit(benchmark::kMillisecond);
BENCHMARK(CsvReadGetline)->Name("CsvRead/getline+strtod")->Unit(benchmark::kMillisecond);
BENCHMARK(ScanLinesQELTA)->Name("ScanLines/QELTA")->Unit(benchmark::kMillisecond);
BENCHMARK(ScanLinesGetline)->Name("ScanLines/getline")->Unit(benchmark::kMillisecond);

} // namespace
} // namespace QELTA
