// What the front end does with VISSR files alone.
#include "frontend/adjust.h"
#include "frontend/channel.h"
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatNav.h"
#include "tests/support/support.h"
#include "tests/synth/synthVissr.h"

#include <cstdlib>
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
        const auto line = [&] {
            const double lon = 140, lat = 5;
            float pixel = 0, found = 0;
            nbSatLonLatToPixLin(&object, &lon, &lat, &pixel, &found, 1);
            return found;
        };
        const float before = line();
        AdjNavPara(&object, NbSettings{});
        EXPECT_NEAR(before - line(), shift < 0.5F ? shift : 0, 1e-2);
        nbSatCloseObject(&object);
    }
    unsetenv("NB_VISSR_NAV_IR_CH");
}

} // namespace
