// RandomColorGenerator: pleasant random colours, from a hue family and a style of lightness.
//
// A generator owns a copy of its options. With a non-zero seed it repeats its sequence and
// changes its own seed as it runs, through its const interface: such a generator must not be
// shared between threads. With the seed 0 it draws from a Mersenne Twister of the calling
// thread, seeded once from the system's random source. The table of hue families is built once,
// on first use, under the guard of a function-local static. Nothing raises.
#pragma once

#include "Base/Color/RGBColor.h"
#include "Base/Export.h"
#include "Base/Geometry/Angle.h"
#include "Base/Geometry/Bounds.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"

#include <cstdint>

namespace QELTA {

class QELTA_BASE_EXPORT RandomColorOptions {
  public:
    // The family of hues, with its range in degrees: any 0 to 360; monochrome none (greys);
    // red -26 to 18; orange 19 to 46; yellow 47 to 62; green 63 to 178; blue 179 to 257; purple
    // 258 to 282; pink 283 to 334.
    enum HueStyle : unsigned char {
        ANY = 0,
        MONOCHROME = 1,
        RED = 2,
        ORANGE = 3,
        YELLOW = 4,
        GREEN = 5,
        BLUE = 6,
        PURPLE = 7,
        PINK = 8,
    };
    enum LuminosityStyle : unsigned char { RANDOM = 0, BRIGHT = 1, LIGHT = 2, DARK = 3 };

    // Any hue, light colours. Both constructors take a fresh seed from a new random UUID.
    RandomColorOptions();
    RandomColorOptions(HueStyle hue_style, LuminosityStyle luminosity);

    std::int32_t hue = -1;
    HueStyle hue_style = ANY;
    // 0: not seeded.
    std::uint64_t seed = 0;
    LuminosityStyle luminosity = LIGHT;
};

// Picks a hue, then a saturation and a brightness from ranges that depend on that hue, so that no
// muddy colours appear. Saturation and brightness run from 0 to 100; hues are in degrees inside
// the picking and in index units (65536 to the circle) between the steps.
class QELTA_BASE_EXPORT RandomColorGenerator {
  public:
    // What a family's table holds: its hue range, its lower bounds (pairs of a saturation and
    // the least brightness it allows, kept in the low and high ends of a Bounds), and the
    // saturation and brightness ranges the lower bounds span.
    enum ColorRangeType : unsigned char { HUE_RANGE = 0, LOWER_BOUNDS = 1, SATURATION_RANGE = 2, BRIGHTNESS_RANGE = 3 };
    using Range = Bounds<1, int>;
    using FamilyTable = Dictionary<ColorRangeType, Buffer<Range>>;

    RandomColorGenerator() = default;
    explicit RandomColorGenerator(RandomColorOptions const & options) : options_(options) {}

    void setOptions(RandomColorOptions const & options) { options_ = options; }
    RandomColorOptions const & options() const noexcept { return options_; }

    // An opaque colour from a hue, a saturation and a brightness as picked below; then the seed,
    // when there is one, moves on by 1, so that the next colour differs. Saturation and brightness
    // become bytes by HSBColor(Vector<4, float>), so a brightness above 100 stores the byte 1.
    RGBColor randomColorRGB() const;
    Buffer<RGBColor> randomColors(std::uint32_t count) const;

    // A whole number in `range`. Seeded: the seed becomes (seed * 9301 + 49297) % 233280 and the
    // result floor(seed / 233280 * (high - low) + low), with low at least 0, and never negative.
    // Unseeded: uniform from low to high, both included.
    int randomWithin(Range const & range) const;
    // A hue from the family's range (any hue for ANY, MONOCHROME and unknown styles).
    Angle<unsigned short> pickHue() const;
    // RANDOM: 0 to 100. MONOCHROME: 0. Else the family's saturation range, from 55 up for
    // BRIGHT, up to 55 for LIGHT, its top 10 for DARK.
    int pickSaturation(Angle<unsigned short> const & hue) const;
    // From the least brightness of the hue and saturation to 100: from 0 for RANDOM, from halfway
    // to 100 for BRIGHT and LIGHT, and up to 20 above the least for DARK.
    int pickBrightness(Angle<unsigned short> const & hue, int saturation) const;
    // The least brightness for `saturation` along the family's lower bounds, by the integer slope
    // of the pair that holds it; 0 when none does.
    int getMinimumBrightness(Angle<unsigned short> const & hue, int saturation) const;

    // The family whose hue range holds `hue`, in whole degrees; hues from 334 to 360 count as
    // red, from -26.
    static RandomColorOptions::HueStyle getColorInfo(Angle<unsigned short> const & hue);
    // The hue range of a family; 0 to 360 for ANY, MONOCHROME and unknown styles.
    static Range getHueRange_s(RandomColorOptions::HueStyle style);

  private:
    // The tables of the families with hue ranges, red to pink, and of MONOCHROME.
    static Dictionary<RandomColorOptions::HueStyle, FamilyTable> const & LoadColorBounds();
    static Buffer<Range> const & Table(RandomColorOptions::HueStyle family, ColorRangeType type);

    // Changed by the const picking functions, as the seed moves on.
    mutable RandomColorOptions options_;
};

} // namespace QELTA
