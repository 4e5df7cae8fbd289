#include "sat/nbNavInfo.h"

#include "geo/nbAstroUtl.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double degree = pi / 180;
constexpr double astronomicalUnit = 149597870.0; // km
constexpr double someMjd = 60000.25;

struct Vector3 {
    double v[3];
};

Vector3 equatorial(double lon, double distance)
{
    return {{distance * std::cos(lon * degree), distance * std::sin(lon * degree), 0}};
}

NbPointInfo infoOf(double mjd, const Vector3& satellite, double lon, double lat)
{
    NbPointInfo info;
    std::memset(&info, 0x55, sizeof info);
    nbNavSetPointInfo(mjd, satellite.v, lon, lat, &info);
    return info;
}

} // namespace

TEST(NavInfoSunDistance, FollowsTheAlmanac)
{
    // Perihelion 2024-01-03 and aphelion 2024-07-05 (US Naval Observatory), equinox Meeus 25.b.
    EXPECT_NEAR(nbNavGetDistanceSunAndEarth(60312.03) / astronomicalUnit, 0.983307, 1e-4);
    EXPECT_NEAR(nbNavGetDistanceSunAndEarth(60496.21) / astronomicalUnit, 1.016725, 1e-4);
    EXPECT_NEAR(nbNavGetDistanceSunAndEarth(48908.0) / astronomicalUnit, 0.997608, 1e-4);
}

TEST(NavPointInfo, SatelliteAnglesOnTheEquatorAreThoseOfAPlaneTriangle)
{
    const Vector3 geo = equatorial(140.7, 42164);
    const NbPointInfo under = infoOf(someMjd, geo, 140.7, 0);
    EXPECT_NEAR(under.satZenith, 0, 1e-5);
    EXPECT_NEAR(under.satDistance, 42164 - 6378.14, 1e-9);
    for (const double d : {10.0, 45.0, 75.0}) {
        const double east = 6378.14 * std::cos(d * degree);
        const double expected =
            std::atan2(42164 * std::sin(d * degree), 42164 * std::cos(d * degree) - 6378.14);
        const NbPointInfo info = infoOf(someMjd, geo, 140.7 - d, 0);
        EXPECT_NEAR(info.satZenith, expected / degree, 1e-9);
        EXPECT_NEAR(info.satAzimuth, 90, 1e-9);
        EXPECT_NEAR(infoOf(someMjd, geo, 140.7 + d, 0).satAzimuth, 270, 1e-9);
        EXPECT_NEAR(info.satDistance, std::hypot(42164 - east, 6378.14 * std::sin(d * degree)),
                    1e-8);
    }
    EXPECT_NEAR(infoOf(someMjd, geo, 140.7, 50).satAzimuth, 180, 1e-5);
}

TEST(NavPointInfo, SunAnglesAreThoseOfTheAlmanac)
{
    // Altitude and azimuth by the spherical triangle from declination and equation of time of
    // Meeus (examples 25.b, 28.b), for Tokyo at 1992-10-13 0h: declination -7.784, hour angle
    // -(180 - 3.4275 - 139.75) east of the meridian. Zenith from the geodetic vertical; the sun's
    // parallax is 0.0024 degree.
    const double lat = 35.68 * degree;
    const double delta = -7.784 * degree;
    const double hour = -(180 - 3.4275 - 139.75) * degree;
    const double zenith = std::acos(std::sin(lat) * std::sin(delta) +
                                    std::cos(lat) * std::cos(delta) * std::cos(hour));
    const double azimuth = std::atan2(-std::cos(delta) * std::sin(hour),
                                      std::cos(lat) * std::sin(delta) -
                                          std::sin(lat) * std::cos(delta) * std::cos(hour));
    const NbPointInfo info = infoOf(48908.0, equatorial(140, 42164), 139.75, 35.68);
    EXPECT_EQ(info.time, 48908.0);
    EXPECT_NEAR(info.sunZenith, zenith / degree, 0.008);
    EXPECT_NEAR(info.sunAzimuth, azimuth / degree, 0.01);
    EXPECT_NEAR(info.sunDistance / astronomicalUnit, 0.99760775, 3e-5);
    // Sun and satellite as sides of the triangle at the zenith.
    const double a = info.sunZenith * degree;
    const double b = info.satZenith * degree;
    EXPECT_NEAR(std::cos(info.satSunAngle * degree),
                std::cos(a) * std::cos(b) +
                    std::sin(a) * std::sin(b) *
                        std::cos((info.sunAzimuth - info.satAzimuth) * degree),
                1e-12);
}

TEST(NavPointInfo, GlintIsZeroWhereTheSatelliteStandsInTheMirroredSun)
{
    const double lon = -60, lat = 20;
    const NbPointInfo sun = infoOf(someMjd + 0.4, equatorial(0, 42164), lon, lat);
    ASSERT_LT(sun.sunZenith, 85); // day
    double hc[3], d[3], p[3];
    nbAstroZenithAzimuthToHcUnit(sun.sunZenith, sun.sunAzimuth + 180, hc);
    nbAstroHcToEf(hc, lon, lat, d);
    nbAstroLonLatToEf(lon, lat, p);
    const Vector3 mirror = {{p[0] + 900 * d[0], p[1] + 900 * d[1], p[2] + 900 * d[2]}};
    const NbPointInfo info = infoOf(someMjd + 0.4, mirror, lon, lat);
    EXPECT_NEAR(info.glintAngle, 0, 2e-5); // an arc cosine near 1, doubled rounding
    EXPECT_NEAR(info.satSunAngle, 2 * sun.sunZenith, 1e-6);
    EXPECT_NEAR(info.satDistance, 900, 1e-8);
}

TEST(NavPointInfo, PhaseAngleTakesTheSumOfBothPositions)
{
    // A satellite a quarter turn from the sun: the sum lies 90 degrees and the small angle
    // r / distance from the way back. With the difference it would be 90 degrees less that.
    double ef[3];
    nbAstroGetSunPosInEf(someMjd, ef);
    const double flat = std::hypot(ef[0], ef[1]);
    const Vector3 satellite = equatorial(std::atan2(ef[1], ef[0]) / degree + 90, 42164);
    EXPECT_NEAR(infoOf(someMjd, satellite, 0, 0).phaseAngle, 90 + std::atan(42164 / flat) / degree,
                1e-9);
}

TEST(NavPointInfo, OffTheEarthOnlyTimeSunDistanceAndPhaseStay)
{
    const Vector3 geo = equatorial(140.7, 42164);
    const NbPointInfo on = infoOf(someMjd, geo, 120, 10);
    for (const auto& [lon, lat] : {std::pair{-9999.0, 10.0}, std::pair{120.0, -9999.0}}) {
        const NbPointInfo off = infoOf(someMjd, geo, lon, lat);
        EXPECT_EQ(off.time, someMjd);
        EXPECT_EQ(off.sunDistance, on.sunDistance);
        EXPECT_EQ(off.phaseAngle, on.phaseAngle);
        for (const double field : {off.satZenith, off.satAzimuth, off.sunZenith, off.sunAzimuth,
                                   off.satSunAngle, off.glintAngle, off.satDistance})
            EXPECT_EQ(field, 0);
    }
}

TEST(NavPointInfo, TheSunFollowsTimeAndSettings)
{
    const Vector3 geo = equatorial(140.7, 42164);
    const NbPointInfo first = infoOf(someMjd, geo, 120, 10);
    EXPECT_NE(infoOf(someMjd + 1.0 / 1440, geo, 120, 10).sunZenith, first.sunZenith);
    nb_Astro_Wgs84 = 1;
    const NbPointInfo mean = infoOf(someMjd + 1.0 / 1440, geo, 120, 10);
    nb_Astro_Wgs84 = 0;
    const NbPointInfo apparent = infoOf(someMjd + 1.0 / 1440, geo, 120, 10);
    EXPECT_NE(mean.sunZenith, apparent.sunZenith);
    const NbPointInfo again = infoOf(someMjd, geo, 120, 10);
    EXPECT_EQ(std::memcmp(&first, &again, sizeof first), 0);
}

TEST(NavHelpers, OrderIsLatitudeFirst)
{
    const double llr[3] = {30, -100, 7000};
    double xyz[3], expected[3], back[3];
    const double lonLatDist[3] = {-100, 30, 7000};
    nbLLRToXYZ(llr, xyz);
    nbAstroLonLatDistToEf(lonLatDist, expected);
    nbXYZToLLR(xyz, back);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(xyz[i], expected[i]);
        EXPECT_NEAR(back[i], llr[i], 1e-9);
    }
    nbLatLonToXYZ(0, 90, xyz);
    EXPECT_NEAR(xyz[1], 6378.14, 1e-9);
    EXPECT_EQ(nbCalcLocalR(90), nbAstroGetLocalR(90));
    EXPECT_NEAR(nbCalcLocalR(90), 6356.755, 1e-9);
    EXPECT_NEAR(nbCalcGeocentricLat(45), 44.8075740423, 1e-9); // cct +proj=geoc
}
