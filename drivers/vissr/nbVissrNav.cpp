/*
 * Navigation of a spinning satellite. Its spin axis u points south, so that turning scans from
 * west to east, and a mirror steps from north to south. The frame of a scan is C, D = u x C and
 * u, with C the direction of the scan's centre: the sun's direction turned around u by an angle
 * that the file has. Lengths are metres and frames earth-fixed unless said otherwise.
 */
#include "drivers/common/nbInGroups.h"
#include "drivers/common/nbWrapLon.h"
#include "drivers/vissr/nbVissrFile.h"
#include "geo/nbAstroUtl.h"
#include "geo/nbVec3.h"
#include "sat/nbNavInfo.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <numbers>
#include <string_view>

namespace {

constexpr double noPosition = -9999.0;
constexpr float noPositionF = -9999.0F;
constexpr double degPerRad = 57.29577951308232;
constexpr double radPerDeg = 0.017453292519943295; // pi / 180
constexpr double twoPi = 6.283185307179586;
constexpr double halfPi = std::numbers::pi / 2;
constexpr double minutesPerDay = 1440;

// The earth of the formulas.
constexpr double semiMajor = 6378136.0;
constexpr double semiMajor2 = 40680618834496.0;
constexpr double e2 = 0.006694384999587949;
constexpr double oneMinusE2 = 0.993305615000412;

// Brings an angle into -half to half. Angles that are many turns away lose their whole turns
// first; what is not finite comes back as no number.
double wrap(double angle, double half)
{
    if (!(std::abs(angle) <= 64 * half)) angle = std::fmod(angle, 2 * half);
    while (angle > half)
        angle -= 2 * half;
    while (angle < -half)
        angle += 2 * half;
    return angle;
}

// The interval of a table that holds a time: index i and how far the time is from entry i to
// entry i + 1. An index below 0: none.
struct Interval {
    int index = -1;
    double f = 0;
};
template <class Table>
Interval intervalAt(const Table& table, double mjd)
{
    for (std::size_t i = 0; i + 1 < table.size(); ++i)
        if (table[i].mjd <= mjd && mjd < table[i + 1].mjd)
            return {static_cast<int>(i), (mjd - table[i].mjd) / (table[i + 1].mjd - table[i].mjd)};
    return {};
}

double between(double a, double b, double f)
{
    return a + (b - a) * f;
}
NbVec3 between(const double a[3], const double b[3], double f)
{
    return {between(a[0], b[0], f), between(a[1], b[1], f), between(a[2], b[2], f)};
}
double betweenAngles(double a, double b, double f, double half)
{
    return a + wrap(b - a, half) * f;
}

// Coordinates in a frame that is turned around an axis, angles in radian.
void turnZ(double angle, NbVec3* v)
{
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    *v = {v->x * c + v->y * s, v->y * c - v->x * s, v->z};
}
void turnX(double angle, NbVec3* v)
{
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    *v = {v->x, v->y * c + v->z * s, v->z * c - v->y * s};
}

// What the file tells of the satellite at a time.
struct State {
    NbVec3 position;
    NbVec3 spin;      // along u, of any length
    NbVec3 sun;       // unit vector
    double angle = 0; // of C from the sun around u, radian
};

enum StateResult { stateGood = 0, noOrbit = 1, noAttitude = 2 };

StateResult stateAt(const NbVissrFile& file, double mjd, State* out)
{
    const Interval orbit = intervalAt(file.orbit, mjd);
    if (orbit.index < 0) return noOrbit;
    const NbVissrOrbit& o1 = file.orbit[static_cast<std::size_t>(orbit.index)];
    const NbVissrOrbit& o2 = file.orbit[static_cast<std::size_t>(orbit.index) + 1];
    const Interval attitude = intervalAt(file.attitude, mjd);
    if (attitude.index < 0) return noAttitude;
    const NbVissrAttitude& a1 = file.attitude[static_cast<std::size_t>(attitude.index)];
    const NbVissrAttitude& a2 = file.attitude[static_cast<std::size_t>(attitude.index) + 1];

    out->position = between(o1.position, o2.position, orbit.f);
    const double greenwich = betweenAngles(o1.greenwich, o2.greenwich, orbit.f, 180.0) * radPerDeg;
    const double alpha =
        betweenAngles(o1.sunRightAscension, o2.sunRightAscension, orbit.f, 180.0) * radPerDeg;
    const double delta =
        betweenAngles(o1.sunDeclination, o2.sunDeclination, orbit.f, 180.0) * radPerDeg;
    const double cosDelta = std::cos(delta);
    out->sun = {cosDelta * std::cos(alpha), cosDelta * std::sin(alpha), std::sin(delta)};

    const double a = between(a1.rightAscension, a2.rightAscension, attitude.f);
    const double d = between(a1.declination, a2.declination, attitude.f);
    out->angle = betweenAngles(a1.sunAngle, a2.sunAngle, attitude.f, std::numbers::pi);
    const double cosD = std::cos(d);
    const NbVec3 axis = {std::sin(d), -cosD * std::sin(a), cosD * std::cos(a)};
    const double* m = o1.rotation; // the transpose times the axis
    out->spin = {nbpInner({m[0], m[3], m[6]}, axis), nbpInner({m[1], m[4], m[7]}, axis),
                 nbpInner({m[2], m[5], m[8]}, axis)};
    turnZ(greenwich, &out->spin);
    return stateGood;
}

// C of the scan's frame, from u, the sun and the angle between it and C.
NbVec3 scanCentre(const NbVec3& u, const NbVec3& sun, double cosAngle, double sinAngle)
{
    const NbVec3 a = nbpUnit(nbpOuter(u, sun));
    const NbVec3 b = nbpUnit(nbpOuter(a, u));
    return nbpUnit({cosAngle * b.x + sinAngle * a.x, cosAngle * b.y + sinAngle * a.y,
                    cosAngle * b.z + sinAngle * a.z});
}

// A line of sight from S along the unit vector l, on the ellipsoid: qa t^2 + 2 qb t + qc = 0.
struct Sight {
    double qa, qb, disc;
};
Sight sightOn(const NbVec3& s, const NbVec3& l)
{
    Sight q;
    q.qa = l.z * l.z + (l.x * l.x + l.y * l.y) * oneMinusE2;
    q.qb = s.z * l.z + (s.x * l.x + s.y * l.y) * oneMinusE2;
    const double qc = s.z * s.z + (s.x * s.x + s.y * s.y - semiMajor2) * oneMinusE2;
    q.disc = q.qb * q.qb - qc * q.qa;
    return q;
}

// Points go to the image in blocks, whose arrays stay in the processor's cache.
constexpr int blockPoints = 64;

using Vectors = NbVec3s<blockPoints>;

// The scans in which the points of a block are taken.
struct Scans {
    bool known[blockPoints]; // else the file has no state for the time, and the rest is empty
    double time[blockPoints];
    double angle[blockPoints]; // see State
    Vectors position;
    Vectors u;
    Vectors centre; // C

    void take(int k, const Scans& other, int from)
    {
        known[k] = other.known[from];
        time[k] = other.time[from];
        angle[k] = other.angle[from];
        position.put(k, other.position.at(from));
        u.put(k, other.u.at(from));
        centre.put(k, other.centre.at(from));
    }

    // The scans at the times that are set.
    void find(const NbVissrFile& file, int n)
    {
        Vectors sun;
        double cosAngle[blockPoints];
        double sinAngle[blockPoints];
        for (int k = 0; k < n; ++k) {
            State state;
            known[k] = stateAt(file, time[k], &state) == stateGood;
            if (!known[k]) state = {};
            angle[k] = state.angle;
            position.put(k, state.position);
            u.put(k, state.spin);
            sun.put(k, state.sun);
            cosAngle[k] = std::cos(state.angle);
            sinAngle[k] = std::sin(state.angle);
        }
        nbpInGroups(n, [&](int k) {
            const NbVec3 axis = nbpUnit(u.at(k));
            u.put(k, axis);
            centre.put(k, scanCentre(axis, sun.at(k), cosAngle[k], sinAngle[k]));
        });
    }
};

// The lines of sight from scans to places.
struct Sights {
    double spinAngle[blockPoints];   // between u and the line of sight, radian
    double centreAngle[blockPoints]; // between C and u x the line of sight, radian
    // The place is behind the limb where disc is above 0 and nearest below far.
    double disc[blockPoints];
    double nearest[blockPoints]; // squared distances
    double far[blockPoints];

    void find(const Scans& scans, const Vectors& places, int n)
    {
        nbpInGroups(n, [&](int k) {
            const NbVec3 position = scans.position.at(k);
            const NbVec3 sight = places.at(k) - position;
            const NbVec3 l = nbpUnit(sight);
            const NbVec3 u = scans.u.at(k);
            spinAngle[k] = nbpCosine(u, l);
            centreAngle[k] = nbpCosine(scans.centre.at(k), nbpOuter(u, l));
            const Sight q = sightOn(position, l);
            disc[k] = q.disc;
            nearest[k] = q.qb * q.qb / q.qa / q.qa;
            far[k] = nbpInner(sight, sight);
        });
        for (int k = 0; k < n; ++k) {
            spinAngle[k] = nbpAngleOfCosine(spinAngle[k]);
            centreAngle[k] = nbpAngleOfCosine(centreAngle[k]);
        }
    }
};

// Image and earth by the parameters of one channel. Positions inside count from 1.
class SpinScan {
public:
    SpinScan(const NbVissrFile& file, int channel) : file_(file)
    {
        const NbVissrTransform& t = file.transform;
        const auto i = static_cast<std::size_t>(channel);
        lineStep_ = static_cast<double>(t.lineStep[i]);
        pixStep_ = static_cast<double>(t.pixStep[i]);
        centreLine_ = static_cast<double>(t.centreLine[i]);
        centrePixel_ =
            static_cast<double>(t.centrePixel[i]) + static_cast<double>(t.centrePixelRest[i]);
        sensors_ = static_cast<double>(t.sensorsPerScan[i]);
        lineOffset_ = static_cast<double>(t.lineOffset);
        pixelOffset_ = static_cast<double>(t.pixelOffset);
        tanTilt_ = std::tan(static_cast<double>(t.tilt));
    }

    double timeOf(double pixel, double line) const
    {
        const NbVissrTransform& t = file_.transform;
        return (pixStep_ * pixel / twoPi + std::floor((line - 1) / sensors_)) /
                   (minutesPerDay * t.spinRate) +
               t.originMjd;
    }

    // Result bits of all points.
    int toImage(const double* lon, const double* lat, const double* height, float* pixel,
                float* line, NbPointInfo* info, int n) const
    {
        int result = 0;
        for (int i = 0; i < n; i += blockPoints)
            result |= blockToImage(lon + i, lat + i, height != nullptr ? height + i : nullptr,
                                   pixel + i, line + i, info != nullptr ? info + i : nullptr,
                                   std::min(blockPoints, n - i));
        return result;
    }

    int toEarth(float pixel, float line, double* lon, double* lat, NbPointInfo* info) const
    {
        *lon = noPosition;
        *lat = noPosition;
        if (info != nullptr) *info = NbPointInfo{};
        if (line == noPositionF) return 0;
        // Deliberate: the range is tested with the shift in, on the way to the image without it.
        // Tested alike, a shifted image would lose its rim in one direction and gain it in the
        // other.
        const double p = static_cast<double>(pixel) + 1 + static_cast<double>(file_.shiftPixel);
        const double n = static_cast<double>(line) + 1 + static_cast<double>(file_.shiftLine);
        if (const int bits = outside(p, n); bits != 0) return bits;
        State state;
        const double t = timeOf(p, n);
        if (stateAt(file_, t, &state) != stateGood) return NB_NAV_TIME;
        const NbVec3 u = nbpUnit(state.spin);
        const NbVec3 c = scanCentre(u, state.sun, std::cos(state.angle), std::sin(state.angle));
        const NbVec3 d = nbpUnit(nbpOuter(u, c));

        const double a = (n - centreLine_) * lineStep_;
        const double b = (p - centrePixel_) * pixStep_;
        const double(&m)[3][3] = file_.transform.misalignment;
        double r[3]; // the line of sight in the sensor, before the turn
        for (int k = 0; k < 3; ++k)
            r[k] = std::sin(a) * m[k][2] + std::cos(a) * m[k][0];
        const double w0 = std::cos(b) * r[0] - std::sin(b) * r[1];
        const double w1 = std::cos(b) * r[1] + std::sin(b) * r[0];
        const NbVec3 l =
            nbpUnit({c.x * w0 + d.x * w1 + u.x * r[2], c.y * w0 + d.y * w1 + u.y * r[2],
                     c.z * w0 + d.z * w1 + u.z * r[2]});

        const NbVec3& s = state.position;
        const Sight q = sightOn(s, l);
        if (!(q.disc >= 0) || q.qa == 0) return NB_NAV_INPUT;
        const double root = std::sqrt(q.disc);
        const double distance = std::min((root - q.qb) / q.qa, (-root - q.qb) / q.qa);
        const NbVec3 place = {distance * l.x + s.x, distance * l.y + s.y, distance * l.z + s.z};
        const double axis = std::sqrt(place.x * place.x + place.y * place.y);
        *lat = std::atan(place.z / (axis * oneMinusE2)) * degPerRad;
        *lon = std::atan2(place.y, place.x) * degPerRad;
        if (info != nullptr) setInfo(t, s, state.angle, *lon, *lat, info);
        return 0;
    }

private:
    static constexpr int mostRounds = 50;

    // Points whose place in the image is being searched, those that are still open in front.
    struct Points {
        int index[blockPoints]; // in the caller's arrays
        int start[blockPoints]; // the parallel's, among the different ones
        double last[blockPoints];
        Vectors place;

        void take(int k, int from)
        {
            index[k] = index[from];
            place.put(k, place.at(from));
        }
    };

    int blockToImage(const double* lon, const double* lat, const double* height, float* pixel,
                     float* line, NbPointInfo* info, int n) const
    {
        Points points;
        Scans scans;
        int result = 0;
        int open = setOut(lon, lat, height, n, &points, &scans, &result);
        std::fill_n(pixel, n, noPositionF);
        std::fill_n(line, n, noPositionF);
        if (info != nullptr) std::fill_n(info, n, NbPointInfo{});
        for (int round = 0; round < mostRounds && open > 0; ++round) {
            Sights sights;
            sights.find(scans, points.place, open);
            int left = 0;
            for (int k = 0; k < open; ++k) {
                if (!scans.known[k]) {
                    result |= NB_NAV_TIME;
                    continue;
                }
                const double e = halfPi - sights.spinAngle[k];
                const double across = sights.centreAngle[k] - halfPi;
                const double p = (across + pixelOffset_ - tanTilt_ * e) / pixStep_ + centrePixel_;
                const double now = (e - lineOffset_) / lineStep_ + centreLine_;
                if (!(std::abs(now - points.last[k]) < 1.0)) {
                    points.take(left, k);
                    points.last[left] = now;
                    scans.time[left] = timeOf(p, now);
                    ++left;
                    continue;
                }
                const double ownPixel = p - static_cast<double>(file_.shiftPixel);
                const double ownLine = now - static_cast<double>(file_.shiftLine);
                const bool behind = sights.disc[k] > 0 && sights.nearest[k] < sights.far[k];
                const int bits = behind ? NB_NAV_LIMB : outside(ownPixel, ownLine);
                result |= bits;
                if (bits != 0) continue;
                const int i = points.index[k];
                pixel[i] = nbpToFloat(ownPixel - 1);
                line[i] = nbpToFloat(ownLine - 1);
                if (info != nullptr)
                    setInfo(scans.time[k], scans.position.at(k), scans.angle[k], lon[i], lat[i],
                            &info[i]);
            }
            open = left;
            scans.find(file_, open);
        }
        return open > 0 ? result | NB_NAV_CONVERGENCE : result;
    }

    // Takes the points that can have a place and the scans in which the search starts. Returns
    // their number, adds the bits of the others.
    int setOut(const double* lon, const double* lat, const double* height, int n, Points* points,
               Scans* scans, int* bits) const
    {
        Scans starts;
        int different = 0;
        int open = 0;
        double parallel = std::numeric_limits<double>::quiet_NaN();
        double sinPhi = 0;
        double cosPhi = 0;
        double across = 0; // radius of curvature across the meridian
        double last = 0;
        for (int i = 0; i < n; ++i) {
            if (nbpToFloat(lat[i]) == noPositionF || lon[i] == noPosition) continue;
            if (!(std::abs(lat[i]) <= 90) || !std::isfinite(lon[i])) {
                *bits |= NB_NAV_INPUT;
                continue;
            }
            const double lambda = nbpWrapLonFloat<NbLonWest::stays>(lon[i]) * radPerDeg;
            if (lat[i] != parallel) { // along a parallel all points start from one time
                parallel = lat[i];
                sinPhi = std::sin(parallel * radPerDeg);
                cosPhi = std::cos(parallel * radPerDeg);
                across = semiMajor / std::sqrt(1 - e2 * (sinPhi * sinPhi));
                // Seen from above the equator at the place's longitude: near enough to start from.
                last = centreLine_ - std::atan(sinPhi / (6.610689 - cosPhi)) / lineStep_;
                starts.time[different] =
                    last / sensors_ / minutesPerDay / file_.transform.spinRate +
                    file_.transform.originMjd;
                ++different;
            }
            const double h = height != nullptr ? height[i] : 0.0;
            points->index[open] = i;
            points->start[open] = different - 1;
            points->last[open] = last;
            points->place.put(open, {(across + h) * cosPhi * std::cos(lambda),
                                     (across + h) * cosPhi * std::sin(lambda),
                                     (across * oneMinusE2 + h) * sinPhi});
            ++open;
        }
        starts.find(file_, different);
        for (int k = 0; k < open; ++k)
            scans->take(k, starts, points->start[k]);
        return open;
    }

    // Error bit of a position outside the image or the lines of the file. Not a number is outside.
    int outside(double pixel, double line) const
    {
        if (!(pixel >= 0.5 && pixel <= file_.pixels + 0.5)) return NB_NAV_PIXEL;
        if (!(line >= 0.5 && line <= file_.lines + 0.5 && line >= file_.firstLine - 0.5 &&
              line <= file_.lastLine + 0.5))
            return NB_NAV_LINE;
        return 0;
    }

    static void setInfo(double t, const NbVec3& position, double angle, double lon, double lat,
                        NbPointInfo* info)
    {
        const auto kilometres = [](double metres) {
            return static_cast<double>(nbpToFloat(metres) / 1000.0F);
        };
        const double km[3] = {kilometres(position.x), kilometres(position.y),
                              kilometres(position.z)};
        nbNavSetPointInfo(t, km, lon, lat, info);
        // The satellite measures it: the angle from the sun to the earth as it turns.
        info->phaseAngle = angle * degPerRad;
    }

    const NbVissrFile& file_;
    double lineStep_;
    double pixStep_;
    double centreLine_;
    double centrePixel_;
    double sensors_;
    double lineOffset_;
    double pixelOffset_;
    double tanTilt_;
};

// Channel whose parameters navigate an infrared channel: the digit at its place.
int usr_specified_ir_ch(int channel, const char* caller)
{
    constexpr const char* variable = "NB_VISSR_NAV_IR_CH";
    // By default the second infrared channel goes with the first, which is the better known one.
    std::string_view digits = "113";
    if (channel == vissrVisible) return channel;
    const char* named = std::getenv(variable);
    if (named != nullptr) {
        const std::string_view text = named;
        const auto isChannel = [](char c) { return c >= '0' && c < '0' + vissrChannels; };
        if (text.size() == digits.size() && text[0] != '0' && std::ranges::all_of(text, isChannel))
            digits = text;
        else
            nbpLogError("nbVissrNav : %s Wrong enviroment '%s=%s'\n", caller, variable, named);
    }
    return digits[static_cast<std::size_t>(channel - 1)] - '0';
}

} // namespace

int nbVissrLonLatHgtToPixLinInfo(void* p, const double* lon, const double* lat,
                                 const double* height, float* pixel, float* line, NbPointInfo* info,
                                 int n)
{
    const NbVissrFile& file = *nbpVissrFile(p);
    const SpinScan scan(file, usr_specified_ir_ch(file.channel, "nbVissrLonLatHgtToPixLinInfo()"));
    return scan.toImage(lon, lat, height, pixel, line, info, n);
}

int nbVissrPixLinToLonLatInfo(void* p, const float* pixel, const float* line, double* lon,
                              double* lat, NbPointInfo* info, int n)
{
    const NbVissrFile& file = *nbpVissrFile(p);
    const SpinScan scan(file, usr_specified_ir_ch(file.channel, "nbVissrPixLinToLonLatInfo()"));
    int result = 0;
    for (int i = 0; i < n; ++i)
        result |=
            scan.toEarth(pixel[i], line[i], &lon[i], &lat[i], info != nullptr ? &info[i] : nullptr);
    return result;
}

int nbpVissrLonLatToPixLin(void* p, double lon, double lat, double height, float* pixel,
                           float* line, NbPointInfo* info)
{
    const NbVissrFile& file = *nbpVissrFile(p);
    return SpinScan(file, file.channel).toImage(&lon, &lat, &height, pixel, line, info, 1);
}

int nbpVissrPixLinToLonLat(void* p, float pixel, float line, double* lon, double* lat,
                           NbPointInfo* info)
{
    const NbVissrFile& file = *nbpVissrFile(p);
    return SpinScan(file, file.channel).toEarth(pixel, line, lon, lat, info);
}

int nbpVissrGetInsertValue(void* p, double mjd, double* position, double* spin, double* sun,
                           double* angle)
{
    State state;
    const StateResult result = stateAt(*nbpVissrFile(p), mjd, &state);
    if (result != stateGood) return result;
    nbpPut(state.position, position);
    nbpPut(nbpUnit(state.spin), spin);
    nbpPut(state.sun, sun);
    *angle = state.angle;
    return 0;
}

double nbpVissrGetEndTime(void* p)
{
    const NbVissrFile& file = *nbpVissrFile(p);
    const auto i = static_cast<std::size_t>(file.channel);
    return SpinScan(file, file.channel)
        .timeOf(static_cast<double>(file.transform.pixelCount[i]),
                static_cast<double>(file.transform.lineCount[i]));
}

int nbVissrGetSatPosEf(void* p, double mjd, double* position)
{
    State state;
    if (stateAt(*nbpVissrFile(p), mjd, &state) != stateGood) return -1;
    nbpPut(state.position, position);
    return 0;
}

int nbVissrGetSatAtt(void* p, double mjd, double* attitude)
{
    const NbVissrFile& file = *nbpVissrFile(p);
    std::fill_n(attitude, 3, noPosition);
    State state;
    if (stateAt(file, mjd, &state) != stateGood) return 0;
    const Interval orbit = intervalAt(file.orbit, mjd);
    const NbVissrOrbit& o1 = file.orbit[static_cast<std::size_t>(orbit.index)];
    const NbVissrOrbit& o2 = file.orbit[static_cast<std::size_t>(orbit.index) + 1];
    double position[3];
    double velocity[3];
    nbpPut(between(o1.inertialPosition, o2.inertialPosition, orbit.f), position);
    nbpPut(between(o1.inertialVelocity, o2.inertialVelocity, orbit.f), velocity);
    std::array<double, 8> elements{};
    nbAstroCartToKepl(position, velocity, elements.data());
    const auto kepl = std::bit_cast<NbAstroKepl>(elements);

    // Deliberate: the last turn is half a circle. A quarter would bring an axis along the orbit's
    // normal onto y, where the angles are small; so it lies near z and the first angle near the
    // root of 2. Who reads these angles knows them so.
    NbVec3 v = nbpUnit(state.spin);
    turnZ(kepl.ranode * radPerDeg, &v);
    turnX(kepl.inc * radPerDeg, &v);
    turnZ((kepl.argPer + kepl.ma) * radPerDeg + halfPi, &v);
    turnX(std::numbers::pi, &v);
    const double root = std::sqrt((v.y - 1) * -2 - v.x * v.x);
    attitude[2] = -v.x;
    const double plus = (v.z - root) / attitude[2];
    const double minus = (v.z + root) / attitude[2];
    const bool takesMinus = std::abs(minus) < std::abs(plus);
    attitude[0] = takesMinus ? -root : root;
    attitude[1] = takesMinus ? minus : plus;
    return 0;
}

double nbpVissrGetStartLon(void* p)
{
    const NbVissrFile& file = *nbpVissrFile(p);
    const Interval orbit = intervalAt(file.orbit, file.transform.originMjd);
    if (orbit.index < 0) return noPosition;
    double position[3];
    double lon = noPosition;
    double lat = 0;
    nbpPut(between(file.orbit[static_cast<std::size_t>(orbit.index)].position,
                   file.orbit[static_cast<std::size_t>(orbit.index) + 1].position, orbit.f),
           position);
    nbAstroEfToLonLat(position, &lon, &lat);
    return lon;
}

void nbpVissrAlignCentreLine(void* p, int channel)
{
    NbVissrFile* file = nbpVissrFile(p);
    if (channel < 2 || channel >= vissrChannels) return;
    float& own = file->transform.centreLine[channel];
    const float first = file->transform.centreLine[1];
    if (std::abs(own - first) < 0.5F) own = first;
}
