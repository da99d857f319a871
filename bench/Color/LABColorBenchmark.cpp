// RGB to L*a*b* and back, and the nearest named colour, beside a plain implementation of the same
// formulas (the linear curve by std::pow per channel, the table searched row by row), per colour
// over a million random colours.
#include "Base/Color/LABColor.h"
#include "Base/Color/RGBColor.h"
#include "Base/Color/XYZColor.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

namespace QELTA {
namespace {

constexpr std::size_t color_count = 1 << 20;

std::vector<RGBColor> const & Colors() {
    static std::vector<RGBColor> const colors = [] {
        std::mt19937 random(29);
        std::uniform_int_distribution<int> byte(0, 255);
        std::vector<RGBColor> result;
        result.reserve(color_count);
        for (std::size_t i = 0; i < color_count; ++i) {
            result.emplace_back(byte(random), byte(random), byte(random), 255);
        }
        return result;
    }();
    return colors;
}

std::vector<LABColor> const & Labs() {
    static std::vector<LABColor> const labs = [] {
        std::vector<LABColor> result;
        result.reserve(color_count);
        for (RGBColor const & color : Colors()) {
            result.emplace_back(XYZColor(color));
        }
        return result;
    }();
    return labs;
}

// The plain forms of the same formulas and constants.
float PlainLinear(unsigned char byte) {
    float const c = byte * 0.003921569f;
    return c <= 0.04045f ? c / 12.92f : std::pow((c + 0.055f) / 1.055f, 2.2f);
}

double PlainF(double t) {
    return t > 0.008856 ? std::cbrt(t) : 7.787 * t + 0.13793103448275862;
}

LABColor PlainLab(RGBColor const & color) {
    float const r = PlainLinear(color.red);
    float const g = PlainLinear(color.green);
    float const b = PlainLinear(color.blue);
    float const x = 0.4124f * r + 0.3576f * g + 0.1805f * b;
    float const y = 0.2126f * r + 0.7152f * g + 0.0722f * b;
    float const z = 0.0193f * r + 0.1192f * g + 0.9505f * b;
    double const fx = PlainF(static_cast<double>(x) / 0.9505);
    double const fy = PlainF(static_cast<double>(y));
    double const fz = PlainF(static_cast<double>(z));
    return LABColor(static_cast<float>(116.0 * fy - 16.0), static_cast<float>(500.0 * (fx - fy)),
                    static_cast<float>(200.0 * (fy - fz)), color.alpha * 0.003921569f);
}

double PlainG(double t) {
    return t > 0.20689656 ? t * t * t : (t - 0.13793103) * 3 * 0.042806186;
}

unsigned char PlainByte(float c) {
    float const display = static_cast<double>(c) <= 0.0031308 ? 12.92f * c : 1.055f * std::pow(c, 0.41666666f) - 0.055f;
    return static_cast<unsigned char>(static_cast<int>(static_cast<double>(display) * 255.0));
}

RGBColor PlainRGB(LABColor const & lab) {
    double const fy = (static_cast<double>(lab.l) + 16.0) / 116.0;
    double const fx = static_cast<double>(lab.a) / 500.0 + fy;
    double const fz = fy - static_cast<double>(lab.b) / 200.0;
    float const x = static_cast<float>(std::fmin(std::fmax(PlainG(fx) * 0.9505, 0.0), 0.9505));
    float const y = static_cast<float>(std::fmin(std::fmax(PlainG(fy), 0.0), 1.0));
    float const z = static_cast<float>(std::fmin(std::fmax(PlainG(fz), 0.0), 1.089));
    return RGBColor(PlainByte(3.241f * x - 1.5374f * y - 0.4986f * z),
                    PlainByte(-0.9692f * x + 1.876f * y + 0.0416f * z),
                    PlainByte(0.0556f * x - 0.204f * y + 1.057f * z), static_cast<int>(lab.alpha * 255.0f));
}

TranslatedString const & PlainName(LABColor const & lab) {
    Buffer<std::pair<LABColor, TranslatedString>> const & table = LABColor::RALClassicColors();
    RGBColor const rgb = PlainRGB(lab);
    if (rgb.red < 14 && rgb.green < 14 && rgb.blue < 14) {
        return table[0].second;
    }
    if (rgb.red == 255 && rgb.green == 255 && rgb.blue == 255) {
        return table[1].second;
    }
    auto const distance = [&](LABColor const & other) {
        float const dl = lab.l - other.l;
        float const da = lab.a - other.a;
        float const db = lab.b - other.b;
        return dl * dl + da * da + db * db;
    };
    float best = distance(table[2].first);
    unsigned int index = 0;
    for (unsigned int i = 3; i < table.size(); ++i) {
        float const d = distance(table[i].first);
        if (d < best) {
            best = d;
            index = i;
        }
    }
    return table[index].second;
}

template <class Convert>
void RunToLab(benchmark::State & state, Convert convert) {
    for (auto _ : state) {
        float sum = 0.0f;
        for (RGBColor const & color : Colors()) {
            sum += convert(color).l;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * color_count));
}

template <class Convert>
void RunToRGB(benchmark::State & state, Convert convert) {
    for (auto _ : state) {
        unsigned int sum = 0;
        for (LABColor const & lab : Labs()) {
            sum += convert(lab).green;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * color_count));
}

template <class Name>
void RunName(benchmark::State & state, Name name) {
    LABColor::RALClassicColors();
    for (auto _ : state) {
        std::size_t sum = 0;
        for (LABColor const & lab : Labs()) {
            sum += reinterpret_cast<std::size_t>(&name(lab));
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * color_count));
}

void RGBToLabQELTA(benchmark::State & state) {
    RunToLab(state, [](RGBColor const & color) { return LABColor(XYZColor(color)); });
}
void RGBToLabPlain(benchmark::State & state) {
    RunToLab(state, PlainLab);
}
void LabToRGBQELTA(benchmark::State & state) {
    RunToRGB(state, [](LABColor const & lab) { return RGBColor(XYZColor(lab)); });
}
void LabToRGBPlain(benchmark::State & state) {
    RunToRGB(state, PlainRGB);
}
void NearestNameQELTA(benchmark::State & state) {
    RunName(state, [](LABColor const & lab) -> TranslatedString const & { return lab.getName(); });
}
void NearestNamePlain(benchmark::State & state) {
    RunName(state, PlainName);
}

} // namespace

BENCHMARK(RGBToLabQELTA)->Name("RGBToLab/QELTA")->Unit(benchmark::kMillisecond);
BENCHMARK(RGBToLabPlain)->Name("RGBToLab/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(LabToRGBQELTA)->Name("LabToRGB/QELTA")->Unit(benchmark::kMillisecond);
BENCHMARK(LabToRGBPlain)->Name("LabToRGB/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(NearestNameQELTA)->Name("NearestName/QELTA")->Unit(benchmark::kMillisecond);
BENCHMARK(NearestNamePlain)->Name("NearestName/plain")->Unit(benchmark::kMillisecond);

} // namespace QELTA
