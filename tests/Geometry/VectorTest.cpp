// Vectors, points, directions and boxes: the packed flags' bit layout, the typed arithmetic of
// points and directions, and the inclusive box.
#include "Base/Geometry/Vector.h"
#include "Base/Geometry/Bounds.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

namespace QELTA {
namespace {

using Point = Vertex<3, double>;
using Direction = Ray<3, double>;
using Flags = Vector<10, bool>;
using Flags3 = Vector<3, bool>;
using V3 = Vector<3, double>;
using V2 = Vector<2, double>;

TEST(VectorTest, FlagsArePackedBitZeroFirst) {
    Vector<10, bool> flags;
    flags.set(0, true);
    flags[9] = true;
    EXPECT_EQ(flags.bits[0], 0x01);
    EXPECT_EQ(flags.bits[1], 0x02);
    EXPECT_TRUE(flags[9]);
    EXPECT_FALSE(flags[8]);
    flags.set(0, false);
    EXPECT_EQ(flags.bits[0], 0x00);
    EXPECT_TRUE(flags.any());
    EXPECT_FALSE(flags.all());
    EXPECT_TRUE(Flags::Filled(true).all());
    EXPECT_EQ(Flags::Filled(true).bits[1], 0x03); // unused high bits stay 0
    EXPECT_EQ(Flags3(true, false, true).bits[0], 0x05);
}

TEST(VectorTest, ArithmeticWorksComponentByComponent) {
    V3 const a(1.0, 2.0, 3.0);
    V3 const b(4.0, -5.0, 6.0);
    EXPECT_EQ(2.0 * a - b / a, V3(-2.0, 6.5, 4.0));
    EXPECT_EQ(a.dot(b), 12.0);
    EXPECT_EQ(Cross(a, b), V3(27.0, 6.0, -13.0));
    V3 const with_nan(1.0, std::numeric_limits<double>::quiet_NaN(), 3.0);
    EXPECT_NE(with_nan, with_nan);
}

TEST(VectorTest, PointsAndDirectionsKeepTheirKinds) {
    Point const from(1.0, 1.0, 1.0);
    Point const to(4.0, 5.0, 1.0);
    auto const between = to - from;
    static_assert(std::is_same_v<decltype(between), Direction const>);
    static_assert(std::is_same_v<decltype(from + between), Point>);
    static_assert(std::is_same_v<decltype(between * 2.0), Direction>);
    EXPECT_EQ(between.length(), 5.0);
    EXPECT_EQ(from + between, to);
    EXPECT_EQ(to - between, from);
    EXPECT_EQ(between.normalized(), Direction(0.6, 0.8, 0.0));
}

TEST(BoundsTest, ContainsItsEdgesAndGrowsToNewPoints) {
    Bounds<3, double> box(Point(0.0, 0.0, 0.0), Point(1.0, 2.0, 3.0));
    struct Case {
        Point point;
        bool inside;
    } const cases[] = {
        {Point(0.0, 0.0, 0.0), true},    {Point(1.0, 2.0, 3.0), true},
        {Point(0.5, 1.0, 1.5), true},    {Point(1.0, 2.0, 3.01), false},
        {Point(-0.01, 1.0, 1.0), false}, {Point(std::numeric_limits<double>::quiet_NaN(), 1.0, 1.0), false},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(::testing::Message() << test.point[0] << ", " << test.point[1] << ", " << test.point[2]);
        EXPECT_EQ(box.contains(test.point), test.inside);
    }
    EXPECT_EQ(box.center(), Point(0.5, 1.0, 1.5));

    Bounds<3, double> grown = Bounds<3, double>::Empty();
    EXPECT_TRUE(grown.isEmpty());
    EXPECT_FALSE(grown.contains(Point()));
    grown.addPoint(Point(1.0, -1.0, 2.0));
    EXPECT_TRUE(grown.contains(Point(1.0, -1.0, 2.0)));
    grown.addPoint(Point(-1.0, 3.0, 2.0));
    EXPECT_EQ(grown.low, Point(-1.0, -1.0, 2.0));
    EXPECT_EQ(grown.high, Point(1.0, 3.0, 2.0));

    Bounds<2, int> const pixels(Vertex<2, int>(0, 0), Vertex<2, int>(9, 9));
    EXPECT_TRUE(pixels.contains(Vertex<2, int>(9, 0)));
    EXPECT_FALSE(pixels.contains(Vertex<2, int>(10, 0)));
}

} // namespace
} // namespace QELTA
