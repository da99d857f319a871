// Vector, Vertex and Ray: fixed-size rows of components with element-wise arithmetic.
//
// All three are plain values of N components kept inline, with no heap and no lock; copies are
// bitwise. Nothing is checked or reported: component indices are the caller's to keep below N,
// and floating arithmetic follows IEEE rules (a NaN component stays NaN, a division by 0 gives
// an infinity). Vector<N, bool> packs its components, one bit each.
#pragma once

#include "Base/Text/BitReference.h"

#include <cmath>
#include <cstddef>
#include <type_traits>

namespace QELTA {

// N components of T in a row, component 0 first. A default Vector holds value-initialised
// components (0 for numbers). The arithmetic operators work component by component; a scalar
// applies to every component.
template <unsigned int N, class T>
class Vector {
  public:
    static_assert(N > 0, "a Vector has at least one component");
    static constexpr unsigned int size = N;

    T values[N];

    constexpr Vector() noexcept : values{} {}

    // One value for each component, in order.
    template <class... Components>
    requires(sizeof...(Components) == N && N > 1) constexpr Vector(Components... components) noexcept
        : values{static_cast<T>(components)...} {}

    static constexpr Vector Filled(T const & value) noexcept {
        Vector result;
        for (unsigned int i = 0; i < N; ++i) {
            result.values[i] = value;
        }
        return result;
    }

    constexpr T & operator[](unsigned int index) noexcept { return values[index]; }
    constexpr T const & operator[](unsigned int index) const noexcept { return values[index]; }

    constexpr Vector & operator+=(Vector const & other) noexcept {
        return apply(other, [](T & a, T const & b) { a += b; });
    }
    constexpr Vector & operator-=(Vector const & other) noexcept {
        return apply(other, [](T & a, T const & b) { a -= b; });
    }
    constexpr Vector & operator*=(Vector const & other) noexcept {
        return apply(other, [](T & a, T const & b) { a *= b; });
    }
    constexpr Vector & operator/=(Vector const & other) noexcept {
        return apply(other, [](T & a, T const & b) { a /= b; });
    }
    constexpr Vector & operator*=(T const & scalar) noexcept { return *this *= Filled(scalar); }
    constexpr Vector & operator/=(T const & scalar) noexcept { return *this /= Filled(scalar); }

    friend constexpr Vector operator+(Vector left, Vector const & right) noexcept { return left += right; }
    friend constexpr Vector operator-(Vector left, Vector const & right) noexcept { return left -= right; }
    friend constexpr Vector operator*(Vector left, Vector const & right) noexcept { return left *= right; }
    friend constexpr Vector operator/(Vector left, Vector const & right) noexcept { return left /= right; }
    friend constexpr Vector operator*(Vector left, T const & scalar) noexcept { return left *= scalar; }
    friend constexpr Vector operator*(T const & scalar, Vector right) noexcept { return right *= scalar; }
    friend constexpr Vector operator/(Vector left, T const & scalar) noexcept { return left /= scalar; }
    friend constexpr Vector operator-(Vector const & vector) noexcept { return Vector() - vector; }

    // Exact comparison of every component: a NaN component makes two vectors unequal.
    friend constexpr bool operator==(Vector const & left, Vector const & right) noexcept {
        for (unsigned int i = 0; i < N; ++i) {
            if (!(left.values[i] == right.values[i])) {
                return false;
            }
        }
        return true;
    }
    friend constexpr bool operator!=(Vector const & left, Vector const & right) noexcept { return !(left == right); }

    constexpr T dot(Vector const & other) const noexcept {
        T sum = values[0] * other.values[0];
        for (unsigned int i = 1; i < N; ++i) {
            sum += values[i] * other.values[i];
        }
        return sum;
    }
    constexpr T lengthSquared() const noexcept { return dot(*this); }
    T length() const noexcept { return std::sqrt(lengthSquared()); }
    // This vector divided by its length; a zero vector gives NaN components.
    Vector normalized() const noexcept { return *this / length(); }

  private:
    template <class Operation>
    constexpr Vector & apply(Vector const & other, Operation operation) noexcept {
        for (unsigned int i = 0; i < N; ++i) {
            operation(values[i], other.values[i]);
        }
        return *this;
    }
};

// N flags packed into bytes, component i in bit i % 8 of byte i / 8; the unused high bits of
// the last byte stay 0, so that equal flags compare equal byte for byte.
template <unsigned int N>
class Vector<N, bool> {
  public:
    static_assert(N > 0, "a Vector has at least one component");
    static constexpr unsigned int size = N;
    static constexpr unsigned int byte_count = (N + 7) / 8;

    unsigned char bits[byte_count];

    constexpr Vector() noexcept : bits{} {}

    template <class... Components>
    requires(sizeof...(Components) == N && N > 1) constexpr Vector(Components... components) noexcept : bits{} {
        unsigned int index = 0;
        ((set(index++, static_cast<bool>(components))), ...);
    }

    static constexpr Vector Filled(bool value) noexcept {
        Vector result;
        for (unsigned int i = 0; i < N; ++i) {
            result.set(i, value);
        }
        return result;
    }

    constexpr bool operator[](unsigned int index) const noexcept { return (bits[index / 8] >> (index % 8) & 1u) != 0; }
    BitReference operator[](unsigned int index) noexcept { return BitReference(&bits[index / 8], index % 8); }

    constexpr void set(unsigned int index, bool value) noexcept {
        unsigned char const mask = static_cast<unsigned char>(1u << (index % 8));
        bits[index / 8] = static_cast<unsigned char>(value ? (bits[index / 8] | mask) : (bits[index / 8] & ~mask));
    }

    constexpr bool all() const noexcept { return *this == Filled(true); }
    constexpr bool any() const noexcept { return *this != Vector(); }

    friend constexpr Vector operator&(Vector left, Vector const & right) noexcept {
        for (unsigned int i = 0; i < byte_count; ++i) {
            left.bits[i] = static_cast<unsigned char>(left.bits[i] & right.bits[i]);
        }
        return left;
    }
    friend constexpr Vector operator|(Vector left, Vector const & right) noexcept {
        for (unsigned int i = 0; i < byte_count; ++i) {
            left.bits[i] = static_cast<unsigned char>(left.bits[i] | right.bits[i]);
        }
        return left;
    }
    friend constexpr bool operator==(Vector const & left, Vector const & right) noexcept {
        for (unsigned int i = 0; i < byte_count; ++i) {
            if (left.bits[i] != right.bits[i]) {
                return false;
            }
        }
        return true;
    }
    friend constexpr bool operator!=(Vector const & left, Vector const & right) noexcept { return !(left == right); }
};

// Component-wise comparisons, one flag a component.
template <unsigned int N, class T>
constexpr Vector<N, bool> LessEqual(Vector<N, T> const & left, Vector<N, T> const & right) noexcept {
    Vector<N, bool> result;
    for (unsigned int i = 0; i < N; ++i) {
        result.set(i, left.values[i] <= right.values[i]);
    }
    return result;
}

template <unsigned int N, class T>
constexpr Vector<N, bool> Less(Vector<N, T> const & left, Vector<N, T> const & right) noexcept {
    Vector<N, bool> result;
    for (unsigned int i = 0; i < N; ++i) {
        result.set(i, left.values[i] < right.values[i]);
    }
    return result;
}

template <class T>
constexpr Vector<3, T> Cross(Vector<3, T> const & a, Vector<3, T> const & b) noexcept {
    return Vector<3, T>(a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]);
}

template <unsigned int N, class T, class Storage>
class Ray;

// A point. It holds the components of its Storage vector; a Matrix moves it with translation and
// the perspective divide. Point minus point is a Ray, point plus Ray a point.
template <unsigned int N, class T, class Storage = Vector<N, T>>
class Vertex : public Storage {
  public:
    using Storage::Storage;
    constexpr Vertex() noexcept = default;
    constexpr explicit Vertex(Storage const & components) noexcept : Storage(components) {}

    constexpr Storage const & vector() const noexcept { return *this; }

    friend constexpr Vertex operator+(Vertex const & point, Ray<N, T, Storage> const & direction) noexcept {
        return Vertex(point.vector() + direction.vector());
    }
    friend constexpr Vertex operator-(Vertex const & point, Ray<N, T, Storage> const & direction) noexcept {
        return Vertex(point.vector() - direction.vector());
    }
    friend constexpr Ray<N, T, Storage> operator-(Vertex const & to, Vertex const & from) noexcept {
        return Ray<N, T, Storage>(to.vector() - from.vector());
    }
};

// A direction. It holds the components of its Storage vector; a Matrix turns and scales it but
// never translates it.
template <unsigned int N, class T, class Storage = Vector<N, T>>
class Ray : public Storage {
  public:
    using Storage::Storage;
    constexpr Ray() noexcept = default;
    constexpr explicit Ray(Storage const & components) noexcept : Storage(components) {}

    constexpr Storage const & vector() const noexcept { return *this; }

    friend constexpr Ray operator+(Ray const & left, Ray const & right) noexcept {
        return Ray(left.vector() + right.vector());
    }
    friend constexpr Ray operator-(Ray const & left, Ray const & right) noexcept {
        return Ray(left.vector() - right.vector());
    }
    friend constexpr Ray operator*(Ray const & direction, T const & scalar) noexcept {
        return Ray(direction.vector() * scalar);
    }
    friend constexpr Ray operator-(Ray const & direction) noexcept { return Ray(-direction.vector()); }
    Ray normalized() const noexcept { return Ray(this->vector().normalized()); }
};

static_assert(std::is_trivially_copyable_v<Vector<3, float>> && sizeof(Vector<3, float>) == 12);
static_assert(sizeof(Vector<3, bool>) == 1 && sizeof(Vector<9, bool>) == 2);
static_assert(sizeof(Vertex<3, double>) == sizeof(Vector<3, double>));

} // namespace QELTA
