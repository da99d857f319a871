// The fitted transforms against transforms worked by hand: exact points give them back exactly,
// noisy points from a seeded generator within a stated tolerance, and degenerate input fails.
#include "Base/Geometry/MatrixFunctions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <utility>

namespace QELTA {
namespace {

using Matrix4 = Matrix<double, 4, 4>;
using Point = Vertex<3, double>;
using Options = MatrixFunctions::TransformSolveOptions;

// The expected transform as written on paper: three rows of the linear part and the translation.
struct Affine {
    double rows[3][4];

    Point apply(Point const & p) const {
        return Point(rows[0][0] * p[0] + rows[0][1] * p[1] + rows[0][2] * p[2] + rows[0][3],
                     rows[1][0] * p[0] + rows[1][1] * p[1] + rows[1][2] * p[2] + rows[1][3],
                     rows[2][0] * p[0] + rows[2][1] * p[1] + rows[2][2] * p[2] + rows[2][3]);
    }
};

void ExpectMatrix(Matrix4 const & actual, Affine const & expected, double linear_tolerance,
                  double translation_tolerance) {
    for (unsigned int row = 0; row < 3; ++row) {
        for (unsigned int column = 0; column < 4; ++column) {
            EXPECT_NEAR(actual(row, column), expected.rows[row][column],
                        column == 3 ? translation_tolerance : linear_tolerance)
                << "row " << row << ", column " << column;
        }
    }
    EXPECT_EQ(actual(3, 0), 0.0);
    EXPECT_EQ(actual(3, 1), 0.0);
    EXPECT_EQ(actual(3, 2), 0.0);
    EXPECT_EQ(actual(3, 3), 1.0);
}

// A turn of 170 degrees about z, scale 2.5, then a move by (10, -4, 3):
// cos 170 deg = -0.984807753012208, sin 170 deg = 0.173648177666930.
Affine const yaw_scale_move = {{{-2.4620193825305203, -0.43412044416732604, 0.0, 10.0},
                                {0.43412044416732604, -2.4620193825305203, 0.0, -4.0},
                                {0.0, 0.0, 2.5, 3.0}}};

// A sheared, scaled and turned transform with a move, for the affine fit.
Affine const sheared = {{{1.2, 0.3, -0.5, 5.0}, {0.1, 0.9, 0.2, -2.0}, {-0.4, 0.25, 1.1, 0.5}}};

// Points on every side of their centroid, so that headings cross the half-turn line.
Buffer<Point> SpreadPoints() {
    return {Point(0.0, 0.0, 0.0),  Point(4.0, 1.0, 2.0),  Point(-3.0, 2.0, -1.0), Point(-2.0, -3.0, 0.5),
            Point(1.0, -4.0, 3.0), Point(-5.0, 0.2, 1.0), Point(2.0, 3.0, -2.0)};
}

Options Pairs(Buffer<Point> const & from, Affine const & transform) {
    Options options;
    options.from_points = from;
    for (Point const & p : from) {
        options.to_points.add(transform.apply(p));
    }
    return options;
}

Buffer<Point> RandomPoints(std::mt19937_64 & random, unsigned int count) {
    std::uniform_real_distribution<double> spread(-50.0, 50.0);
    Buffer<Point> points;
    for (unsigned int i = 0; i < count; ++i) {
        points.add(Point(spread(random), spread(random), spread(random)));
    }
    return points;
}

void AddNoise(std::mt19937_64 & random, Buffer<Point> & points, double sigma) {
    std::normal_distribution<double> noise(0.0, sigma);
    for (Point & p : points) {
        p = Point(p[0] + noise(random), p[1] + noise(random), p[2] + noise(random));
    }
}

TEST(MatrixFunctionsTest, ConstrainedFitRecoversYawScaleAndMoveExactly) {
    Options const options = Pairs(SpreadPoints(), yaw_scale_move);
    ExpectMatrix(MatrixFunctions::SolveBestFitTransform(options), yaw_scale_move, 1e-12, 1e-11);
}

TEST(MatrixFunctionsTest, ConstrainedFitKeepsWhatItMayNotChange) {
    Options options = Pairs(SpreadPoints(), yaw_scale_move);
    options.solve_yaw = false;
    options.solve_pitch = false;
    options.solve_scale = false;
    // Neither turned nor scaled: the linear part is exactly the identity, and the from-centroid
    // (-3/7, -0.8/7, 0.5) moves onto the to-centroid, its image under the transform.
    double const cx = -3.0 / 7;
    double const cy = -0.8 / 7;
    Affine const moved = {{{1, 0, 0, -2.4620193825305203 * cx - 0.43412044416732604 * cy + 10.0 - cx},
                           {0, 1, 0, 0.43412044416732604 * cx - 2.4620193825305203 * cy - 4.0 - cy},
                           {0, 0, 1, 2.5 * 0.5 + 3.0 - 0.5}}};
    Matrix4 const fit = MatrixFunctions::SolveBestFitTransform(options);
    ExpectMatrix(fit, moved, 0.0, 1e-12);

    options.solve_xy = false;
    Matrix4 const upright = MatrixFunctions::SolveBestFitTransform(options);
    EXPECT_EQ(upright(0, 3), 0.0);
    EXPECT_EQ(upright(1, 3), 0.0);
    EXPECT_NEAR(upright(2, 3), moved.rows[2][3], 1e-12);

    // A move alone needs only one pair.
    Options single;
    single.from_points = {Point(1.0, 2.0, 3.0)};
    single.to_points = {Point(2.0, 0.0, 3.5)};
    single.solve_yaw = single.solve_pitch = single.solve_scale = false;
    ExpectMatrix(MatrixFunctions::SolveBestFitTransform(single), Affine{{{1, 0, 0, 1}, {0, 1, 0, -2}, {0, 0, 1, 0.5}}},
                 0.0, 0.0);
}

TEST(MatrixFunctionsTest, AffineFitRecoversAnAffineTransformExactly) {
    Options const options = Pairs(SpreadPoints(), sheared);
    ExpectMatrix(MatrixFunctions::SolveLeastSquaredAffine(options.from_points, options.to_points), sheared, 1e-12,
                 1e-11);
    // Far from the origin the same: the sums are taken about the points, not about 0.
    Buffer<Point> far;
    for (Point const & p : SpreadPoints()) {
        far.add(Point(p[0] + 4.0e6, p[1] - 7.0e6, p[2] + 1.0e5));
    }
    Options const far_options = Pairs(far, sheared);
    Matrix4 const far_fit = MatrixFunctions::SolveLeastSquaredAffine(far_options.from_points, far_options.to_points);
    for (unsigned int column = 0; column < 3; ++column) {
        for (unsigned int row = 0; row < 3; ++row) {
            EXPECT_NEAR(far_fit(row, column), sheared.rows[row][column], 1e-8);
        }
    }
}

TEST(MatrixFunctionsTest, NoisyPointsFitWithinTolerance) {
    std::mt19937_64 random(2024);
    // 400 points in a 100-unit box, noise of 0.01 on each coordinate of the targets: the
    // standard error of a linear element is about 0.01 / (20 * 29) = 2e-5.
    Options yaw_options = Pairs(RandomPoints(random, 400), yaw_scale_move);
    AddNoise(random, yaw_options.to_points, 0.01);
    ExpectMatrix(MatrixFunctions::SolveBestFitTransform(yaw_options), yaw_scale_move, 2e-3, 2e-2);

    Options affine_options = Pairs(RandomPoints(random, 400), sheared);
    AddNoise(random, affine_options.to_points, 0.01);
    ExpectMatrix(MatrixFunctions::SolveLeastSquaredAffine(affine_options.from_points, affine_options.to_points),
                 sheared, 2e-4, 5e-3);
}

// The least-squares solution worked another way: two passes in long double (centroids, then the
// sums about them) and Gauss-Jordan elimination with full pivoting on the 3x3 normal matrix.
Affine ReferenceAffine(Buffer<Point> const & from, Buffer<Point> const & to) {
    long double const n = from.size();
    long double ca[3] = {0, 0, 0};
    long double cb[3] = {0, 0, 0};
    for (unsigned int i = 0; i < from.size(); ++i) {
        for (unsigned int k = 0; k < 3; ++k) {
            ca[k] += from[i][k];
            cb[k] += to[i][k];
        }
    }
    for (unsigned int k = 0; k < 3; ++k) {
        ca[k] /= n;
        cb[k] /= n;
    }
    // [A^T A | A^T B] about the centroids.
    long double m[3][6] = {};
    for (unsigned int i = 0; i < from.size(); ++i) {
        long double const a[3] = {from[i][0] - ca[0], from[i][1] - ca[1], from[i][2] - ca[2]};
        long double const b[3] = {to[i][0] - cb[0], to[i][1] - cb[1], to[i][2] - cb[2]};
        for (unsigned int r = 0; r < 3; ++r) {
            for (unsigned int c = 0; c < 3; ++c) {
                m[r][c] += a[r] * a[c];
                m[r][c + 3] += a[r] * b[c];
            }
        }
    }
    unsigned int order[3] = {0, 1, 2}; // the unknown held in each column
    for (unsigned int p = 0; p < 3; ++p) {
        unsigned int best_row = p;
        unsigned int best_column = p;
        for (unsigned int r = p; r < 3; ++r) {
            for (unsigned int c = p; c < 3; ++c) {
                if (std::fabs(m[r][c]) > std::fabs(m[best_row][best_column])) {
                    best_row = r;
                    best_column = c;
                }
            }
        }
        std::swap(m[p], m[best_row]);
        for (auto & row : m) {
            std::swap(row[p], row[best_column]);
        }
        std::swap(order[p], order[best_column]);
        long double const pivot = m[p][p];
        for (long double & value : m[p]) {
            value /= pivot;
        }
        for (unsigned int r = 0; r < 3; ++r) {
            if (r != p) {
                long double const factor = m[r][p];
                for (unsigned int c = 0; c < 6; ++c) {
                    m[r][c] -= factor * m[p][c];
                }
            }
        }
    }
    // Row p now holds unknown order[p]: the row of X = (A^T A)^-1 A^T B for that from-component,
    // whose transpose is the linear part.
    Affine result{};
    for (unsigned int p = 0; p < 3; ++p) {
        for (unsigned int row = 0; row < 3; ++row) {
            result.rows[row][order[p]] = static_cast<double>(m[p][row + 3]);
        }
    }
    for (unsigned int row = 0; row < 3; ++row) {
        long double moved = 0;
        for (unsigned int k = 0; k < 3; ++k) {
            moved += result.rows[row][k] * ca[k];
        }
        result.rows[row][3] = static_cast<double>(cb[row] - moved);
    }
    return result;
}

TEST(MatrixFunctionsTest, AffineFitAgreesWithAnExactSolveOnNoisyPoints) {
    // Counts odd and even, small enough that leaving out or doubling any one pair moves the fit by
    // far more than the tolerance, and large enough for rounding in the sums to build up; noise
    // large enough that no pair lies on the transform, and points 2e5 off the origin. The
    // tolerances are those of MatrixFunctions.h for coordinates of 2e5.
    std::mt19937_64 random(77);
    for (unsigned int const count : {4u, 5u, 6u, 7u, 1001u, 200001u}) {
        SCOPED_TRACE(count);
        Buffer<Point> from = RandomPoints(random, count);
        for (Point & p : from) {
            p = Point(p[0] + 1.0e5, p[1] - 2.0e5, p[2] + 3.0e4);
        }
        Options options = Pairs(from, sheared);
        AddNoise(random, options.to_points, 0.5);
        ExpectMatrix(MatrixFunctions::SolveLeastSquaredAffine(options.from_points, options.to_points),
                     ReferenceAffine(options.from_points, options.to_points), 1e-12, 1e-7);
    }
}

TEST(MatrixFunctionsTest, IdenticalPointSetsGiveTheIdentity) {
    Buffer<Point> const points = SpreadPoints();
    Affine const identity = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}};
    Options options;
    options.from_points = points;
    options.to_points = points;
    ExpectMatrix(MatrixFunctions::SolveBestFitTransform(options), identity, 1e-15, 1e-14);
    ExpectMatrix(MatrixFunctions::SolveLeastSquaredAffine(points, points), identity, 1e-15, 1e-14);
}

TEST(MatrixFunctionsTest, DegenerateInputFailsWithEveryElementNaN) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    Buffer<Point> const four = {Point(0.0, 0.0, 0.0), Point(1.0, 0.0, 0.0), Point(0.0, 1.0, 0.0), Point(0.0, 0.0, 1.0)};
    struct Case {
        char const * name;
        Buffer<Point> from;
        Buffer<Point> to;
        bool constrained_fails;
    } const cases[] = {
        {"empty", {}, {}, true},
        {"lengths differ", four, {Point(1.0, 1.0, 1.0)}, true},
        {"three points",
         {Point(0.0, 0.0, 0.0), Point(1.0, 0.0, 0.0), Point(0.0, 2.0, 0.0)},
         {Point(0.0, 0.0, 0.0), Point(1.0, 0.0, 0.0), Point(0.0, 2.0, 0.0)},
         false},
        {"coplanar",
         {Point(0.0, 0.0, 0.0), Point(1.0, 0.0, 0.0), Point(0.0, 1.0, 0.0), Point(3.0, 5.0, 0.0)},
         four,
         false},
        {"collinear",
         {Point(0.0, 0.0, 0.0), Point(1.0, 1.0, 1.0), Point(2.0, 2.0, 2.0), Point(5.0, 5.0, 5.0)},
         four,
         false},
        {"coincident",
         {Point(1.0, 2.0, 3.0), Point(1.0, 2.0, 3.0), Point(1.0, 2.0, 3.0), Point(1.0, 2.0, 3.0)},
         four,
         true},
        {"NaN", {Point(0.0, 0.0, 0.0), Point(1.0, 0.0, 0.0), Point(0.0, nan, 0.0), Point(0.0, 0.0, 1.0)}, four, true},
        {"infinity",
         four,
         {Point(0.0, 0.0, 0.0), Point(std::numeric_limits<double>::infinity(), 0.0, 0.0), Point(0.0, 1.0, 0.0),
          Point(0.0, 0.0, 1.0)},
         true},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.name);
        Matrix4 const affine = MatrixFunctions::SolveLeastSquaredAffine(test.from, test.to);
        for (double const value : affine.values) {
            EXPECT_TRUE(std::isnan(value));
        }
        Options options;
        options.from_points = test.from;
        options.to_points = test.to;
        Matrix4 const constrained = MatrixFunctions::SolveBestFitTransform(options);
        EXPECT_EQ(MatrixFunctions::IsFailedFit(constrained), test.constrained_fails);
        for (double const value : constrained.values) {
            EXPECT_EQ(std::isnan(value), test.constrained_fails);
        }
    }
    Matrix4 const plane = MatrixFunctions::Solve2DAffine({Vertex<2, double>(0.0, 0.0), Vertex<2, double>(1.0, 0.0)},
                                                         {Vertex<2, double>(0.0, 0.0), Vertex<2, double>(1.0, 0.0)});
    for (double const value : plane.values) {
        EXPECT_TRUE(std::isnan(value));
    }
}

} // namespace
} // namespace QELTA
