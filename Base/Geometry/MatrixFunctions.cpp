// The algebra of the 4x4 matrix.
#include "Base/Geometry/Matrix.h"

#include <cmath>
#include <limits>
#include <utility>

namespace QELTA {

using Matrix4 = Matrix<double, 4, 4>;

Matrix4 Matrix4::Scale(double factor) noexcept {
    Matrix4 result;
    result(0, 0) = factor;
    result(1, 1) = factor;
    result(2, 2) = factor;
    return result;
}

Matrix4 Matrix4::Translation(Direction const & offset) noexcept {
    Matrix4 result;
    result(0, 3) = offset[0];
    result(1, 3) = offset[1];
    result(2, 3) = offset[2];
    return result;
}

Matrix4 Matrix4::Rotation(Angle<double> const & angle, Direction const & axis) noexcept {
    Direction const unit = axis.normalized();
    double const x = unit[0];
    double const y = unit[1];
    double const z = unit[2];
    double const c = std::cos(angle.radians());
    double const s = std::sin(angle.radians());
    double const t = 1.0 - c;
    // c I + s [axis]x + (1 - c) axis axis^T
    Matrix4 result;
    result(0, 0) = t * x * x + c;
    result(0, 1) = t * x * y - s * z;
    result(0, 2) = t * x * z + s * y;
    result(1, 0) = t * x * y + s * z;
    result(1, 1) = t * y * y + c;
    result(1, 2) = t * y * z - s * x;
    result(2, 0) = t * x * z - s * y;
    result(2, 1) = t * y * z + s * x;
    result(2, 2) = t * z * z + c;
    return result;
}

Matrix4 operator*(Matrix4 const & left, Matrix4 const & right) noexcept {
    Matrix4 result;
    for (unsigned int row = 0; row < 4; ++row) {
        for (unsigned int column = 0; column < 4; ++column) {
            double sum = 0.0;
            for (unsigned int k = 0; k < 4; ++k) {
                sum += left(row, k) * right(k, column);
            }
            result(row, column) = sum;
        }
    }
    return result;
}

double Matrix4::determinant() const noexcept {
    // Elimination on a copy; each row swap changes the sign.
    double m[4][4];
    for (unsigned int row = 0; row < 4; ++row) {
        for (unsigned int column = 0; column < 4; ++column) {
            m[row][column] = (*this)(row, column);
        }
    }
    double result = 1.0;
    for (unsigned int pivot = 0; pivot < 4; ++pivot) {
        unsigned int best = pivot;
        for (unsigned int row = pivot + 1; row < 4; ++row) {
            if (std::fabs(m[row][pivot]) > std::fabs(m[best][pivot])) {
                best = row;
            }
        }
        if (m[best][pivot] == 0.0) {
            return 0.0;
        }
        if (best != pivot) {
            std::swap(m[best], m[pivot]);
            result = -result;
        }
        result *= m[pivot][pivot];
        for (unsigned int row = pivot + 1; row < 4; ++row) {
            double const factor = m[row][pivot] / m[pivot][pivot];
            for (unsigned int column = pivot; column < 4; ++column) {
                m[row][column] -= factor * m[pivot][column];
            }
        }
    }
    return result;
}

Matrix4 Matrix4::inverse() const noexcept {
    // Gauss-Jordan on [this | identity], rows as arrays of eight.
    double m[4][8];
    for (unsigned int row = 0; row < 4; ++row) {
        for (unsigned int column = 0; column < 4; ++column) {
            m[row][column] = (*this)(row, column);
            m[row][column + 4] = row == column ? 1.0 : 0.0;
        }
    }
    for (unsigned int pivot = 0; pivot < 4; ++pivot) {
        unsigned int best = pivot;
        for (unsigned int row = pivot + 1; row < 4; ++row) {
            if (std::fabs(m[row][pivot]) > std::fabs(m[best][pivot])) {
                best = row;
            }
        }
        if (!(m[best][pivot] != 0.0)) { // zero or NaN
            Matrix4 none;
            for (double & value : none.values) {
                value = std::numeric_limits<double>::quiet_NaN();
            }
            return none;
        }
        if (best != pivot) {
            std::swap(m[best], m[pivot]);
        }
        double const scale = 1.0 / m[pivot][pivot];
        for (double & value : m[pivot]) {
            value *= scale;
        }
        for (unsigned int row = 0; row < 4; ++row) {
            if (row == pivot || m[row][pivot] == 0.0) {
                continue;
            }
            double const factor = m[row][pivot];
            for (unsigned int column = 0; column < 8; ++column) {
                m[row][column] -= factor * m[pivot][column];
            }
        }
    }
    Matrix4 result;
    for (unsigned int row = 0; row < 4; ++row) {
        for (unsigned int column = 0; column < 4; ++column) {
            result(row, column) = m[row][column + 4];
        }
    }
    return result;
}

Matrix4::Point Matrix4::transform(Point const & point) const noexcept {
    double const x = point[0];
    double const y = point[1];
    double const z = point[2];
    double const w = x * values[3] + y * values[7] + z * values[11] + values[15];
    return Point((x * values[0] + y * values[4] + z * values[8] + values[12]) / w,
                 (x * values[1] + y * values[5] + z * values[9] + values[13]) / w,
                 (x * values[2] + y * values[6] + z * values[10] + values[14]) / w);
}

Matrix4::Direction Matrix4::transform(Direction const & direction) const noexcept {
    double const x = direction[0];
    double const y = direction[1];
    double const z = direction[2];
    return Direction(x * values[0] + y * values[4] + z * values[8], x * values[1] + y * values[5] + z * values[9],
                     x * values[2] + y * values[6] + z * values[10]);
}

bool operator==(Matrix4 const & left, Matrix4 const & right) noexcept {
    for (unsigned int i = 0; i < 16; ++i) {
        if (!(left.values[i] == right.values[i])) {
            return false;
        }
    }
    return true;
}

} // namespace QELTA
