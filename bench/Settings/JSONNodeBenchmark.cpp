// JSON and YAML trees: parsing and writing a 20 MB JSON document of mixed records beside
// RapidJSON (DOM), nlohmann-json and simdjson (DOM, the machine's yardstick), and reading a 2 MB
// YAML configuration beside yaml-cpp. Every side parses the same text from memory into its own
// tree; the writers write the tree each parsed.
#include "Base/Files/BufferedScanner.h"
#include "Base/Settings/JSONNode.h"

#include <benchmark/benchmark.h>

#if defined(QELTA_HAVE_RAPIDJSON)
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#endif
#if defined(QELTA_HAVE_NLOHMANN_JSON)
#include <nlohmann/json.hpp>
#endif
#if defined(QELTA_HAVE_SIMDJSON)
#include <simdjson.h>
#endif
#if defined(QELTA_HAVE_YAML_CPP)
#include <yaml-cpp/yaml.h>
#endif

#include <cstddef>
#include <random>
#include <string>

namespace QELTA {
namespace {

constexpr std::size_t json_size = 20u << 20;
constexpr std::size_t yaml_size = 2u << 20;

std::string Word(std::mt19937 & random) {
    static char const * const words[] = {"survey", "point", "line", "ground", "water", "layer", "north", "offset"};
    return words[random() % 8];
}

std::string Number(std::mt19937 & random) {
    switch (random() % 4) {
    case 0:
        return std::to_string(static_cast<int>(random() % 200000) - 100000);
    case 1:
        return std::to_string(random() % 100000) + "." + std::to_string(random() % 10000);
    case 2:
        return "-" + std::to_string(random() % 1000) + "." + std::to_string(random() % 1000000) + "e-" +
               std::to_string(random() % 20);
    default:
        return std::to_string(random());
    }
}

// One record a line, as a data export writes them: numbers, strings (some with escapes),
// booleans, an array of numbers and a nested object with an array of strings.
std::string const & JSONText() {
    static std::string const text = [] {
        std::mt19937 random(20240611);
        std::string out = "{\"records\":[\n";
        for (unsigned int id = 0; out.size() < json_size; ++id) {
            out += id == 0 ? "" : ",\n";
            out += "{\"id\":" + std::to_string(id) + ",\"name\":\"" + Word(random) + " " + std::to_string(id) + "\"";
            out += ",\"x\":" + Number(random) + ",\"y\":" + Number(random) + ",\"z\":" + Number(random);
            out += ",\"visible\":" + std::string(random() % 2 ? "true" : "false");
            if (id % 4 == 0) {
                out += ",\"note\":\"said \\\"" + Word(random) + "\\\"\\tthen\\n" + Word(random) + "\"";
            }
            out += ",\"values\":[";
            for (unsigned int i = 0, n = random() % 8; i < n; ++i) {
                out += (i == 0 ? "" : ",") + Number(random);
            }
            out += "],\"style\":{\"layer\":\"" + Word(random) + "\",\"width\":" + Number(random) + ",\"tags\":[\"" +
                   Word(random) + "\",\"" + Word(random) + "\"]}}";
        }
        out += "\n]}\n";
        return out;
    }();
    return text;
}

// Sections of settings nested two levels deep by indentation, with lists of items under a key
// and inline lists.
std::string const & YAMLText() {
    static std::string const text = [] {
        std::mt19937 random(20240612);
        std::string out = "# generated configuration\n";
        for (unsigned int section = 0; out.size() < yaml_size; ++section) {
            out += "section_" + std::to_string(section) + ":\n";
            out += "  name: " + Word(random) + " " + std::to_string(section) + "\n";
            out += "  enabled: " + std::string(random() % 2 ? "true" : "false") + "\n";
            out += "  scale: " + Number(random) + "\n";
            out += "  title: \"" + Word(random) + " and " + Word(random) + "\"\n";
            out += "  window:\n    width: " + std::to_string(random() % 4000) +
                   "\n    height: " + std::to_string(random() % 3000) + "\n";
            out += "  layers:\n";
            for (unsigned int i = 0, n = 1 + random() % 3; i < n; ++i) {
                out += "    - name: " + Word(random) + "\n      depth: " + Number(random) + "\n";
            }
            out += "  tags: [" + Word(random) + ", " + Word(random) + ", " + std::to_string(random() % 100) + "]\n";
        }
        return out;
    }();
    return text;
}

void SetBytes(benchmark::State & state, std::size_t bytes) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes));
}

void ParseQELTA(benchmark::State & state) {
    std::string const & text = JSONText();
    for (auto _ : state) {
        JSONNode const node = JSONNode::ParseText(StringView(text));
        benchmark::DoNotOptimize(node.childCount());
    }
    SetBytes(state, text.size());
}
BENCHMARK(ParseQELTA)->Name("JSONParse/QELTA")->Unit(benchmark::kMillisecond);

void WriteQELTA(benchmark::State & state) {
    JSONNode const node = JSONNode::ParseText(StringView(JSONText()));
    for (auto _ : state) {
        String out;
        node.write(out);
        benchmark::DoNotOptimize(out.data());
    }
    SetBytes(state, JSONText().size());
}
BENCHMARK(WriteQELTA)->Name("JSONWrite/QELTA")->Unit(benchmark::kMillisecond);

#if defined(QELTA_HAVE_RAPIDJSON)
void ParseRapidJSON(benchmark::State & state) {
    std::string const & text = JSONText();
    for (auto _ : state) {
        rapidjson::Document document;
        document.Parse(text.data(), text.size());
        benchmark::DoNotOptimize(document.MemberCount());
    }
    SetBytes(state, text.size());
}
BENCHMARK(ParseRapidJSON)->Name("JSONParse/RapidJSON")->Unit(benchmark::kMillisecond);

void WriteRapidJSON(benchmark::State & state) {
    rapidjson::Document document;
    document.Parse(JSONText().data(), JSONText().size());
    for (auto _ : state) {
        rapidjson::StringBuffer out;
        rapidjson::Writer<rapidjson::StringBuffer> writer(out);
        document.Accept(writer);
        benchmark::DoNotOptimize(out.GetString());
    }
    SetBytes(state, JSONText().size());
}
BENCHMARK(WriteRapidJSON)->Name("JSONWrite/RapidJSON")->Unit(benchmark::kMillisecond);
#endif

#if defined(QELTA_HAVE_NLOHMANN_JSON)
void ParseNlohmann(benchmark::State & state) {
    std::string const & text = JSONText();
    for (auto _ : state) {
        nlohmann::json const document = nlohmann::json::parse(text);
        benchmark::DoNotOptimize(document.size());
    }
    SetBytes(state, text.size());
}
BENCHMARK(ParseNlohmann)->Name("JSONParse/nlohmann")->Unit(benchmark::kMillisecond);

void WriteNlohmann(benchmark::State & state) {
    nlohmann::json const document = nlohmann::json::parse(JSONText());
    for (auto _ : state) {
        std::string const out = document.dump();
        benchmark::DoNotOptimize(out.data());
    }
    SetBytes(state, JSONText().size());
}
BENCHMARK(WriteNlohmann)->Name("JSONWrite/nlohmann")->Unit(benchmark::kMillisecond);
#endif

#if defined(QELTA_HAVE_SIMDJSON)
void ParseSimdjson(benchmark::State & state) {
    simdjson::padded_string const text(JSONText());
    simdjson::dom::parser parser;
    for (auto _ : state) {
        simdjson::dom::element document;
        if (parser.parse(text).get(document) != simdjson::SUCCESS) {
            state.SkipWithError("simdjson refused the text");
            break;
        }
        benchmark::DoNotOptimize(document);
    }
    SetBytes(state, JSONText().size());
}
BENCHMARK(ParseSimdjson)->Name("JSONParse/simdjson")->Unit(benchmark::kMillisecond);
#endif

void ParseYAMLQELTA(benchmark::State & state) {
    std::string const & text = YAMLText();
    for (auto _ : state) {
        BufferedScanner scanner(StringView(text), 0);
        JSONNode const node = JSONNode::ParseYAML(scanner);
        benchmark::DoNotOptimize(node.childCount());
    }
    SetBytes(state, text.size());
}
BENCHMARK(ParseYAMLQELTA)->Name("YAMLParse/QELTA")->Unit(benchmark::kMillisecond);

#if defined(QELTA_HAVE_YAML_CPP)
void ParseYAMLCpp(benchmark::State & state) {
    std::string const & text = YAMLText();
    for (auto _ : state) {
        YAML::Node const node = YAML::Load(text);
        benchmark::DoNotOptimize(node.size());
    }
    SetBytes(state, text.size());
}
BENCHMARK(ParseYAMLCpp)->Name("YAMLParse/yaml-cpp")->Unit(benchmark::kMillisecond);
#endif

} // namespace
} // namespace QELTA
