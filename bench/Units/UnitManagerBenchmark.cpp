// Units read from text: unit(name) over every catalogue name, beside a std::unordered_map of
// lower-case std::string names; parseUnit on typical values, beside the same split into suffixes
// with std::string looked up in a std::unordered_map.
#include "Base/Units/UnitDefinitions.h"
#include "Base/Units/UnitManager.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cctype>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace QELTA {
namespace {

UnitManager & Manager() {
    static UnitManager * const manager = [] {
        auto * made = new UnitManager(File());
        made->setToDefaultMetric(false);
        return made;
    }();
    return *manager;
}

// Every catalogue name, in a shuffled order that is the same on each run.
std::vector<std::string> const & Names() {
    static std::vector<std::string> const names = [] {
        std::vector<std::string> result;
        for (UnitDefinitions::Entry const & entry : UnitDefinitions::Catalogue()) {
            result.emplace_back(entry.unit()->name().c_str());
        }
        std::shuffle(result.begin(), result.end(), std::mt19937(17));
        return result;
    }();
    return names;
}

// Values as people type them, with and without suffixes.
std::vector<std::string> const & Values() {
    static std::vector<std::string> const values = [] {
        char const * const suffixes[] = {"'", "\"", " m", " cm", " ft", "°", " deg", "", " radians", " Inches"};
        std::mt19937 random(17);
        std::uniform_real_distribution<double> spread(0.0, 1000.0);
        std::vector<std::string> result;
        for (int i = 0; i < 1024; ++i) {
            std::string text = std::to_string(spread(random)).substr(0, 6);
            result.push_back(i % 7 == 0 ? text + "'" + std::to_string(i % 12) + "\"" : text + suffixes[i % 10]);
        }
        return result;
    }();
    return values;
}

void BM_UnitByName_Ours(benchmark::State & state) {
    UnitManager const & manager = Manager();
    std::vector<std::string> const & names = Names();
    std::size_t i = 0;
    for (auto _ : state) {
        std::string const & name = names[i++ % names.size()];
        benchmark::DoNotOptimize(manager.unit(StringView(name.data(), static_cast<unsigned int>(name.size()))));
    }
}
BENCHMARK(BM_UnitByName_Ours);

// The peer: the same spellings of the catalogue in a std::unordered_map, looked up in lower case.
void BM_UnitByName_StdUnorderedMap(benchmark::State & state) {
    std::unordered_map<std::string, ConstPointer<Unit>> table;
    for (UnitDefinitions::Entry const & entry : UnitDefinitions::Catalogue()) {
        std::string name = entry.unit()->name().c_str();
        for (char & c : name) {
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
        table.emplace(name, entry.unit());
    }
    std::vector<std::string> const & names = Names();
    std::size_t i = 0;
    for (auto _ : state) {
        std::string name = names[i++ % names.size()];
        for (char & c : name) {
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
        auto const found = table.find(name);
        benchmark::DoNotOptimize(found != table.end() ? found->second : ConstPointer<Unit>());
    }
}
BENCHMARK(BM_UnitByName_StdUnorderedMap);

void BM_ParseUnit_Ours(benchmark::State & state) {
    UnitManager const & manager = Manager();
    std::vector<std::string> const & values = Values();
    std::size_t i = 0;
    for (auto _ : state) {
        std::string const & value = values[i++ % values.size()];
        benchmark::DoNotOptimize(manager.parseUnit(StringView(value.data(), static_cast<unsigned int>(value.size())),
                                                   UnitCategory::DISTANCE));
    }
}
BENCHMARK(BM_ParseUnit_Ours);

// The peer: the suffixes split off with std::string and each looked up in a std::unordered_map
// of the abbreviations and names of the distance options.
void BM_ParseUnit_StdStringSplit(benchmark::State & state) {
    std::unordered_map<std::string, ConstPointer<Unit>> table;
    for (ConstPointer<UnitOption> const & option : Manager().distanceUnitOptions()) {
        ConstPointer<Unit> const unit = option->unit();
        TranslatedString abbreviation = unit->abbreviation(0);
        TranslatedString name = unit->translatedName();
        table.emplace(std::string(abbreviation.translation()), unit);
        table.emplace(std::string(name.translation()), unit);
    }
    std::vector<std::string> const & values = Values();
    std::size_t i = 0;
    for (auto _ : state) {
        std::string const & value = values[i++ % values.size()];
        std::vector<std::string> parts;
        std::string part;
        for (char const c : value) {
            if (std::isdigit(static_cast<unsigned char>(c)) || c == '.' || c == ',' || c == ' ') {
                if (!part.empty()) {
                    parts.push_back(part);
                    part.clear();
                }
            } else {
                part += c;
            }
        }
        if (!part.empty()) {
            parts.push_back(part);
        }
        ConstPointer<Unit> found;
        if (parts.size() == 1) {
            auto const hit = table.find(parts[0]);
            found = hit != table.end() ? hit->second : ConstPointer<Unit>();
        }
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(BM_ParseUnit_StdStringSplit);

} // namespace
} // namespace QELTA
