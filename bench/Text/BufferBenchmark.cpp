// Buffer<uint64> against std::vector: element-by-element appends, growing from empty and reserved.
#include "Base/Text/Buffer.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using Element = std::uint64_t;

template <class Container>
void Push(Container & container, Element value) {
    if constexpr (requires { container.push_back(value); }) {
        container.push_back(value);
    } else {
        container.add(value);
    }
}

template <class Container>
void reserveFor(Container & container, std::size_t count) {
    if constexpr (requires { container.reserve(count); }) {
        container.reserve(count);
    } else {
        container.ensureCapacity(static_cast<unsigned int>(count));
    }
}

template <class Container, bool Reserved>
void Append(benchmark::State & state) {
    std::size_t const count = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        Container container;
        if constexpr (Reserved) {
            reserveFor(container, count);
        }
        for (std::size_t i = 0; i < count; ++i) {
            Push(container, static_cast<Element>(i));
        }
        benchmark::DoNotOptimize(container.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}

// Names are "<Case>/<Implementation>/<elements>"; ours is always "QELTA".
int const registered = [] {
    struct Entry {
        char const * name;
        void (*run)(benchmark::State &);
    } const entries[] = {
        {"BufferAppend/QELTA", &Append<QELTA::Buffer<Element>, false>},
        {"BufferAppend/std::vector", &Append<std::vector<Element>, false>},
        {"BufferAppendReserved/QELTA", &Append<QELTA::Buffer<Element>, true>},
        {"BufferAppendReserved/std::vector", &Append<std::vector<Element>, true>},
    };
    for (Entry const & entry : entries) {
        benchmark::RegisterBenchmark(entry.name, entry.run)->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 22);
    }
    return 0;
}();

} // namespace
