// RGBColor: a colour as four bytes, the hub through which the other colour models convert.
//
// A plain value of four bytes with no heap and no lock; copies are bitwise. Nothing raises:
// text that cannot be read gives the error colour (255, 255, 254, 0), and conversions from
// numbers out of range wrap or clamp as each constructor says. getName() reads the table of
// named colours, which is built on first use under a lock and then read freely by any thread.
#pragma once

#include "Base/Export.h"
#include "Base/Geometry/Vector.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

#include <concepts>
#include <cstdint>

namespace QELTA {

class ACIColor;
class HSBColor;
class HSLColor;
class LABColor;
class TranslatedString;
class XYZColor;

// Red, green, blue and alpha, in this order in memory; alpha 255 is opaque. A byte turns into
// 0 to 1 by the factor 0.003921569 (as a float), and back by * 255 truncated toward zero.
class QELTA_BASE_EXPORT RGBColor {
  public:
    static constexpr unsigned char opaque = 255;

    unsigned char red = 0;
    unsigned char green = 0;
    unsigned char blue = 0;
    unsigned char alpha = opaque;

    // Opaque black.
    constexpr RGBColor() noexcept = default;
    // Bytes as they are, each cut to its low 8 bits.
    template <std::integral R, std::integral G, std::integral B, std::integral A = int>
    constexpr RGBColor(R r, G g, B b, A a = opaque) noexcept
        : red(static_cast<unsigned char>(r)), green(static_cast<unsigned char>(g)), blue(static_cast<unsigned char>(b)),
          alpha(static_cast<unsigned char>(a)) {}
    // Each component * 255, clamped to 0 to 255 and truncated; NaN gives 0.
    RGBColor(float r, float g, float b, float a) noexcept;
    RGBColor(double r, double g, double b, double a) noexcept;
    // Each component * 255 truncated and NOT clamped: 1.5 wraps to the byte 126. Three
    // components are opaque; two are a grey and its alpha; one an opaque grey.
    explicit RGBColor(Vector<4, float> const & rgba) noexcept;
    explicit RGBColor(Vector<4, double> const & rgba) noexcept;
    explicit RGBColor(Vector<3, float> const & rgb) noexcept;
    explicit RGBColor(Vector<3, double> const & rgb) noexcept;
    explicit RGBColor(Vector<2, float> const & grey_alpha) noexcept;
    explicit RGBColor(Vector<2, double> const & grey_alpha) noexcept;
    explicit RGBColor(Vector<1, float> const & grey) noexcept;
    explicit RGBColor(Vector<1, double> const & grey) noexcept;
    explicit RGBColor(XYZColor const & color) noexcept;
    explicit RGBColor(HSBColor const & color) noexcept;
    // The luminance is used as the value of the hexcone of HSB, deliberately (see HSLColor).
    explicit RGBColor(HSLColor const & color) noexcept;
    // Through XYZColor.
    explicit RGBColor(LABColor const & color) noexcept;
    // The palette row.
    explicit RGBColor(ACIColor const & color) noexcept;

    // What unusable text reads as.
    static constexpr RGBColor ErrorColor() noexcept { return RGBColor(255, 255, 254, 0); }

    // Red, green, blue (and alpha) in 0 to 1.
    Vector<3, float> get3F() const noexcept;
    Vector<4, float> get4F() const noexcept;

    // Packings, the first letter in the highest byte.
    std::uint32_t convertToRGBA32BitColor() const noexcept;
    static RGBColor CreateRGBA32BitColor(std::uint32_t rgba) noexcept;
    // The bytes in memory read as a little-endian word.
    std::uint32_t convertToABGR32BitColor() const noexcept;
    static RGBColor CreateARGB32BitColor(std::uint32_t argb) noexcept;
    // 0, R, G, B.
    std::uint32_t convertTo24BitColor() const noexcept;
    // Takes red, green and blue from the low 24 bits and makes this colour opaque.
    void create24BitColor(std::uint32_t rgb) noexcept;

    // Upper-case hexadecimal digits without "#": "FF8040"; "FF804080" (R, G, B, A); "80FF8040"
    // (A, R, G, B).
    String getHexRGB() const;
    String getHexRGBA() const;
    String getHexARGB() const;
    // Reads "RRGGBB" (opaque) or "AARRGGBB", with or without a leading "#", digits of either
    // case up to the first other byte. Fewer than six characters, or more digits than 32 bits
    // hold, give the error colour; so does an all-ones value unless the text is "ffffffff" in any
    // case. Any other length than six takes the top byte as alpha.
    static RGBColor FromHexARGB(StringView const & text) noexcept;

    // The XYZ of this colour weighted by (0.299, 0.587, 0.144): the weights apply to x, y and
    // z, not to red, green and blue, and the last is 0.144, deliberately; stored choices of
    // contrasting colours depend on it.
    float luminance() const noexcept;
    // luminance() above 0.4.
    bool isLight() const noexcept;
    // Opaque black on a light colour, opaque white on a dark one.
    RGBColor contrastingColor() const noexcept;
    // The name of the nearest named colour (see LABColor::getName).
    TranslatedString getName() const;

    // `a` at or below t = 0, `b` at or above t = 1; between, each channel in 0 to 1 mixed
    // (1 - t) a + t b, then * 255 truncated.
    static RGBColor Average(RGBColor const & a, RGBColor const & b, float t) noexcept;
    // The mean of the three, every channel, * 255 truncated.
    static RGBColor Average(RGBColor const & a, RGBColor const & b, RGBColor const & c) noexcept;
    // The mix of Average(a, b, t) done on the LABColors of a and b, alpha included.
    static RGBColor AverageLAB(RGBColor const & a, RGBColor const & b, float t) noexcept;

    friend constexpr bool operator==(RGBColor const &, RGBColor const &) noexcept = default;
};

static_assert(sizeof(RGBColor) == 4);

// "red,green,blue,alpha" in decimal. Reading takes each field at ',' as an unsigned char (a
// bad field gives 255) and fills missing channels with 255: "" reads as opaque white.
template <>
class QELTA_BASE_EXPORT StringStream<RGBColor> {
  public:
    static void fromString(StringView const & text, RGBColor & value) noexcept;
    static void toString(RGBColor const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

} // namespace QELTA
