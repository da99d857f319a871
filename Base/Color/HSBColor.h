// HSBColor: a colour as hue, saturation and brightness (the hexcone), and colour mapping by pairs.
//
// A plain value with no heap and no lock. Nothing raises: the hue may be absent (the invalid
// Angle<int>), which converts to black, and text that cannot be read gives an absent hue or
// the byte 255.
#pragma once

#include "Base/Color/LABColor.h"
#include "Base/Export.h"
#include "Base/Geometry/Angle.h"
#include "Base/Geometry/Vector.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

#include <utility>

namespace QELTA {

class ACIColor;
class RGBColor;
class XYZColor;

// `hue` in index units (65536 to the circle, 32768 to 180 degrees); saturation, brightness and
// alpha as bytes from 0 to 255.
class QELTA_BASE_EXPORT HSBColor {
  public:
    Angle<int> hue;
    unsigned char saturation = 0;
    unsigned char brightness = 0;
    unsigned char alpha = 255;

    constexpr HSBColor() noexcept = default;
    constexpr HSBColor(Angle<int> hue_value, unsigned char saturation_value, unsigned char brightness_value,
                       unsigned char alpha_value) noexcept
        : hue(hue_value), saturation(saturation_value), brightness(brightness_value), alpha(alpha_value) {}
    // A grey has the hue 0, not an absent hue.
    explicit HSBColor(RGBColor const & color) noexcept;
    // Through RGBColor.
    explicit HSBColor(ACIColor const & color) noexcept;
    explicit HSBColor(XYZColor const & color) noexcept;
    // Hue in degrees, saturation and brightness in 0 to 1, alpha in 0 to 1. Saturation and
    // brightness are clamped below at 0, but a value above 1 stores the byte 1, not 255:
    // deliberately, as random colours are made so. A hue that is NaN or beyond the int range
    // is absent.
    explicit HSBColor(Vector<4, float> const & hsba) noexcept;

    // Carries `color` through a table of (from, to) pairs: the result is the HSBColor of the
    // `to` of the pair whose `from` is nearest to `color` (the squared distance over all four
    // components, the first of equal distances winning). With `apply_differences`, the
    // saturation and brightness bytes by which `color` differs from that `from` are added, clamped
    // to 0 to 255. With `keep_alpha`, the alpha byte is `color.alpha` truncated without scaling,
    // so 0 or 1, as stored mappings expect. An empty table maps every colour to black with no
    // differences.
    static HSBColor ConvertColor(LABColor const & color, Buffer<std::pair<LABColor, LABColor>> const & map,
                                 bool apply_differences, bool keep_alpha);

    friend constexpr bool operator==(HSBColor const &, HSBColor const &) noexcept = default;
};

// "hue,saturation,brightness,alpha": the hue as Angle<int> (an absent hue is "NaN"), then three
// unsigned chars. Missing fields are an absent hue and the byte 255.
template <>
class QELTA_BASE_EXPORT StringStream<HSBColor> {
  public:
    static void fromString(StringView const & text, HSBColor & value) noexcept;
    static void toString(HSBColor const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

} // namespace QELTA
