#include "sat/nbSatGetDataByPixLin.h"

#include "tests/sat/fakeDriver.h"
#include "tests/support/support.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace {

constexpr float none = -9999.0F;

std::int16_t countAt(NbSatObject& object, float pixel, float line)
{
    std::int16_t out = 12345;
    nbSatGetI2DataByPixLin(&object, &pixel, &line, &out, 1);
    return out;
}

float valueAt(NbSatObject& object, float pixel, float line)
{
    float out = 12345;
    nbSatGetR4DataByPixLin(&object, &pixel, &line, &out, 1);
    return out;
}

// An image that is the same in all lines, its first columns as given and 0 behind them.
FakeImage columns(std::vector<int> values)
{
    FakeImage image;
    image.count = [values](int pixel, int) {
        const auto k = static_cast<std::size_t>(pixel);
        return k < values.size() ? values[k] : 0;
    };
    return image;
}

struct Point {
    float pixel, line;
    int expected;
};

} // namespace

TEST(SatDataByPixLin, NearestCountsGoStraightToTheDriver)
{
    FakeImage image{.dataResult = 3};
    NbSatObject object = selected(image, 0, 0);
    const std::array<float, 2> pixel{2, none};
    const std::array<float, 2> line{1, 1};
    std::array<std::int16_t, 2> out{};
    EXPECT_EQ(nbSatGetI2DataByPixLin(&object, pixel.data(), line.data(), out.data(), 2), 3);
    EXPECT_EQ(nbSatGetI2DataByPixLin(&object, pixel.data(), line.data(), out.data(), 0), 3);
    EXPECT_EQ(image.dataCalls, (std::vector<int>{2, 0}));
    EXPECT_EQ(out, (std::array<std::int16_t, 2>{5, -1}));
}

// Bilinear interpolation gives an image of constant slopes back: 100 + 8 pixel + 3 line, the
// half added and cut to an integer.
TEST(SatDataByPixLin, BilinearFollowsASlopeAndRepeatsTheEdge)
{
    constexpr float huge = 1e9F;
    const Point points[] = {
        {0, 0, 100},
        {2.25F, 3.5F, 129}, // 128.5
        {2.125F, 3, 126},
        {39, 29, 499},
        {39.4F, 29.4F, 499}, // neighbours beyond the last repeat it
        {-5, 0, 100},
        {45.5F, 2, 418},
        {3, 1000, 211},  // far below the last line
        {-0.25F, 0, 98}, // the slope goes on beyond the first pixel
        {0, -0.9F, 97},  // 97.3
        {none, 3, -1},
        {3, none, -1},
        {huge, 3, -1},
        {3, -huge, -1},
        {std::numeric_limits<float>::quiet_NaN(), 3, -1},
        {std::numeric_limits<float>::infinity(), 3, -1},
    };
    FakeImage image;
    image.count = [](int pixel, int line) { return 100 + 8 * pixel + 3 * line; };
    NbSatObject object = selected(image, 0, 1);
    for (const Point& p : points)
        EXPECT_EQ(countAt(object, p.pixel, p.line), p.expected) << p.pixel << ' ' << p.line;
}

TEST(SatDataByPixLin, BilinearTakesMissingNeighboursAsZero)
{
    FakeImage image;
    image.count = [](int pixel, int line) { return pixel == 10 && line == 10 ? 100 : -1; };
    NbSatObject object = selected(image, 0, 1);
    EXPECT_EQ(countAt(object, 10.5F, 10.5F), 25); // its own weight alone, not rescaled
    EXPECT_EQ(countAt(object, 9.25F, 10), 25);
    EXPECT_EQ(countAt(object, 20.5F, 20.5F), -1); // all four missing
}

// Weights by hand. Sinc, half-way: 2/pi and -2/(3 pi), in all 3/4 and -1/4 of their sum; at 1/4:
// 0.9003163, 0.3001054, -0.1800633, -0.1286166 before the division. Cubic, half-way: 5/8 and
// -1/8; at 1/4: 57/64, 19/64, -9/64, -3/64.
TEST(SatDataByPixLin, KernelsWeighFourByFourPixels)
{
    const struct {
        std::vector<int> columns;
        float pixel;
        int sinc, cubic;
    } cases[] = {
        {{10, 20, 40, 50}, 1, 20, 20},
        {{0, 100, 100, 0}, 1.5F, 150, 125},
        {{0, 100, 200, 0}, 1.25F, 168, 148}, // 168.27, 148.44
        {{0, 100, 200, 0}, 1.75F, 236, 208}, // 235.57, 207.81
        {{255, 0, 0, 255}, 1.5F, 0, 0},      // -127.5, -63.8
        {{0, 255, 255, 0}, 1.5F, 255, 255},  // 382.5, 318.8: the highest level
        {{-1, -1, 100, 100}, 1.25F, 18, 24}, // 18.42, 24.25; 19 and 25 without the marks
        {{0, 80, 160, 0}, 0, 0, 0},
        // The edge at its own distance in the place of pixel -1: sinc (3, 3, 3, -1) / 8, cubic
        // (5, 5, 5, -1) / 14.
        {{0, 80, 160, 0}, 0.5F, 10, 17}, // 17.14
    };
    for (const auto& c : cases) {
        FakeImage image = columns(c.columns);
        NbSatObject object = selected(image, 0, 2);
        EXPECT_EQ(countAt(object, c.pixel, 12), c.sinc) << c.columns[0] << ' ' << c.pixel;
        object.intpMethod = 3;
        EXPECT_EQ(countAt(object, c.pixel, 12), c.cubic) << c.columns[0] << ' ' << c.pixel;
        EXPECT_EQ(countAt(object, c.pixel, 12.5F), c.cubic) << c.columns[0] << ' ' << c.pixel;
    }
    FakeImage image;
    image.count = [](int, int line) { return line == 7 ? 100 : line == 8 ? 200 : 0; };
    NbSatObject object = selected(image, 0, 3);
    EXPECT_EQ(countAt(object, 20, 7.25F), 148); // the same along a column
}

// 5/4 x 205 is 256.25 of 256 levels: one above the highest. The table has no entry there.
TEST(SatDataByPixLin, KernelValueOfExactlyTheLevelNumberStands)
{
    FakeImage image = columns({0, 205, 205, 0});
    NbSatObject object = selected(image, 0, 3);
    EXPECT_EQ(countAt(object, 1.5F, 12), 256);
    object = selected(image, 1, 3);
    EXPECT_EQ(valueAt(object, 1.5F, 12), 65535.0F);
}

TEST(SatDataByPixLin, ManyInterpolatedPointsAreOneByOneTheSame)
{
    constexpr int n = 2000; // several blocks
    FakeImage image;
    image.count = [](int pixel, int line) { return (37 * pixel + 11 * line * line) % 251; };
    std::vector<float> pixel(n);
    std::vector<float> line(n);
    for (std::size_t i = 0; i < n; ++i) {
        pixel[i] = i % 7 == 3 ? none : std::fmod(0.37F * static_cast<float>(i), 41.0F) - 0.5F;
        line[i] = std::fmod(0.23F * static_cast<float>(i), 31.0F) - 0.5F;
    }
    for (const auto method : std::initializer_list<std::int16_t>{1, 2, 3}) {
        NbSatObject object = selected(image, 0, method);
        std::vector<std::int16_t> out(n);
        EXPECT_EQ(nbSatGetI2DataByPixLin(&object, pixel.data(), line.data(), out.data(), n), 0);
        for (std::size_t i = 0; i < n; ++i)
            ASSERT_EQ(out[i], countAt(object, pixel[i], line[i])) << method << ' ' << i;
    }
}

TEST(SatDataByPixLin, ResultIsThatOfTheLastPointSampled)
{
    FakeImage image;
    image.slots.GetI2DataByPixLin = [](void*, const float* pixel, const float*, std::int16_t*,
                                       int) {
        return pixel[0] > 35 ? -1 : static_cast<int>(pixel[0]); // the driver fails at the right
    };
    const std::array<float, 3> failing{38.5F, 4.5F, none};
    const std::array<float, 3> pixel{30.5F, 4.5F, none};
    const std::array<float, 3> line{2.5F, 2.5F, 2.5F};
    std::array<std::int16_t, 3> out{};
    // Bilinear: pixels 4 | 5 | 4 | 5; sinc: pixel 6 of the last call; cubic: one call from 3.
    for (const auto& [method, expected] : {std::pair{1, 5}, {2, 6}, {3, 3}}) {
        NbSatObject object = selected(image, 0, static_cast<std::int16_t>(method));
        EXPECT_EQ(nbSatGetI2DataByPixLin(&object, pixel.data(), line.data(), out.data(), 3),
                  expected);
        EXPECT_EQ(nbSatGetI2DataByPixLin(&object, failing.data(), line.data(), out.data(), 3), -1);
        EXPECT_EQ(nbSatGetI2DataByPixLin(&object, &pixel[2], &line[2], out.data(), 1), 0);
        EXPECT_EQ(nbSatGetI2DataByPixLin(&object, pixel.data(), line.data(), out.data(), 0), 0);
    }
}

TEST(SatDataByPixLin, PhysicalValuesComeFromTheDriverOrTheTable)
{
    FakeImage image = columns({10, 20, -1, -1}); // 295.0, 290.0
    for (const auto method : std::initializer_list<std::int16_t>{0, 1, 3}) {
        NbSatObject object = selected(image, 1, method);
        EXPECT_EQ(valueAt(object, 1, 5), 290.0F) << method;
        EXPECT_EQ(countAt(object, 1, 5), 290) << method;
    }
    image.table[20] = 290.9F;
    NbSatObject object = selected(image, 1, 1);
    EXPECT_EQ(countAt(object, 1, 5), 290);            // cut, not rounded
    EXPECT_EQ(valueAt(object, 0.5F, 5), 292.5F);      // count 15
    EXPECT_EQ(valueAt(object, 2.5F, 5), 65535.0F);    // all missing: the element's error value
    EXPECT_EQ(countAt(object, 2.5F, 5), -1);          // 65535 in 16 bits
    EXPECT_EQ(valueAt(object, none, none), 65535.0F); // no position
    object.intpMethod = 0;
    EXPECT_EQ(valueAt(object, 2, 5), -1.0F); // the driver's own mark
    EXPECT_EQ(countAt(object, 2, 5), -1);
    object.elemKind = 0;
    EXPECT_EQ(valueAt(object, 1, 5), 20.0F);
    EXPECT_EQ(valueAt(object, 2, 5), -1.0F);
}

TEST(SatDataByPixLin, LevelTableIsAppliedToCountsWithinItsEntries)
{
    FakeImage image = columns({0, 3, 4, -1, 200, 2});
    image.errorValue = 2;
    std::vector<std::int16_t> levels{50, 51, 52, 53};
    NbLut lut = lutOf(NB_LUT_LEVELS, 4);
    lut.table = levels.data();
    const int expected[] = {50, 53, 99, 99, 99, 99};
    for (const auto kind : std::initializer_list<std::int16_t>{0, 1}) {
        NbSatObject object = selected(image, kind, 0);
        object.lut = &lut;
        for (int k = 0; k < 6; ++k)
            EXPECT_EQ(countAt(object, static_cast<float>(k), 5), expected[k]) << k;
        object.intpMethod = 1;
        EXPECT_EQ(countAt(object, 0.25F, 5), 51); // count 1
        EXPECT_EQ(valueAt(object, 1, 5), kind == 0 ? 3.0F : 298.5F) << "floats know no levels";
    }
}

// Temperatures 295 (count 10) and 290 (count 20).
TEST(SatDataByPixLin, ValueConversionsAreAppliedToPhysicalValues)
{
    FakeImage image = columns({10, 20, -1, -1});
    NbSatObject object = selected(image, 1, 1);
    NbLut lut = lutOf(NB_LUT_BIAS_SCALE, 256);
    lut.bias = 280;
    lut.scale = 0.5F;
    object.lut = &lut;
    EXPECT_EQ(countAt(object, 1, 5), 20);
    EXPECT_EQ(countAt(object, 0.5F, 5), 25);
    EXPECT_EQ(countAt(object, 2.5F, 5), 99);

    std::vector<float> x{280, 290, 300};
    std::vector<std::int16_t> y{0, 100, 120};
    lut.kind = NB_LUT_BREAKPOINTS;
    lut.tableX = x.data();
    lut.tableY = y.data();
    lut.tableNum = 3;
    EXPECT_EQ(countAt(object, 1, 5), 100);
    EXPECT_EQ(countAt(object, 0, 5), 110);
    EXPECT_EQ(countAt(object, 2.5F, 5), 99);
}

TEST(SatDataByPixLin, RefusalsSayWhy)
{
    FakeImage image;
    NbLut lut = lutOf(NB_LUT_BIAS_SCALE, 256);
    const struct {
        std::int16_t kind, elemNum, method;
        NbLut* lut;
        const char* text;
    } cases[] = {
        {1, 1, 1, nullptr,
         "nbSatGetI2DataByPixLin() : 内挿モードが有効になっていますが、要素が指定されていません\n"},
        {0, 0, 0, nullptr, "NB_Error: nbSatGetI2DataByPixLin() : no selected element.\n"},
        {0, 1, 0, &lut,
         "NB_Fatal: nbSatGetDataByPixLin nbSatGetI2DataByPixLin() : INTERNAL ERROR !!(0,2) \n"},
        {0, 1, 4, nullptr, ""},
    };
    const float position = 1;
    for (const auto& c : cases) {
        NbSatObject object = selected(image, c.kind, c.method);
        object.elemNum = c.elemNum;
        object.intpTable = nullptr;
        object.lut = c.lut;
        std::int16_t out = 0;
        StderrCapture text;
        EXPECT_EQ(nbSatGetI2DataByPixLin(&object, &position, &position, &out, 1), -1);
        EXPECT_EQ(text.get(), c.text);
    }

    NbSatObject object = selected(image, 1, 2);
    object.intpTable = nullptr;
    float out = 0;
    StderrCapture text;
    EXPECT_EQ(nbSatGetR4DataByPixLin(&object, &position, &position, &out, 1), -1);
    EXPECT_EQ(text.get(), "nbSatGetR4DataByPixLin() : "
                          "内挿モードが有効になっていますが、要素が指定されていません\n");
}
