// The 4x4 matrix against hand-worked products, inverses and determinants, the algebra's
// properties on random matrices, quarter turns about each axis and the perspective divide.
#include "Base/Geometry/Matrix.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace QELTA {
namespace {

using Matrix4 = Matrix<double, 4, 4>;
using Point = Vertex<3, double>;
using Direction = Ray<3, double>;

// A matrix from its rows as written on paper.
Matrix4 FromRows(double const (&rows)[4][4]) {
    Matrix4 m;
    for (unsigned int row = 0; row < 4; ++row) {
        for (unsigned int column = 0; column < 4; ++column) {
            m(row, column) = rows[row][column];
        }
    }
    return m;
}

void ExpectNear(Matrix4 const & actual, Matrix4 const & expected, double tolerance) {
    for (unsigned int i = 0; i < 16; ++i) {
        EXPECT_NEAR(actual.values[i], expected.values[i], tolerance) << "element " << i;
    }
}

void ExpectNear(Vector<3, double> const & actual, Vector<3, double> const & expected, double tolerance) {
    for (unsigned int i = 0; i < 3; ++i) {
        EXPECT_NEAR(actual[i], expected[i], tolerance) << "component " << i;
    }
}

Matrix4 RandomMatrix(std::mt19937_64 & random) {
    std::uniform_real_distribution<double> spread(-2.0, 2.0);
    Matrix4 m;
    for (double & value : m.values) {
        value = spread(random);
    }
    return m;
}

double const a_rows[4][4] = {{2, 0, 1, 3}, {1, 1, 0, -1}, {0, 4, 2, 1}, {0, 0, 0, 1}};
double const b_rows[4][4] = {{1, 2, 0, 0}, {0, 1, 3, 0}, {5, 0, 1, 2}, {0, 0, 0, 1}};

TEST(MatrixTest, MultipliesAsWorkedByHand) {
    double const product[4][4] = {{7, 4, 1, 5}, {1, 3, 3, -1}, {10, 4, 14, 5}, {0, 0, 0, 1}};
    EXPECT_EQ(FromRows(a_rows) * FromRows(b_rows), FromRows(product));
    // The right operand applies first.
    Matrix4 const move = Matrix4::Translation(Direction(1.0, 2.0, 3.0));
    Matrix4 const twice = Matrix4::Scale(2.0);
    ExpectNear((move * twice).transform(Point(1.0, 1.0, 1.0)), Vector<3, double>(3.0, 4.0, 5.0), 0.0);
    ExpectNear((twice * move).transform(Point(1.0, 1.0, 1.0)), Vector<3, double>(4.0, 6.0, 8.0), 0.0);
}

TEST(MatrixTest, InvertsAndTakesDeterminantsAsWorkedByHand) {
    double const a_inverse[4][4] = {
        {0.25, 0.5, -0.125, -0.125}, {-0.25, 0.5, 0.125, 1.125}, {0.5, -1.0, 0.25, -2.75}, {0, 0, 0, 1}};
    ExpectNear(FromRows(a_rows).inverse(), FromRows(a_inverse), 1e-15);
    EXPECT_DOUBLE_EQ(FromRows(a_rows).determinant(), 8.0);
    EXPECT_DOUBLE_EQ(FromRows(b_rows).determinant(), 31.0);
    // A zero on the diagonal needs a row swap.
    double const swapped[4][4] = {{0, 1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    EXPECT_EQ(FromRows(swapped).inverse(), FromRows(swapped));
    EXPECT_DOUBLE_EQ(FromRows(swapped).determinant(), -1.0);
    // A singular matrix inverts to NaN.
    double const singular[4][4] = {{1, 2, 3, 4}, {2, 4, 6, 8}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    EXPECT_NE(FromRows(singular).inverse(), FromRows(singular).inverse()); // NaN is unequal even to itself
    EXPECT_EQ(FromRows(singular).determinant(), 0.0);
}

TEST(MatrixTest, InverseOfAProductIsTheProductOfTheInversesReversed) {
    std::mt19937_64 random(7);
    for (int round = 0; round < 50; ++round) {
        Matrix4 const a = RandomMatrix(random);
        Matrix4 const b = RandomMatrix(random);
        SCOPED_TRACE(round);
        ExpectNear(a * a.inverse(), Matrix4::Identity(), 1e-9);
        ExpectNear((a * b).inverse(), b.inverse() * a.inverse(), 1e-6 * (1.0 + std::fabs((a * b).inverse().values[0])));
        EXPECT_NEAR((a * b).determinant(), a.determinant() * b.determinant(), 1e-9);
    }
}

TEST(MatrixTest, AQuarterTurnMovesTheUnitVectorsCounterClockwise) {
    Direction const x(1.0, 0.0, 0.0);
    Direction const y(0.0, 1.0, 0.0);
    Direction const z(0.0, 0.0, 1.0);
    struct Case {
        char const * name;
        Direction axis;
        Direction from;
        Direction to;
    } const cases[] = {
        {"about x, y to z", x, y, z},
        {"about x, z to -y", x, z, -y},
        {"about y, z to x", y, z, x},
        {"about y, x to -z", y, x, -z},
        {"about z, x to y", z, x, y},
        {"about z, y to -x", z, y, -x},
        {"axis length does not matter", Direction(0.0, 0.0, 5.0), x, y},
        {"the axis stays", y, y, y},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.name);
        Matrix4 const turn = Matrix4::Rotation(Angle<double>(16384.0), test.axis);
        ExpectNear(turn.transform(test.from), test.to, 1e-15);
    }
    // A half turn about the diagonal of x and y swaps them.
    ExpectNear(Matrix4::Rotation(Angle<double>(32768.0), Direction(1.0, 1.0, 0.0)).transform(x), y, 1e-15);
}

TEST(MatrixTest, PointsTakeTranslationAndThePerspectiveDivideDirectionsNeither) {
    Matrix4 const move = Matrix4::Translation(Direction(5.0, 6.0, 7.0));
    ExpectNear(move.transform(Point(1.0, 2.0, 3.0)), Vector<3, double>(6.0, 8.0, 10.0), 0.0);
    ExpectNear(move.transform(Direction(1.0, 2.0, 3.0)), Vector<3, double>(1.0, 2.0, 3.0), 0.0);

    // w = z: a simple projection that divides by depth.
    Matrix4 projection;
    projection.values[11] = 1.0;
    projection.values[15] = 0.0;
    ExpectNear(projection.transform(Point(2.0, 4.0, 2.0)), Vector<3, double>(1.0, 2.0, 1.0), 0.0);
    ExpectNear(projection.transform(Direction(2.0, 4.0, 2.0)), Vector<3, double>(2.0, 4.0, 2.0), 0.0);
    // w = 2 from m[15] halves a point.
    Matrix4 half;
    half.values[15] = 2.0;
    ExpectNear(half.transform(Point(2.0, 4.0, 6.0)), Vector<3, double>(1.0, 2.0, 3.0), 0.0);
}

} // namespace
} // namespace QELTA
