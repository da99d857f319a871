// LABColor: a colour in the CIE L*a*b* space, and the table of named colours it looks names up in.
//
// A plain value of four floats with no heap and no lock. The table of named colours is built on
// the first call of RALClassicColors() or getName(), under the guard of a function-local static,
// and is then read by any thread without a lock; it lives until the process ends. Nothing raises:
// text that cannot be read gives NaN fields.
#pragma once

#include "Base/Export.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

#include <utility>

namespace QELTA {

class ACIColor;
class HSBColor;
class RGBColor;
class XYZColor;

// l from 0 (black) to about 100 (white), a and b around 0; alpha copied from XYZColor, 0 to 1.
class QELTA_BASE_EXPORT LABColor {
  public:
    float l = 0.0f;
    float a = 0.0f;
    float b = 0.0f;
    float alpha = 1.0f;

    constexpr LABColor() noexcept = default;
    constexpr LABColor(float l_value, float a_value, float b_value, float alpha_value) noexcept
        : l(l_value), a(a_value), b(b_value), alpha(alpha_value) {}
    // The white point is 0.9505 in x and 1 in y; z is deliberately not divided by its white
    // value, and XYZColor(LABColor) does not multiply it back.
    explicit LABColor(XYZColor const & color) noexcept;
    // Through XYZColor.
    explicit LABColor(RGBColor const & color) noexcept;
    explicit LABColor(ACIColor const & color) noexcept;
    explicit LABColor(HSBColor const & color) noexcept;

    // The name of the nearest row of RALClassicColors(). A colour whose RGBColor (through
    // XYZColor) has every channel below 14 is "Jet Black" (row 0), and one with red, green and
    // blue all 255 is "Pure White" (row 1). Otherwise the nearest of rows 2 to 212 by the squared
    // distance in l, a and b, the first of equal distances winning; the search starts from row 2
    // with the index 0, so that a colour nearest to row 2 ("Green Beige") is named "Jet Black".
    // That is deliberate: stored names depend on it. The constants of RGBColor(XYZColor) bring
    // white back with blue 254, so no colour reaches the rule of "Pure White"; it stays as designed.
    TranslatedString const & getName() const;

    // The 213 named colours, each the LABColor (through XYZColor) of its opaque RGB triple, with
    // its English name translated by the id of Translator::DefaultID on that name. Call it as
    // RALClassicColors(): it is a template only so that its type may name this class before the
    // class is complete.
    template <class Color = LABColor>
    static Buffer<std::pair<Color, TranslatedString>> const & RALClassicColors();

    friend constexpr bool operator==(LABColor const &, LABColor const &) noexcept = default;
};

template <>
QELTA_BASE_EXPORT Buffer<std::pair<LABColor, TranslatedString>> const & LABColor::RALClassicColors<LABColor>();

// "l,a,b,alpha", each by the double printer; missing fields read as NaN.
template <>
class QELTA_BASE_EXPORT StringStream<LABColor> {
  public:
    static void fromString(StringView const & text, LABColor & value) noexcept;
    static void toString(LABColor const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

} // namespace QELTA
