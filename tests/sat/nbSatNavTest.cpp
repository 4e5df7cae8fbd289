#include "sat/nbSatNav.h"

#include "sat/nbSat.h"
#include "sat/nbSatProj.h"
#include "tests/sat/fakeDriver.h"
#include "tests/support/support.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace {

constexpr double noValue = -9999.0;

TEST(SatNavForward, ClearsTheInfoAndPassesTheBitsOn)
{
    FakeImage image{.pixels = 20, .lines = 10};
    NbSatObject object = image.open();
    const float pixel[] = {4, 25};
    const float line[] = {2, 2};
    double lon[2];
    double lat[2];
    NbPointInfo info[2];
    std::memset(info, 0x55, sizeof info);
    EXPECT_EQ(nbSatPixLinToLonLatInfo(&object, pixel, line, lon, lat, info, 2), NB_NAV_PIXEL);
    EXPECT_EQ(lon[0], 142.0);
    EXPECT_EQ(lat[0], 9.0);
    EXPECT_EQ(lon[1], noValue);
    EXPECT_GT(info[0].time, 59062.0);
    EXPECT_EQ(info[0].satZenith, 0);
    EXPECT_EQ(info[1].time, 0);

    float p = 0;
    float l = 0;
    std::memset(info, 0x55, sizeof info);
    EXPECT_EQ(nbSatLonLatToPixLinInfo(&object, lon, lat, &p, &l, info, 1), 0);
    EXPECT_EQ(p, 4.0F);
    EXPECT_EQ(l, 2.0F);
    EXPECT_EQ(info[0].satSunAngle, 0);
}

TEST(SatNavForward, WithoutSlotsEveryPointHasNoPosition)
{
    NbSatObject closed{};
    float pixel[2] = {1, 2};
    float line[2] = {1, 2};
    double lon[2] = {1, 2};
    double lat[2] = {1, 2};
    EXPECT_EQ(nbSatPixLinToLonLat(&closed, pixel, line, lon, lat, 2), -1);
    EXPECT_EQ(nbSatLonLatHgtToPixLin(&closed, lon, lat, nullptr, pixel, line, 2), -1);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(lon[i], noValue);
        EXPECT_EQ(lat[i], noValue);
        EXPECT_EQ(pixel[i], -9999.0F);
        EXPECT_EQ(line[i], -9999.0F);
    }
}

// Resolution at one position of an image with half a degree a pixel and a line.
struct Resolution {
    int count;
    double x;
    double y;
};
Resolution resolutionAt(FakeImage& image, float pixel, float line)
{
    NbSatObject object = image.open();
    Resolution r{};
    r.count = nbSatGetResByPixLin(&object, &pixel, &line, &r.x, &r.y, 1);
    return r;
}

TEST(SatResolution, IsTheArcBetweenNeighboursOnARadiusThatGrowsFromSouthToNorth)
{
    // By hand. Half a degree along the equator: pi / 360 x 6356.755. At 45 degrees the arc is
    // 2 asin(cos 45 sin 0.25), on a radius of 6356.755 plus or minus 90 x 21.385 / 180. From
    // latitude 10 down to 9.5: pi / 360 x (6356.755 + 19.5 x 21.385 / 180).
    FakeImage image{.lat0 = 0};
    EXPECT_NEAR(resolutionAt(image, 5, 0).x, 55.47315224630607, 1e-6);
    image.lat0 = 45;
    EXPECT_NEAR(resolutionAt(image, 5, 0).x, 39.291359686147395, 1e-6);
    image.lat0 = -45;
    EXPECT_NEAR(resolutionAt(image, 5, 0).x, 39.159400101574725, 1e-6);
    image.lat0 = 10;
    EXPECT_NEAR(resolutionAt(image, 5, 0).y, 55.4933693404186, 1e-6);
    // Across the date line, on the equator; longitudes of 360 more are the same places.
    image.lat0 = 0;
    image.lon0 = 177.6;
    EXPECT_NEAR(resolutionAt(image, 5, 0).x, 55.47315224630607, 1e-6);
    image.lon0 = 177.6 + 360;
    EXPECT_NEAR(resolutionAt(image, 5, 0).x, 55.47315224630607, 1e-6);
    // Neighbours a whole turn apart are the same point, to the rounding of an arc's cosine.
    image.lonPerPixel = 360;
    EXPECT_NEAR(resolutionAt(image, 5, 0).x, 0, 1e-3);
}

TEST(SatResolution, NeighboursThatAreMissing)
{
    FakeImage image{.pixels = 20, .lines = 10, .lat0 = 0, .latPerLine = 0}; // along the equator
    const double step = 55.47315224630607;
    EXPECT_NEAR(resolutionAt(image, 0, 5).x, step, 1e-6);  // from 1 to 2
    EXPECT_NEAR(resolutionAt(image, 19, 5).x, step, 1e-6); // from 0 to 1
    image.hiddenImage = [](float pixel, float) { return pixel == 5 ? NB_NAV_LIMB : 0; };
    const Resolution gap = resolutionAt(image, 5, 5); // half from 0 to 2
    EXPECT_NEAR(gap.x, step, 1e-6);
    EXPECT_EQ(gap.y, noValue);
    EXPECT_EQ(gap.count, 1);
    image.hiddenImage = [](float pixel, float line) {
        return pixel != 5 || line != 5 ? NB_NAV_LIMB : 0;
    };
    const Resolution alone = resolutionAt(image, 5, 5);
    EXPECT_EQ(alone.x, noValue);
    EXPECT_EQ(alone.y, noValue);
    EXPECT_EQ(alone.count, 0);
}

TEST(SatResolution, AtEarthPositionsSumsThePoints)
{
    FakeImage image{.lat0 = 0};
    NbSatObject object = image.open();
    const double lon[] = {142, 142.5, 90};
    const double lat[] = {-1, -1, -1};
    double x[3];
    double y[3];
    EXPECT_EQ(nbSatGetResByLonLat(&object, lon, lat, x, y, 3), 2);
    EXPECT_NEAR(x[0], 55.47, 0.02);
    EXPECT_EQ(x[2], noValue);
    EXPECT_EQ(y[2], noValue);
}

TEST(SatNavInfo, FactsAtTheStart)
{
    FakeImage image;
    NbSatObject object = image.open();
    double ssp[2];
    double distance = 0;
    double attitude[3];
    double mjd = 0;
    const double x = image.satPosition[0];
    const double y = image.satPosition[1];
    for (const double scale : {1.0, 1000.0}) { // km, then metres
        image.satPosition[0] = x * scale;
        image.satPosition[1] = y * scale;
        ASSERT_EQ(nbSatGetNavInfo(&object, ssp, &distance, attitude, &mjd), 0);
        EXPECT_NEAR(ssp[0], std::atan2(y, x) * 180 / M_PI, 1e-9);
        EXPECT_NEAR(ssp[1], 0, 1e-9);
        EXPECT_NEAR(distance, std::hypot(x, y), 1e-6);
    }
    EXPECT_EQ(mjd, 59062.125); // 2020-08-01 03:00, from a calendar
    EXPECT_NEAR(attitude[1], -0.2 * 57.29577951308232, 1e-12);
    image.attitudeResult = -1;
    ASSERT_EQ(nbSatGetNavInfo(&object, nullptr, nullptr, attitude, nullptr), 0);
    EXPECT_EQ(attitude[1], noValue);
    double lon = 0;
    double lat = 1;
    EXPECT_EQ(nbSatGetSsp(&object, &lon, &lat), 0);
    EXPECT_EQ(lon, ssp[0]);
    EXPECT_EQ(lat, ssp[1]);
}

TEST(SatNavInfo, ClosedObjectFillsNothing)
{
    NbSatObject closed{};
    double lon = 1;
    double lat = 2;
    StderrCapture err;
    EXPECT_EQ(nbSatGetSsp(&closed, &lon, &lat), -1);
    EXPECT_EQ(lon, 1);
    EXPECT_EQ(lat, 2);
    EXPECT_EQ(err.get(),
              "NB_Error: nbSatNav nbSatGetNavInfo() : 衛星オブジェクトが開かれていません \n");
}

// A crop of the 40 x 30 image on a grid of 20 columns and 5 rows.
NbProjPara zoomPara(NbSatObject& object, double stepX, double stepY)
{
    NbProjPara para{};
    para.prjType = NB_PROJ_ZOOM;
    para.baseX = 5;
    para.baseY = 10;
    para.stepX = stepX;
    para.stepY = stepY;
    para.xNum = 20;
    para.yNum = 5;
    EXPECT_EQ(nbSatSetNavToProj(&object, &para), 0);
    return para;
}

TEST(SatProj, CellsCoverTheCropEvenly)
{
    // Two columns a pixel: pixel 5 is columns 0 and 1, so its centre is 0.5. Two lines a row: row 0
    // is lines 10 and 11. Half degrees from (140, 10).
    FakeImage image;
    NbSatObject object = image.open();
    NbProjPara para = zoomPara(object, 10.9, 10); // the extent is cut to whole pixels
    EXPECT_EQ(para.baseLon, 20);
    EXPECT_EQ(para.baseLat, 5);
    const double lon[] = {142.5, 147, noValue};
    const double lat[] = {5, 0.5, 0};
    float x[3];
    float y[3];
    EXPECT_EQ(para.lonLatToXY(lon, lat, x, y, 3, &para), NB_NAV_INPUT);
    EXPECT_FLOAT_EQ(x[0], 0.5F);
    EXPECT_FLOAT_EQ(y[0], -0.25F);
    EXPECT_FLOAT_EQ(x[1], 18.5F);
    EXPECT_FLOAT_EQ(y[1], 4.25F);
    EXPECT_EQ(x[2], -9999.0F);
    EXPECT_EQ(y[2], -9999.0F);
    double lonBack[3];
    double latBack[3];
    EXPECT_NE(para.xyToLonLat(x, y, lonBack, latBack, 3, &para), 0);
    for (int i = 0; i < 2; ++i) {
        EXPECT_NEAR(lonBack[i], lon[i], 1e-5); // float positions
        EXPECT_NEAR(latBack[i], lat[i], 1e-5);
    }
    EXPECT_EQ(lonBack[2], noValue);
    EXPECT_EQ(latBack[2], noValue);
}

TEST(SatProj, WithoutStepTheCropRunsToTheImagesEnd)
{
    // 35 pixels from 5 to 39 on 20 columns, 20 lines from 10 to 29 on 5 rows: the outer edge of the
    // last pixel, 39.5, is that of the last column, 19.5.
    FakeImage image;
    NbSatObject object = image.open();
    NbProjPara para = zoomPara(object, 0, 0);
    const float x[] = {-0.5F + 20.0F / 35 / 2, 19.5F - 20.0F / 35 / 2};
    const float y[] = {-0.5F + 5.0F / 20 / 2, 4.5F - 5.0F / 20 / 2};
    double lon[2];
    double lat[2];
    EXPECT_EQ(para.xyToLonLat(x, y, lon, lat, 2, &para), 0);
    EXPECT_NEAR(lon[0], 140 + 0.5 * 5, 1e-5);
    EXPECT_NEAR(lon[1], 140 + 0.5 * 39, 1e-5);
    EXPECT_NEAR(lat[0], 10 - 0.5 * 10, 1e-5);
    EXPECT_NEAR(lat[1], 10 - 0.5 * 29, 1e-5);
}

TEST(SatProj, Refusals)
{
    FakeImage image;
    NbSatObject object = image.open();
    NbProjPara para = zoomPara(object, 0, 0);
    para.prjType = NB_PROJ_GRID;
    StderrCapture err;
    EXPECT_EQ(nbSatSetNavToProj(&object, &para), -1);
    para.prjType = NB_PROJ_ZOOM;
    double lon = 142.5;
    double lat = 5;
    float x = 0;
    float y = 0;
    para.baseX = 40; // nothing left of the image
    EXPECT_EQ(para.lonLatToXY(&lon, &lat, &x, &y, 1, &para), -1);
    EXPECT_EQ(x, -9999.0F);
    object.fileFormatId = 0;
    y = 0;
    EXPECT_EQ(para.lonLatToXY(&lon, &lat, &x, &y, 1, &para), -1);
    EXPECT_EQ(y, -9999.0F);
    EXPECT_EQ(para.xyToLonLat(&x, &y, &lon, &lat, 1, &para), -1);
    EXPECT_EQ(lon, noValue);
    EXPECT_EQ(err.get(),
              "NB_Error: nbSatProj : nbSatSetNavToProj : 'NB_PROJ_ZOOM' 以外の投影法では無効です\n"
              "NB_Error: nbSatProj : nbpSatProjLonLatToXY : NbSatObject が Open されていません.\n"
              "NB_Error: nbSatProj : nbpSatProjXYToLonLat : NbSatObject が Open されていません.\n");
}

} // namespace
