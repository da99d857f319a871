// The arithmetic the colour models share: byte scaling, the transfer curves and the hexcone.
//
// Plain functions and constants, reentrant; the one table is built once under the guard of a
// function-local static. Nothing raises or reports.
#pragma once

#include "Base/Color/RGBColor.h"

#include <cmath>

namespace QELTA::ColorMath {

// A byte times this float is the channel in 0 to 1.
inline constexpr float byte_to_unit = 0.003921569f;

// `value` truncated toward zero and cut to its low 8 bits, so 382.5 gives 126 and -2.5 gives 254.
// NaN and values beyond the 64-bit range give 0 rather than undefined behaviour.
inline unsigned char WrapToByte(double value) noexcept {
    if (!(value > -9.0e18 && value < 9.0e18)) {
        return 0;
    }
    return static_cast<unsigned char>(static_cast<unsigned long long>(static_cast<long long>(value)));
}

inline unsigned char WrapToByte(float value) noexcept {
    return WrapToByte(static_cast<double>(value));
}

// `value` clamped to 0 to 255 and truncated; NaN gives 0.
inline unsigned char ClampToByte(double value) noexcept {
    if (!(value > 0.0)) {
        return 0;
    }
    return value >= 255.0 ? 255 : static_cast<unsigned char>(value);
}

inline unsigned char ClampToByte(float value) noexcept {
    return ClampToByte(static_cast<double>(value));
}

// The channel `byte` made linear: c / 12.92 up to 0.04045, else ((c + 0.055) / 1.055)^2.2, with
// the exponent 2.2 where the published curve has 2.4, deliberately (see XYZColor).
inline float LinearChannel(unsigned char byte) noexcept {
    float const c = static_cast<float>(byte) * byte_to_unit;
    return c <= 0.04045f ? c / 12.92f : std::pow((c + 0.055f) / 1.055f, 2.2f);
}

// LinearChannel of every byte, computed by the same expression.
float const * LinearChannelTable() noexcept;

// The linear channel `c` back on the display curve: 12.92 c up to 0.0031308 (compared in
// double), else 1.055 c^0.41666666 - 0.055 in single precision.
inline float DisplayChannel(float c) noexcept {
    return static_cast<double>(c) <= 0.0031308 ? 12.92f * c : 1.055f * std::pow(c, 0.41666666f) - 0.055f;
}

// Red, green and blue in 0 to 1 of the hexcone: `x` is the hue in sixths of the circle, at least
// 0 (whole turns added do not matter), `s` the saturation and `v` the value in 0 to 1. A
// negative, NaN or infinite `x` gives black.
Vector<3, double> Hexcone(double x, double s, double v) noexcept;

} // namespace QELTA::ColorMath
