// HSLColor: the walk of the hexcone on the luminance, and the text form.
#include "Base/Color/HSLColor.h"

#include "Base/Color/ACIColor.h"
#include "Base/Color/Internal/ColorMath.h"
#include "Base/Color/Internal/ColorText.h"
#include "Base/Color/RGBColor.h"
#include "Base/Color/XYZColor.h"
#include "Base/Text/TypeInfo.h"

namespace QELTA {

HSLColor::HSLColor(RGBColor const & color) noexcept : saturation(255), alpha(color.alpha) {
    float const m = color.luminance() * 6.0f;
    int const k = static_cast<int>(m);
    float const f = m - static_cast<float>(k);
    float u = 0.0f;
    float w = 0.0f;
    switch (k % 6) {
    case 0:
        u = 1.0f;
        w = 0.0f;
        break;
    case 1:
        u = 1.0f - f;
        w = 0.0f;
        break;
    case 2:
        u = 0.0f;
        w = f;
        break;
    case 3:
        u = 0.0f;
        w = 1.0f;
        break;
    case 4:
        u = f;
        w = 1.0f;
        break;
    default:
        u = 1.0f;
        w = 1.0f - f;
        break;
    }
    hue = Angle<int>(static_cast<int>(u / 180.0f * 32768.0f));
    luminance = ColorMath::WrapToByte(w * 255.0f);
}

HSLColor::HSLColor(ACIColor const &) noexcept : hue(0) {}

HSLColor::HSLColor(XYZColor const & color) noexcept : HSLColor(RGBColor(color)) {}

void StringStream<HSLColor>::fromString(StringView const & text, HSLColor & value) noexcept {
    HSLColor read(Angle<int>::Invalid(), 255, 255, 255);
    ColorText::ReadFields(text, 4, [&](unsigned int index, StringView const & field) {
        switch (index) {
        case 0:
            ColorText::ReadField(field, read.hue);
            break;
        case 1:
            ColorText::ReadField(field, read.saturation);
            break;
        case 2:
            ColorText::ReadField(field, read.luminance);
            break;
        default:
            ColorText::ReadField(field, read.alpha);
            break;
        }
    });
    value = read;
}

void StringStream<HSLColor>::toString(HSLColor const & value, StringAllocatingView & out) {
    ColorText::WriteFields(out, value.hue, value.saturation, value.luminance, value.alpha);
}

char const * StringStream<HSLColor>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

} // namespace QELTA
