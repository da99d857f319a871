// Random colours: the table of hue families, the seeded and unseeded draws and the picking rules.
#include "Base/Color/RandomColorGenerator.h"

#include "Base/Color/HSBColor.h"
#include "Base/Text/Platform/RandomPlatform.h"
#include "Base/Text/UUID.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <random>
#include <span>

namespace QELTA {
namespace {

using Options = RandomColorOptions;
using Range = RandomColorGenerator::Range;

// The seeded draw: a linear congruence modulo 233280.
constexpr std::uint64_t draw_factor = 9301;
constexpr std::uint64_t draw_increment = 49297;
constexpr std::uint64_t draw_modulus = 233280;
constexpr int full_circle = 360;
// Hues from here to the full circle count as red, below 0.
constexpr int red_wraps_from = 334;
constexpr int percent = 100;
constexpr int bright_saturation = 55;
constexpr int dark_saturation_span = 10;
constexpr int dark_brightness_span = 20;

// A saturation and the least brightness it allows.
struct LowerBound {
    int saturation;
    int min_brightness;
};

constexpr LowerBound monochrome_bounds[] = {{0, 0}, {100, 0}};
constexpr LowerBound red_bounds[] = {{20, 100}, {30, 92}, {40, 89}, {50, 85}, {60, 78},
                                     {70, 70},  {80, 60}, {90, 55}, {100, 50}};
constexpr LowerBound orange_bounds[] = {{20, 100}, {30, 93}, {40, 88}, {50, 86}, {60, 85}, {70, 70}, {100, 70}};
constexpr LowerBound yellow_bounds[] = {{25, 100}, {40, 94}, {50, 89}, {60, 86},
                                        {70, 84},  {80, 82}, {90, 80}, {100, 75}};
constexpr LowerBound green_bounds[] = {{30, 100}, {40, 90}, {50, 85}, {60, 81},
                                       {70, 74},  {80, 64}, {90, 50}, {100, 40}};
constexpr LowerBound blue_bounds[] = {{20, 100}, {30, 86}, {40, 80}, {50, 74}, {60, 60},
                                      {70, 52},  {80, 44}, {90, 39}, {100, 35}};
constexpr LowerBound purple_bounds[] = {{20, 100}, {30, 87}, {40, 79}, {50, 70}, {60, 65},
                                        {70, 59},  {80, 52}, {90, 45}, {100, 42}};
constexpr LowerBound pink_bounds[] = {{20, 100}, {30, 90}, {40, 86}, {60, 84}, {80, 80}, {90, 75}, {100, 73}};

struct Family {
    Options::HueStyle style;
    bool has_hue_range;
    int hue_low;
    int hue_high;
    std::span<LowerBound const> bounds;
};

// In the order in which getColorInfo tries them.
constexpr Family families[] = {
    {Options::MONOCHROME, false, 0, 0, monochrome_bounds}, {Options::RED, true, -26, 18, red_bounds},
    {Options::ORANGE, true, 19, 46, orange_bounds},        {Options::YELLOW, true, 47, 62, yellow_bounds},
    {Options::GREEN, true, 63, 178, green_bounds},         {Options::BLUE, true, 179, 257, blue_bounds},
    {Options::PURPLE, true, 258, 282, purple_bounds},      {Options::PINK, true, 283, 334, pink_bounds},
};

Range MakeRange(int low, int high) noexcept {
    return Range(Vertex<1, int>(Vector<1, int>::Filled(low)), Vertex<1, int>(Vector<1, int>::Filled(high)));
}

int Low(Range const & range) noexcept {
    return range.low[0];
}

int High(Range const & range) noexcept {
    return range.high[0];
}

std::mt19937 & ThreadEngine() {
    thread_local std::mt19937 s_engine = [] {
        std::uint32_t seed = 0;
        RandomPlatform::FillRandom(reinterpret_cast<unsigned char *>(&seed), sizeof(seed));
        return std::mt19937(seed);
    }();
    return s_engine;
}

} // namespace

RandomColorOptions::RandomColorOptions() : seed(UUID::CreateUUID().hash()) {}

RandomColorOptions::RandomColorOptions(HueStyle hue_style_value, LuminosityStyle luminosity_value)
    : hue_style(hue_style_value), seed(UUID::CreateUUID().hash()), luminosity(luminosity_value) {}

Dictionary<RandomColorOptions::HueStyle, RandomColorGenerator::FamilyTable> const &
RandomColorGenerator::LoadColorBounds() {
    static Dictionary<Options::HueStyle, FamilyTable> const s_color_dictionary = [] {
        Dictionary<Options::HueStyle, FamilyTable> table;
        for (Family const & family : families) {
            FamilyTable & ranges = table[family.style];
            if (family.has_hue_range) {
                ranges[HUE_RANGE].add(MakeRange(family.hue_low, family.hue_high));
            }
            Buffer<Range> & lower = ranges[LOWER_BOUNDS];
            for (LowerBound const & bound : family.bounds) {
                lower.add(MakeRange(bound.saturation, bound.min_brightness));
            }
            ranges[SATURATION_RANGE].add(MakeRange(family.bounds.front().saturation, family.bounds.back().saturation));
            ranges[BRIGHTNESS_RANGE].add(
                MakeRange(family.bounds.back().min_brightness, family.bounds.front().min_brightness));
        }
        return table;
    }();
    return s_color_dictionary;
}

Buffer<Range> const & RandomColorGenerator::Table(Options::HueStyle family, ColorRangeType type) {
    return LoadColorBounds().at(family).at(type);
}

RandomColorGenerator::Range RandomColorGenerator::getHueRange_s(Options::HueStyle style) {
    Dictionary<Options::HueStyle, FamilyTable> const & table = LoadColorBounds();
    if (auto const family = table.find(style); family != table.end()) {
        if (auto const hues = family->value().find(HUE_RANGE); hues != family->value().end()) {
            return hues->value()[0];
        }
    }
    return MakeRange(0, full_circle);
}

Options::HueStyle RandomColorGenerator::getColorInfo(Angle<unsigned short> const & hue) {
    int degrees = static_cast<int>(std::lround(hue.degrees()));
    if (degrees >= red_wraps_from && degrees <= full_circle) {
        degrees -= full_circle;
    }
    for (Family const & family : families) {
        if (family.has_hue_range && degrees >= family.hue_low && degrees <= family.hue_high) {
            return family.style;
        }
    }
    // Whole degrees from -26 to 333 all lie in a family.
    assert(false && "a hue outside every family");
    return Options::RED;
}

int RandomColorGenerator::randomWithin(Range const & range) const {
    int const low = Low(range);
    int const high = High(range);
    if (options_.seed != 0) {
        std::uint64_t const next = (options_.seed * draw_factor + draw_increment) % draw_modulus;
        // The state 0 would read as "not seeded"; the modulus itself is the same state.
        options_.seed = next == 0 ? draw_modulus : next;
        int const from = std::max(low, 0);
        double const value =
            std::floor(static_cast<double>(next) / static_cast<double>(draw_modulus) * (high - from) + from);
        return value > 0.0 ? static_cast<int>(value) : 0;
    }
    if (high <= low) {
        return low;
    }
    return std::uniform_int_distribution<int>(low, high)(ThreadEngine());
}

Angle<unsigned short> RandomColorGenerator::pickHue() const {
    Range const range =
        options_.hue_style == Options::ANY ? MakeRange(0, full_circle) : getHueRange_s(options_.hue_style);
    int degrees = randomWithin(range);
    if (degrees < 0) {
        degrees += full_circle;
    }
    long const index = static_cast<long>(degrees / 180.0 * 32768.0);
    return Angle<unsigned short>(static_cast<unsigned short>(index & 0xFFFF));
}

int RandomColorGenerator::pickSaturation(Angle<unsigned short> const & hue) const {
    if (options_.luminosity == Options::RANDOM) {
        return randomWithin(MakeRange(0, percent));
    }
    if (options_.hue_style == Options::MONOCHROME) {
        return 0;
    }
    Range const saturation = Table(getColorInfo(hue), SATURATION_RANGE)[0];
    int low = Low(saturation);
    int high = High(saturation);
    switch (options_.luminosity) {
    case Options::BRIGHT:
        low = bright_saturation;
        break;
    case Options::LIGHT:
        high = bright_saturation;
        break;
    case Options::DARK:
        low = high - dark_saturation_span;
        break;
    default:
        break;
    }
    return randomWithin(MakeRange(low, high));
}

int RandomColorGenerator::getMinimumBrightness(Angle<unsigned short> const & hue, int saturation) const {
    Buffer<Range> const & bounds = Table(getColorInfo(hue), LOWER_BOUNDS);
    for (unsigned int i = 0; i + 1 < bounds.size(); ++i) {
        int const s_low = Low(bounds[i]);
        int const b_low = High(bounds[i]);
        int const s_high = Low(bounds[i + 1]);
        int const b_high = High(bounds[i + 1]);
        if (saturation >= s_low && saturation <= s_high && s_high != s_low) {
            // The slope in whole numbers, deliberately: it is 0 for most pairs of the table, so
            // that the least brightness of such a pair holds across it.
            int const m = (b_high - b_low) / (s_high - s_low);
            return m * (saturation - s_low) + b_low;
        }
    }
    return 0;
}

int RandomColorGenerator::pickBrightness(Angle<unsigned short> const & hue, int saturation) const {
    int low = getMinimumBrightness(hue, saturation);
    int high = percent;
    switch (options_.luminosity) {
    case Options::RANDOM:
        low = 0;
        break;
    case Options::BRIGHT:
    case Options::LIGHT:
        low = (low + percent) / 2;
        break;
    case Options::DARK:
        high = low + dark_brightness_span;
        break;
    default:
        break;
    }
    return randomWithin(MakeRange(low, high));
}

RGBColor RandomColorGenerator::randomColorRGB() const {
    Angle<unsigned short> const hue = pickHue();
    int const saturation = pickSaturation(hue);
    int const brightness = pickBrightness(hue, saturation);
    if (options_.seed != 0) {
        ++options_.seed;
    }
    HSBColor const hsb(Vector<4, float>(static_cast<float>(hue.degrees()), saturation / static_cast<float>(percent),
                                        brightness / static_cast<float>(percent), 1.0f));
    RGBColor color(hsb);
    color.alpha = RGBColor::opaque;
    return color;
}

Buffer<RGBColor> RandomColorGenerator::randomColors(std::uint32_t count) const {
    Buffer<RGBColor> colors;
    colors.ensureCapacity(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        colors.add(randomColorRGB());
    }
    return colors;
}

} // namespace QELTA
