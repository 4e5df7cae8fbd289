// What the front end does with VISSR files alone.
#include "frontend/adjust.h"
#include "frontend/channel.h"
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatNav.h"
#include "tests/support/support.h"
#include "tests/synth/synthVissr.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

namespace {

TEST(VissrSatName, GoesSatellitesAreToldApartByTheirLongitude)
{
    const struct {
        double subLon;
        const char* word;
    } cases[] = {{140, "GMS-5"},    {-75, "GOES-8"},  {-79.9, "GOES-8"}, {-80.1, "GMS-5"},
                 {-70.1, "GOES-8"}, {-69.9, "GMS-5"}, {-135, "GOES-10"}, {-139.9, "GOES-10"},
                 {-140.1, "GMS-5"}, {155, "GOES-9"},  {149.9, "GMS-5"},  {179.9, "GOES-9"}};
    for (const auto& c : cases) {
        const TempFile file(SynthVissr{.subLon = c.subLon}.bytes());
        NbSatObject object{};
        ASSERT_EQ(nbSatOpenObject(&object, file.path().c_str()), 0);
        EXPECT_EQ(GetSatName(object), c.word) << c.subLon;
        nbSatCloseObject(&object);
    }
    SynthVissr synth{.subLon = -75};
    synth.orbitEntries = 1; // no interval holds the start
    const TempFile file(synth.bytes());
    NbSatObject object{};
    ASSERT_EQ(nbSatOpenObject(&object, file.path().c_str()), 0);
    EXPECT_EQ(GetSatName(object), "GMS-5");
    nbSatCloseObject(&object);
}

// The second infrared channel navigated by its own parameters, with a centre line near that of
// the first one and one that is not.
TEST(VissrAdjNavPara, ACentreLineWithinHalfALineOfTheFirstChannelBecomesIts)
{
    setenv("NB_VISSR_NAV_IR_CH", "123", 1);
    for (const float shift : {0.4F, 0.6F}) {
        SynthVissr synth{.channel = 2};
        synth.centreLineShift[2] = shift;
        const TempFile file(synth.bytes());
        NbSatObject object{};
        ASSERT_EQ(nbSatOpenObject(&object, file.path().c_str()), 0);
        ASSERT_EQ(nbSatSetElems(&object, "IR2_T"), 20001);
        const double lon = 140;
        const double lat = 5;
        float pixel = 0;
        float before = 0;
        float after = 0;
        nbSatLonLatToPixLin(&object, &lon, &lat, &pixel, &before, 1);
        AdjNavPara(&object, NbSettings{});
        nbSatLonLatToPixLin(&object, &lon, &lat, &pixel, &after, 1);
        EXPECT_NEAR(before - after, shift < 0.5F ? shift : 0, 1e-2);
        nbSatCloseObject(&object);
    }
    unsetenv("NB_VISSR_NAV_IR_CH");
}

// Two counts, north and south of the middle, on a map through the whole program.
TEST(VissrProgram, AnImageConvertsToAMap)
{
    for (const int channel : {0, 1}) {
        SynthVissr synth{.channel = channel};
        synth.fill = [](int, int line) { return line <= 55 ? 50 : 30; };
        synth.albedo = [](int, int count) { return static_cast<float>(count) / 64; };
        const TempDir dir;
        writeFile(dir / "in", synth.bytes());
        writeText(dir / "map", "STDLON 130\nSTDLAT 10\nSTDXSIZ 1\nSTDYSIZ 1\nSTDXNUM 20\n"
                               "STDYNUM 21\n");
        const ProgramResult result =
            runProgram(NIMBEX_PROGRAM, {dir / "in", dir / "out", dir / "map"});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.err, "complete : 0\n");
        const Bytes out = readFile(dir / "out");
        ASSERT_GT(out.size(), 21U * 256);
        EXPECT_EQ(std::memcmp(&out[12], "GMS-5   ", 8), 0);
        // The rows are the last thing in the file; here each has 256 bytes, of which 4 its length
        // and then 20 cells.
        const auto cell = [&](std::size_t row, std::size_t x) {
            return out[out.size() - (21 - row) * 256 + 4 + x];
        };
        // Infrared cells are the counts. The four detectors have equal albedos here, and count c
        // the levels 4 c - 3 to 4 c.
        for (const std::size_t row : {0U, 1U, 2U, 3U, 17U, 18U, 19U, 20U})
            for (std::size_t x = 0; x < 20; ++x) {
                const int count = row < 10 ? 50 : 30;
                const int value = std::to_integer<int>(cell(row, x));
                EXPECT_LE(value, channel == 0 ? 4 * count : count) << channel << ' ' << row;
                EXPECT_GE(value, channel == 0 ? 4 * count - 3 : count) << channel << ' ' << row;
            }
    }
}

} // namespace
