// Matrix<double, 4, 4>: the transform of points and directions in three dimensions.
//
// A plain value of sixteen doubles with no heap and no lock. Nothing raises or reports: a matrix
// with no inverse inverts to all NaN, and a point whose perspective divisor is 0 comes out as
// infinities or NaN.
#pragma once

#include "Base/Export.h"
#include "Base/Geometry/Angle.h"
#include "Base/Geometry/Vector.h"

namespace QELTA {

// Only Matrix<double, 4, 4> exists so far.
template <class T, unsigned int Rows, unsigned int Columns>
class Matrix;

// Sixteen doubles by columns: the element of row r and column c is values[r + 4 * c], so a point
// (x, y, z) maps to x' = x*m[0] + y*m[4] + z*m[8] + m[12] (and y', z' alike) and is then divided
// by x*m[3] + y*m[7] + z*m[11] + m[15]. A product applies its right operand first:
// (a * b).transform(p) is a.transform(b.transform(p)). A default matrix is the identity.
template <>
class QELTA_BASE_EXPORT Matrix<double, 4, 4> {
  public:
    using Point = Vertex<3, double>;
    using Direction = Ray<3, double>;

    double values[16];

    constexpr Matrix() noexcept : values{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1} {}

    static constexpr Matrix Identity() noexcept { return Matrix(); }
    // Multiplies x, y and z by `factor`.
    static Matrix Scale(double factor) noexcept;
    static Matrix Translation(Direction const & offset) noexcept;
    // A turn by `angle` about `axis` (of any non-zero length), counter-clockwise when the axis
    // points at the viewer: a quarter turn about z takes x to y.
    static Matrix Rotation(Angle<double> const & angle, Direction const & axis) noexcept;

    constexpr double & operator()(unsigned int row, unsigned int column) noexcept { return values[row + 4 * column]; }
    constexpr double operator()(unsigned int row, unsigned int column) const noexcept {
        return values[row + 4 * column];
    }

    friend QELTA_BASE_EXPORT Matrix operator*(Matrix const & left, Matrix const & right) noexcept;
    Matrix & operator*=(Matrix const & right) noexcept { return *this = *this * right; }

    double determinant() const noexcept;
    // The inverse by elimination with partial pivoting; all NaN when the matrix has none.
    Matrix inverse() const noexcept;

    // The point with translation and the perspective divide.
    Point transform(Point const & point) const noexcept;
    // The direction through the upper 3x3 block only: no translation, no divide.
    Direction transform(Direction const & direction) const noexcept;

    // Exact comparison of the sixteen doubles: a NaN element makes two matrices unequal.
    friend QELTA_BASE_EXPORT bool operator==(Matrix const & left, Matrix const & right) noexcept;
    friend bool operator!=(Matrix const & left, Matrix const & right) noexcept { return !(left == right); }
};

} // namespace QELTA
