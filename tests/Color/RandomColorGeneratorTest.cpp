// Random colours: hand-worked seeded sequences, repeatability, hue families and luminosity styles.
#include "Base/Color/HSBColor.h"
#include "Base/Color/RandomColorGenerator.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

using Options = RandomColorOptions;

Options Seeded(std::uint64_t seed, Options::HueStyle hue, Options::LuminosityStyle luminosity) {
    Options options(hue, luminosity);
    options.seed = seed;
    return options;
}

// Degrees of the hue of `color`, from -180 to 180 around `center`.
double HueAround(RGBColor const & color, double center) {
    double const degrees = HSBColor(color).hue.value / 32768.0 * 180.0 - center;
    return degrees - 360.0 * std::round(degrees / 360.0);
}

TEST(RandomColorGeneratorTest, SeededSequencesWorkedByHand) {
    // Seed 1, red, bright: the draws 58598, 127215, 79852 of 233280 give the hue 4 of 0 to 18,
    // the saturation 79 of 55 to 100, and, as 79 allows a brightness from 70 - 9 = 61, the
    // brightness 86 of (61 + 100) / 2 = 80 to 100; then the bytes 201 and 219 on the hexcone.
    struct Row {
        std::uint64_t seed;
        Options::HueStyle hue;
        Options::LuminosityStyle luminosity;
        RGBColor expected[3];
    };
    Row const rows[] = {
        {1, Options::RED, Options::BRIGHT, {RGBColor(219, 57, 46), RGBColor(249, 102, 44), RGBColor(237, 63, 57)}},
        {12345, Options::BLUE, Options::DARK, {RGBColor(13, 69, 130), RGBColor(13, 104, 147), RGBColor(38, 4, 142)}},
        {99, Options::GREEN, Options::LIGHT, {RGBColor(209, 244, 144), RGBColor(228, 244, 152), RGBColor(232, 239, 110)}},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.seed);
        RandomColorGenerator const generator(Seeded(row.seed, row.hue, row.luminosity));
        Buffer<RGBColor> const colors = generator.randomColors(3);
        ASSERT_EQ(colors.size(), 3u);
        for (unsigned int i = 0; i < 3; ++i) {
            EXPECT_EQ(colors[i], row.expected[i]) << i;
        }
    }
    EXPECT_EQ(RandomColorGenerator(Seeded(5, Options::ANY, Options::LIGHT)).randomColors(0).size(), 0u);
}

TEST(RandomColorGeneratorTest, SameSeedSameColours) {
    Options const options = Seeded(0x0123456789ABCDEFull, Options::ANY, Options::RANDOM);
    Buffer<RGBColor> const first = RandomColorGenerator(options).randomColors(500);
    EXPECT_EQ(RandomColorGenerator(options).randomColors(500), first);
    RandomColorGenerator generator;
    generator.setOptions(options);
    EXPECT_EQ(generator.randomColorRGB(), first[0]);
    EXPECT_NE(generator.randomColorRGB(), first[0]);
    // Fresh options draw fresh seeds.
    EXPECT_NE(Options().seed, Options().seed);
}

TEST(RandomColorGeneratorTest, ColoursStayInTheirFamily) {
    struct Row {
        Options::HueStyle hue;
        double low, high;
    };
    Row const rows[] = {
        {Options::RED, -26, 18},    {Options::ORANGE, 19, 46},  {Options::YELLOW, 47, 62}, {Options::GREEN, 63, 178},
        {Options::BLUE, 179, 257},  {Options::PURPLE, 258, 282}, {Options::PINK, 283, 334},
    };
    for (Row const & row : rows) {
        for (std::uint64_t seed : {0ull, 7ull, 424242ull}) {
            SCOPED_TRACE(std::to_string(row.hue) + " seed " + std::to_string(seed));
            RandomColorGenerator const generator(Seeded(seed, row.hue, Options::BRIGHT));
            double const center = (row.low + row.high) / 2;
            for (RGBColor const & color : generator.randomColors(300)) {
                // Bright colours keep their hue through the bytes to within a degree.
                double const hue = HueAround(color, center);
                EXPECT_GE(hue, row.low - center - 1.0);
                EXPECT_LE(hue, row.high - center + 1.0);
                EXPECT_EQ(color.alpha, 255);
            }
        }
    }
    RandomColorGenerator const grey(Seeded(0, Options::MONOCHROME, Options::DARK));
    for (RGBColor const & color : grey.randomColors(100)) {
        EXPECT_TRUE(color.red == color.green && color.green == color.blue) << int(color.red);
    }
}

TEST(RandomColorGeneratorTest, FamiliesAndLeastBrightness) {
    struct Family {
        double degrees;
        Options::HueStyle family;
    };
    for (Family const & row : {Family{0, Options::RED}, Family{18, Options::RED}, Family{19, Options::ORANGE},
                               Family{62, Options::YELLOW}, Family{180, Options::BLUE}, Family{333, Options::PINK},
                               Family{334, Options::RED}, Family{350, Options::RED}}) {
        Angle<unsigned short> const hue(static_cast<unsigned short>(row.degrees / 180.0 * 32768.0));
        EXPECT_EQ(RandomColorGenerator::getColorInfo(hue), row.family) << row.degrees;
    }
    struct Least {
        int saturation;
        int brightness;
    };
    RandomColorGenerator const generator;
    Angle<unsigned short> const red(0);
    // Red's pairs (20, 100), (30, 92) have the whole slope 0 (-8 / 10); (70, 70), (80, 60) the slope
    // -1; (90, 55), (100, 50) again 0, so a saturation of 100 allows 55.
    for (Least const & row : {Least{10, 0}, Least{25, 100}, Least{30, 100}, Least{75, 65}, Least{80, 60},
                              Least{100, 55}}) {
        EXPECT_EQ(generator.getMinimumBrightness(red, row.saturation), row.brightness) << row.saturation;
    }
    EXPECT_EQ(RandomColorGenerator::getHueRange_s(Options::MONOCHROME).high[0], 360);
    EXPECT_EQ(RandomColorGenerator::getHueRange_s(Options::PURPLE).low[0], 258);
}

TEST(RandomColorGeneratorTest, SeededDrawsStayInTheirRange) {
    RandomColorGenerator const generator(Seeded(3, Options::ANY, Options::RANDOM));
    RandomColorGenerator::Range const range(Vertex<1, int>(Vector<1, int>::Filled(-20)),
                                            Vertex<1, int>(Vector<1, int>::Filled(30)));
    for (int i = 0; i < 2000; ++i) {
        int const value = generator.randomWithin(range);
        EXPECT_GE(value, 0);
        EXPECT_LT(value, 30);
    }
}

// Unseeded generators draw from an engine of their own thread, and names from one table built
// once: threads that start together share neither a draw nor a half-built table.
TEST(RandomColorGeneratorTest, ThreadsDrawAndNameSideBySide) {
    std::vector<std::thread> threads;
    std::atomic<int> greys{0};
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&greys] {
            RandomColorGenerator const generator(Seeded(0, Options::ANY, Options::BRIGHT));
            for (RGBColor const & color : generator.randomColors(500)) {
                (void)color.getName();
                if (color.red == color.green && color.green == color.blue) {
                    ++greys;
                }
            }
        });
    }
    for (std::thread & thread : threads) {
        thread.join();
    }
    // Bright colours have a saturation of at least 55: none is grey.
    EXPECT_EQ(greys.load(), 0);
}

} // namespace
} // namespace QELTA
