// Bounds: an inclusive box between a low and a high point.
//
// A plain value of two points, with no heap and no lock; nothing is checked or reported. The
// empty box (Empty()) has its low point above its high point in every component, so that the
// first added point makes it a box of that one point.
#pragma once

#include "Base/Geometry/Vector.h"

#include <limits>

namespace QELTA {

// low and high are both inside the box. A box with low above high in any component contains
// nothing; NaN components make every containment test false.
template <unsigned int N, class T, class Point = Vertex<N, T>>
class Bounds {
  public:
    Point low;
    Point high;

    constexpr Bounds() noexcept = default;
    constexpr Bounds(Point const & low_point, Point const & high_point) noexcept : low(low_point), high(high_point) {}

    static constexpr Bounds Empty() noexcept {
        return Bounds(Point(Point::Filled(std::numeric_limits<T>::max())),
                      Point(Point::Filled(std::numeric_limits<T>::lowest())));
    }

    constexpr bool isEmpty() const noexcept { return Less(high.vector(), low.vector()).any(); }

    constexpr bool contains(Point const & point) const noexcept {
        return (LessEqual(low.vector(), point.vector()) & LessEqual(point.vector(), high.vector())).all();
    }

    // Grows the box just enough to contain `point`.
    constexpr Bounds & addPoint(Point const & point) noexcept {
        for (unsigned int i = 0; i < N; ++i) {
            low[i] = point[i] < low[i] ? point[i] : low[i];
            high[i] = high[i] < point[i] ? point[i] : high[i];
        }
        return *this;
    }

    constexpr Point center() const noexcept { return Point((low.vector() + high.vector()) / T(2)); }
};

} // namespace QELTA
