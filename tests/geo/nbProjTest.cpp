#include "geo/nbProj.h"

#include "geo/nbProjTypes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace {
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

NbProjPara makeMap(int type, int ellipsoid = 0)
{
    NbProjPara para{};
    para.prjType = static_cast<std::int16_t>(type);
    para.ellipsoid = static_cast<std::int16_t>(ellipsoid);
    para.stdLon = 140;
    para.stdLat1 = 30;
    para.stdLat2 = 60;
    para.height = 35785.863;
    para.baseX = 400.5F;
    para.baseY = 300.25F;
    para.baseLon = 135;
    para.baseLat = 38;
    para.stepX = type == NB_PROJ_GRID ? 0.1 : 10;
    para.stepY = type == NB_PROJ_GRID ? 0.2 : 9;
    return para;
}

// The factors of the LRIT types live as long as the process.
struct FreshLritFactors {
    FreshLritFactors() { clear(); }
    ~FreshLritFactors() { clear(); }
    static void clear()
    {
        nb_ProjLrit_coff = nb_ProjLrit_loff = nb_ProjLrit_cfac = nb_ProjLrit_lfac = 0;
        nb_ProjLrit_Wgs84 = 0;
    }
};
class ProjLrit : public testing::Test {
    FreshLritFactors fresh_;
};

struct Pixel {
    float x = 7, y = 7;
    int result = 99;
};
Pixel toXY(NbProjPara& para, double lon, double lat)
{
    Pixel p;
    p.result = nbProjLonLatToXY(&lon, &lat, &p.x, &p.y, 1, &para);
    return p;
}
struct Place {
    double lon = 7, lat = 7;
    int result = 99;
};
Place toLonLat(NbProjPara& para, float x, float y)
{
    Place p;
    p.result = nbProjXYToLonLat(&x, &y, &p.lon, &p.lat, 1, &para);
    return p;
}
bool isUnmapped(const Pixel& p)
{
    return p.result == 0 && p.x == -9999 && p.y == -9999;
}

struct TablePoint {
    double lon, lat, x, y;
};
struct TableMap {
    std::string name;
    bool back = true;
    NbProjPara para{};
    double pixelTolerance = 0, degreeTolerance = 0;
    std::vector<double> factors;
    std::vector<TablePoint> points;
};

std::vector<TableMap> readTable()
{
    std::ifstream in(NIMBEX_TEST_DATA "/projPoints.txt");
    std::vector<TableMap> maps;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream words(line);
        std::string first;
        words >> first;
        if (first == "map" || first == "forward") {
            TableMap m;
            m.back = first == "map";
            NbProjPara& p = m.para;
            words >> m.name >> p.prjType >> p.ellipsoid >> p.stdLon >> p.stdLat1 >> p.stdLat2 >>
                p.height >> p.baseX >> p.baseY >> p.baseLon >> p.baseLat >> p.stepX >> p.stepY >>
                m.pixelTolerance >> m.degreeTolerance;
            maps.push_back(m);
        } else if (first == "factors") {
            for (double value; words >> value;)
                maps.back().factors.push_back(value);
        } else {
            TablePoint p{};
            std::istringstream(line) >> p.lon >> p.lat >> p.x >> p.y;
            maps.back().points.push_back(p);
        }
    }
    return maps;
}

void setFactors(const TableMap& map)
{
    FreshLritFactors::clear();
    if (map.factors.size() != 4) return;
    nb_ProjLrit_coff = map.factors[0];
    nb_ProjLrit_loff = map.factors[1];
    nb_ProjLrit_cfac = map.factors[2];
    nb_ProjLrit_lfac = map.factors[3];
}

TEST(ProjTable, PointsAgreeWithIndependentFigures)
{
    const FreshLritFactors fresh;
    auto maps = readTable();
    ASSERT_GE(maps.size(), 25U);
    for (TableMap& map : maps) {
        SCOPED_TRACE(map.name);
        setFactors(map);
        // One call for all points, so that nothing of a point may linger at the next.
        const auto n = static_cast<int>(map.points.size());
        std::vector<double> lon, lat;
        std::vector<float> x, y;
        for (const TablePoint& p : map.points) {
            lon.push_back(p.lon);
            lat.push_back(p.lat);
            x.push_back(static_cast<float>(p.x));
            y.push_back(static_cast<float>(p.y));
        }
        std::vector<float> gotX(x.size()), gotY(x.size());
        std::vector<double> gotLon(x.size()), gotLat(x.size());
        ASSERT_EQ(nbProjLonLatToXY(lon.data(), lat.data(), gotX.data(), gotY.data(), n, &map.para),
                  0);
        ASSERT_EQ(nbProjXYToLonLat(x.data(), y.data(), gotLon.data(), gotLat.data(), n, &map.para),
                  0);
        for (std::size_t i = 0; i < x.size(); ++i) {
            EXPECT_NEAR(gotX[i], map.points[i].x, map.pixelTolerance) << lon[i] << " " << lat[i];
            EXPECT_NEAR(gotY[i], map.points[i].y, map.pixelTolerance) << lon[i] << " " << lat[i];
            if (!map.back) continue;
            EXPECT_NEAR(gotLon[i], lon[i], map.degreeTolerance) << x[i] << " " << y[i];
            EXPECT_NEAR(gotLat[i], lat[i], map.degreeTolerance) << x[i] << " " << y[i];
        }
    }
}

// What is kept from one point of a line to the next must not change a bit. The ellipsoid's
// Mercator starts each iteration where the point before ended, so its latitudes agree to within
// the stop rule only: 1e-6 radian times the contraction of a round, e^2.
TEST(ProjTable, LinesOfAGridGiveWhatSinglePointsGive)
{
    const FreshLritFactors fresh;
    for (TableMap& map : readTable()) {
        SCOPED_TRACE(map.name);
        setFactors(map);
        std::vector<float> x, y;
        for (const TablePoint& row : map.points) {
            for (const TablePoint& column : map.points) {
                x.push_back(static_cast<float>(column.x));
                y.push_back(static_cast<float>(row.y));
            }
        }
        std::vector<double> lon(x.size()), lat(x.size());
        const auto n = static_cast<int>(x.size());
        ASSERT_EQ(nbProjXYToLonLat(x.data(), y.data(), lon.data(), lat.data(), n, &map.para), 0);
        const double carried = map.para.prjType == NB_PROJ_MERC && map.para.ellipsoid ? 4e-7 : 0;
        for (std::size_t i = 0; i < x.size(); ++i) {
            const Place single = toLonLat(map.para, x[i], y[i]);
            ASSERT_EQ(single.lon, lon[i]);
            ASSERT_NEAR(single.lat, lat[i], carried);
        }
        lon.clear();
        lat.clear();
        for (const TablePoint& row : map.points) {
            for (const TablePoint& column : map.points) {
                lon.push_back(column.lon);
                lat.push_back(row.lat);
            }
        }
        ASSERT_EQ(nbProjLonLatToXY(lon.data(), lat.data(), x.data(), y.data(), n, &map.para), 0);
        for (std::size_t i = 0; i < x.size(); ++i) {
            const Pixel single = toXY(map.para, lon[i], lat[i]);
            ASSERT_EQ(single.x, x[i]);
            ASSERT_EQ(single.y, y[i]);
        }
    }
}

TEST(ProjLonLatToXY, BasePointLandsExactlyOnBasePixel)
{
    for (const int type : {1, 2, 3, 4, 5, 9}) {
        for (const int ellipsoid : {0, 1}) {
            // The oblique stereographic and the grid treat the base point apart on the ellipsoid.
            if (ellipsoid && (type == NB_PROJ_PS || type == NB_PROJ_GRID)) continue;
            NbProjPara para = makeMap(type, ellipsoid);
            const Pixel p = toXY(para, para.baseLon, para.baseLat);
            EXPECT_EQ(p.x, para.baseX) << type << " " << ellipsoid;
            EXPECT_EQ(p.y, para.baseY) << type << " " << ellipsoid;
        }
    }
}

TEST(ProjCalls, UnusableCallsGiveMinusOneAndWriteNothing)
{
    const auto refused = [](NbProjPara para, int n = 1) {
        const double lon = 140, lat = 30;
        const float x = 400, y = 300;
        float outX = 7, outY = 7;
        double outLon = 7, outLat = 7;
        return nbProjLonLatToXY(&lon, &lat, &outX, &outY, n, &para) == -1 &&
               nbProjXYToLonLat(&x, &y, &outLon, &outLat, n, &para) == -1 && outX == 7 &&
               outY == 7 && outLon == 7 && outLat == 7;
    };
    for (const int type : {-3, 0, 10, -1, -2})
        EXPECT_TRUE(refused(makeMap(type))) << type;
    EXPECT_TRUE(refused(makeMap(NB_PROJ_MERC), 0));
    EXPECT_TRUE(refused(makeMap(NB_PROJ_MERC), -1));

    // Which field each type looks at: a letter where a bad value refuses the call.
    struct {
        double NbProjPara::*field;
        double bad;
        const char* types;
    } const rows[] = {
        {&NbProjPara::stdLon, 360.5, "12346789"}, {&NbProjPara::stdLat1, 90.5, "2369"},
        {&NbProjPara::stdLat1, -1, "9"},          {&NbProjPara::stdLat2, 91, "3"},
        {&NbProjPara::height, 0, "17"},           {&NbProjPara::baseLon, -361, "123456789"},
        {&NbProjPara::baseLat, nan, "123456789"}, {&NbProjPara::baseLat, -1, "9"},
        {&NbProjPara::stepX, 0, "123456789"},     {&NbProjPara::stepY, nan, "123456789"},
    };
    for (const auto& row : rows) {
        for (int type = 1; type <= 9; ++type) {
            const FreshLritFactors fresh;
            NbProjPara para = makeMap(type);
            para.*row.field = row.bad;
            const bool expected =
                std::string(row.types).find(std::to_string(type)) != std::string::npos;
            EXPECT_EQ(refused(para), expected) << type << " " << row.bad << " " << row.types;
        }
    }
}

TEST(ProjCalls, SuppliedFunctionsAnswerForTheirTypes)
{
    NbProjPara para{};
    para.lonLatToXY = [](const double*, const double*, float*, float*, int n, NbProjPara*) {
        return 100 + n;
    };
    para.xyToLonLat = [](const float*, const float*, double*, double*, int n, NbProjPara* p) {
        return 10 * p->prjType - n;
    };
    for (const int type : {-1, -2}) {
        para.prjType = static_cast<std::int16_t>(type);
        EXPECT_EQ(toXY(para, 1, 2).result, 101);
        EXPECT_EQ(toLonLat(para, 1, 2).result, 10 * type - 1);
    }
}

TEST(ProjMarks, NoPositionPassesThroughButForFourLoops)
{
    const FreshLritFactors fresh;
    for (int type = 1; type <= 9; ++type) {
        for (const int ellipsoid : {0, 1}) {
            NbProjPara para = makeMap(type, ellipsoid);
            const bool open = type == NB_PROJ_LRIT_DISK || type == NB_PROJ_LRIT_MERC;
            FreshLritFactors::clear();
            if (type == NB_PROJ_LRIT_DISK) { // scan angles near 2.5 degrees: on the earth
                nb_ProjLrit_coff = nb_ProjLrit_loff = -5000;
                nb_ProjLrit_cfac = nb_ProjLrit_lfac = 2000 * 65536.0;
            }
            for (const bool inLon : {true, false}) {
                const Pixel p = toXY(para, inLon ? -9999 : 140, inLon ? 20 : -9999);
                EXPECT_EQ(p.x != -9999 || p.y != -9999, open) << type << inLon;
                const Place q = toLonLat(para, inLon ? -9999 : 400, inLon ? 300 : -9999);
                const bool openBack = open || (type == NB_PROJ_MERC && !ellipsoid);
                EXPECT_EQ(q.lon != -9999 || q.lat != -9999, openBack) << type << ellipsoid << inLon;
            }
        }
    }
}

TEST(ProjMarks, NumbersThatAreNoneEndAndHarmNoNeighbour)
{
    const FreshLritFactors fresh;
    for (int type = 1; type <= 9; ++type) {
        for (const int ellipsoid : {0, 1}) {
            SCOPED_TRACE(std::to_string(type) + " " + std::to_string(ellipsoid));
            FreshLritFactors::clear();
            NbProjPara para = makeMap(type, ellipsoid);
            const double lon[] = {nan, 140, infinity, 1e300, 141, 141};
            const double lat[] = {20, nan, 20, 1e300, infinity, 20};
            float x[6], y[6];
            ASSERT_EQ(nbProjLonLatToXY(lon, lat, x, y, 6, &para), 0);
            for (const int i : {0, 1})
                EXPECT_TRUE(x[i] == -9999 && y[i] == -9999) << i;
            EXPECT_EQ(x[5], toXY(para, 141, 20).x);
            EXPECT_EQ(y[5], toXY(para, 141, 20).y);

            const auto n = static_cast<float>(nan);
            const auto inf = static_cast<float>(infinity);
            const float px[] = {n, 400, inf, 400, -3e38F, 410};
            const float py[] = {300, n, 300, inf, -3e38F, 290};
            double outLon[6], outLat[6];
            ASSERT_EQ(nbProjXYToLonLat(px, py, outLon, outLat, 6, &para), 0);
            for (const int i : {0, 1})
                EXPECT_TRUE(outLon[i] == -9999 && outLat[i] == -9999) << i;
            EXPECT_NEAR(outLat[5], toLonLat(para, 410, 290).lat, 4e-7);
            EXPECT_EQ(outLon[5], toLonLat(para, 410, 290).lon);
        }
    }
    NbProjPara disk = makeMap(NB_PROJ_DISK, 1);
    disk.stdLat1 = nan; // not among the checked fields
    EXPECT_TRUE(isUnmapped(toXY(disk, 140, 30)));
}

TEST(ProjDisk, FarSideAndSpaceHaveNoImage)
{
    for (const int ellipsoid : {0, 1}) {
        NbProjPara para = makeMap(NB_PROJ_DISK, ellipsoid);
        para.stdLat1 = 0;
        EXPECT_TRUE(isUnmapped(toXY(para, -40, 0)));
        // The limb lies acos(6378.14 / 42164.003) = 81.300 degrees from the sub-point.
        EXPECT_NE(toXY(para, 140 - 81.25, 0).x, -9999);
        EXPECT_TRUE(isUnmapped(toXY(para, 140 - 81.35, 0)));
        const Place space = toLonLat(para, 2000, 300);
        EXPECT_EQ(space.result, 0);
        EXPECT_EQ(space.lon, -9999);
        EXPECT_EQ(space.lat, -9999);
    }
}

TEST(ProjDisk, PixelUnderTheSatelliteGetsTheBaseLatitude)
{
    NbProjPara para = makeMap(NB_PROJ_DISK);
    para.stdLon = para.baseLon = 140;
    para.stdLat1 = 0;
    para.baseLat = 30;
    // The base point stands at (H - 1) Re sin 30 / (H - cos 30) km: 100 lines above the sub-point.
    const double h = para.height / 6378.14 + 1;
    para.stepY = para.height * 0.5 / (h - std::sqrt(0.75)) / 100;
    const Place p = toLonLat(para, para.baseX, para.baseY + 100);
    EXPECT_DOUBLE_EQ(p.lon, 140);
    EXPECT_EQ(p.lat, 30);
    // One line is 31.1468 km there, over 6378.14 km an angle of 0.27980 degree.
    EXPECT_NEAR(toLonLat(para, para.baseX, para.baseY + 99).lat, 0.2798, 1e-5);
}

TEST(ProjStereographic, CentreComesBackAsItStandsAndAntipodeHasNoImage)
{
    NbProjPara para = makeMap(NB_PROJ_PS);
    para.stdLon = 200;
    para.stdLat1 = 90;
    para.baseLat = 90;
    para.baseLon = 12;
    const Place centre = toLonLat(para, para.baseX, para.baseY);
    EXPECT_EQ(centre.lon, 200);
    EXPECT_EQ(centre.lat, 90);
    EXPECT_TRUE(isUnmapped(toXY(para, 33, -90)));
}

TEST(ProjStereographic, PolesOfTheEllipsoidAreOrdinaryPoints)
{
    NbProjPara para = makeMap(NB_PROJ_PS, 1);
    para.stdLon = 200;
    para.stdLat1 = 90;
    para.baseLat = 90;
    const Place centre = toLonLat(para, para.baseX, para.baseY);
    EXPECT_NEAR(centre.lat, 90, 1e-9);
    EXPECT_LE(centre.lon, 180); // wrapped like any other
    EXPECT_GT(std::abs(toXY(para, 33, -90).y), 1e15F);
}

TEST(ProjLambert, ApexOfASouthernConeIsCalledTheNorthPole)
{
    NbProjPara para = makeMap(NB_PROJ_LAMB);
    para.stdLat1 = -30;
    para.stdLat2 = -60;
    para.baseLat = -90;
    para.baseLon = para.stdLon;
    EXPECT_EQ(toLonLat(para, para.baseX, para.baseY).lat, 90);
    para.ellipsoid = 1;
    EXPECT_NEAR(toLonLat(para, para.baseX, para.baseY).lat, -90, 1e-9);
}

// One point may be off by the stop rule, 4e-7 degree. Its neighbours on the line go on from it, a
// round each, and reach the figure of the table (invproj, mercator-ellipsoid).
TEST(ProjMercator, EllipsoidIterationGoesOnAlongALine)
{
    NbProjPara para = makeMap(NB_PROJ_MERC, 1);
    para.stdLon = para.baseLon = 170;
    para.baseX = 500.5F;
    para.baseY = 400;
    para.baseLat = 20;
    para.stepX = 15;
    para.stepY = 12;
    const std::vector<float> x(6, 20.5F), y(6, 790.75F);
    std::vector<double> lon(6), lat(6);
    ASSERT_EQ(nbProjXYToLonLat(x.data(), y.data(), lon.data(), lat.data(), 6, &para), 0);
    EXPECT_NEAR(lat[0], -21.457657429168, 4e-7);
    EXPECT_NEAR(lat[5], -21.457657429168, 1e-10);
    EXPECT_GT(std::abs(lat[0] - lat[5]), 1e-10);
}

TEST_F(ProjLrit, FirstRecordSettlesTheFactorsOfAllTypes)
{
    NbProjPara para = makeMap(NB_PROJ_LRIT_PS);
    para.stdLat1 = 90;
    const Pixel first = toXY(para, 140, 50);
    para.baseX += 100;
    para.stepX = -1; // not even looked at any more
    EXPECT_EQ(toXY(para, 140, 50).x, first.x);
    const double cfac = nb_ProjLrit_cfac;
    NbProjPara mercator = makeMap(NB_PROJ_LRIT_MERC);
    EXPECT_EQ(toXY(mercator, 140, 50).result, 0);
    EXPECT_EQ(nb_ProjLrit_cfac, cfac);
}

TEST_F(ProjLrit, OneFactorOfZeroIsNoProjection)
{
    nb_ProjLrit_cfac = 5;
    for (const int type : {6, 7, 8}) {
        NbProjPara para = makeMap(type);
        EXPECT_EQ(toXY(para, 140, 50).result, -1);
        EXPECT_EQ(toLonLat(para, 400, 300).result, -1);
    }
    // The inverse Mercator alone derives them when only the column factor is missing.
    nb_ProjLrit_cfac = 0;
    nb_ProjLrit_lfac = 5;
    NbProjPara para = makeMap(NB_PROJ_LRIT_MERC);
    EXPECT_EQ(toXY(para, 140, 50).result, -1);
    EXPECT_EQ(toLonLat(para, 400, 300).result, 0);
    EXPECT_NE(nb_ProjLrit_lfac, 5);
}

TEST_F(ProjLrit, PolarAxesAndLowLongitudes)
{
    NbProjPara para = makeMap(NB_PROJ_LRIT_PS);
    para.stdLon = -150;
    para.stdLat1 = -90;
    nb_ProjLrit_cfac = nb_ProjLrit_lfac = 65536; // intermediate coordinates themselves
    // By hand: a, b are pixel + 1; tan(22.5 degrees) is latitude -45.
    EXPECT_EQ(toLonLat(para, -1, -1).lon, -150);
    EXPECT_EQ(toLonLat(para, -1, -1).lat, -90);
    EXPECT_EQ(toLonLat(para, 0, -1).lon, -60);
    EXPECT_EQ(toLonLat(para, -2, -1).lon, -240); // not raised
    EXPECT_NEAR(toLonLat(para, -1, static_cast<float>(-std::sqrt(2.0))).lat, -45, 1e-5);
    EXPECT_NEAR(toLonLat(para, -1, static_cast<float>(-std::sqrt(2.0))).lon, -330, 1e-9);
    // Without a hemisphere it is the northern one.
    para.stdLat1 = 0;
    EXPECT_EQ(toLonLat(para, -1, -1).lat, 90);
}

TEST_F(ProjLrit, DiskHasNoImageOfFarSideAndSpace)
{
    nb_ProjLrit_cfac = nb_ProjLrit_lfac = 65536; // pixels are scan angles in degrees, less 1
    NbProjPara para = makeMap(NB_PROJ_LRIT_DISK);
    EXPECT_TRUE(isUnmapped(toXY(para, -40, 0)));
    EXPECT_NE(toXY(para, 140 - 81.25, 0).x, -9999); // limb: acos(6378.169 / 42164) = 81.299
    EXPECT_TRUE(isUnmapped(toXY(para, 140 - 81.35, 0)));
    EXPECT_NE(toLonLat(para, 7.69F, -1).lon, -9999); // limb: asin(6378.169 / 42164) = 8.7006
    EXPECT_EQ(toLonLat(para, 7.71F, -1).lon, -9999);
}

// From PROJ: x, y of 143.7 E, 3 N by "proj +proj=nsper +h=35785.863 +lon_0=140.7 +R=6378.14", a, b
// by "proj +proj=geos +h=35785.831 +lon_0=140.7 +a=6378.169 +b=6356.5838 +sweep=y" over h, as
// degrees; factor = pixels over (a, b) times 2^16. The height of the second line is 42164 less
// 6378.169. Pixels are floats: 2e-6.
TEST_F(ProjLrit, DiskFactorsComeFromBasePointAndThreeDegreesNorthEast)
{
    NbProjPara para = makeMap(NB_PROJ_DISK);
    para.stdLon = para.baseLon = 140.7;
    para.stdLat1 = para.baseLat = 0;
    para.baseX = 500;
    para.baseY = 480;
    para.stepX = 12;
    para.stepY = 10;
    ASSERT_EQ(nbpProj::setLritDiskParam(para), 0);
    EXPECT_NEAR(nb_ProjLrit_coff, 500, 1e-3);
    EXPECT_NEAR(nb_ProjLrit_loff, 480, 1e-3);
    EXPECT_NEAR(nb_ProjLrit_cfac, 3411088.61, 7);
    EXPECT_NEAR(nb_ProjLrit_lfac, 4121330.34, 8);
    para.height = 0;
    ASSERT_EQ(nbpProj::setLritDiskParam(para), 0);
    EXPECT_NEAR(nb_ProjLrit_cfac, 3411088.61, 7);
}

// Y of 3 N by "proj +proj=merc +a=6378.14 +e=0.0822719", b = ln(tan(43.5 degrees)) / pi. Samples
// about the base latitude of 60 would give a line factor a thousandth away. The samples are floats,
// lines near 1900, 66 lines apart: 2e-6.
TEST_F(ProjLrit, MercatorLineFactorIsTheEquators)
{
    NbProjPara para = makeMap(NB_PROJ_LRIT_MERC, 1);
    para.baseLat = 60;
    para.stepX = para.stepY = 5;
    ASSERT_EQ(nbpProj::setLritMercParam(para), 0);
    EXPECT_NEAR(nb_ProjLrit_lfac, 260859672.6, 480);
    EXPECT_NEAR(nb_ProjLrit_cfac, 262635752.9, 480);
}

TEST_F(ProjLrit, FactorsThatCannotBeDerivedRefuseTheCall)
{
    NbProjPara para = makeMap(NB_PROJ_LRIT_PS);
    para.stepX = 0; // every conversion of a sample fails
    EXPECT_EQ(nbpProj::setLritPolarParam(para), 1);
    para = makeMap(NB_PROJ_LRIT_DISK);
    para.baseLon = -40; // all samples behind the limb
    EXPECT_EQ(nbpProj::setLritDiskParam(para), -1);
    EXPECT_EQ(toXY(para, 140, 30).result, -1);
    EXPECT_EQ(nb_ProjLrit_cfac, 0);
}

// PROJ: +proj=geos +h=35785.863 +lon_0=140.7 +a=6378.137 +b=6356.7523 +sweep=y, as in the table.
// Back, the tangent of the latitude is too large by 1.006803 / 1.006739.
TEST_F(ProjLrit, SecondEarthOfTheDiskKeepsTheLatitudeFactorOfTheFirst)
{
    nb_ProjLrit_Wgs84 = 1;
    nb_ProjLrit_coff = 2750.5;
    nb_ProjLrit_loff = 2745.5;
    nb_ProjLrit_cfac = nb_ProjLrit_lfac = 20466275;
    NbProjPara para = makeMap(NB_PROJ_LRIT_DISK);
    para.stdLon = 140.7;
    const Pixel p = toXY(para, 120.5, 30.25);
    EXPECT_NEAR(p.x, 1829.227898, 2e-3);
    EXPECT_NEAR(p.y, 1205.124114, 2e-3);
    EXPECT_NEAR(toLonLat(para, p.x, p.y).lat, 30.251585, 2e-4);
}

// The figures: conformal latitude chi of the Bessel ellipsoid (e^2 = 0.006674372231315) in closed
// form, then atan(tan chi / 0.9933070113844521).
TEST(ProjOblique, BackFromTheSphereMissesBySecondsOfArc)
{
    struct {
        double lat, back;
    } const rows[] = {{20, 20.00036112}, {35, 35.00057040}, {45, 45.00064354}};
    for (const auto& row : rows) {
        double lon = 2.4;
        double lat = row.lat / 180 * M_PI;
        ASSERT_EQ(nbpProjEllipseToSphere(&lon, &lat, 130), 0);
        EXPECT_NEAR(lon, (2.4 - 130 / 180.0 * M_PI) * 1.0013655, 1e-14);
        ASSERT_EQ(nbpProjSphereToEllipse(&lon, &lat, 130), 0);
        EXPECT_NEAR(lon, 2.4, 1e-14);
        EXPECT_NEAR(lat / M_PI * 180, row.back, 1e-6);
    }
}

TEST(ProjOblique, StepsRefuseAStandardLongitudeOutOfRange)
{
    double a = 1, b = 1;
    NbProjPara para = makeMap(NB_PROJ_OBLIQUE);
    for (const double bad : {360.5, nan}) {
        para.stdLon = bad;
        EXPECT_EQ(nbpProjEllipseToSphere(&a, &b, bad), -1);
        EXPECT_EQ(nbpProjSphereToEllipse(&a, &b, bad), -1);
        EXPECT_EQ(nbpProjLonLatToOblique(2.4, 0.6, &a, &b, &para), -1);
        EXPECT_EQ(nbpProjObliqueToLonLat(1.2, 0.6, &a, &b, &para), -1);
    }
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 1);
    // A right angle at the pole: cos c = cos a cos b for the distances of place and pole.
    para.stdLon = 0;
    ASSERT_EQ(nbpProjObliqueToLonLat(M_PI / 2, 0.3, &a, &b, &para), 0);
    EXPECT_NEAR(std::sin(b), std::cos(0.3) * std::sin(0.980735762346504), 1e-15);
    double theta = 0, rho = 0;
    ASSERT_EQ(nbpProjLonLatToOblique(a, b, &theta, &rho, &para), 0);
    EXPECT_NEAR(theta, M_PI / 2, 1e-12);
    EXPECT_NEAR(rho, 0.3, 1e-12);
}
} // namespace
