// HSBColor: the conversion from bytes, the chains through RGBColor, colour mapping and the text form.
#include "Base/Color/HSBColor.h"

#include "Base/Color/ACIColor.h"
#include "Base/Color/Internal/ColorMath.h"
#include "Base/Color/Internal/ColorText.h"
#include "Base/Color/LABColor.h"
#include "Base/Color/RGBColor.h"
#include "Base/Color/XYZColor.h"
#include "Base/Text/TypeInfo.h"

#include <algorithm>
#include <cmath>

namespace QELTA {
namespace {

using ColorMath::byte_to_unit;

// Degrees to the index units of the hue, truncated; NaN and values beyond int give the absent hue.
Angle<int> HueFromDegrees(float degrees) noexcept {
    float const index = degrees / 180.0f * 32768.0f;
    if (!(index > -2147483648.0f && index < 2147483648.0f)) {
        return Angle<int>::Invalid();
    }
    return Angle<int>(static_cast<int>(index));
}

// A part in 0 to 1 as a byte: clamped below at 0, times 255 and truncated; above 1 it stores the
// byte 1, deliberately (see the header).
unsigned char PartToByte(float part) noexcept {
    if (part > 1.0f) {
        return 1;
    }
    return ColorMath::WrapToByte(std::max(part, 0.0f) * 255.0f);
}

float SquaredDistance(LABColor const & p, LABColor const & q) noexcept {
    float const dl = p.l - q.l;
    float const da = p.a - q.a;
    float const db = p.b - q.b;
    float const dalpha = p.alpha - q.alpha;
    return dl * dl + da * da + db * db + dalpha * dalpha;
}

HSBColor FromLAB(LABColor const & color) noexcept {
    return HSBColor(RGBColor(XYZColor(color)));
}

} // namespace

HSBColor::HSBColor(RGBColor const & color) noexcept : alpha(color.alpha) {
    float const r = color.red * byte_to_unit;
    float const g = color.green * byte_to_unit;
    float const b = color.blue * byte_to_unit;
    float const max = std::max({r, g, b});
    float const min = std::min({r, g, b});
    float const delta = max - min;
    float degrees = 0.0f;
    if (delta != 0.0f) {
        if (max == r) {
            degrees = (g - b) * 60.0f / delta + (b > g ? 360.0f : 0.0f);
        } else if (max == g) {
            degrees = (b - r) * 60.0f / delta + 120.0f;
        } else {
            degrees = (r - g) * 60.0f / delta + 240.0f;
        }
    }
    hue = HueFromDegrees(degrees);
    float const s = max == 0.0f ? 0.0f : delta / max;
    saturation = static_cast<unsigned char>(std::min(255.0f, s * 255.0f + 0.5f));
    brightness = static_cast<unsigned char>(std::min(255.0f, max * 255.0f + 0.5f));
}

HSBColor::HSBColor(ACIColor const & color) noexcept : HSBColor(color.getRBGAColor()) {}

HSBColor::HSBColor(XYZColor const & color) noexcept : HSBColor(RGBColor(color)) {}

HSBColor::HSBColor(Vector<4, float> const & hsba) noexcept
    : hue(HueFromDegrees(hsba[0])), saturation(PartToByte(hsba[1])), brightness(PartToByte(hsba[2])),
      alpha(ColorMath::WrapToByte(hsba[3] * 255.0f)) {}

HSBColor HSBColor::ConvertColor(LABColor const & color, Buffer<std::pair<LABColor, LABColor>> const & map,
                                bool apply_differences, bool keep_alpha) {
    std::pair<LABColor, LABColor> const * nearest = nullptr;
    float best = 0.0f;
    for (auto const & pair : map) {
        float const distance = SquaredDistance(color, pair.first);
        if (nearest == nullptr || distance < best) {
            nearest = &pair;
            best = distance;
        }
    }
    HSBColor result;
    int saturation_difference = 0;
    int brightness_difference = 0;
    if (nearest != nullptr) {
        HSBColor const own = FromLAB(color);
        HSBColor const from = FromLAB(nearest->first);
        saturation_difference = own.saturation - from.saturation;
        brightness_difference = own.brightness - from.brightness;
        result = FromLAB(nearest->second);
    } else {
        // No pair at all: black, and nothing to add.
        result = FromLAB(LABColor());
    }
    if (apply_differences) {
        result.saturation = static_cast<unsigned char>(std::clamp(result.saturation + saturation_difference, 0, 255));
        result.brightness = static_cast<unsigned char>(std::clamp(result.brightness + brightness_difference, 0, 255));
    }
    if (keep_alpha) {
        // The alpha of `color` runs from 0 to 1 and is truncated without scaling: mapped colours
        // were stored so.
        result.alpha = ColorMath::WrapToByte(color.alpha);
    }
    return result;
}

void StringStream<HSBColor>::fromString(StringView const & text, HSBColor & value) noexcept {
    HSBColor read(Angle<int>::Invalid(), 255, 255, 255);
    ColorText::ReadFields(text, 4, [&](unsigned int index, StringView const & field) {
        switch (index) {
        case 0:
            ColorText::ReadField(field, read.hue);
            break;
        case 1:
            ColorText::ReadField(field, read.saturation);
            break;
        case 2:
            ColorText::ReadField(field, read.brightness);
            break;
        default:
            ColorText::ReadField(field, read.alpha);
            break;
        }
    });
    value = read;
}

void StringStream<HSBColor>::toString(HSBColor const & value, StringAllocatingView & out) {
    ColorText::WriteFields(out, value.hue, value.saturation, value.brightness, value.alpha);
}

char const * StringStream<HSBColor>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

} // namespace QELTA
