#include "tests/drivers/gvarScene.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>

namespace {

constexpr double pi = std::numbers::pi;
constexpr double radian = pi / 180;
constexpr double lonRad = -1.3125; // of the satellite, exact in the file
constexpr double lonDeg = lonRad / radian;
constexpr double equatorial = 6378.137; // km
constexpr double flattening = 1 / 298.25;
constexpr double nsStep = pi / 64 / 6136 * 3.5; // a visible line
constexpr double ewStep = pi / 32 / 6136;       // a visible pixel

using Vec = std::array<double, 3>;
Vec cross(const Vec& a, const Vec& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double dot(const Vec& a, const Vec& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// A satellite that looks at the earth through a turned instrument: rays, whole rotations and the
// orbit's plane, in km.
struct RayTracer {
    double lon, lat = 0, yaw = 0; // of the satellite in its orbit, radian
    double distance = 42164.17478;
    double r = 0, p = 0, y = 0; // roll, pitch, yaw of the instrument

    Vec position = {}, axisX = {}, axisY = {},
        axisZ = {}; // of the orbit frame: along the orbit, south, down
    void prepare()
    {
        const double i = std::asin(std::hypot(std::sin(lat), std::sin(yaw)));
        const double u = std::atan2(std::sin(lat), std::sin(yaw));
        const double node = lon - u;
        const Vec up = {std::cos(node) * std::cos(u) - std::sin(node) * std::cos(i) * std::sin(u),
                        std::sin(node) * std::cos(u) + std::cos(node) * std::cos(i) * std::sin(u),
                        std::sin(i) * std::sin(u)};
        const Vec normal = {std::sin(node) * std::sin(i), -std::cos(node) * std::sin(i),
                            std::cos(i)};
        for (std::size_t k = 0; k < 3; ++k) {
            position[k] = distance * up[k];
            axisZ[k] = -up[k];
            axisY[k] = -normal[k];
        }
        axisX = cross(axisY, axisZ);
    }
    // Elevation (south negative) and scan angle (east positive) to earth; false for a miss.
    bool place(double e, double s, double* outLon, double* outLat) const
    {
        // Rx(r) Ry(p) Rz(y) of the direction in the instrument.
        Vec v = {std::sin(s), -std::sin(e) * std::cos(s), std::cos(e) * std::cos(s)};
        v = {std::cos(y) * v[0] - std::sin(y) * v[1], std::sin(y) * v[0] + std::cos(y) * v[1],
             v[2]};
        v = {std::cos(p) * v[0] + std::sin(p) * v[2], v[1],
             -std::sin(p) * v[0] + std::cos(p) * v[2]};
        v = {v[0], std::cos(r) * v[1] - std::sin(r) * v[2],
             std::sin(r) * v[1] + std::cos(r) * v[2]};
        Vec w{};
        for (std::size_t k = 0; k < 3; ++k)
            w[k] = v[0] * axisX[k] + v[1] * axisY[k] + v[2] * axisZ[k];
        // On a sphere of the equator's radius with the axis stretched.
        const double stretch = 1 / (1 - flattening);
        const Vec ws = {w[0], w[1], w[2] * stretch};
        const Vec ps = {position[0], position[1], position[2] * stretch};
        const double b = dot(ws, ps) / dot(ws, ws);
        const double c = (dot(ps, ps) - equatorial * equatorial) / dot(ws, ws);
        if (b * b < c) return false;
        const double t = -b - std::sqrt(b * b - c);
        const Vec at = {position[0] + t * w[0], position[1] + t * w[1], position[2] + t * w[2]};
        *outLon = std::atan2(at[1], at[0]) / radian;
        // The surface's normal leans by the square of the axes' ratio.
        *outLat = std::atan2(at[2] * stretch * stretch, std::hypot(at[0], at[1])) / radian;
        return true;
    }
};

// Frame of the whole disk around the instrument's own centre. One scan is in the file.
SynthGvar disk()
{
    SynthGvar s = SynthGvar{.records = false}.fullDisk();
    s.cutAt = 20000;
    return s;
}

double degreesEast(double a, double b)
{
    return std::remainder(a - b, 360);
}

// Visible position of line l and pixel x of a channel, from the geometry of its detectors: a
// thermal pixel lies 1.5 visible pixels, its line 2.5 or 0.5 visible lines off the visible one.
struct Visible {
    double line, pixel;
};
Visible visibleOf(const GvarScene& scene, int channel, double line, double pixel)
{
    if (channel == 0) return {line + 1, pixel + 1};
    const bool eighth = scene.synth.linesPerScan(channel) == 1;
    return {eighth ? 8 * line + 0.5 : 4 * line - 1.5, 4 * pixel + 2.5};
}

// Compares a grid over the disk both ways with the rays; the positions of both differ by the
// offset between the told and the computed sub-satellite point, which is `shift`.
void compareWithRays(const GvarScene& scene, const RayTracer& rays, int channel, Visible shift,
                     double tolerance)
{
    const SynthGvar& s = scene.synth;
    int good = 0;
    for (int j = 1; j < 20; ++j)
        for (int i = 1; i < 20; ++i) {
            const auto x = static_cast<float>(s.pixels(channel) * i / 20);
            const auto l = static_cast<float>(s.lines(channel) * j / 20);
            const Visible v =
                visibleOf(scene, channel, static_cast<double>(l), static_cast<double>(x));
            const double line = s.north - 1 + v.line - shift.line;
            const double pixel = s.west - 1 + v.pixel - shift.pixel;
            const double e =
                (s.nsCycles * 6136 + s.nsIncrements) / 3.5 * nsStep - (line - 4.5) * nsStep;
            const double a = (pixel - 1) * ewStep - (s.ewCycles * 6136 + s.ewIncrements) * ewStep;
            double lon = 0, lat = 0;
            const bool hits = rays.place(e, a, &lon, &lat);
            const auto place = scene.toEarth(x, l);
            // Close to the limb a ray may hit or miss.
            if (std::hypot(e, a) < 0.1512) {
                ASSERT_EQ(place.bits, 0) << x << ' ' << l;
            }
            if (std::hypot(e, a) > 0.1525) {
                ASSERT_EQ(place.bits, NB_NAV_INPUT) << x << ' ' << l;
            }
            if (std::hypot(e, a) > 0.145 || !hits) continue;
            ++good;
            EXPECT_NEAR(degreesEast(place.lon, lon), 0, tolerance) << x << ' ' << l;
            EXPECT_NEAR(place.lat, lat, tolerance) << x << ' ' << l;
            const auto back = scene.toImage(lon, lat);
            EXPECT_EQ(back.bits, 0);
            // The file's float radius and scan angle are 0.002 of a visible pixel.
            EXPECT_NEAR(back.pixel, x, 0.004) << lon << ' ' << lat;
            EXPECT_NEAR(back.line, l, 0.004) << lon << ' ' << lat;
        }
    EXPECT_GT(good, 180);
}

TEST(GvarNavigation, AgreesWithRaysOverTheDiskWithoutCompensationData)
{
    for (const bool flipped : {false, true})
        for (const int satellite : {8, 12}) {
            SynthGvar s = disk();
            s.flipped = flipped; // nothing to turn without misalignments
            s.satellite = satellite;
            s.subLine = 7890;
            s.subPixel = 15343;
            GvarScene scene(s);
            ASSERT_EQ(scene.code, 0);
            RayTracer rays{.lon = lonRad};
            rays.prepare();
            // Straight down: line 27612 / 3.5... of 4.5 cycles of 6136 increments, and 2.5 cycles.
            const Visible shift{7890 - (27612 / 3.5 + 4.5), 15343 - 15341.0};
            for (const char* name : {"VIS", "IR4", "IR3", "IR1", "IR2"}) {
                ASSERT_EQ(scene.select(name), 10001);
                const int channel = scene.object.GetChannel(scene.p(), 0);
                compareWithRays(scene, rays, channel, shift, 4e-4);
            }
            const auto down = scene.toEarth(0, 0);
            EXPECT_EQ(down.bits, NB_NAV_INPUT);
        }
}

// Position straight down of a satellite with attitude, found with the rays by halving.
Visible downward(const RayTracer& rays, const SynthGvar& s, double lon, double lat)
{
    double e = 0, a = 0;
    for (int round = 0; round < 30; ++round) {
        double lon0 = 0, lat0 = 0, lonE = 0, latE = 0, lonA = 0, latA = 0;
        constexpr double h = 1e-5;
        rays.place(e, a, &lon0, &lat0);
        rays.place(e + h, a, &lonE, &latE);
        rays.place(e, a + h, &lonA, &latA);
        // Newton's step of two unknowns.
        const double j11 = (lonE - lon0) / h, j12 = (lonA - lon0) / h;
        const double j21 = (latE - lat0) / h, j22 = (latA - lat0) / h;
        const double det = j11 * j22 - j12 * j21;
        const double dLon = degreesEast(lon, lon0), dLat = lat - lat0;
        e += (j22 * dLon - j12 * dLat) / det;
        a += (j11 * dLat - j21 * dLon) / det;
    }
    return {(s.nsCycles * 6136 + s.nsIncrements) / 3.5 - e / nsStep + 4.5,
            a / ewStep + (s.ewCycles * 6136 + s.ewIncrements) + 1};
}

TEST(GvarNavigation, AgreesWithRaysOfAnInclinedOrbitAndATurnedInstrument)
{
    SynthGvar s = disk();
    s.imcOff = false;
    s.oa = {{4, -2.375},      {8, 4e-4},  {14, -1e-4},      {61 + 2, 2e-4},   {9, -3e-4},
            {116 + 2, 5e-5},  {15, 1e-5}, {10, 9e-4},       {171 + 2, -2e-4}, {41, 0.01171875},
            {50, -0.0078125}, {30, 21.5}, {17, 0.001953125}};
    s.subLine = 7900;
    s.subPixel = 15330;
    GvarScene scene(s);
    ASSERT_EQ(scene.code, 0);
    RayTracer rays{.lon = -2.375 + 0.001953125,
                   .lat = std::asin(0.01171875),
                   .yaw = std::asin(-0.0078125),
                   .distance = 42164.17478 + 21.5,
                   .r = 5e-4,
                   .p = -2.4e-4,
                   .y = 7e-4};
    rays.prepare();
    double attitude[3];
    scene.object.GetSatAtt(scene.p(), 0, attitude);
    EXPECT_NEAR(attitude[0], 5e-4, 1e-9);
    EXPECT_NEAR(attitude[1], -2.4e-4, 1e-9);
    EXPECT_NEAR(attitude[2], 7e-4, 1e-9);

    double position[3]; // metres; the sub-satellite point is geodetic, of a latitude of 0.69
    scene.object.GetSatPosEf(scene.p(), 0, position);
    const double lon = std::atan2(position[1], position[0]) / radian;
    EXPECT_NEAR(std::sqrt(position[0] * position[0] + position[1] * position[1] +
                          position[2] * position[2]),
                42185674.78, 8); // a float of metres
    EXPECT_NEAR(lon, std::atan2(rays.position[1], rays.position[0]) / radian, 1e-4);

    const double lat =
        std::atan(std::tan(std::asin(0.01171875)) / std::pow(1 - flattening, 2)) / radian;
    const Visible down = downward(rays, s, lon, lat);
    const Visible shift{7900 - down.line, 15330 - down.pixel};
    ASSERT_EQ(scene.select("IR1"), 10001);
    compareWithRays(scene, rays, 3, shift, 6e-4);
    ASSERT_EQ(scene.select("VIS"), 10001);
    compareWithRays(scene, rays, 0, shift, 6e-4);
}

TEST(GvarNavigation, EveryOrbitWordHasItsOwnTerm)
{
    using std::cos;
    using std::sin;
    const double te = 7 * 3600 + 25 * 60 + 30.5; // seconds since the epoch
    const double w = te * 7.292115e-05;
    struct Term {
        int word;
        double factor;
    };
    // Longitude in radians: doubled periodic terms. Distance in km. Latitude: of its sine.
    const Term lonTerms[] = {{17, 1},
                             {18, w},
                             {19, w * w},
                             {20, 2 * sin(w)},
                             {21, 2 * cos(w)},
                             {22, 2 * sin(2 * w)},
                             {23, 2 * cos(2 * w)},
                             {24, 2 * sin(1.9268 * w)},
                             {25, 2 * cos(1.9268 * w)},
                             {26, 2 * sin(0.927 * w)},
                             {27, 2 * cos(0.927 * w)},
                             {28, 2 * w * sin(w)},
                             {29, 2 * w * cos(w)}};
    const Term distanceTerms[] = {{30, 1},
                                  {31, cos(w)},
                                  {32, sin(w)},
                                  {33, cos(2 * w)},
                                  {34, sin(2 * w)},
                                  {35, cos(1.9268 * w)},
                                  {36, sin(1.9268 * w)},
                                  {37, cos(0.927 * w)},
                                  {38, sin(0.927 * w)},
                                  {39, w * cos(w)},
                                  {40, w * sin(w)}};
    const Term latTerms[] = {{41, 1},          {42, cos(w)},         {43, sin(w)},
                             {44, cos(2 * w)}, {45, sin(2 * w)},     {46, w * cos(w)},
                             {47, w * sin(w)}, {48, cos(0.927 * w)}, {49, sin(0.927 * w)}};
    // The yaw's sine shows where the latitude's is known: the node runs ahead of the satellite.
    const Term yawTerms[] = {{50, 1},          {51, sin(w)},         {52, cos(w)},
                             {53, sin(2 * w)}, {54, cos(2 * w)},     {55, w * sin(w)},
                             {56, w * cos(w)}, {57, sin(0.927 * w)}, {58, cos(0.927 * w)}};
    const auto position = [](std::map<int, double> oa) {
        SynthGvar s{.imcOff = false, .startTime = 1999123192530500, .oa = std::move(oa)};
        s.epochTime = 1999123120000000;
        s.headerTime = s.startTime;
        const GvarScene scene(s);
        EXPECT_EQ(scene.code, 0);
        Vec v{};
        scene.object.GetSatPosEf(scene.p(), 0, v.data());
        return v;
    };
    const auto lonOf = [](const Vec& v) { return std::atan2(v[1], v[0]); };
    const double lon0 = lonRad;
    for (const Term& t : lonTerms)
        EXPECT_NEAR(lonOf(position({{t.word, 0.0625}})), lon0 + t.factor * 0.0625, 1e-6) << t.word;
    for (const Term& t : distanceTerms) {
        const Vec v = position({{t.word, 64}});
        EXPECT_NEAR(std::sqrt(dot(v, v)) / 1000, 42164.17478 + t.factor * 64, 0.005) << t.word;
    }
    for (const Term& t : latTerms) {
        const Vec v = position({{t.word, 0.0625}});
        // Distance times the sine of the geocentric latitude of the sub-satellite point.
        const double g = std::asin(t.factor * 0.0625);
        EXPECT_NEAR(std::atan2(v[2], std::hypot(v[0], v[1])), g, 2e-4) << t.word;
    }
    for (const Term& t : yawTerms) {
        const double lat = 0.0625;
        RayTracer rays{.lon = lon0, .lat = std::asin(lat), .yaw = std::asin(t.factor * 0.03125)};
        rays.prepare();
        EXPECT_NEAR(lonOf(position({{41, lat}, {t.word, 0.03125}})), lonOf(rays.position), 1e-6)
            << t.word;
    }
}

TEST(GvarNavigation, AttitudeSeriesHasItsThreeKindsOfTerms)
{
    const double minutes = 7 * 60 + 25.5; // since the epoch
    const double theta = minutes * 0.004;
    const auto attitude = [](std::map<int, double> oa) {
        oa[59] = 0.004;
        SynthGvar s{.imcOff = false, .startTime = 1999123192530000, .oa = std::move(oa)};
        s.epochTime = 1999123120000000;
        s.headerTime = s.startTime;
        const GvarScene scene(s);
        EXPECT_EQ(scene.code, 0);
        Vec v{};
        scene.object.GetSatAtt(scene.p(), 0, v.data());
        return v;
    };
    // Two sinusoids of pitch.
    Vec v = attitude(
        {{116 + 3, 2}, {116 + 4, 1e-4}, {116 + 5, 0.5}, {116 + 6, 2e-4}, {116 + 7, -1.25}});
    EXPECT_NEAR(v[1], 1e-4 * std::cos(theta + 0.5) + 2e-4 * std::cos(2 * theta - 1.25), 1e-9);
    EXPECT_EQ(v[0], 0);
    // Two monomials of pitch: orders 1 and 2, and for both the cosine of the words 35 and 38 of
    // the block, which are the first one's, since pitch is angle 1.
    v = attitude({{116 + 34, 2},
                  {116 + 35, 1},
                  {116 + 36, 1},
                  {116 + 37, 1e-4},
                  {116 + 38, 0.25},
                  {116 + 39, 0.5},
                  {116 + 40, 3},
                  {116 + 41, 2},
                  {116 + 42, 5e-5},
                  {116 + 43, 0.75},
                  {116 + 44, -1}});
    const double cosine = std::cos(theta + 0.25);
    EXPECT_NEAR(v[1], 1e-4 * (theta - 0.5) * cosine + 5e-5 * (theta + 1) * (theta + 1) * cosine,
                1e-9);
    // The exponential of yaw: minutes minus start / constant, 445.5 - 440 = 5.5.
    v = attitude({{60, 440}, {171, 0.5}, {172, 1}});
    EXPECT_NEAR(v[2], 0.5 * std::exp(-5.5), 1e-7);
    v = attitude({{60, 440}, {171, 0.5}, {172, 2}}); // 445.5 - 440 / 2
    EXPECT_NEAR(v[2], 0, 1e-9);
    v = attitude({{60, 446}, {171, 0.5}, {172, 1}}); // not yet
    EXPECT_EQ(v[2], 0);
    // Counts beyond the block's room are cut to it.
    v = attitude({{61 + 3, 4e9}, {61 + 34, 4e9}, {61 + 2, 1e-3}});
    EXPECT_TRUE(std::isfinite(v[0]));
}

TEST(GvarNavigation, MisalignmentsMoveAPlaceOnTheCentralMeridianAsWorkedByHand)
{
    // On the central meridian the scan angle is 0. Elevation e: e + sin e B + (1 - cos e) A and
    // scan -sin e A; with the satellite upside down the terms with sin e change their sign.
    // A frame that is moved by the sub-satellite point, where e is 0, moves no place.
    const double a = 3e-4, b = 2e-3;
    for (const bool flipped : {false, true}) {
        SynthGvar s = disk();
        s.imcOff = false;
        s.flipped = flipped;
        GvarScene straight(s);
        s.oa[226 + 2] = a;
        s.oa[281 + 2] = b;
        GvarScene turned(s);
        const double r = equatorial * (1 - flattening * std::pow(std::sin(40 * radian), 2));
        const double g = std::atan(std::tan(40 * radian) * std::pow(1 - flattening, 2));
        const double e = std::atan(r * std::sin(g) / (42164.17478 - r * std::cos(g)));
        const auto p = straight.toImage(lonDeg, 40);
        const auto q = turned.toImage(lonDeg, 40);
        const double sign = flipped ? -1 : 1;
        // A thousandth of a line: the two radii agree to 0.3 km.
        EXPECT_NEAR(q.line - p.line, -(sign * std::sin(e) * b + (1 - std::cos(e)) * a) / nsStep,
                    2e-3);
        EXPECT_NEAR(q.pixel - p.pixel, -sign * std::sin(e) * a / ewStep, 2e-3);
    }
}

TEST(GvarNavigation, ThereAndBackIsTheSamePlaceWithAllCorrections)
{
    for (const bool flipped : {false, true})
        for (const int off : {0, 600}) { // increments of the frame's centre from the instrument's
            SynthGvar s = disk();
            s.imcOff = false;
            s.flipped = flipped;
            s.ewIncrements += off;
            s.west += off;
            s.east += off;
            s.oa = {{8, 4e-4},        {9, -3e-4}, {10, 9e-4}, {226 + 2, 2e-5},
                    {281 + 2, -4e-5}, {41, 0.01}, {50, 0.005}};
            GvarScene scene(s);
            ASSERT_EQ(scene.code, 0);
            for (const char* name : {"VIS", "IR1", "WV"}) {
                ASSERT_EQ(scene.select(name), 10001);
                const int channel = scene.object.GetChannel(scene.p(), 0);
                int good = 0;
                for (int j = 2; j < 15; ++j)
                    for (int i = 2; i < 15; ++i) {
                        const auto x = static_cast<float>(s.pixels(channel) * i / 16);
                        const auto l = static_cast<float>(s.lines(channel) * j / 16);
                        const auto place = scene.toEarth(x, l);
                        if (place.bits != 0) continue;
                        const auto back = scene.toImage(place.lon, place.lat);
                        if (back.bits == NB_NAV_LIMB) continue;
                        ++good;
                        // The way back takes its corrections at the corrected angles, so that
                        // squares of corrections are left: (0.15 x 0.01)^2 x 0.15 radian.
                        EXPECT_NEAR(back.pixel, x, 0.03) << name << x << ' ' << l;
                        EXPECT_NEAR(back.line, l, 0.03) << name << x << ' ' << l;
                    }
                EXPECT_GT(good, 80) << name;
            }
        }
}

TEST(GvarNavigation, PlacesThatAreNotOnTheImage)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const GvarScene scene({}); // a sector around the sub-satellite point
    const struct {
        double lon, lat;
        int bits;
    } cases[] = {
        {-75, -9999, 0},         {-75, 90.5, NB_NAV_INPUT}, {-75, nan, NB_NAV_INPUT},
        {nan, 0, NB_NAV_INPUT},  {105, 0, NB_NAV_LIMB},     {-75, 20, NB_NAV_LINE},
        {-75, -20, NB_NAV_LINE}, {-60, 0.3, NB_NAV_PIXEL},  {-85, 0.3, NB_NAV_PIXEL},
    };
    for (const auto& c : cases) {
        const auto p = scene.toImage(c.lon, c.lat);
        EXPECT_EQ(p.bits, c.bits) << c.lon << ' ' << c.lat;
        EXPECT_EQ(p.pixel, -9999.0F);
        EXPECT_EQ(p.line, -9999.0F);
    }
    const auto p = scene.toImage(-75, 0.3);
    EXPECT_EQ(p.bits, 0);
    const auto round = scene.toImage(285, 0.3);
    EXPECT_NEAR(round.pixel, p.pixel, 0.003);
    EXPECT_EQ(scene.toEarth(-9999, 3).bits, 0);
    EXPECT_EQ(scene.toEarth(3, -9999).lon, -9999.0);
    // A point 10 km up is seen farther from the centre: the angle from the earth's centre line is
    // atan(r sin g / (d - r cos g)).
    const double g = std::atan(std::tan(0.3 * radian) * std::pow(1 - flattening, 2));
    const auto line = [&](double r) {
        return -std::atan(r * std::sin(g) / (42164.17478 - r * std::cos(g))) / nsStep;
    };
    EXPECT_NEAR(scene.toImage(-75, 0.3, 10000).line - p.line,
                line(equatorial + 10) - line(equatorial), 2e-3);
}

TEST(GvarNavigation, UsersShiftIsTakenOffPositionsAndOutlivesAChannel)
{
    GvarScene scene(disk());
    ASSERT_EQ(scene.select("IR1"), 10001);
    const auto p = scene.toImage(-80, 20);
    scene.shift(2.5F, -1.25F);
    ASSERT_EQ(scene.select("VIS"), 10001);
    ASSERT_EQ(scene.select("IR1"), 10001);
    const auto q = scene.toImage(-80, 20);
    EXPECT_NEAR(q.pixel, p.pixel - 2.5F, 1e-3);
    EXPECT_NEAR(q.line, p.line + 1.25F, 1e-3);
    EXPECT_NEAR(scene.toEarth(q.pixel, q.line).lon, -80, 2e-3);
}

// Seconds after midnight of 3 May 1999 (day 51301) at a position.
double secondAt(GvarScene& scene, float pixel, float line)
{
    double lon = 0, lat = 0;
    NbPointInfo info{};
    EXPECT_EQ(nbpGvarPixLinToLonLat(scene.p(), pixel, line, &lon, &lat, &info), 0);
    return (info.time - 51301) * 86400;
}

TEST(GvarScanTime, ScansRunThereAndBack)
{
    // S = 955.6177775 ms a scan, T = 1154.0725925 ms from one to the next, 400 pixels; whole
    // milliseconds. Visible lines 4 to 11 are scan 0, those above it scan -1.
    const double start = 12 * 3600 + 1;
    GvarScene forward({});
    const struct {
        float pixel, line;
        double ms;
    } cases[] = {
        {100, 4, 238.904},               // 100 S / 400
        {100, 12, 1154.072 + 716.713},   // backward: 300 S / 400
        {0, 20, 2308.145},               // 2 T
        {100, 2, -(1154.072 - 716.713)}, // scan -1, backward
    };
    for (const auto& c : cases)
        EXPECT_NEAR(secondAt(forward, c.pixel, c.line), start + c.ms / 1000, 0.0011)
            << c.pixel << ' ' << c.line;

    // The other direction: the first scan started S before the header's time, taken off the
    // decimal number: 12:00:01.000 - 955.618 is 12:00:00.044.
    GvarScene backward({.directionBit = true});
    EXPECT_NEAR(secondAt(backward, 100, 4), 43200 + 0.044 + 299 * 955.6177775e-3 / 400, 0.0011);
    EXPECT_NEAR(secondAt(backward, 100, 12), 43200 + 0.044 + 1.154072 + 0.238904, 0.0011);
    ASSERT_EQ(backward.select("IR1"), 10001); // 2 lines a scan, 100 pixels
    EXPECT_NEAR(secondAt(backward, 25, 3), 43200 + 0.044 + 1.154072 + 0.238904, 0.0011);
}

TEST(GvarScanTime, BackwardCountingKnowsNoMinutes)
{
    // Only the third scan's block is good: 2 (S + U) = 2308.145 off 12:00:03.000, of which the
    // decimal number makes 12:00:00.691 (7 digits), and before the frame's start it is the start.
    SynthGvar s{};
    s.damage = {{.scan = 0, .badByte = 100}, {.scan = 1, .badByte = 100}};
    GvarScene third(s);
    EXPECT_NEAR(secondAt(third, 0, 4), 43200 + 0.6918, 0.0011);
    s.headerTime = 1999123120058500; // third scan 12:01:00.500 - 2308.145 = 12:00:98.191
    GvarScene carry(s);
    EXPECT_NEAR(secondAt(carry, 0, 4), 43200 + 98.1918, 0.0011);
    s.startTime = 1999123120059000;
    s.headerTime = 1999123120059500; // third 12:01:01.500, 12:00:99.191 is after the start
    GvarScene after(s);
    EXPECT_NEAR(secondAt(after, 0, 4), 43200 + 99.1918, 0.0011);
    s.startTime = 1999123120101000; // 12:01:01.000: later than 12:00:99.191
    GvarScene before(s);
    EXPECT_NEAR(secondAt(before, 0, 4), 43200 + 61, 0.0011);
    // The second scan, odd: 2 S + U = 2109.690 off ...120002000 is 11:99:99.890.
    SynthGvar odd{.startTime = 1999123115900000};
    odd.damage = {{.scan = 0, .badByte = 100}};
    GvarScene second(odd);
    EXPECT_NEAR(secondAt(second, 0, 4), 11 * 3600 + 99 * 60 + 99.8903, 0.0011);
}

TEST(GvarScanTime, DecimalTimesSplitIntoDates)
{
    std::int32_t t[7];
    nbpBcdTimeToInt(2000060235958999, t); // 29 February
    EXPECT_EQ((std::vector<int>(t, t + 7)), (std::vector<int>{2000, 2, 29, 23, 59, 58, 999}));
    nbpBcdTimeToInt(1900060010203004, t); // no leap year
    EXPECT_EQ((std::vector<int>(t, t + 7)), (std::vector<int>{1900, 3, 1, 1, 2, 3, 4}));
    nbpBcdTimeToInt(2003365000000000, t);
    EXPECT_EQ((std::vector<int>(t, t + 3)), (std::vector<int>{2003, 12, 31}));
}

} // namespace
