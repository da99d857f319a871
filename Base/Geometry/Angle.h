// Angle: an angle in index units, 65536 to the full turn, and its text forms.
//
// An Angle is a plain value of one number, for T double, int and unsigned short, with no lock.
// Nothing raises. The lowest int value means "no angle": it reads as NaN through index(),
// degrees() and radians(), and NaN or an index out of int range converts back to it. An
// unsigned short angle wraps at the full turn. The text forms are those of StringStream.
#pragma once

#include "Base/Export.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

#include <cmath>
#include <limits>
#include <numbers>
#include <type_traits>

namespace QELTA {

// `value` is in index units: 16384 is a quarter turn, 65536 the full turn. Conversions from
// double round to the nearest index for the integer types. The arithmetic of the integer types
// wraps (int in 32 bits, unsigned short at the full turn); on the invalid int angle it has no
// meaning, so test isValid() first.
template <class T>
class Angle {
  public:
    static_assert(std::is_same_v<T, double> || std::is_same_v<T, int> || std::is_same_v<T, unsigned short>,
                  "Angle holds a double, an int or an unsigned short");

    static constexpr double full_turn = 65536.0;
    static constexpr double degrees_per_index = 360.0 / full_turn;
    static constexpr double radians_per_index = std::numbers::pi / 32768.0;

    T value;

    constexpr Angle() noexcept : value(0) {}
    constexpr explicit Angle(T index) noexcept : value(index) {}
    // From an angle of another type through its index; see FromIndex.
    template <class U>
    requires(!std::is_same_v<T, U>) explicit Angle(Angle<U> const & other) noexcept
        : value(FromIndex(other.index()).value) {}

    // The "no angle" value: NaN for double, the lowest int for int. An unsigned short has none
    // and gives 0.
    static constexpr Angle Invalid() noexcept {
        if constexpr (std::is_same_v<T, double>) {
            return Angle(std::numeric_limits<double>::quiet_NaN());
        } else if constexpr (std::is_same_v<T, int>) {
            return Angle(std::numeric_limits<int>::lowest());
        } else {
            return Angle();
        }
    }

    constexpr bool isValid() const noexcept {
        if constexpr (std::is_same_v<T, double>) {
            return value == value;
        } else if constexpr (std::is_same_v<T, int>) {
            return value != std::numeric_limits<int>::lowest();
        } else {
            return true;
        }
    }

    // The index as a double; NaN for the invalid value.
    constexpr double index() const noexcept {
        return isValid() ? static_cast<double>(value) : std::numeric_limits<double>::quiet_NaN();
    }
    constexpr double degrees() const noexcept { return index() * degrees_per_index; }
    constexpr double radians() const noexcept { return index() * radians_per_index; }

    // NaN gives Invalid(). For int, the nearest index, or Invalid() outside the int range; for
    // unsigned short, the nearest index taken modulo the full turn.
    static Angle FromIndex(double index) noexcept {
        if constexpr (std::is_same_v<T, double>) {
            return Angle(index);
        } else {
            if (!(std::fabs(index) < 2147483647.5)) {
                return Invalid();
            }
            long const nearest = std::lround(index);
            if constexpr (std::is_same_v<T, int>) {
                return Angle(static_cast<int>(nearest));
            } else {
                return Angle(static_cast<unsigned short>(static_cast<unsigned long>(nearest) & 0xFFFFul));
            }
        }
    }
    static Angle FromDegrees(double degrees) noexcept { return FromIndex(degrees / degrees_per_index); }
    static Angle FromRadians(double radians) noexcept { return FromIndex(radians / radians_per_index); }

    constexpr Angle & operator+=(Angle const & other) noexcept {
        value = Wrap(Widen(value) + Widen(other.value));
        return *this;
    }
    constexpr Angle & operator-=(Angle const & other) noexcept {
        value = Wrap(Widen(value) - Widen(other.value));
        return *this;
    }
    friend constexpr Angle operator+(Angle left, Angle const & right) noexcept { return left += right; }
    friend constexpr Angle operator-(Angle left, Angle const & right) noexcept { return left -= right; }
    friend constexpr Angle operator-(Angle const & angle) noexcept { return Angle() - angle; }
    // Scaling goes through FromIndex for the integer types.
    friend Angle operator*(Angle const & angle, double factor) noexcept { return FromIndex(angle.index() * factor); }
    friend Angle operator/(Angle const & angle, double divisor) noexcept { return FromIndex(angle.index() / divisor); }

    friend constexpr bool operator==(Angle const & left, Angle const & right) noexcept {
        return left.value == right.value;
    }
    friend constexpr bool operator!=(Angle const & left, Angle const & right) noexcept { return !(left == right); }
    friend constexpr bool operator<(Angle const & left, Angle const & right) noexcept {
        return left.value < right.value;
    }
    friend constexpr bool operator<=(Angle const & left, Angle const & right) noexcept {
        return left.value <= right.value;
    }

  private:
    // Integer arithmetic in unsigned 32 bits, so that int wraps instead of overflowing.
    using Wide = std::conditional_t<std::is_same_v<T, double>, double, unsigned int>;
    static constexpr Wide Widen(T v) noexcept { return static_cast<Wide>(v); }
    static constexpr T Wrap(Wide v) noexcept { return static_cast<T>(v); }
};

// The integer angle is read as a float and truncated toward 0; NaN, and a value outside the int
// range, give the invalid angle. It prints through the double printer, the invalid angle as "NaN".
template <>
class QELTA_BASE_EXPORT StringStream<Angle<int>> {
  public:
    static void fromString(StringView const & text, Angle<int> & value) noexcept;
    static void toString(Angle<int> const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

// Exactly the text form of double.
template <>
class QELTA_BASE_EXPORT StringStream<Angle<double>> {
  public:
    static void fromString(StringView const & text, Angle<double> & value) noexcept;
    static void toString(Angle<double> const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

} // namespace QELTA
