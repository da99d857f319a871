// XYZColor: the conversions from bytes and from L*a*b*, and the text form.
#include "Base/Color/XYZColor.h"

#include "Base/Color/ACIColor.h"
#include "Base/Color/HSBColor.h"
#include "Base/Color/HSLColor.h"
#include "Base/Color/Internal/ColorMath.h"
#include "Base/Color/Internal/ColorText.h"
#include "Base/Color/LABColor.h"
#include "Base/Color/RGBColor.h"
#include "Base/Text/TypeInfo.h"

#include <algorithm>
#include <limits>

namespace QELTA {
namespace {

constexpr float white_x = 0.9505f;
constexpr float max_z = 1.089f;
constexpr double f_threshold = 0.20689656;
constexpr double f_offset = 0.13793103;
constexpr double linear_slope = 3.0 * 0.042806186;

// The inverse of the curve of LABColor(XYZColor).
double InverseF(double t) noexcept {
    return t > f_threshold ? t * t * t : (t - f_offset) * linear_slope;
}

// std::clamp with NaN kept.
float Clamp(double value, float high) noexcept {
    return value != value ? static_cast<float>(value) : std::clamp(static_cast<float>(value), 0.0f, high);
}

} // namespace

XYZColor::XYZColor(RGBColor const & color) noexcept {
    float const * const linear = ColorMath::LinearChannelTable();
    float const r = linear[color.red];
    float const g = linear[color.green];
    float const b = linear[color.blue];
    x = 0.4124f * r + 0.3576f * g + 0.1805f * b;
    y = 0.2126f * r + 0.7152f * g + 0.0722f * b;
    z = 0.0193f * r + 0.1192f * g + 0.9505f * b;
    alpha = color.alpha * ColorMath::byte_to_unit;
}

XYZColor::XYZColor(LABColor const & color) noexcept {
    double const fy = (static_cast<double>(color.l) + 16.0) / 116.0;
    double const fx = static_cast<double>(color.a) / 500.0 + fy;
    double const fz = fy - static_cast<double>(color.b) / 200.0;
    x = Clamp(InverseF(fx) * static_cast<double>(white_x), white_x);
    y = Clamp(InverseF(fy), 1.0f);
    z = Clamp(InverseF(fz), max_z);
    alpha = color.alpha;
}

XYZColor::XYZColor(ACIColor const & color) noexcept : XYZColor(color.getRBGAColor()) {}

XYZColor::XYZColor(HSBColor const & color) noexcept : XYZColor(RGBColor(color)) {}

XYZColor::XYZColor(HSLColor const & color) noexcept : XYZColor(RGBColor(color)) {}

void StringStream<XYZColor>::fromString(StringView const & text, XYZColor & value) noexcept {
    float fields[4] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::quiet_NaN(),
                       std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::quiet_NaN()};
    ColorText::ReadFields(
        text, 4, [&](unsigned int index, StringView const & field) { ColorText::ReadField(field, fields[index]); });
    value = XYZColor(fields[0], fields[1], fields[2], fields[3]);
}

void StringStream<XYZColor>::toString(XYZColor const & value, StringAllocatingView & out) {
    ColorText::WriteFields(out, value.x, value.y, value.z, value.alpha);
}

char const * StringStream<XYZColor>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

} // namespace QELTA
