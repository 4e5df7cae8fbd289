/*
 * Navigation of a spinning satellite. Its spin axis u points south, so that turning scans from
 * west to east, and a mirror steps from north to south. The frame of a scan is C, D = u x C and
 * u, with C the direction of the scan's centre: the sun's direction turned around u by an angle
 * that the file has. Lengths are metres and frames earth-fixed unless said otherwise.
 */
#include "drivers/common/nbWrapLon.h"
#include "drivers/vissr/nbVissrFile.h"
#include "geo/nbAstroUtl.h"
#include "geo/nbVector.h"
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

void between(const double a[3], const double b[3], double f, double out[3])
{
    for (int k = 0; k < 3; ++k)
        out[k] = a[k] + (b[k] - a[k]) * f;
}
double between(double a, double b, double f)
{
    return a + (b - a) * f;
}
double betweenAngles(double a, double b, double f, double half)
{
    return a + wrap(b - a, half) * f;
}

// Coordinates in a frame that is turned around an axis, angles in radian.
void turnZ(double angle, double v[3])
{
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const double x = v[0] * c + v[1] * s;
    const double y = v[1] * c - v[0] * s;
    v[0] = x;
    v[1] = y;
}
void turnX(double angle, double v[3])
{
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const double y = v[1] * c + v[2] * s;
    const double z = v[2] * c - v[1] * s;
    v[1] = y;
    v[2] = z;
}

// What the file tells of the satellite at a time.
struct State {
    double position[3];
    double spin[3]; // unit vector of u
    double sun[3];  // unit vector
    double angle;   // of C from the sun around u, radian
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

    between(o1.position, o2.position, orbit.f, out->position);
    const double greenwich = betweenAngles(o1.greenwich, o2.greenwich, orbit.f, 180.0) * radPerDeg;
    const double alpha =
        betweenAngles(o1.sunRightAscension, o2.sunRightAscension, orbit.f, 180.0) * radPerDeg;
    const double delta =
        betweenAngles(o1.sunDeclination, o2.sunDeclination, orbit.f, 180.0) * radPerDeg;
    const double cosDelta = std::cos(delta);
    out->sun[0] = cosDelta * std::cos(alpha);
    out->sun[1] = cosDelta * std::sin(alpha);
    out->sun[2] = std::sin(delta);

    const double a = between(a1.rightAscension, a2.rightAscension, attitude.f);
    const double d = between(a1.declination, a2.declination, attitude.f);
    out->angle = betweenAngles(a1.sunAngle, a2.sunAngle, attitude.f, std::numbers::pi);
    const double cosD = std::cos(d);
    const double axis[3] = {std::sin(d), -cosD * std::sin(a), cosD * std::cos(a)};
    const double* m = o1.rotation;
    for (int k = 0; k < 3; ++k) // the transpose times the axis
        out->spin[k] = m[k] * axis[0] + m[3 + k] * axis[1] + m[6 + k] * axis[2];
    turnZ(greenwich, out->spin);
    const double length = nbVectorMag(out->spin);
    for (double& component : out->spin)
        component /= length;
    return stateGood;
}

// C of the scan's frame.
void scanCentre(const State& state, double c[3])
{
    double a[3];
    double b[3];
    nbVectorOuterProductUnit(state.spin, state.sun, a);
    nbVectorOuterProductUnit(a, state.spin, b);
    const double cosAngle = std::cos(state.angle);
    const double sinAngle = std::sin(state.angle);
    double sum[3];
    for (int k = 0; k < 3; ++k)
        sum[k] = cosAngle * b[k] + sinAngle * a[k];
    nbVectorUnit(sum, c);
}

// A line of sight from S along the unit vector l, on the ellipsoid: qa t^2 + 2 qb t + qc = 0.
struct Sight {
    double qa, qb, disc;
};
Sight sightOn(const double s[3], const double l[3])
{
    Sight q;
    q.qa = l[2] * l[2] + (l[0] * l[0] + l[1] * l[1]) * oneMinusE2;
    q.qb = s[2] * l[2] + (s[0] * l[0] + s[1] * l[1]) * oneMinusE2;
    const double qc = s[2] * s[2] + (s[0] * s[0] + s[1] * s[1] - semiMajor2) * oneMinusE2;
    q.disc = q.qb * q.qb - qc * q.qa;
    return q;
}

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

    int toImage(double lon, double lat, double height, float* pixel, float* line, NbPointInfo* info)
    {
        *pixel = noPositionF;
        *line = noPositionF;
        if (info != nullptr) *info = NbPointInfo{};
        if (nbpToFloat(lat) == noPositionF || lon == noPosition) return 0;
        if (!(std::abs(lat) <= 90) || !std::isfinite(lon)) return NB_NAV_INPUT;
        const double lambda = nbpWrapLonFloat<NbLonWest::stays>(lon) * radPerDeg;
        if (lat != parallel_.lat) parallel_ = parallelAt(lat);
        const auto [same, sinPhi, cosPhi, n] = parallel_;
        const double place[3] = {(n + height) * cosPhi * std::cos(lambda),
                                 (n + height) * cosPhi * std::sin(lambda),
                                 (n * oneMinusE2 + height) * sinPhi};

        // Seen from above the equator at the place's longitude: near enough to start from.
        double last = centreLine_ - std::atan(sinPhi / (6.610689 - cosPhi)) / lineStep_;
        double t =
            last / sensors_ / minutesPerDay / file_.transform.spinRate + file_.transform.originMjd;
        Moment later;
        for (int round = 0; round < mostRounds; ++round) {
            // Along a parallel all points start from one time.
            Moment& moment = round == 0 ? start_ : later;
            if (t != moment.t) moment = momentAt(t);
            if (moment.result != stateGood) return NB_NAV_TIME;
            const State& state = moment.state;
            const double* const c = moment.centre;
            const double sight[3] = {place[0] - state.position[0], place[1] - state.position[1],
                                     place[2] - state.position[2]};
            double l[3];
            double uxl[3];
            nbVectorUnit(sight, l);
            nbVectorOuterProduct(state.spin, l, uxl);
            const double e = halfPi - nbVectorAngle(state.spin, l);
            const double across = nbVectorAngle(c, uxl) - halfPi;
            const double p = (across + pixelOffset_ - tanTilt_ * e) / pixStep_ + centrePixel_;
            const double now = (e - lineOffset_) / lineStep_ + centreLine_;
            if (std::abs(now - last) < 1.0) {
                const Sight q = sightOn(state.position, l);
                if (q.disc > 0 && q.qb * q.qb / q.qa / q.qa < nbVectorMag2(sight))
                    return NB_NAV_LIMB;
                const double ownPixel = p - static_cast<double>(file_.shiftPixel);
                const double ownLine = now - static_cast<double>(file_.shiftLine);
                if (const int bits = outside(ownPixel, ownLine); bits != 0) return bits;
                *pixel = nbpToFloat(ownPixel - 1);
                *line = nbpToFloat(ownLine - 1);
                if (info != nullptr) setInfo(t, state, lon, lat, info);
                return 0;
            }
            last = now;
            t = timeOf(p, now);
        }
        return NB_NAV_CONVERGENCE;
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
        double c[3];
        double d[3];
        scanCentre(state, c);
        nbVectorOuterProductUnit(state.spin, c, d);

        const double a = (n - centreLine_) * lineStep_;
        const double b = (p - centrePixel_) * pixStep_;
        const double(&m)[3][3] = file_.transform.misalignment;
        double r[3]; // the line of sight in the sensor, before the turn
        for (int k = 0; k < 3; ++k)
            r[k] = std::sin(a) * m[k][2] + std::cos(a) * m[k][0];
        const double w0 = std::cos(b) * r[0] - std::sin(b) * r[1];
        const double w1 = std::cos(b) * r[1] + std::sin(b) * r[0];
        double sum[3];
        double l[3];
        for (int k = 0; k < 3; ++k)
            sum[k] = c[k] * w0 + d[k] * w1 + state.spin[k] * r[2];
        nbVectorUnit(sum, l);

        const Sight q = sightOn(state.position, l);
        if (!(q.disc >= 0) || q.qa == 0) return NB_NAV_INPUT;
        const double root = std::sqrt(q.disc);
        const double distance = std::min((root - q.qb) / q.qa, (-root - q.qb) / q.qa);
        double place[3];
        for (int k = 0; k < 3; ++k)
            place[k] = distance * l[k] + state.position[k];
        const double axis = std::sqrt(place[0] * place[0] + place[1] * place[1]);
        *lat = std::atan(place[2] / (axis * oneMinusE2)) * degPerRad;
        *lon = std::atan2(place[1], place[0]) * degPerRad;
        if (info != nullptr) setInfo(t, state, *lon, *lat, info);
        return 0;
    }

private:
    static constexpr int mostRounds = 50;

    // Terms of a latitude: sine and cosine, radius of curvature across the meridian.
    struct Parallel {
        double lat = std::numeric_limits<double>::quiet_NaN();
        double sinPhi = 0;
        double cosPhi = 0;
        double n = 0;
    };
    static Parallel parallelAt(double lat)
    {
        const double sinPhi = std::sin(lat * radPerDeg);
        return {lat, sinPhi, std::cos(lat * radPerDeg),
                semiMajor / std::sqrt(1 - e2 * (sinPhi * sinPhi))};
    }

    // The scan at a time.
    struct Moment {
        double t = std::numeric_limits<double>::quiet_NaN();
        StateResult result = noOrbit;
        State state;
        double centre[3]; // C
    };
    Moment momentAt(double t) const
    {
        Moment m;
        m.t = t;
        m.result = stateAt(file_, t, &m.state);
        if (m.result == stateGood) scanCentre(m.state, m.centre);
        return m;
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

    static void setInfo(double t, const State& state, double lon, double lat, NbPointInfo* info)
    {
        double km[3];
        for (int k = 0; k < 3; ++k)
            km[k] = static_cast<double>(nbpToFloat(state.position[k]) / 1000.0F);
        nbNavSetPointInfo(t, km, lon, lat, info);
        // The satellite measures it: the angle from the sun to the earth as it turns.
        info->phaseAngle = state.angle * degPerRad;
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
    // Of the last point: along a row of many maps both stay.
    Parallel parallel_;
    Moment start_ = {}; // its first round
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
    SpinScan scan(file, usr_specified_ir_ch(file.channel, "nbVissrLonLatHgtToPixLinInfo()"));
    int result = 0;
    for (int i = 0; i < n; ++i)
        result |= scan.toImage(lon[i], lat[i], height != nullptr ? height[i] : 0.0, &pixel[i],
                               &line[i], info != nullptr ? &info[i] : nullptr);
    return result;
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
    return SpinScan(file, file.channel).toImage(lon, lat, height, pixel, line, info);
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
    std::copy_n(state.position, 3, position);
    std::copy_n(state.spin, 3, spin);
    std::copy_n(state.sun, 3, sun);
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
    std::copy_n(state.position, 3, position);
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
    between(o1.inertialPosition, o2.inertialPosition, orbit.f, position);
    between(o1.inertialVelocity, o2.inertialVelocity, orbit.f, velocity);
    std::array<double, 8> elements{};
    nbAstroCartToKepl(position, velocity, elements.data());
    const auto kepl = std::bit_cast<NbAstroKepl>(elements);

    // Deliberate: the last turn is half a circle. A quarter would bring an axis along the orbit's
    // normal onto y, where the angles are small; so it lies near z and the first angle near the
    // root of 2. Who reads these angles knows them so.
    double v[3] = {state.spin[0], state.spin[1], state.spin[2]};
    turnZ(kepl.ranode * radPerDeg, v);
    turnX(kepl.inc * radPerDeg, v);
    turnZ((kepl.argPer + kepl.ma) * radPerDeg + halfPi, v);
    turnX(std::numbers::pi, v);
    const double root = std::sqrt((v[1] - 1) * -2 - v[0] * v[0]);
    attitude[2] = -v[0];
    const double plus = (v[2] - root) / attitude[2];
    const double minus = (v[2] + root) / attitude[2];
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
    between(file.orbit[static_cast<std::size_t>(orbit.index)].position,
            file.orbit[static_cast<std::size_t>(orbit.index) + 1].position, orbit.f, position);
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
