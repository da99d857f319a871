// Dictionary against std::unordered_map and absl::flat_hash_map: find hit, find miss, insert, erase.
//
// Every implementation runs on the same keys: distinct pseudo-random 64-bit keys from a fixed
// seed, looked up in a fixed shuffled order. Each peer runs with its own default hash and again
// with the FNV-1a byte hash that Dictionary uses. absl is optional (QELTA_HAVE_ABSL).
#include "Base/Text/Dictionary.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#if QELTA_HAVE_ABSL
#include <absl/container/flat_hash_map.h>
#endif

namespace {

using Key = std::uint64_t;
using FNV1a = QELTA::DictionaryHash<Key>;

struct Input {
    std::vector<Key> present;
    std::vector<Key> absent;
    std::vector<Key> lookups; // `present`, shuffled
};

// splitmix64's finalizer: a bijection, so distinct counters give distinct keys.
Key MixCounter(std::uint64_t counter) {
    std::uint64_t z = counter * 0x9E3779B97F4A7C15ULL + 0x2545F4914F6CDD1DULL;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

Input const & InputFor(std::size_t count) {
    static std::map<std::size_t, Input> s_inputs;
    auto [it, made] = s_inputs.try_emplace(count);
    if (made) {
        Input & input = it->second;
        for (std::size_t i = 0; i < count; ++i) {
            input.present.push_back(MixCounter(i));
            input.absent.push_back(MixCounter(count + i));
        }
        input.lookups = input.present;
        std::shuffle(input.lookups.begin(), input.lookups.end(), std::mt19937_64(20240611));
    }
    return it->second;
}

// The value of a key, or 0 when it is absent.
template <class Map>
Key ValueOf(Map const & map, Key key) {
    auto const found = map.find(key);
    if (found == map.end()) {
        return 0;
    }
    if constexpr (requires { found->value(); }) {
        return found->value();
    } else {
        return found->second;
    }
}

template <class Map>
void Fill(Map & map, std::vector<Key> const & keys) {
    for (Key key : keys) {
        map.emplace(key, key);
    }
}

template <class Map>
void FindHit(benchmark::State & state) {
    Input const & input = InputFor(static_cast<std::size_t>(state.range(0)));
    Map map;
    Fill(map, input.present);
    std::size_t i = 0;
    Key sum = 0;
    for (auto _ : state) {
        sum += ValueOf(map, input.lookups[i]);
        if (++i == input.lookups.size()) {
            i = 0;
        }
    }
    benchmark::DoNotOptimize(sum);
    state.SetItemsProcessed(state.iterations());
}

template <class Map>
void FindMiss(benchmark::State & state) {
    Input const & input = InputFor(static_cast<std::size_t>(state.range(0)));
    Map map;
    Fill(map, input.present);
    std::size_t i = 0;
    std::size_t found = 0;
    for (auto _ : state) {
        found += map.find(input.absent[i]) != map.end();
        if (++i == input.absent.size()) {
            i = 0;
        }
    }
    benchmark::DoNotOptimize(found);
    state.SetItemsProcessed(state.iterations());
}

// Inserts all keys into an empty map, growing it from nothing; the destruction is not timed.
template <class Map>
void Insert(benchmark::State & state) {
    Input const & input = InputFor(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        auto * map = new Map();
        Fill(*map, input.lookups);
        benchmark::DoNotOptimize(map);
        state.PauseTiming();
        delete map;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(input.lookups.size()));
}

// Erases all keys, in shuffled order, from a full map; the filling is not timed.
template <class Map>
void Erase(benchmark::State & state) {
    Input const & input = InputFor(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        Map map;
        Fill(map, input.present);
        state.ResumeTiming();
        std::size_t erased = 0;
        for (Key key : input.lookups) {
            erased += map.erase(key);
        }
        benchmark::DoNotOptimize(erased);
        state.PauseTiming();
        { Map gone(std::move(map)); }
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(input.lookups.size()));
}

struct Implementation {
    char const * name;
    void (*find_hit)(benchmark::State &);
    void (*find_miss)(benchmark::State &);
    void (*insert)(benchmark::State &);
    void (*erase)(benchmark::State &);
};

template <class Map>
Implementation Of(char const * name) {
    return {name, &FindHit<Map>, &FindMiss<Map>, &Insert<Map>, &Erase<Map>};
}

// Names are "<Case>/<Implementation>/<keys>"; ours is always "QELTA".
int const registered = [] {
    std::vector<Implementation> const implementations = {
        Of<QELTA::Dictionary<Key, Key>>("QELTA"),
        Of<std::unordered_map<Key, Key>>("std::unordered_map"),
        Of<std::unordered_map<Key, Key, FNV1a>>("std::unordered_map+FNV1a"),
#if QELTA_HAVE_ABSL
        Of<absl::flat_hash_map<Key, Key>>("absl::flat_hash_map"),
        Of<absl::flat_hash_map<Key, Key, FNV1a>>("absl::flat_hash_map+FNV1a"),
#endif
    };
    struct Case {
        char const * name;
        void (*Implementation::*run)(benchmark::State &);
    } const cases[] = {
        {"DictionaryFindHit", &Implementation::find_hit},
        {"DictionaryFindMiss", &Implementation::find_miss},
        {"DictionaryInsert", &Implementation::insert},
        {"DictionaryErase", &Implementation::erase},
    };
    for (Case const & c : cases) {
        for (Implementation const & implementation : implementations) {
            std::string const name = std::string(c.name) + "/" + implementation.name;
            benchmark::RegisterBenchmark(name.c_str(), implementation.*c.run)->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 22);
        }
    }
    return 0;
}();

} // namespace
