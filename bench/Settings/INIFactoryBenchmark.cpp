// Settings files of 10 000 options: reading the ascii form into typed options beside inih parsing
// the same text into a hash map, reading the binary twin beside the ascii read, and saving.
#include "Base/Files/File.h"
#include "Base/Settings/INIFactory.h"

#include <benchmark/benchmark.h>

#if defined(QELTA_HAVE_INIH)
#include <ini.h>
#endif

#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <unistd.h>
#include <unordered_map>
#include <vector>

namespace QELTA {
namespace {

constexpr int option_count = 10000;

// Ten thousand options of four kinds, as an application's settings hold them.
struct Settings {
    std::vector<unsigned int> numbers;
    std::vector<char> flags; // bool, without std::vector<bool>'s packing
    std::vector<String> texts;
    std::vector<Time> times;

    Settings() : numbers(option_count / 4), flags(option_count / 4), texts(option_count / 4), times(option_count / 4) {
        std::mt19937 random(42);
        for (int i = 0; i < option_count / 4; ++i) {
            numbers[i] = static_cast<unsigned int>(random());
            flags[i] = static_cast<char>(random() % 2);
            std::string text = "value " + std::to_string(random() % 100000) + " of setting " + std::to_string(i);
            if (i % 8 == 0) {
                text += " with a=b and a tab\there";
            }
            texts[i] = String(text.c_str());
            times[i] = Time(1700000000000000000ull + random() % 1000000 * 1000000000ull);
        }
    }

    static std::string Label(char const * kind, int index) {
        return std::string("section_") + std::to_string(index % 37) + "-" + kind + "_" + std::to_string(index);
    }

    // The labels, made once: an application names its options with literals.
    static std::vector<std::string> const & Labels() {
        static std::vector<std::string> const labels = [] {
            std::vector<std::string> made;
            for (int i = 0; i < option_count / 4; ++i) {
                for (char const * kind : {"number", "flag", "text", "time"}) {
                    made.push_back(Label(kind, i));
                }
            }
            return made;
        }();
        return labels;
    }

    void addTo(INIFactory & factory) {
        std::vector<std::string> const & labels = Labels();
        for (int i = 0; i < option_count / 4; ++i) {
            std::string const * const label = &labels[4 * static_cast<std::size_t>(i)];
            factory.addINIOption(StringView(label[0]), new INIFactory::INIObject<unsigned int>(&numbers[i]));
            factory.addINIOption(StringView(label[1]),
                                 new INIFactory::INIObject<bool>(reinterpret_cast<bool *>(&flags[i])));
            factory.addINIOption(StringView(label[2]), new INIFactory::INIObject<String>(&texts[i]));
            factory.addINIOption(StringView(label[3]), new INIFactory::INIObject<Time>(&times[i]));
        }
    }
};

std::string const & Folder() {
    static std::string const folder = [] {
        std::string path = (std::filesystem::temp_directory_path() / ("qelta-ini-bench-" + std::to_string(getpid())))
                               .string();
        std::filesystem::create_directories(path);
        return path;
    }();
    return folder;
}

File LibraryFile(std::string const & name) {
    return File(String((Folder() + "/" + name).c_str()));
}

// The files every read benchmark reads, written once.
void WriteFiles() {
    static bool const written = [] {
        Settings settings;
        INIFactory factory;
        settings.addTo(factory);
        File ascii = LibraryFile("settings.ini");
        File binary = LibraryFile("settings.inib");
        factory.writeToAsciiFile(ascii, false);
        factory.writeToBinaryFile(binary);
        return true;
    }();
    (void)written;
}

void ReadAsciiQELTA(benchmark::State & state) {
    WriteFiles();
    Settings settings;
    File file = LibraryFile("settings.ini");
    for (auto _ : state) {
        INIFactory factory;
        settings.addTo(factory);
        factory.readAsciiFile(file);
        benchmark::DoNotOptimize(settings.numbers.data());
    }
}

#if defined(QELTA_HAVE_INIH)
void ReadAsciiInih(benchmark::State & state) {
    WriteFiles();
    std::string const path = Folder() + "/settings.ini";
    for (auto _ : state) {
        std::unordered_map<std::string, std::string> values;
        ini_parse(
            path.c_str(),
            [](void * user, char const *, char const * name, char const * value) {
                static_cast<std::unordered_map<std::string, std::string> *>(user)->emplace(name, value);
                return 1;
            },
            &values);
        benchmark::DoNotOptimize(values.size());
    }
}
BENCHMARK(ReadAsciiInih)->Name("INIReadAscii/inih")->Unit(benchmark::kMicrosecond);
#endif

void ReadBinaryQELTA(benchmark::State & state) {
    WriteFiles();
    Settings settings;
    File file = LibraryFile("settings.inib");
    for (auto _ : state) {
        INIFactory factory;
        settings.addTo(factory);
        factory.readBinaryFile(file);
        benchmark::DoNotOptimize(settings.numbers.data());
    }
}

// The read alone, the factory filled and emptied outside the timing: what the binary form saves.
template <bool binary>
void ReadOnlyQELTA(benchmark::State & state) {
    WriteFiles();
    Settings settings;
    File file = LibraryFile(binary ? "settings.inib" : "settings.ini");
    for (auto _ : state) {
        state.PauseTiming();
        auto factory = std::make_unique<INIFactory>();
        settings.addTo(*factory);
        state.ResumeTiming();
        if (binary) {
            factory->readBinaryFile(file);
        } else {
            factory->readAsciiFile(file);
        }
        state.PauseTiming();
        factory.reset();
        state.ResumeTiming();
    }
}

// Filling the factory alone, which every read and save of a class with settings begins with.
void FillQELTA(benchmark::State & state) {
    Settings settings;
    for (auto _ : state) {
        INIFactory factory;
        settings.addTo(factory);
        benchmark::DoNotOptimize(&factory);
    }
}
BENCHMARK(FillQELTA)->Name("INIFill/QELTA")->Unit(benchmark::kMicrosecond);

// Saving: the temporary file made, written, synced and moved over the old one.
void WriteQELTA(benchmark::State & state) {
    Settings settings;
    File file = LibraryFile("written.ini");
    for (auto _ : state) {
        INIFactory factory;
        settings.addTo(factory);
        factory.writeToAsciiFile(file, false);
    }
}

// The same lines with fprintf, synced and renamed into place the same way.
void WriteFprintf(benchmark::State & state) {
    Settings settings;
    std::string const path = Folder() + "/written-plain.ini";
    std::string const staging = path + ".tmp";
    for (auto _ : state) {
        std::FILE * const out = std::fopen(staging.c_str(), "w");
        std::vector<std::string> const & labels = Settings::Labels();
        for (std::size_t i = 0; i < option_count / 4; ++i) {
            std::fprintf(out, "%s=%u\n", labels[4 * i].c_str(), settings.numbers[i]);
            std::fprintf(out, "%s=%c\n", labels[4 * i + 1].c_str(), settings.flags[i] ? 'T' : 'F');
            std::fprintf(out, "%s=%s\n", labels[4 * i + 2].c_str(), settings.texts[i].c_str());
            std::fprintf(out, "%s=%llu\n", labels[4 * i + 3].c_str(), settings.times[i].nanoseconds());
        }
        std::fflush(out);
        fsync(fileno(out));
        std::fclose(out);
        std::rename(staging.c_str(), path.c_str());
    }
}

BENCHMARK(ReadAsciiQELTA)->Name("INIReadAscii/QELTA")->Unit(benchmark::kMicrosecond);
BENCHMARK(ReadBinaryQELTA)->Name("INIReadBinary/QELTA")->Unit(benchmark::kMicrosecond);
BENCHMARK(ReadAsciiQELTA)->Name("INIReadBinary/ascii")->Unit(benchmark::kMicrosecond);
// The reads alone, binary against ascii: the aim is a ratio of 0.2 or less.
BENCHMARK(ReadOnlyQELTA<true>)->Name("INIReadOnly/QELTA")->Unit(benchmark::kMicrosecond);
BENCHMARK(ReadOnlyQELTA<false>)->Name("INIReadOnly/ascii")->Unit(benchmark::kMicrosecond);
BENCHMARK(WriteQELTA)->Name("INIWrite/QELTA")->Unit(benchmark::kMicrosecond);
BENCHMARK(WriteFprintf)->Name("INIWrite/fprintf+fsync")->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace QELTA
