// Text search: String::indexOf beside std::string_view::find on the same 64 KiB of paths.
#include "Base/Text/String.h"

#include <benchmark/benchmark.h>

#include <iterator>
#include <random>
#include <string>
#include <string_view>

namespace QELTA {
namespace {

constexpr std::size_t text_size = 64 * 1024;
constexpr std::size_t needle_offset = 256; // how far before the end the needles are planted

// Lines of paths from a small vocabulary, as file lists and logs hold them; the needles are
// planted once near the end and occur nowhere else.
struct Haystack {
    String text;
    std::string needle1 = "#";
    std::string needle8 = "/mesh_42";
    std::string needle32 = "/project/source/meshgeometry_001";
    std::string missing1 = "@";
    std::string missing8 = "/mesh_43";
    std::string missing32 = "/project/source/meshgeometry_002";
};

Haystack const & Paths() {
    static Haystack const haystack = [] {
        char const * const words[] = {"usr",     "share", "local",  "lib",    "include", "project", "source",
                                      "build",   "test",  "data",   "config", "module",  "engine",  "render",
                                      "network", "util",  "common", "core",   "image",   "audio"};
        char const * const extensions[] = {".cpp", ".h", ".txt", ".ini", ".json"};
        std::mt19937 random(1234);
        std::string text;
        auto const add_line = [&] {
            unsigned int const depth = 3 + random() % 4;
            for (unsigned int i = 0; i < depth; ++i) {
                text += '/';
                text += words[random() % std::size(words)];
            }
            text += '/';
            text += words[random() % std::size(words)];
            text += '_' + std::to_string(random() % 100);
            text += extensions[random() % std::size(extensions)];
            text += '\n';
        };
        while (text.size() < text_size - needle_offset) {
            add_line();
        }
        Haystack result;
        text += result.needle1 + result.needle8 + result.needle32 + '\n';
        while (text.size() < text_size) {
            add_line();
        }
        text.resize(text_size);
        result.text = String(text);
        return result;
    }();
    return haystack;
}

void Ours(benchmark::State & state, std::string const Haystack::*needle) {
    Haystack const & haystack = Paths();
    String const wanted((haystack.*needle).c_str());
    std::size_t const expected = std::string_view(haystack.text.c_str(), text_size).find(haystack.*needle);
    if (haystack.text.indexOf(wanted.view()) != (expected == std::string_view::npos ? String::not_found : expected)) {
        state.SkipWithError("indexOf disagrees with std::string_view::find");
        return;
    }
    for (auto _ : state) {
        unsigned int found = haystack.text.indexOf(wanted.view());
        benchmark::DoNotOptimize(found);
    }
    state.SetBytesProcessed(static_cast<long long>(state.iterations() * text_size));
}

void Peer(benchmark::State & state, std::string const Haystack::*needle) {
    Haystack const & haystack = Paths();
    std::string_view const text(haystack.text.c_str(), haystack.text.size());
    std::string_view const wanted(haystack.*needle);
    for (auto _ : state) {
        std::size_t found = text.find(wanted);
        benchmark::DoNotOptimize(found);
    }
    state.SetBytesProcessed(static_cast<long long>(state.iterations() * text_size));
}

struct Case {
    char const * name;
    std::string const Haystack::*needle;
};

[[maybe_unused]] bool const registered = [] {
    static Case const cases[] = {
        {"StringIndexOf1", &Haystack::needle1},          {"StringIndexOf8", &Haystack::needle8},
        {"StringIndexOf32", &Haystack::needle32},        {"StringIndexOf1NotFound", &Haystack::missing1},
        {"StringIndexOf8NotFound", &Haystack::missing8}, {"StringIndexOf32NotFound", &Haystack::missing32},
    };
    for (Case const & c : cases) {
        std::string const name(c.name);
        auto const needle = c.needle;
        benchmark::RegisterBenchmark((name + "/QELTA").c_str(), [needle](benchmark::State & s) { Ours(s, needle); });
        benchmark::RegisterBenchmark((name + "/std::string_view::find").c_str(),
                                     [needle](benchmark::State & s) { Peer(s, needle); });
    }
    return true;
}();

} // namespace
} // namespace QELTA
