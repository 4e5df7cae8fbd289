#include "sat/nbLut.h"

#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatSetLut.h"
#include "tests/sat/fakeDriver.h"
#include "tests/support/support.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

using Levels = std::vector<std::int16_t>;
constexpr float errorValue = -1.0F;
constexpr std::int16_t errorLevel = 77;
const float notANumber = std::nanf("");
constexpr float infinite = std::numeric_limits<float>::infinity();

TEST(Lut, BiasAndScaleTakeTheNearestLevelWithinTheRange)
{
    const std::vector<float> in = {255.6F, -0.6F,    -0.4F,     0.5F,       254.49F,   1e30F,
                                   -1e30F, infinite, -infinite, notANumber, errorValue};
    Levels out(in.size());
    nbLutR4ToI2ByBiasScale(0, 1, 256, in.data(), out.data(), errorValue, errorLevel,
                           static_cast<int>(in.size()));
    EXPECT_EQ(out, (Levels{255, 0, 0, 1, 254, 255, 0, 255, 0, 77, 77}));

    // The quotient is a float's: 0.5F / 0.2F is 2.5 there and 2.49999996 in double. The sum with a
    // half is a double's: in float, 0.49999997 + 0.5 is 1.
    const float edges[] = {0.5F, 0.49999997F};
    Levels levels(2);
    nbLutR4ToI2ByBiasScale(0, 0.2F, 10, &edges[0], &levels[0], errorValue, errorLevel, 1);
    nbLutR4ToI2ByBiasScale(0, 1, 10, &edges[1], &levels[1], errorValue, errorLevel, 1);
    EXPECT_EQ(levels, (Levels{3, 0}));

    const Levels counts = {-1, 0, 100, 1023};
    Levels fromCounts(counts.size());
    nbLutI2ToI2ByBiasScale(0, 4, 256, counts.data(), fromCounts.data(), -1, errorLevel, 4);
    EXPECT_EQ(fromCounts, (Levels{77, 0, 25, 255})); // 1023 / 4 + 0.5 is 256.25

    // 173 to 323 kelvin on 301 levels: half a kelvin each.
    const std::vector<float> kelvin = {173, 173.5F, 200, 323};
    Levels range(4);
    nbLutR4ToI2ByMinMax(173, 323, 301, kelvin.data(), range.data(), errorValue, errorLevel, 4);
    EXPECT_EQ(range, (Levels{0, 1, 54, 300}));
    const Levels kelvinCounts = {173, 174, 200, 323};
    nbLutI2ToI2ByMinMax(173, 323, 301, kelvinCounts.data(), range.data(), -1, errorLevel, 4);
    EXPECT_EQ(range, (Levels{0, 2, 54, 300}));
}

TEST(Lut, BreakpointsInterpolateAndStairsDoNot)
{
    const std::vector<float> x = {10, 20, 40};
    const Levels y = {100, 200, 0};
    //                             below, first, mid, 2nd, falls, last, above
    const std::vector<float> in = {9, 10, 15, 20, 25, 40, 41, errorValue};
    const Levels counts = {9, 10, 15, 20, 25, 40, 41, -1};
    const Levels linear = {100, 100, 150, 200, 150, 0, 0, 77};
    const Levels stair = {100, 100, 100, 200, 200, 0, 0, 77};
    Levels out(in.size());
    const int n = static_cast<int>(in.size());
    nbLutR4ToI2ByTable(x.data(), y.data(), 3, in.data(), out.data(), errorValue, errorLevel, n);
    EXPECT_EQ(out, linear);
    nbLutI2ToI2ByTable(x.data(), y.data(), 3, counts.data(), out.data(), -1, errorLevel, n);
    EXPECT_EQ(out, linear);
    nbLutR4ToI2ByTableStair(x.data(), y.data(), 3, in.data(), out.data(), errorValue, errorLevel,
                            n);
    EXPECT_EQ(out, stair);
    nbLutI2ToI2ByTableStair(x.data(), y.data(), 3, counts.data(), out.data(), -1, errorLevel, n);
    EXPECT_EQ(out, stair);
}

TEST(Lut, TablesOfOneAndNoEntry)
{
    const std::vector<float> in = {-5, 10, 300};
    const float x = 10;
    const std::int16_t y = 42;
    Levels out(3);
    for (const auto convert : {nbLutR4ToI2ByTable, nbLutR4ToI2ByTableStair}) {
        convert(&x, &y, 1, in.data(), out.data(), errorValue, errorLevel, 3);
        EXPECT_EQ(out, (Levels{42, 42, 42}));
        convert(&x, &y, 0, in.data(), out.data(), errorValue, errorLevel, 3);
        EXPECT_EQ(out, (Levels{77, 77, 77}));
    }
}

TEST(Lut, FloatStairKeepsTheLevelBeforeWhereNoIntervalFits)
{
    const std::vector<float> x = {10, 20};
    const Levels y = {1, 2};
    const std::vector<float> in = {notANumber, 15, notANumber, 30, notANumber};
    Levels out(in.size());
    nbLutR4ToI2ByTableStair(x.data(), y.data(), 2, in.data(), out.data(), errorValue, errorLevel,
                            5);
    EXPECT_EQ(out, (Levels{77, 1, 1, 2, 2}));
}

// An open object with an element selected, closed at the end.
struct Selected {
    explicit Selected(const char* element) { nbSatSetElems(&object, element); }
    ~Selected() { nbSatCloseObject(&object); }
    FakeImage image;
    NbSatObject object = image.open();
};

Levels levelTable(const NbSatObject& object)
{
    const NbLut* lut = object.lut;
    if (lut == nullptr || lut->kind != NB_LUT_LEVELS) return {};
    return {lut->table, lut->table + lut->levels};
}

TEST(SetLut, CountsAreTheirOwnSourceValues)
{
    Selected s("IR1");
    ASSERT_EQ(nbSatSetLutByBiasScale(&s.object, 100, 2, 50, 9), 0);
    const Levels levels = levelTable(s.object);
    ASSERT_EQ(levels.size(), 256U);
    EXPECT_EQ(levels[99], 0);
    EXPECT_EQ(levels[110], 5);
    EXPECT_EQ(levels[255], 49);
    EXPECT_EQ(s.object.lut->errorLevel, 9);
}

TEST(SetLut, PhysicalElementsGoThroughTheirCalibrationTable)
{
    Selected s("IR1_T"); // count i is 300 - i / 2 kelvin
    s.object.errorValue = 250.0F;
    ASSERT_EQ(nbSatSetLutByMinMax(&s.object, 200, 300, 101, 9), 0); // a level a kelvin
    Levels levels = levelTable(s.object);
    ASSERT_EQ(levels.size(), 256U);
    EXPECT_EQ(levels[0], 100);
    EXPECT_EQ(levels[50], 75);
    EXPECT_EQ(levels[100], 9); // 250 kelvin is the error value here
    EXPECT_EQ(levels[255], 0);

    const std::vector<float> x = {200, 300};
    const Levels y = {0, 1000};
    ASSERT_EQ(nbSatSetLutByTable(&s.object, x.data(), y.data(), 2, 9), 0); // the old one goes
    EXPECT_EQ(levelTable(s.object)[50], 750);
    ASSERT_EQ(nbSatSetLutByTableStair(&s.object, x.data(), y.data(), 2, 9), 0);
    EXPECT_EQ(levelTable(s.object)[50], 0);
}

TEST(SetLut, WithoutCalibrationTableTheRequestIsKept)
{
    Selected s("IR1_X");
    ASSERT_EQ(nbSatSetLutByBiasScale(&s.object, 100, 2, 50, 9), 0);
    EXPECT_EQ(s.object.lut->kind, NB_LUT_BIAS_SCALE);
    EXPECT_EQ(s.object.lut->bias, 100);
    EXPECT_EQ(s.object.lut->scale, 2);
    EXPECT_EQ(s.object.lut->levels, 50);
    EXPECT_EQ(s.object.lut->errorLevel, 9);
    // Stairs are kept as breakpoints like the others, and samples then interpolate.
    for (const auto set : {nbSatSetLutByTable, nbSatSetLutByTableStair}) {
        std::vector<float> x = {10, 20, 40};
        Levels y = {100, 200, 0};
        ASSERT_EQ(set(&s.object, x.data(), y.data(), 3, 9), 0);
        x.assign(3, 0); // the record has copies
        y.assign(3, 0);
        const NbLut& lut = *s.object.lut;
        ASSERT_EQ(lut.kind, NB_LUT_BREAKPOINTS);
        ASSERT_EQ(lut.tableNum, 3);
        EXPECT_EQ(std::vector<float>(lut.tableX, lut.tableX + 3), (std::vector<float>{10, 20, 40}));
        EXPECT_EQ(Levels(lut.tableY, lut.tableY + 3), (Levels{100, 200, 0}));
    }
}

TEST(SetLut, TakesBreakpointsFromAnObjectOfTheList)
{
    FakeImage images[2];
    NbSatObject objects[2] = {images[0].open(), images[1].open()};
    objects[0].objectNum = 2;
    nbSatSetElems(objects, "IR1_X");
    const float x[] = {10, 20};
    const std::int16_t y[] = {0, 100};
    ASSERT_EQ(nbSatSetLutByTable(objects, x, y, 2, 9), 0);
    const NbLut* first = objects[0].lut;
    EXPECT_EQ(nbSatSetLutByTable(objects, first->tableX, first->tableY, 2, 7), 0);
    for (NbSatObject& object : objects) {
        EXPECT_EQ(object.lut->errorLevel, 7);
        EXPECT_EQ(object.lut->tableX[1], 20);
        EXPECT_EQ(object.lut->tableY[1], 100);
        nbSatCloseObject(&object);
    }
}

TEST(SetLut, NeedsOneElementOfOneValueOnAtLeastOneObject)
{
    FakeImage images[3];
    NbSatObject objects[3] = {images[0].open(), images[1].open(), images[2].open()};
    nbSatSetElems(&objects[1], "IR1_P");
    nbSatSetElems(&objects[2], "IR1");
    objects[0].objectNum = 2;
    {
        StderrCapture err;
        EXPECT_EQ(nbSatSetLutByMinMax(objects, 0, 255, 256, 0), -1);
        EXPECT_EQ(err.get(),
                  "NB_Error: nbSatSetLutByBiasScale() : 要素が指定されていません\n"
                  "NB_Error: nbSatSetLutByBiasScale() : 要素が複数の時,階調変換の指定はできません\n"
                  "NB_Error: nbSatSetLutByMinMax() : nbSatSetLutByBiasScale() return error code "
                  "[-1]\n");
    }
    objects[0].objectNum = 3;
    const StderrCapture quiet;
    EXPECT_EQ(nbSatSetLutByBiasScale(objects, 0, 1, 256, 0), 0);
    EXPECT_EQ(objects[1].lut, nullptr);
    EXPECT_NE(objects[2].lut, nullptr);
    for (NbSatObject& object : objects)
        nbSatCloseObject(&object);
}

} // namespace
