#include "sat/nbSatGetZoomData.h"
#include "sat/nbSatGetZoomDataSub.h"

#include "tests/sat/fakeDriver.h"
#include "tests/support/support.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Counts = std::vector<std::int16_t>;
using Values = std::vector<float>;

constexpr NbZoomRect fourPixels{
    .startPixel = 4, .startLine = 2, .width = 4, .height = 2, .outWidth = 4, .outHeight = 2};

Counts levelsOf(NbSatObject& object, const NbZoomRect& rect = fourPixels)
{
    Counts out(8, 77);
    nbSatGetI2ZoomData(&object, &rect, out.data());
    return out;
}

Values valuesOf(NbSatObject& object)
{
    Values out(8, 77);
    nbSatGetR4ZoomData(&object, &fourPixels, out.data());
    return out;
}

// 10 line + pixel, pixel 7 missing: the rectangle above reads 24 25 26 -1 and 34 35 36 -1.
FakeImage tens()
{
    FakeImage image;
    image.count = [](int pixel, int line) { return pixel == 7 ? -1 : 10 * line + pixel; };
    return image;
}

// Columns of the source that a row of samples came from, of an image whose count is its pixel.
FakeImage pixelNumbers()
{
    FakeImage image;
    image.count = [](int pixel, int) { return pixel; };
    return image;
}

} // namespace

TEST(SatZoomData, NearestTakesTheDriversZoom)
{
    FakeImage image = tens();
    image.dataResult = 3;
    NbSatObject object = selected(image, 0, 0);
    EXPECT_EQ(levelsOf(object), (Counts{24, 25, 26, -1, 34, 35, 36, -1}));
    EXPECT_EQ(valuesOf(object), (Values{24, 25, 26, -1, 34, 35, 36, -1}));
    object = selected(image, 1, 0);
    EXPECT_EQ(valuesOf(object), (Values{288, 287.5F, 287, -1, 283, 282.5F, 282, -1}));
    EXPECT_EQ(levelsOf(object), (Counts{288, 287, 287, -1, 283, 282, 282, -1}));
    EXPECT_TRUE(image.dataCalls.empty());
    Counts out(8);
    EXPECT_EQ(nbSatGetI2ZoomData(&object, &fourPixels, out.data()), 3);
}

// The table turns v into 200 - v, so applying it twice would show.
TEST(SatZoomData, LevelTableIsAppliedOnceByEveryMethod)
{
    FakeImage image = tens();
    Counts table(256);
    for (std::size_t v = 0; v < table.size(); ++v)
        table[v] = static_cast<std::int16_t>(200 - static_cast<int>(v));
    NbLut lut = lutOf(NB_LUT_LEVELS, 256);
    lut.table = table.data();
    NbSatObject object = selected(image, 0, 0);
    object.lut = &lut;
    EXPECT_EQ(levelsOf(object), (Counts{176, 175, 174, 99, 166, 165, 164, 99}));
    image.errorValue = 25;
    object = selected(image, 1, 0);
    object.lut = &lut;
    EXPECT_EQ(levelsOf(object), (Counts{176, 99, 174, 99, 166, 165, 164, 99}));
    // Bilinear on whole pixels: the samples themselves, the missing neighbour with weight 0.
    for (const auto kind : Counts{0, 1}) {
        object = selected(image, kind, 1);
        object.errorValue = 65535;
        object.lut = &lut;
        EXPECT_EQ(levelsOf(object), (Counts{176, 175, 174, 200, 166, 165, 164, 200}));
    }
    // Floats are never levels, but for interpolated counts.
    object = selected(image, 0, 0);
    object.lut = &lut;
    EXPECT_EQ(valuesOf(object), (Values{24, 25, 26, -1, 34, 35, 36, -1}));
    object.intpMethod = 1;
    EXPECT_EQ(valuesOf(object), (Values{176, 99, 174, 200, 166, 165, 164, 200}));
}

TEST(SatZoomData, ValueConversionsTakePhysicalValuesByEveryMethod)
{
    FakeImage image; // 300 - 0.5 count
    image.count = [](int pixel, int line) { return 10 * line + pixel; };
    NbLut lut = lutOf(NB_LUT_BIAS_SCALE, 256);
    lut.bias = 200;
    lut.scale = 0.5F;
    for (const auto method : Counts{0, 1, 2, 3}) {
        NbSatObject object = selected(image, 1, method);
        object.lut = &lut;
        EXPECT_EQ(levelsOf(object), (Counts{176, 175, 174, 173, 166, 165, 164, 163})) << method;
        EXPECT_EQ(valuesOf(object)[0], 288) << method;
    }
}

// On 100 + 8 pixel + 4 line, bilinear gives the slope back: columns 1.5, 2, 2.5, ... and lines
// 2.25, 3.25, ... of the source.
TEST(SatZoomData, InterpolatedPositionsSpreadOverTheRectangle)
{
    FakeImage image;
    image.count = [](int pixel, int line) { return 100 + 8 * pixel + 4 * line; };
    NbSatObject object = selected(image, 0, 1);
    const NbZoomRectF rect{.startPixel = 1.5F,
                           .startLine = 2.25F,
                           .width = 5,
                           .height = 4,
                           .outWidth = 9,
                           .outHeight = 4};
    Counts out(36);
    EXPECT_EQ(nbSatGetI2ZoomDataIntp(&object, &rect, out.data()), 0);
    for (std::size_t j = 0; j < 4; ++j)
        for (std::size_t i = 0; i < 9; ++i)
            EXPECT_EQ(out[9 * j + i], 100 + 12 + 9 + 4 * static_cast<int>(i + j)) << i << ' ' << j;
    Values values(36);
    EXPECT_EQ(nbSatGetR4ZoomDataIntp(&object, &rect, values.data()), 0);
    EXPECT_EQ(values[35], 165);

    const NbZoomRectF one{
        .startPixel = 3, .startLine = 2, .width = 9, .height = 9, .outWidth = 1, .outHeight = 1};
    EXPECT_EQ(nbSatGetI2ZoomDataIntp(&object, &one, out.data()), 0);
    EXPECT_EQ(out[0], 132);
}

TEST(SatZoomData, RefusalsSayWhy)
{
    FakeImage image;
    NbLut valueLut = lutOf(NB_LUT_BIAS_SCALE, 256);
    NbLut strangeLut = lutOf(7, 256);
    const struct {
        std::int16_t kind, elemNum, method;
        NbLut* lut;
        const char* text;
    } cases[] = {
        {0, 0, 0, nullptr, "NB_Error: nbSatGetI2ZoomData() : no selected element.\n"},
        {0, 1, 4, nullptr,
         "NB_Error: nbSatGetI2ZoomData() : この内挿モードには対応していません.\n"},
        {0, 1, 0, &valueLut, "NB_Fatal: nbSatGetI2ZoomData() : INTERNAL ERROR"},
        {1, 1, 0, &strangeLut, "NB_Fatal: nbSatGetI2ZoomData() : INTERNAL ERROR"},
    };
    for (const auto& c : cases) {
        NbSatObject object = selected(image, c.kind, c.method);
        object.elemNum = c.elemNum;
        object.lut = c.lut;
        Counts out(8);
        StderrCapture text;
        EXPECT_EQ(nbSatGetI2ZoomData(&object, &fourPixels, out.data()), -1);
        EXPECT_EQ(text.get(), c.text);
    }
    NbSatObject object = selected(image, 0, 4);
    Values out(8);
    StderrCapture text;
    EXPECT_EQ(nbSatGetR4ZoomData(&object, &fourPixels, out.data()), -1);
    EXPECT_EQ(text.get(), "NB_Error: nbSatGetR4ZoomData() : この内挿モードには対応していません.\n");
}

// Twenty pixels from 30 of an image of 40: ten remain, for 10 x 10 / 20 = 5 of the ten columns,
// which spread over 30 to 39.
TEST(SatZoomDataSub, RightEdgeCutsTheColumnsInProportion)
{
    FakeImage image = pixelNumbers();
    NbSatObject object = selected(image, 0, 0);
    const NbZoomRect rect{
        .startPixel = 30, .startLine = 3, .width = 20, .height = 1, .outWidth = 10, .outHeight = 1};
    Counts out(10, 77);
    EXPECT_EQ(nbSatGetI2ZoomDataSub(&object, &rect, out.data()), 0);
    EXPECT_EQ(out, (Counts{30, 32, 34, 36, 39, 77, 77, 77, 77, 77}));
    EXPECT_EQ(image.dataCalls, std::vector<int>{5});
}

TEST(SatZoomDataSub, SizeOfZeroRunsToTheEndOfTheImage)
{
    FakeImage image;
    image.count = [](int pixel, int line) { return 100 * line + pixel; };
    NbSatObject object = selected(image, 0, 0);
    const NbZoomRect rect{
        .startPixel = 10, .startLine = 20, .width = 0, .height = 0, .outWidth = 3, .outHeight = 2};
    Counts out(6);
    EXPECT_EQ(nbSatGetI2ZoomDataSub(&object, &rect, out.data()), 0);
    EXPECT_EQ(out, (Counts{2010, 2024, 2039, 2910, 2924, 2939}));
    const NbZoomRect single{
        .startPixel = 10, .startLine = 20, .width = 0, .height = 0, .outWidth = 1, .outHeight = 1};
    nbSatGetI2ZoomDataSub(&object, &single, out.data());
    EXPECT_EQ(out[0], 2010);
    Values values(6);
    image.dataResult = 4;
    EXPECT_EQ(nbSatGetR4ZoomDataSub(&object, &rect, values.data()), 4);
    EXPECT_EQ(values, Values(6, -1)); // counts beyond the table of 256
}

TEST(SatZoomDataSub, RowsOffTheImageAreRepeatedSkippedOrMissing)
{
    FakeImage image;
    image.count = [](int, int line) { return line; };
    NbSatObject object = selected(image, 0, 0);
    Counts out(12, 77);
    // Lines -2 to 3: missing, the row before, then the image.
    NbZoomRect rect{
        .startPixel = 0, .startLine = -2, .width = 2, .height = 6, .outWidth = 2, .outHeight = 6};
    EXPECT_EQ(nbSatGetI2ZoomDataSub(&object, &rect, out.data()), 0);
    EXPECT_EQ(out, (Counts{-1, -1, -1, -1, 0, 0, 1, 1, 2, 2, 3, 3}));
    EXPECT_EQ(image.dataCalls.size(), 5U);
    // Lines -1 to 4: no row stands before the first.
    out.assign(12, 77);
    rect.startLine = -1;
    nbSatGetI2ZoomDataSub(&object, &rect, out.data());
    EXPECT_EQ(out, (Counts{77, 77, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4}));
    // Lines 27 to 32 of 30.
    out.assign(12, 77);
    rect.startLine = 27;
    nbSatGetI2ZoomDataSub(&object, &rect, out.data());
    EXPECT_EQ(out, (Counts{27, 27, 28, 28, 29, 29, 77, 77, 77, 77, 77, 77}));
}

TEST(SatZoomDataSub, ImpossibleRectanglesStayWithinTheOutput)
{
    FakeImage image = pixelNumbers();
    NbSatObject object = selected(image, 0, 0);
    for (const std::int32_t width : {INT32_MIN, -3, -1, 0, 1, INT32_MAX})
        for (const auto start : Counts{-32768, -1, 0, 39, 40, 41, 32767})
            for (const auto outWidth : Counts{-32768, 0, 1, 3}) {
                const NbZoomRect rect{.startPixel = start,
                                      .startLine = start,
                                      .width = width,
                                      .height = width,
                                      .outWidth = outWidth,
                                      .outHeight = 2};
                Counts out(8, 77);
                nbSatGetI2ZoomDataSub(&object, &rect, out.data());
                EXPECT_EQ(out[6], 77) << width << ' ' << start << ' ' << outWidth;
            }
}
