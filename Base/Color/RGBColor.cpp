// RGBColor: the conversions into bytes, packings, hexadecimal text, blending and the text form.
#include "Base/Color/RGBColor.h"

#include "Base/Color/ACIColor.h"
#include "Base/Color/HSBColor.h"
#include "Base/Color/HSLColor.h"
#include "Base/Color/Internal/ColorMath.h"
#include "Base/Color/Internal/ColorText.h"
#include "Base/Color/LABColor.h"
#include "Base/Color/XYZColor.h"
#include "Base/Files/Scanner.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/TypeInfo.h"

#include <cmath>

namespace QELTA {
namespace {

using ColorMath::byte_to_unit;
using ColorMath::ClampToByte;
using ColorMath::WrapToByte;

constexpr char hex_digits[] = "0123456789ABCDEF";
// The one text that may read as the value with all bits set.
constexpr char all_ones_text[] = "ffffffff";
constexpr unsigned int rgb_digits = 6;
constexpr float light_luminance = 0.4f;
constexpr Vector<3, float> luminance_weights(0.299f, 0.587f, 0.144f);

// 0 to 15, or 16 for a byte that is no hexadecimal digit.
unsigned int HexDigit(char c) noexcept {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned int>(c - '0');
    }
    if (c >= 'A' && c <= 'F') {
        return static_cast<unsigned int>(c - 'A' + 10);
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<unsigned int>(c - 'a' + 10);
    }
    return 16;
}

String HexText(std::initializer_list<unsigned char> bytes) {
    String text;
    text.ensureCapacity(static_cast<unsigned int>(2 * bytes.size()));
    for (unsigned char const byte : bytes) {
        text.append(hex_digits[byte >> 4]);
        text.append(hex_digits[byte & 15]);
    }
    return text;
}

bool EqualsIgnoringCase(StringView const & text, StringView const & lower) noexcept {
    if (text.size() != lower.size()) {
        return false;
    }
    for (unsigned int i = 0; i < text.size(); ++i) {
        char const c = text[i] >= 'A' && text[i] <= 'Z' ? static_cast<char>(text[i] - 'A' + 'a') : text[i];
        if (c != lower[i]) {
            return false;
        }
    }
    return true;
}

// The colour whose bytes in memory, read as a little-endian word, are `word`.
RGBColor FromMemoryWord(std::uint32_t word) noexcept {
    return RGBColor(word & 0xFF, (word >> 8) & 0xFF, (word >> 16) & 0xFF, word >> 24);
}

template <unsigned int N, class T>
RGBColor FromWrappedVector(Vector<N, T> const & v) noexcept {
    auto const byte = [&](unsigned int i) { return WrapToByte(static_cast<double>(v[i]) * 255.0); };
    if constexpr (N >= 3) {
        return RGBColor(byte(0), byte(1), byte(2), N == 4 ? byte(3) : RGBColor::opaque);
    } else {
        unsigned char const grey = byte(0);
        return RGBColor(grey, grey, grey, N == 2 ? byte(1) : RGBColor::opaque);
    }
}

} // namespace

RGBColor::RGBColor(float r, float g, float b, float a) noexcept
    : red(ClampToByte(r * 255.0f)), green(ClampToByte(g * 255.0f)), blue(ClampToByte(b * 255.0f)),
      alpha(ClampToByte(a * 255.0f)) {}

RGBColor::RGBColor(double r, double g, double b, double a) noexcept
    : red(ClampToByte(r * 255.0)), green(ClampToByte(g * 255.0)), blue(ClampToByte(b * 255.0)),
      alpha(ClampToByte(a * 255.0)) {}

RGBColor::RGBColor(Vector<4, float> const & rgba) noexcept : RGBColor(FromWrappedVector(rgba)) {}
RGBColor::RGBColor(Vector<4, double> const & rgba) noexcept : RGBColor(FromWrappedVector(rgba)) {}
RGBColor::RGBColor(Vector<3, float> const & rgb) noexcept : RGBColor(FromWrappedVector(rgb)) {}
RGBColor::RGBColor(Vector<3, double> const & rgb) noexcept : RGBColor(FromWrappedVector(rgb)) {}
RGBColor::RGBColor(Vector<2, float> const & grey_alpha) noexcept : RGBColor(FromWrappedVector(grey_alpha)) {}
RGBColor::RGBColor(Vector<2, double> const & grey_alpha) noexcept : RGBColor(FromWrappedVector(grey_alpha)) {}
RGBColor::RGBColor(Vector<1, float> const & grey) noexcept : RGBColor(FromWrappedVector(grey)) {}
RGBColor::RGBColor(Vector<1, double> const & grey) noexcept : RGBColor(FromWrappedVector(grey)) {}

RGBColor::RGBColor(XYZColor const & color) noexcept {
    // These constants differ in their last digits from the published inverse matrix; stored
    // colours were made with them, so they stay.
    float const r = 3.241f * color.x - 1.5374f * color.y - 0.4986f * color.z;
    float const g = -0.9692f * color.x + 1.876f * color.y + 0.0416f * color.z;
    float const b = 0.0556f * color.x - 0.204f * color.y + 1.057f * color.z;
    // No clamping: a channel a little beyond 0 to 1 wraps in the byte, as stored colours expect.
    red = WrapToByte(static_cast<double>(ColorMath::DisplayChannel(r)) * 255.0);
    green = WrapToByte(static_cast<double>(ColorMath::DisplayChannel(g)) * 255.0);
    blue = WrapToByte(static_cast<double>(ColorMath::DisplayChannel(b)) * 255.0);
    alpha = WrapToByte(static_cast<double>(color.alpha) * 255.0);
}

RGBColor::RGBColor(HSBColor const & color) noexcept {
    double const degrees = color.hue.index() / 32768.0 * 180.0;
    double const x = std::fmod(std::fmod(degrees, 360.0) + 360.0, 360.0) / 60.0;
    Vector<3, double> const rgb = ColorMath::Hexcone(x, color.saturation / 255.0, color.brightness / 255.0);
    red = WrapToByte(rgb[0] * 255.0);
    green = WrapToByte(rgb[1] * 255.0);
    blue = WrapToByte(rgb[2] * 255.0);
    alpha = color.alpha;
}

RGBColor::RGBColor(HSLColor const & color) noexcept {
    constexpr int full_turn = 65536;
    int hue = color.hue.value % full_turn;
    bool const negative = hue < 0;
    if (negative) {
        hue += full_turn;
    }
    // Six more sixths for a negative hue is a whole turn and changes nothing; it stays as stored.
    double const x = hue / static_cast<double>(full_turn) * 6.0 + (negative ? 6.0 : 0.0);
    Vector<3, double> const rgb = ColorMath::Hexcone(x, color.saturation / 255.0, color.luminance / 255.0);
    red = WrapToByte(rgb[0] * 255.0);
    green = WrapToByte(rgb[1] * 255.0);
    blue = WrapToByte(rgb[2] * 255.0);
    // Through a division and a multiplication by 255, as stored colours were made.
    alpha = WrapToByte(static_cast<float>(color.alpha) / 255.0f * 255.0f);
}

RGBColor::RGBColor(LABColor const & color) noexcept : RGBColor(XYZColor(color)) {}

RGBColor::RGBColor(ACIColor const & color) noexcept : RGBColor(color.getRBGAColor()) {}

Vector<3, float> RGBColor::get3F() const noexcept {
    return Vector<3, float>(red * byte_to_unit, green * byte_to_unit, blue * byte_to_unit);
}

Vector<4, float> RGBColor::get4F() const noexcept {
    return Vector<4, float>(red * byte_to_unit, green * byte_to_unit, blue * byte_to_unit, alpha * byte_to_unit);
}

std::uint32_t RGBColor::convertToRGBA32BitColor() const noexcept {
    return static_cast<std::uint32_t>(red) << 24 | static_cast<std::uint32_t>(green) << 16 |
           static_cast<std::uint32_t>(blue) << 8 | alpha;
}

RGBColor RGBColor::CreateRGBA32BitColor(std::uint32_t rgba) noexcept {
    return RGBColor(rgba >> 24, (rgba >> 16) & 0xFF, (rgba >> 8) & 0xFF, rgba & 0xFF);
}

std::uint32_t RGBColor::convertToABGR32BitColor() const noexcept {
    return static_cast<std::uint32_t>(alpha) << 24 | static_cast<std::uint32_t>(blue) << 16 |
           static_cast<std::uint32_t>(green) << 8 | red;
}

RGBColor RGBColor::CreateARGB32BitColor(std::uint32_t argb) noexcept {
    return RGBColor((argb >> 16) & 0xFF, (argb >> 8) & 0xFF, argb & 0xFF, argb >> 24);
}

std::uint32_t RGBColor::convertTo24BitColor() const noexcept {
    return static_cast<std::uint32_t>(red) << 16 | static_cast<std::uint32_t>(green) << 8 | blue;
}

void RGBColor::create24BitColor(std::uint32_t rgb) noexcept {
    *this = RGBColor((rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF, rgb & 0xFF, opaque);
}

String RGBColor::getHexRGB() const {
    return HexText({red, green, blue});
}

String RGBColor::getHexRGBA() const {
    return HexText({red, green, blue, alpha});
}

String RGBColor::getHexARGB() const {
    return HexText({alpha, red, green, blue});
}

RGBColor RGBColor::FromHexARGB(StringView const & text) noexcept {
    StringView const digits = !text.isEmpty() && text[0] == '#' ? text.substr(1) : text;
    if (digits.size() < rgb_digits) {
        return ErrorColor();
    }
    std::uint32_t value = 0;
    for (char const c : digits) {
        unsigned int const digit = HexDigit(c);
        if (digit > 15) {
            break;
        }
        if (value > 0x0FFFFFFFu) {
            // More digits than 32 bits hold read as all bits set, which is refused below.
            value = 0xFFFFFFFFu;
            break;
        }
        value = value << 4 | digit;
    }
    if (value == 0xFFFFFFFFu && !EqualsIgnoringCase(digits, StringView(all_ones_text))) {
        return ErrorColor();
    }
    if (digits.size() == rgb_digits) {
        return RGBColor((value >> 16) & 0xFF, (value >> 8) & 0xFF, value & 0xFF, opaque);
    }
    return CreateARGB32BitColor(value);
}

float RGBColor::luminance() const noexcept {
    XYZColor const xyz(*this);
    return Vector<3, float>(xyz.x, xyz.y, xyz.z).dot(luminance_weights);
}

bool RGBColor::isLight() const noexcept {
    return luminance() > light_luminance;
}

RGBColor RGBColor::contrastingColor() const noexcept {
    return isLight() ? RGBColor(0, 0, 0, opaque) : RGBColor(255, 255, 255, opaque);
}

TranslatedString RGBColor::getName() const {
    return LABColor(XYZColor(*this)).getName();
}

RGBColor RGBColor::Average(RGBColor const & a, RGBColor const & b, float t) noexcept {
    if (t <= 0.0f) {
        return a;
    }
    if (t >= 1.0f) {
        return b;
    }
    return RGBColor(a.get4F() * (1.0f - t) + b.get4F() * t);
}

RGBColor RGBColor::Average(RGBColor const & a, RGBColor const & b, RGBColor const & c) noexcept {
    return RGBColor((a.get4F() + b.get4F() + c.get4F()) / 3.0f);
}

RGBColor RGBColor::AverageLAB(RGBColor const & a, RGBColor const & b, float t) noexcept {
    if (t <= 0.0f) {
        return a;
    }
    if (t >= 1.0f) {
        return b;
    }
    LABColor const from{XYZColor(a)};
    LABColor const to{XYZColor(b)};
    float const keep = 1.0f - t;
    LABColor const mixed(keep * from.l + t * to.l, keep * from.a + t * to.a, keep * from.b + t * to.b,
                         keep * from.alpha + t * to.alpha);
    return RGBColor(XYZColor(mixed));
}

void StringStream<RGBColor>::fromString(StringView const & text, RGBColor & value) noexcept {
    unsigned char channels[4] = {255, 255, 255, 255};
    ColorText::ReadFields(
        text, 4, [&](unsigned int index, StringView const & field) { ColorText::ReadField(field, channels[index]); });
    value = RGBColor(channels[0], channels[1], channels[2], channels[3]);
}

void StringStream<RGBColor>::toString(RGBColor const & value, StringAllocatingView & out) {
    ColorText::WriteFields(out, value.red, value.green, value.blue, value.alpha);
}

char const * StringStream<RGBColor>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

// Declared with the other field readers in Scanner.h.
template <>
RGBColor Scanner::getNext<RGBColor>() {
    constexpr unsigned int max_index_digits = 3;
    StringView const field = getNext();
    if (field.isEmpty()) {
        return RGBColor::ErrorColor();
    }
    if (field[0] == '#') {
        // The digits are the colour's bytes in memory read as a little-endian word, so "#" is
        // followed by alpha, blue, green and red; files read by this reader are written so.
        std::uint32_t word = 0;
        for (unsigned int i = 1; i < field.size() && HexDigit(field[i]) <= 15; ++i) {
            word = word << 4 | HexDigit(field[i]);
        }
        return FromMemoryWord(word);
    }
    if (field.size() > max_index_digits) {
        return RGBColor::ErrorColor();
    }
    for (char const c : field) {
        if (!((c >= '0' && c <= '9') || c == '-' || c == '.')) {
            return RGBColor::ErrorColor();
        }
    }
    unsigned int index = 0;
    ColorText::ReadField(field, index);
    return index < 256 ? ACIColor(static_cast<unsigned char>(index)).getRBGAColor() : RGBColor::ErrorColor();
}

} // namespace QELTA
