// XYZColor: a colour in the CIE XYZ space, the step between RGBColor and LABColor.
//
// A plain value of four floats with no heap and no lock. Nothing raises or reports: NaN
// components stay NaN through the conversions, and text that cannot be read gives NaN fields.
#pragma once

#include "Base/Export.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

namespace QELTA {

class ACIColor;
class HSBColor;
class HSLColor;
class LABColor;
class RGBColor;

// x, y and z on the scale where white is about (0.9505, 1, 1.089); alpha from 0 to 1.
class QELTA_BASE_EXPORT XYZColor {
  public:
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;
    float alpha = 1.0f;

    constexpr XYZColor() noexcept = default;
    constexpr XYZColor(float x_value, float y_value, float z_value, float alpha_value) noexcept
        : x(x_value), y(y_value), z(z_value), alpha(alpha_value) {}
    // Linearised with the exponent 2.2 where the published curve has 2.4; the way back uses
    // 1/2.4, so that a round trip does not return every byte. Stored colours depend on the
    // pair; keep both.
    explicit XYZColor(RGBColor const & color) noexcept;
    // x clamped to 0 to 0.9505, y to 0 to 1, z to 0 to 1.089; z is not scaled by its white value,
    // in line with LABColor(XYZColor).
    explicit XYZColor(LABColor const & color) noexcept;
    // Through RGBColor.
    explicit XYZColor(ACIColor const & color) noexcept;
    explicit XYZColor(HSBColor const & color) noexcept;
    explicit XYZColor(HSLColor const & color) noexcept;

    friend constexpr bool operator==(XYZColor const &, XYZColor const &) noexcept = default;
};

// "x,y,z,alpha", each by the double printer; missing fields read as NaN.
template <>
class QELTA_BASE_EXPORT StringStream<XYZColor> {
  public:
    static void fromString(StringView const & text, XYZColor & value) noexcept;
    static void toString(XYZColor const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

} // namespace QELTA
