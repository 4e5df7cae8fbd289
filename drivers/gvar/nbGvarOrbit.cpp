#include "drivers/gvar/nbGvarFile.h"
#include "drivers/gvar/nbGvarTime.h"
#include "geo/nbMatrix.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace {

constexpr double degPerRad = 57.29577951308232;
constexpr double nominalDistance = 42164.17478; // km
constexpr double earthRate = 7.292115e-05;      // radian per second
// Frequencies of the series in units of the orbit's: the moon's share twice and once a day.
constexpr double moonTwice = 1.9268;
constexpr double moonOnce = 0.927;

constexpr int attitudeStart = 61; // first of five blocks: roll, pitch, yaw, two misalignments
constexpr int attitudeWords = 55;
constexpr int mostSinusoids = 15; // that a block has room for
constexpr int mostMonomials = 4;

// Where the satellite stands against its reference: radians and km.
struct Orbit {
    double lon;
    double lat;
    double yaw;
    double distance;
};

// Letters and word numbers are those of the operations ground equipment's interface (NOAA,
// Earth Location User's Guide, 1998): w the orbit angle since the epoch.
Orbit orbitSeries(const std::array<double, gvarOaWords>& oa, double w)
{
    const double s1 = std::sin(w);
    const double c1 = std::cos(w);
    const double s2 = std::sin(2 * w);
    const double c2 = std::cos(2 * w);
    const double sm2 = std::sin(moonTwice * w);
    const double cm2 = std::cos(moonTwice * w);
    const double sm1 = std::sin(moonOnce * w);
    const double cm1 = std::cos(moonOnce * w);
    Orbit orbit{};
    // Deliberate: the periodic terms enter the longitude twice over, as the ground station forms
    // them. Taken once, the sub-satellite point is off by as much as it wanders in a day.
    orbit.lon = oa[4] + (oa[17] + oa[18] * w + oa[19] * (w * w)) +
                2 * (oa[20] * s1 + oa[21] * c1 + oa[22] * s2 + oa[23] * c2 + oa[24] * sm2 +
                     oa[25] * cm2 + oa[26] * sm1 + oa[27] * cm1) +
                2 * w * (oa[28] * s1 + oa[29] * c1);
    orbit.distance = nominalDistance + oa[30] + oa[31] * c1 + oa[32] * s1 + oa[33] * c2 +
                     oa[34] * s2 + oa[35] * cm2 + oa[36] * sm2 + oa[37] * cm1 + oa[38] * sm1 +
                     w * (oa[39] * c1 + oa[40] * s1);
    orbit.lat = std::asin(oa[41] + oa[42] * c1 + oa[43] * s1 + oa[44] * c2 + oa[45] * s2 +
                          w * (oa[46] * c1 + oa[47] * s1) + oa[48] * cm1 + oa[49] * sm1);
    // Sine before cosine here, unlike the latitude.
    orbit.yaw = std::asin(oa[50] + oa[51] * s1 + oa[52] * c1 + oa[53] * s2 + oa[54] * c2 +
                          w * (oa[55] * s1 + oa[56] * c1) + oa[57] * sm1 + oa[58] * cm1);
    return orbit;
}

// How many of a count's terms the block has.
int termsOf(double count, int most)
{
    return std::clamp(nbpTrunc32(count), 0, most);
}

// One angle of the attitude, radian. `a` are all words from the block's start on, t minutes since
// the epoch, theta the sun's angle since then.
double attitudeSeries(std::span<const double> a, std::size_t index, double start, double t,
                      double theta)
{
    double exponential = 0;
    // Deliberate: the time constant divides the start alone, not the time since the start. The
    // ground station does so; put right, angles change while an exponential is in force.
    if (t >= start && a[0] != 0) exponential = a[0] * std::exp(-(t - start / a[1]));

    double sinusoids = 0;
    for (int i = 1; i <= termsOf(a[3], mostSinusoids); ++i) {
        const auto at = 2 * static_cast<std::size_t>(i);
        sinusoids += a[2 + at] * std::cos(i * theta + a[3 + at]);
    }
    double monomials = 0;
    for (int i = 1; i <= termsOf(a[34], mostMonomials); ++i) {
        const auto at = 5 * static_cast<std::size_t>(i);
        // Deliberate: the cosine takes the words of the monomial that has the number of this
        // angle (roll 0, pitch 1 ...), whichever monomial is being added. With its own words the
        // attitude agrees with the ground station's only where all monomials are alike.
        const std::size_t own = 5 * index;
        monomials += a[32 + at] * std::pow(theta - a[34 + at], a[31 + at]) *
                     std::cos(theta * a[30 + own] + a[33 + own]);
    }
    return exponential + a[2] + sinusoids + monomials;
}

void setAttitude(const NbGvarFrame& frame, double t, NbGvarNavigation* nav)
{
    const auto& oa = frame.oa;
    nav->roll = oa[8];
    nav->pitch = oa[9];
    nav->yaw = oa[10];
    nav->rollMisalign = 0;
    nav->pitchMisalign = 0;
    if (frame.imcOff) return;
    double v[5];
    for (std::size_t b = 0; b < 5; ++b)
        v[b] =
            attitudeSeries(std::span(oa).subspan(attitudeStart + attitudeWords * b, attitudeWords),
                           b, oa[60], t, t * oa[59]);
    nav->roll = oa[8] + v[0] + oa[14];
    nav->pitch = oa[9] + v[1] + oa[15];
    nav->yaw = oa[10] + v[2] + oa[16];
    nav->rollMisalign = v[3];
    nav->pitchMisalign = v[4];
}

} // namespace

void nbpGvarCalcOA(void* p)
{
    NbGvarFile* file = nbpGvarFile(p);
    const NbGvarFrame& frame = file->frame;
    NbGvarNavigation& nav = file->navigation;
    nav.lineStep = nbpToFloat(gvarNsStep * 28.0 * 0.125);
    nav.pixelStep = gvarEwStep;
    nav.nsNominal = (frame.nsIncrements + frame.nsCycles * gvarCycleIncrements) * gvarNsStep;
    nav.ewNominal = (frame.ewIncrements + frame.ewCycles * gvarCycleIncrements) * gvarEwStep;

    const double te = nbpGvarTimeDiff(frame.startTime, frame.epochTime);
    const Orbit orbit = frame.imcOff ? Orbit{.lon = frame.oa[4],
                                             .lat = frame.oa[6],
                                             .yaw = frame.oa[7],
                                             .distance = nominalDistance}
                                     : orbitSeries(frame.oa, te * earthRate);
    nav.distance = orbit.distance;
    const double sinLat = std::sin(orbit.lat);
    const double sinYaw = std::sin(orbit.yaw);
    // Inclination, argument of latitude, ascending node.
    const double i = std::asin(std::sqrt(sinLat * sinLat + sinYaw * sinYaw));
    const double u = std::atan2(sinLat, sinYaw);
    const double node = orbit.lon - u;
    const double si = std::sin(i);
    const double ci = std::cos(i);
    const double su = std::sin(u);
    const double cu = std::cos(u);
    const double so = std::sin(node);
    const double co = std::cos(node);
    constexpr double rho = 1 - gvarFlattening;
    nav.subLon = (node + std::atan2(su * ci, cu)) * degPerRad;
    nav.subLat = std::atan2(std::tan(orbit.lat), rho * rho) * degPerRad;

    const double m[9] = {
        -su * co - ci * cu * so,
        -so * si,
        ci * su * so - cu * co,
        ci * cu * co - su * so,
        co * si,
        -cu * so - ci * su * co,
        si * cu,
        -ci,
        -su * si,
    };
    std::copy_n(m, 9, nav.orbitMatrix);
    setAttitude(frame, te / 60, &nav);
    const double r = nav.roll;
    const double q = nav.pitch;
    const double y = nav.yaw;
    const double attitude[9] = {
        1 - (q * q + y * y) / 2, -y, q,         r * q + y,
        1 - (y * y + r * r) / 2, -r, r * y - q, q * y + r,
        1 - (q * q + r * r) / 2,
    };
    nbMultMat(nav.orbitMatrix, attitude, 3, 3, 3, nav.matrix);
    for (std::size_t k = 0; k < 3; ++k)
        nav.satellite[k] = m[3 * k + 2] * -nav.distance / gvarEquatorialRadius;
}
