// The algebra of the 4x4 matrix, and the transforms fitted to pairs of points.
#include "Base/Geometry/MatrixFunctions.h"

#include "Base/Geometry/Matrix.h"

#include <cmath>
#include <limits>
#include <numbers>
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

// Fitted transforms

namespace {

using Point = MatrixFunctions::Point;
using Direction = Matrix4::Direction;

constexpr double index_per_radian = 32768.0 / std::numbers::pi;
constexpr double full_turn = 65536.0;
// A pivot at or below this share of the largest element of the normal matrix counts as zero:
// the points then span less than three dimensions, to within rounding.
constexpr double singular_share = 1e-12;
// The affine fit needs four points that span space.
constexpr unsigned int affine_min_points = 4;

bool IsFinite(Vector<3, double> const & v) noexcept {
    return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

double HorizontalLength(Vector<3, double> const & v) noexcept {
    return std::hypot(v[0], v[1]);
}

// The heading of the direction in index units.
double Azimuth(Vector<3, double> const & v) noexcept {
    return std::atan2(v[1], v[0]) * index_per_radian;
}

// The angle above the x-y plane in index units.
double Elevation(Vector<3, double> const & v) noexcept {
    return std::atan2(v[2], HorizontalLength(v)) * index_per_radian;
}

// A difference of two headings taken to the nearest half turn, so that pairs on either side of
// the half-turn line average to their true turn instead of to a full turn apart.
double Wrapped(double difference) noexcept {
    return difference - full_turn * std::nearbyint(difference / full_turn);
}

// The yaw about z after the pitch about y, +x rising toward +z for a positive pitch.
Matrix4 YawPitch(double yaw, double pitch) noexcept {
    return Matrix4::Rotation(Angle<double>(yaw), Direction(0.0, 0.0, 1.0)) *
           Matrix4::Rotation(Angle<double>(-pitch), Direction(0.0, 1.0, 0.0));
}

Point Centroid(Buffer<Point> const & points) noexcept {
    Vector<3, double> sum;
    for (Point const & point : points) {
        sum += point.vector();
    }
    return Point(sum / static_cast<double>(points.size()));
}

// A failed fit for a matrix that came out with any element not finite.
Matrix4 Checked(Matrix4 const & matrix) noexcept {
    for (double const value : matrix.values) {
        if (!std::isfinite(value)) {
            return MatrixFunctions::FailedFit();
        }
    }
    return matrix;
}

// The LU decomposition with partial pivoting of a 4x4 matrix: unit lower and upper factors in one
// array, and the row of the original matrix that each row of the factors came from.
class LUDecomposition {
  public:
    // False when a pivot is at or below `tolerance` in size: the matrix is taken as singular.
    bool decompose(double const (&matrix)[4][4], double tolerance) noexcept {
        for (unsigned int row = 0; row < 4; ++row) {
            permutation_[row] = static_cast<unsigned char>(row);
            for (unsigned int column = 0; column < 4; ++column) {
                factors_[row][column] = matrix[row][column];
            }
        }
        for (unsigned int pivot = 0; pivot < 4; ++pivot) {
            unsigned int best = pivot;
            for (unsigned int row = pivot + 1; row < 4; ++row) {
                if (std::fabs(factors_[row][pivot]) > std::fabs(factors_[best][pivot])) {
                    best = row;
                }
            }
            if (!(std::fabs(factors_[best][pivot]) > tolerance)) { // NaN too
                return false;
            }
            if (best != pivot) {
                std::swap(factors_[best], factors_[pivot]);
                std::swap(permutation_[best], permutation_[pivot]);
            }
            for (unsigned int row = pivot + 1; row < 4; ++row) {
                double const factor = factors_[row][pivot] / factors_[pivot][pivot];
                factors_[row][pivot] = factor;
                for (unsigned int column = pivot + 1; column < 4; ++column) {
                    factors_[row][column] -= factor * factors_[pivot][column];
                }
            }
        }
        return true;
    }

    // x with matrix * x = b.
    void solve(double const (&b)[4], double (&x)[4]) const noexcept {
        double y[4];
        for (unsigned int row = 0; row < 4; ++row) {
            double sum = b[permutation_[row]];
            for (unsigned int column = 0; column < row; ++column) {
                sum -= factors_[row][column] * y[column];
            }
            y[row] = sum;
        }
        for (unsigned int row = 4; row-- > 0;) {
            double sum = y[row];
            for (unsigned int column = row + 1; column < 4; ++column) {
                sum -= factors_[row][column] * x[column];
            }
            x[row] = sum / factors_[row][row];
        }
    }

  private:
    double factors_[4][4];
    unsigned char permutation_[4];
};

// Sums over pairs of offsets a (of a from-point) and b (of its to-point) from fixed origins: of a,
// of b, of the products of the components of a with each other (xx, xy, xz, yy, yz, zz) and with
// those of b.
struct OffsetSums {
    double a[3] = {0, 0, 0};
    double b[3] = {0, 0, 0};
    double aa[6] = {0, 0, 0, 0, 0, 0};
    double ab[3][3] = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}};

    void add(Point const & from, Point const & to, Vector<3, double> const & from_origin,
             Vector<3, double> const & to_origin) noexcept {
        double const ax = from[0] - from_origin[0];
        double const ay = from[1] - from_origin[1];
        double const az = from[2] - from_origin[2];
        double const bx = to[0] - to_origin[0];
        double const by = to[1] - to_origin[1];
        double const bz = to[2] - to_origin[2];
        a[0] += ax;
        a[1] += ay;
        a[2] += az;
        b[0] += bx;
        b[1] += by;
        b[2] += bz;
        aa[0] += ax * ax;
        aa[1] += ax * ay;
        aa[2] += ax * az;
        aa[3] += ay * ay;
        aa[4] += ay * az;
        aa[5] += az * az;
        ab[0][0] += ax * bx;
        ab[0][1] += ax * by;
        ab[0][2] += ax * bz;
        ab[1][0] += ay * bx;
        ab[1][1] += ay * by;
        ab[1][2] += ay * bz;
        ab[2][0] += az * bx;
        ab[2][1] += az * by;
        ab[2][2] += az * bz;
    }

    OffsetSums merged(OffsetSums const & other) const noexcept {
        OffsetSums sum = *this;
        for (unsigned int k = 0; k < 3; ++k) {
            sum.a[k] += other.a[k];
            sum.b[k] += other.b[k];
            for (unsigned int j = 0; j < 3; ++j) {
                sum.ab[k][j] += other.ab[k][j];
            }
        }
        for (unsigned int k = 0; k < 6; ++k) {
            sum.aa[k] += other.aa[k];
        }
        return sum;
    }
};

} // namespace

Matrix4 MatrixFunctions::FailedFit() noexcept {
    Matrix4 failed;
    for (double & value : failed.values) {
        value = std::numeric_limits<double>::quiet_NaN();
    }
    return failed;
}

bool MatrixFunctions::IsFailedFit(Matrix4 const & matrix) noexcept {
    for (double const value : matrix.values) {
        if (std::isnan(value)) {
            return true;
        }
    }
    return false;
}

Matrix4 MatrixFunctions::SolveBestFitTransform(TransformSolveOptions const & options) {
    Buffer<Point> const & from = options.from_points;
    Buffer<Point> const & to = options.to_points;
    unsigned int const count = from.size();
    if (count == 0 || to.size() != count) {
        return FailedFit();
    }
    // A NaN or infinite coordinate anywhere makes its centroid so.
    Point const from_centroid = Centroid(from);
    Point const to_centroid = Centroid(to);
    if (!IsFinite(from_centroid) || !IsFinite(to_centroid)) {
        return FailedFit();
    }

    // The first estimate comes from the first pair; one with an end on its centroid has no direction
    // to take it from, so the first pair with both ends off their centroids stands in for it.
    unsigned int first = 0;
    while (first < count &&
           ((from[first] - from_centroid).lengthSquared() == 0.0 || (to[first] - to_centroid).lengthSquared() == 0.0)) {
        ++first;
    }
    double yaw = 0.0;
    double pitch = 0.0;
    double scale = 1.0;
    if (first < count) {
        Direction const a = from[first] - from_centroid;
        Direction const b = to[first] - to_centroid;
        double const start_yaw = Wrapped(Azimuth(b) - Azimuth(a));
        double const start_pitch = Elevation(b) - Elevation(a);
        Matrix4 const back = YawPitch(start_yaw, start_pitch).inverse();

        double yaw_sum = 0.0;
        double pitch_sum = 0.0;
        double scale_sum = 0.0;
        double weight = 0.0;
        for (unsigned int i = 0; i < count; ++i) {
            Direction const offset = from[i] - from_centroid;
            double const length = offset.length();
            if (length == 0.0) {
                continue;
            }
            Vector<3, double> const c = back.transform(Point((to[i] - to_centroid).vector())).vector();
            double const c_length = c.length();
            double const w = c_length + length;
            scale_sum += w * (c_length / length);
            // Every angle counts by the pair's whole distance from the centroids, the heading too,
            // even that of a pair straight above them whose heading is only rounding noise.
            yaw_sum += w * Wrapped(Azimuth(c) - Azimuth(offset));
            pitch_sum += w * (Elevation(c) - Elevation(offset));
            weight += w;
        }
        yaw = options.solve_yaw ? yaw_sum / weight + start_yaw : 0.0;
        pitch = options.solve_pitch ? pitch_sum / weight + start_pitch : 0.0;
        scale = options.solve_scale ? scale_sum / weight : 1.0;
    } else if (options.solve_yaw || options.solve_pitch || options.solve_scale) {
        return FailedFit();
    }

    Matrix4 const turn = YawPitch(yaw, pitch) * Matrix4::Scale(scale);
    Point const target(options.solve_xy ? to_centroid[0] : from_centroid[0],
                       options.solve_xy ? to_centroid[1] : from_centroid[1],
                       options.solve_z ? to_centroid[2] : from_centroid[2]);
    return Checked(Matrix4::Translation(target - turn.transform(from_centroid)) * turn);
}

Matrix4 MatrixFunctions::SolveLeastSquaredAffine(Buffer<Point> const & from, Buffer<Point> const & to) {
    unsigned int const count = from.size();
    if (count < affine_min_points || to.size() != count) {
        return FailedFit();
    }
    // One pass over the pairs: sums of the offsets from the first pair, which lies among the
    // points, so that far-off coordinates cancel before they are squared; the sums about the
    // centroids follow from these exactly as from a second pass. Pairs alternate between two
    // lanes of sums, which gives the processor two independent chains of additions.
    Vector<3, double> const from_origin = from[0].vector();
    Vector<3, double> const to_origin = to[0].vector();
    OffsetSums lanes[2];
    unsigned int pair = 0;
    for (; pair + 1 < count; pair += 2) {
        lanes[0].add(from[pair], to[pair], from_origin, to_origin);
        lanes[1].add(from[pair + 1], to[pair + 1], from_origin, to_origin);
    }
    if (pair < count) {
        lanes[0].add(from[pair], to[pair], from_origin, to_origin);
    }
    OffsetSums const sums = lanes[0].merged(lanes[1]);
    double const n = static_cast<double>(count);
    double const ma[3] = {sums.a[0] / n, sums.a[1] / n, sums.a[2] / n};
    double const mb[3] = {sums.b[0] / n, sums.b[1] / n, sums.b[2] / n};
    constexpr unsigned int symmetric[3][3] = {{0, 1, 2}, {1, 3, 4}, {2, 4, 5}};

    // The normal and cross matrices about the centroids, with 1 in the corner of the fourth
    // coordinate, which the centred points do not touch.
    double normal[4][4] = {{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 1}};
    double cross[4][4] = {{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 1}};
    double largest = 0.0;
    for (unsigned int i = 0; i < 3; ++i) {
        for (unsigned int j = 0; j < 3; ++j) {
            normal[i][j] = sums.aa[symmetric[i][j]] - n * ma[i] * ma[j];
            cross[i][j] = sums.ab[i][j] - n * ma[i] * mb[j];
            largest = std::fmax(largest, std::fabs(normal[i][j]));
        }
    }
    Point const from_centroid(from_origin + Vector<3, double>(ma[0], ma[1], ma[2]));
    Point const to_centroid(to_origin + Vector<3, double>(mb[0], mb[1], mb[2]));
    if (!std::isfinite(largest) || !IsFinite(from_centroid) || !IsFinite(to_centroid)) {
        return FailedFit();
    }
    LUDecomposition lu;
    if (!lu.decompose(normal, singular_share * largest)) {
        return FailedFit();
    }
    // normal * X = cross gives X, the transpose of the linear part.
    Matrix4 fit;
    for (unsigned int column = 0; column < 3; ++column) {
        double const b[4] = {cross[0][column], cross[1][column], cross[2][column], cross[3][column]};
        double x[4];
        lu.solve(b, x);
        for (unsigned int k = 0; k < 3; ++k) {
            fit(column, k) = x[k];
        }
    }
    Point const moved = fit.transform(from_centroid);
    return Checked(Matrix4::Translation(to_centroid - moved) * fit);
}

Matrix4 MatrixFunctions::Solve2DAffine(Buffer<Point2D> const &, Buffer<Point2D> const &) noexcept {
    return FailedFit();
}

} // namespace QELTA
