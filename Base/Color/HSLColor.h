// HSLColor: a colour as hue, saturation and luminance, kept as the library has always kept it.
//
// A plain value with no heap and no lock. Nothing raises: text that cannot be read gives an
// absent hue or the byte 255.
//
// The model is deliberately not the published HSL: RGBColor(HSLColor) reads the luminance as the
// value of the HSB hexcone, and HSLColor(RGBColor) walks that hexcone on the colour's luminance,
// so the two are not inverses. Stored colours depend on both; keep them.
#pragma once

#include "Base/Export.h"
#include "Base/Geometry/Angle.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

namespace QELTA {

class ACIColor;
class RGBColor;
class XYZColor;

// `hue` in index units (65536 to the circle); saturation, luminance and alpha as bytes.
class QELTA_BASE_EXPORT HSLColor {
  public:
    Angle<int> hue;
    unsigned char saturation = 0;
    unsigned char luminance = 0;
    unsigned char alpha = 255;

    constexpr HSLColor() noexcept = default;
    constexpr HSLColor(Angle<int> hue_value, unsigned char saturation_value, unsigned char luminance_value,
                       unsigned char alpha_value) noexcept
        : hue(hue_value), saturation(saturation_value), luminance(luminance_value), alpha(alpha_value) {}
    // Saturation 255, and hue and luminance from RGBColor::luminance() on the hexcone.
    explicit HSLColor(RGBColor const & color) noexcept;
    // Sets the hue to 0 and leaves the other fields at their defaults, deliberately: the index
    // is not looked up.
    explicit HSLColor(ACIColor const & color) noexcept;
    // Through RGBColor.
    explicit HSLColor(XYZColor const & color) noexcept;

    friend constexpr bool operator==(HSLColor const &, HSLColor const &) noexcept = default;
};

// "hue,saturation,luminance,alpha" as for HSBColor.
template <>
class QELTA_BASE_EXPORT StringStream<HSLColor> {
  public:
    static void fromString(StringView const & text, HSLColor & value) noexcept;
    static void toString(HSLColor const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

} // namespace QELTA
