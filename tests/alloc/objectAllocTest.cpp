// Memory that runs out somewhere between a path and samples, in each format.
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetDataByPixLin.h"
#include "sat/nbSatGetZoomData.h"
#include "sat/nbSatNav.h"
#include "sat/nbSatSetLut.h"
#include "tests/support/allocFailure.h"
#include "tests/support/conversions.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>

namespace {

constexpr int columns = 12;
constexpr int rows = 5;
constexpr int n = columns * rows;

struct Samples {
    std::array<std::int16_t, n> levels;
    std::array<std::int16_t, n> between;
    std::array<float, n> zoomed;
    std::array<float, n> pixel;
    std::array<float, 4096> table;
    bool operator==(const Samples&) const = default;
};

// Opens, selects, converts, interpolates, zooms, navigates and closes; the number of the first
// step that says it failed, or 0. Nothing here allocates but the library.
int openAndSample(const char* path, const char* element, int start, Samples& out)
{
    NbSatObject object{};
    if (nbSatOpenObject(&object, path) != 0) return 1;
    const int failed = [&] {
        float pixel[n], line[n];
        double lon[n], lat[n];
        for (int i = 0; i < n; ++i) {
            pixel[i] = static_cast<float>(start + i % columns) + 0.25F;
            line[i] = static_cast<float>(start + i / columns) + 0.5F;
        }
        int room = static_cast<int>(out.table.size());
        if (nbSatGetCalTable(&object, element, out.table.data(), &room) < 0) return 2;
        if (nbSatSetElems(&object, element) < 1) return 3;
        nbSatSetStopGap(&object, 2);
        if (nbSatSetLutByBiasScale(&object, 180, 0.5F, 256, 255) != 0) return 4;
        if (nbSatGetI2DataByPixLin(&object, pixel, line, out.levels.data(), n) < 0) return 5;
        if (nbSatSetIntp(&object, 1) != 0 || object.intpTable == nullptr) return 6;
        if (nbSatSetElems(&object, element) < 1) return 7; // without the conversion
        if (nbSatGetI2DataByPixLin(&object, pixel, line, out.between.data(), n) < 0) return 8;
        const NbZoomRect rect{.startPixel = static_cast<std::int16_t>(start),
                              .startLine = static_cast<std::int16_t>(start),
                              .width = columns,
                              .height = rows,
                              .outWidth = columns,
                              .outHeight = rows};
        if (nbSatGetR4ZoomData(&object, &rect, out.zoomed.data()) < 0) return 9;
        if (nbSatPixLinToLonLat(&object, pixel, line, lon, lat, n) < 0) return 10;
        if (nbSatLonLatToPixLin(&object, lon, lat, out.pixel.data(), line, n) < 0) return 11;
        return 0;
    }();
    nbSatCloseObject(&object);
    return failed;
}

// Each sample is the good one or missing.
template <class T, std::size_t size>
bool mayMiss(const std::array<T, size>& out, const std::array<T, size>& good, T missing)
{
    return std::equal(out.begin(), out.end(), good.begin(),
                      [&](T a, T b) { return a == b || a == missing; });
}

void failEach(const char* format, const char* element, std::span<const std::byte> bytes)
{
    const int start = std::string_view(format) == "native" ? 1845 : 8; // on the earth
    const TempFile file(bytes);
    const std::string path = file.path();
    StderrCapture quiet;
    Samples good{};
    ASSERT_EQ(openAndSample(path.c_str(), element, start, good), 0) << format;
    EXPECT_GT(std::ranges::count_if(good.zoomed, [](float v) { return v > 0; }), 20) << format;
    EXPECT_GT(std::ranges::count_if(good.pixel, [](float v) { return v >= 0; }), 20) << format;
    int failed = 0;
    int k = 1;
    for (bool more = true; more; ++k) {
        ASSERT_LT(k, 1000) << format;
        Samples out{};
        AllocFailure failure(k);
        const int step = openAndSample(path.c_str(), element, start, out);
        failure.stop();
        more = failure.fired();
        failed += step != 0 ? 1 : 0;
        if (step != 0 || out == good) continue;
        // A line of a GVAR stream without room is a line that is missing, by the driver's rule.
        EXPECT_STREQ(format, "gvar") << "allocation " << k;
        EXPECT_TRUE(mayMiss(out.zoomed, good.zoomed, -1.0F)) << "allocation " << k;
        EXPECT_TRUE(out.pixel == good.pixel && out.table == good.table) << "allocation " << k;
    }
    EXPECT_GT(failed, 20) << format; // the record, the tables, the buffers and most lines
}

} // namespace

TEST(ObjectAllocation, EveryFailureComesBackAsACode)
{
    const char* const elements[] = {"B13_T", "IR1_T", "VIS_A", "B13_T",
                                    "IR1_T", "IR1_T", "4_T",   "4_T"};
    const char* const* element = elements;
    for (const Conversion& c : conversions())
        failEach(c.format.c_str(), *element++, c.bytes);
    // Gaps to fill, and two lines a record.
    SynthGvar gvar;
    gvar.damage = {{.scan = 2, .block = 1, .invalid = true}};
    failEach("gvar", "IR1_T", gvar.bytes());
    SynthVissr vissr{.variant = 1, .channel = 0};
    vissr.columns = vissr.lines = 40;
    vissr.missing = {11};
    failEach("vissr", "VIS_A", vissr.bytes());
}

TEST(ObjectAllocation, AZoomWithoutRoomForItsPositionsSaysSo)
{
    const TempFile file(SynthHisd{.columns = 40, .diskLines = 40}.bytes());
    NbSatObject object{};
    ASSERT_EQ(nbSatOpenObject(&object, file.path().c_str()), 0);
    ASSERT_EQ(nbSatSetElems(&object, "B13"), 10001);
    const NbZoomRectF rect{
        .startPixel = 3, .startLine = 8, .width = 6, .height = 6, .outWidth = 6, .outHeight = 6};
    std::int16_t out[36];
    for (const int k : {1, 2}) {
        StderrCapture text;
        AllocFailure failure(k);
        EXPECT_EQ(nbSatGetI2ZoomDataIntp(&object, &rect, out), -1);
        failure.stop();
        EXPECT_NE(text.get().find("NB_Error: nbSatGetI2ZoomDataIntp() : "
                                  "メモリ確保に失敗しました (pix/lin)\n"),
                  std::string::npos);
    }
    nbSatCloseObject(&object);
}

TEST(ObjectAllocation, LaterReadsAreAsIfNothingHadFailed)
{
    // A run of error counts, which the driver keeps as a block, and missing lines around it.
    SynthHrit synth{
        .annotation = "IMG_DK01IR1_200608010300_001 MTSAT2", .columns = 60, .imageLines = 60};
    synth.quality = "LINE:=30\rERROR:=1.0\r";
    synth.fill = [](int line, std::span<std::uint16_t> counts) {
        std::ranges::fill(counts, static_cast<std::uint16_t>(10 * line));
        if (line % 7 == 0) std::fill_n(counts.begin() + 15, 30, std::uint16_t{1023});
    };
    const TempFile file(synth.bytes());
    std::array<float, 60> pixel, line;
    for (std::size_t i = 0; i < 60; ++i) {
        pixel[i] = 30;
        line[i] = static_cast<float>(i);
    }
    std::array<std::int16_t, 60> good{}, out{};
    const StderrCapture quiet;
    int failed = 0;
    bool more = true;
    for (int k = 1000; more; k = k == 1000 ? 1 : k + 1) { // first without a failure
        NbSatObject object{};
        ASSERT_EQ(nbSatOpenObject(&object, file.path().c_str()), 0);
        ASSERT_EQ(nbSatSetElems(&object, "IR1"), 10001);
        nbSatSetStopGap(&object, 3);
        AllocFailure failure(k);
        const int result =
            nbSatGetI2DataByPixLin(&object, pixel.data(), line.data(), out.data(), 60);
        failure.stop();
        more = failure.fired() || k == 1000;
        failed += result < 0;
        nbSatGetI2DataByPixLin(&object, pixel.data(), line.data(), out.data(), 60);
        if (k == 1000) good = out;
        EXPECT_EQ(out, good) << "allocation " << k;
        nbSatCloseObject(&object);
    }
    EXPECT_EQ(good[27], 280); // mended: of lines 27 and 29, from 1
    EXPECT_GT(failed, 1);
}

// The sanitizer sees a driver that fills more values than the object has room for.
TEST(ObjectAllocation, ASelectionThatFailsLeavesNoneOrTheOneBefore)
{
    const TempFile file(SynthNgac{}.bytes());
    NbSatObject object{};
    ASSERT_EQ(nbSatOpenObject(&object, file.path().c_str()), 0);
    const StderrCapture quiet;
    const float at[4] = {20, 21, 22, 23};
    float out[8];
    bool more = true;
    for (int k = 1; more; ++k) {
        ASSERT_EQ(nbSatSetElems(&object, "1,2"), 10002);
        AllocFailure failure(k);
        const int code = nbSatSetElems(&object, "1,2");
        failure.stop();
        more = failure.fired();
        EXPECT_EQ(object.elemNum, object.elemName != nullptr ? 2 : 0) << "allocation " << k;
        EXPECT_EQ(code < 1, more) << "allocation " << k;
        nbSatGetR4DataByPixLin(&object, at, at, out, 4);
    }
    nbSatCloseObject(&object);
}
