#include "tests/drivers/vissrScene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numbers>

namespace {

using Vector = SynthVissrVector;
constexpr double pi = std::numbers::pi;
constexpr double degree = 180 / pi;

Vector unit(Vector a)
{
    return 1 / std::sqrt(dot(a, a)) * a;
}
// `a` turned around the unit vector `axis`, right-handed.
Vector turned(Vector a, Vector axis, double angle)
{
    return std::cos(angle) * a + std::sin(angle) * cross(axis, a) +
           ((1 - std::cos(angle)) * dot(axis, a)) * axis;
}

// Time of a position that counts from 1.
double timeOf(const SynthVissr& s, double pixel, double line)
{
    const double turns = std::floor((line - 1) / s.sensorsPerScan) +
                         pixel * static_cast<double>(s.pixStep) / (2 * pi);
    return s.originMjd + turns / s.spinRate / 1440;
}

struct Traced {
    bool hit = false;
    double lon = 0, lat = 0;
};
// The ray of a position that counts from 1, followed to the earth: the sensor's direction built
// by turns from its three angles, and the ellipsoid shrunk to a sphere.
Traced trace(const SynthVissr& s, double pixel, double line)
{
    const double t = timeOf(s, pixel, line);
    const Vector south = unit(s.axisEarthFixed(t));
    const Vector sun = s.sun(t);
    const Vector noon = unit(sun + -dot(sun, south) * south);
    const Vector centre = turned(noon, south, s.sunAngle(t));
    const Vector east = cross(south, centre);
    // In the sensor: x along the centre, y east, z south.
    const double a = (line - static_cast<double>(s.centreLine)) * static_cast<double>(s.lineStep) +
                     static_cast<double>(s.lineOffset);
    Vector ray{std::cos(a), 0, std::sin(a)};
    ray = turned(ray, {1, 0, 0}, -static_cast<double>(s.tilt));
    ray = turned(ray, {0, 0, 1}, -static_cast<double>(s.pixelOffset));
    ray = turned(ray, {0, 0, 1},
                 (pixel - static_cast<double>(s.centrePixel)) * static_cast<double>(s.pixStep));
    const Vector l = ray.x * centre + ray.y * east + ray.z * south;

    // Flattening 1/298.257, equatorial radius 6378136 m.
    const double shrink = 1 / (1 - 1 / 298.257);
    Vector from = s.position(t);
    Vector along = l;
    from.z *= shrink;
    along.z *= shrink;
    const double along2 = dot(along, along);
    const double half = dot(from, along);
    const double disc = half * half - along2 * (dot(from, from) - 6378136.0 * 6378136.0);
    if (disc < 0) return {};
    const Vector place = from + ((-half - std::sqrt(disc)) / along2) * along;
    // The normal of the ellipsoid: z of the place itself, times the square of the shrinking.
    return {true, std::atan2(place.y, place.x) * degree,
            std::atan2(place.z * shrink, std::hypot(place.x, place.y)) * degree};
}

// The environment variable of the infrared navigation, taken back at the end of the scope.
struct NavChannels {
    explicit NavChannels(const char* digits) { setenv("NB_VISSR_NAV_IR_CH", digits, 1); }
    ~NavChannels() { unsetenv("NB_VISSR_NAV_IR_CH"); }
};

TEST(VissrNav, AgreesWithARayTraceBothWaysAllOverTheDisk)
{
    for (const int variant : {0, 1})
        for (const int channel : {0, 1})
            for (const bool ebcdic : {false, true}) {
                SynthVissr synth{.variant = variant, .ebcdic = ebcdic, .channel = channel};
                const VissrScene scene(synth);
                ASSERT_EQ(scene.code, 0);
                const SynthVissr& s = scene.synth;
                // IBM reals of four bytes keep 21 bits: a misalignment near 1 is off by up to
                // 1e-6 radian, 40 m at the centre of the disk and ten times that near its edge.
                const double most = ebcdic ? 4e-3 : 3e-4;
                int seen = 0;
                for (int line = 2; line <= 110; line += 9)
                    for (int pixel = 2; pixel <= 110; pixel += 6) {
                        const Traced truth = trace(s, pixel, line);
                        const auto x = static_cast<float>(pixel - 1);
                        const auto y = static_cast<float>(line - 1);
                        const auto place = scene.toEarth(x, y);
                        EXPECT_EQ(place.bits, truth.hit ? 0 : 1) << pixel << ' ' << line;
                        if (!truth.hit) {
                            EXPECT_EQ(place.lon, -9999.0);
                            EXPECT_EQ(place.lat, -9999.0);
                            continue;
                        }
                        ++seen;
                        EXPECT_NEAR(std::remainder(place.lon - truth.lon, 360), 0, most)
                            << pixel << ' ' << line;
                        EXPECT_NEAR(place.lat, truth.lat, most) << pixel << ' ' << line;
                        // Back: the time is that of the step before the last one, up to a turn
                        // away. In a turn of 4 lines, 54.5 s, the satellite drifts by 545 m to
                        // the north, 0.0052 of a line, and its axis by 0.0000126 radian, 0.0043.
                        // Of the tilt only the linear part is used: 0.0007.
                        const auto back = scene.toImage(truth.lon, truth.lat);
                        ASSERT_EQ(back.bits, 0) << pixel << ' ' << line;
                        EXPECT_NEAR(back.pixel, x, 1e-2) << pixel << ' ' << line;
                        EXPECT_NEAR(back.line, y, 1e-2) << pixel << ' ' << line;
                    }
                EXPECT_GT(seen, 150); // most of the grid sees the earth
            }
}

TEST(VissrNav, WhatCannotBeSeenComesBackAsItsBit)
{
    const struct {
        const char* what;
        double lon, lat;
        int code;
    } earth[] = {
        {"mark", 140, -9999.0, 0},
        {"mark", -9999.0, 10, 0},
        {"latitude", 140, 90.5, NB_NAV_INPUT},
        {"not a number", std::nan(""), 10, NB_NAV_INPUT},
        {"other side", -40, 0, NB_NAV_LIMB},
        {"just behind the limb", 140 + 83, 0, NB_NAV_LIMB},
    };
    const VissrScene scene{SynthVissr{}};
    for (const auto& c : earth) {
        const auto at = scene.toImage(c.lon, c.lat);
        EXPECT_EQ(at.bits, c.code) << c.what;
        EXPECT_EQ(at.pixel, -9999.0F) << c.what;
        EXPECT_EQ(at.line, -9999.0F) << c.what;
    }
    const struct {
        float pixel, line;
        int code;
    } image[] = {{-9999, 50, 8},  {50, -9999, 0},   {-0.51F, 50, 8}, {109.51F, 50, 8},
                 {50, -0.51F, 4}, {50, 109.51F, 4}, {0, 0, 1},       {-1, -1, 8}};
    for (const auto& c : image) {
        EXPECT_EQ(scene.toEarth(c.pixel, c.line).bits, c.code) << c.pixel << ' ' << c.line;
        EXPECT_EQ(scene.toEarth(c.pixel, c.line).lon, -9999.0);
    }
}

// Deliberate in the driver: floats near 500 lie 2^-15 apart, so 500.00001 is 500 and becomes 140.
TEST(VissrNav, LongitudesThatNeedWrappingKeepAFloatsPrecision)
{
    SynthVissr synth;
    synth.tilt = synth.lineOffset = synth.pixelOffset = 0;
    synth.pixStep = 0x1p-15F; // about a kilometre
    const VissrScene scene(synth);
    const auto at = scene.toImage(140, 0);
    ASSERT_EQ(at.bits, 0);
    EXPECT_EQ(scene.toImage(500, 0).pixel, at.pixel);
    EXPECT_EQ(scene.toImage(500.00001, 0).pixel, at.pixel);
    EXPECT_NE(scene.toImage(140.00001, 0).pixel, at.pixel);
}

TEST(VissrNav, LinesOutsideTheFileHaveNoPosition)
{
    SynthVissr synth;
    synth.firstLine = 31;
    synth.lastLine = 60;
    const VissrScene scene(synth);
    const Traced inside = trace(scene.synth, 50, 45);
    const Traced above = trace(scene.synth, 50, 20);
    EXPECT_EQ(scene.toImage(inside.lon, inside.lat).bits, 0);
    EXPECT_EQ(scene.toImage(above.lon, above.lat).bits, NB_NAV_LINE);
}

TEST(VissrNav, TimesOutsideTheTablesHaveNoPosition)
{
    // Entries every 5 minutes from 02:25: three lead to 02:35, 22 lines after the start.
    for (const bool orbit : {true, false}) {
        SynthVissr synth;
        (orbit ? synth.orbitEntries : synth.attitudeEntries) = 3;
        const VissrScene scene(synth);
        const float x[2] = {54, 54};
        const float y[2] = {54, 20};
        double lon[2];
        double lat[2];
        EXPECT_EQ(scene.object.PixLinToLonLatInfo(scene.p(), x, y, lon, lat, nullptr, 2),
                  NB_NAV_TIME);
        EXPECT_EQ(lon[0], -9999.0);
        EXPECT_NE(lon[1], -9999.0);
        double v[3];
        double spin[3];
        double sun[3];
        double angle;
        const double before = synth.originMjd - 5.1 / 1440;
        const double late = synth.originMjd + 5.1 / 1440;
        EXPECT_EQ(nbpVissrGetInsertValue(scene.p(), before, v, spin, sun, &angle), 1);
        EXPECT_EQ(nbpVissrGetInsertValue(scene.p(), late, v, spin, sun, &angle), orbit ? 1 : 2);
        EXPECT_EQ(scene.object.GetSatPosEf(scene.p(), late, v), -1);
        EXPECT_EQ(scene.object.GetSatAtt(scene.p(), late, v), 0);
        for (const double angleMark : v)
            EXPECT_EQ(angleMark, -9999.0);
    }
}

TEST(VissrNav, PointsTellTheirTimeTheirSatelliteAndTheSunAngle)
{
    const VissrScene scene{SynthVissr{}};
    NbPointInfo info{};
    const auto place = scene.toEarth(60, 70, &info);
    ASSERT_EQ(place.bits, 0);
    const double t = timeOf(scene.synth, 61, 71);
    EXPECT_NEAR(info.time, t, 1e-9);
    // Between the entries and on their differences, whatever turns lie between.
    const double turn = 2 * pi;
    EXPECT_NEAR(std::remainder(info.phaseAngle / degree - scene.synth.sunAngle(t), turn), 0, 1e-7);
    // Distance to the satellite, on the sphere-like triangle of earth centre, point, satellite:
    // the zenith angle z gives d = sqrt(R^2 - r^2 sin^2 z) - r cos z. r within the ellipsoid.
    const Vector satellite = scene.synth.position(t);
    double v[3];
    ASSERT_EQ(scene.object.GetSatPosEf(scene.p(), t, v), 0);
    EXPECT_NEAR(v[0], satellite.x, 1e-3);
    EXPECT_NEAR(v[1], satellite.y, 1e-3);
    EXPECT_NEAR(v[2], satellite.z, 1e-3);
    const double big = std::sqrt(dot(satellite, satellite)) / 1000;
    const double z = info.satZenith / degree;
    const double d =
        std::sqrt(big * big - std::pow(6378.14 * std::sin(z), 2)) - 6378.14 * std::cos(z);
    EXPECT_NEAR(info.satDistance, d, 22.0); // flattening
    // The way from earth to image tells the same point.
    NbPointInfo back{};
    ASSERT_EQ(scene.toImage(place.lon, place.lat, 0, &back).bits, 0);
    EXPECT_NEAR(back.time, t, 2 * 25.0 / 110 / 1440); // by two lines at most
    EXPECT_NEAR(back.satZenith, info.satZenith, 1e-3);
}

TEST(VissrNav, TheShiftIsTakenOffOnTheWayToTheImageAndAddedOnTheWayBack)
{
    const VissrScene scene{SynthVissr{}};
    const Traced truth = trace(scene.synth, 50, 60);
    scene.shift(2.5F, -3);
    const auto at = scene.toImage(truth.lon, truth.lat);
    ASSERT_EQ(at.bits, 0);
    EXPECT_NEAR(at.pixel, 49 - 2.5, 5e-3);
    EXPECT_NEAR(at.line, 59 + 3, 5e-3);
    const auto place = scene.toEarth(46.5F, 62);
    ASSERT_EQ(place.bits, 0);
    EXPECT_NEAR(place.lon, truth.lon, 1e-3);
    EXPECT_NEAR(place.lat, truth.lat, 1e-3);
    // Deliberate in the driver: the range is tested with the shift in, so the last three lines
    // that a shift of -3 leaves at the top have no way back.
    EXPECT_EQ(scene.toEarth(46.5F, 2).bits, NB_NAV_LINE);
}

TEST(VissrNav, TheEnvironmentNamesTheChannelWhoseParametersNavigate)
{
    SynthVissr synth{.channel = 2};
    synth.centreLineShift[2] = 4;
    synth.centreLineShift[3] = 7;
    const VissrScene scene(synth);
    const Traced truth = trace(scene.synth, 50, 60); // by the parameters of channel 1
    const auto lineOf = [&] {
        const auto at = scene.toImage(truth.lon, truth.lat);
        EXPECT_EQ(at.bits, 0);
        return at.line;
    };
    EXPECT_NEAR(lineOf(), 59, 5e-3);
    const struct {
        const char* digits;
        float shift;
        bool told;
    } cases[] = {{"123", 4, false}, {"133", 7, false}, {"113", 0, false}, {"12", 0, true},
                 {"1234", 0, true}, {"023", 0, true},  {"12x", 0, true},  {"193", 0, true}};
    for (const auto& c : cases) {
        const NavChannels named(c.digits);
        StderrCapture err;
        const float line = lineOf();
        const std::string text = std::string("NB_Error: nbVissrNav : nbVissrLonLatHgtToPixLinInfo()"
                                             " Wrong enviroment 'NB_VISSR_NAV_IR_CH=") +
                                 c.digits + "'\n";
        EXPECT_EQ(err.get(), c.told ? text : "") << c.digits;
        // The satellite drifts while it scans the lines between, by 0.0013 of a line in each.
        EXPECT_NEAR(line, 59 + c.shift, 0.02) << c.digits;
    }
}

// Angles of the spin axis in the orbit's frame, as scalar products with velocity, position and
// orbit normal: the frame after the turns by node, inclination and argument has x along the
// velocity, y toward the earth and z along the normal, and the half turn around x makes y point
// away from the earth and z along the normal's other side.
TEST(VissrNav, AttitudeIsTheSpinAxisInTheOrbitFrame)
{
    const VissrScene scene{SynthVissr{}};
    const double t = scene.synth.originMjd + 0.006;
    const Vector u = unit(scene.synth.axisEarthFixed(t));
    const Vector p = unit(scene.synth.inertialPosition(t));
    const Vector v = unit(scene.synth.inertialVelocity(t));
    const double x = dot(u, v);
    const double y = dot(u, p);
    const double z = -dot(u, cross(p, v));
    double attitude[3];
    ASSERT_EQ(scene.object.GetSatAtt(scene.p(), t, attitude), 0);
    // The orbit is interpolated over chords of 5 minutes: 6e-5 of its radius.
    EXPECT_NEAR(attitude[2], -x, 2e-4);
    EXPECT_NEAR(attitude[0] * attitude[0], 2 * (1 - y) - x * x, 2e-4);
    EXPECT_NEAR(attitude[1] * attitude[2], z - attitude[0], 2e-4);
    EXPECT_GT(attitude[0], 0); // of both roots the one with the smaller second angle: z is near 1
}

} // namespace
