/**
 * The header's tables brought to the time of each column, and the matrices of each column. A
 * column is one moment: all its lines are detectors of one sample.
 *
 * Frames, all right-handed: the sensor's, x east, y south, z along the line of sight of a scan
 * at rest; the orbit's, x along the orbit, y against its normal, z to the earth's centre;
 * inertial (J2000); earth-fixed. The attitude turns the sensor's axes out of the orbit's by roll
 * about x, then pitch about y, then yaw about z.
 */
#include "drivers/rdat/nbRdatFile.h"
#include "geo/nbAstroUtl.h"
#include "geo/nbMatrix.h"
#include "geo/nbVector.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double secondsPerDay = 86400.0;
constexpr double radPerDeg = 0.017453292519943295;
constexpr double earthGm = 398600.5; // km^3/s^2

// A table's name in messages; `always`: it changes over the scan in every ipfhMode.
struct Item {
    const char* name;
    bool always = false;
};

// The entries of a table that count, in order of time. A time that is no number does not.
template <std::size_t width>
NbRdatTable<width> sorted(const NbRdatTable<width>& table)
{
    NbRdatTable<width> out;
    out.reserve(table.size());
    for (const auto& entry : table)
        if (entry.mjd >= 0) out.push_back(entry);
    std::ranges::stable_sort(out, {}, &NbRdatTimed<width>::mjd);
    return out;
}

template <std::size_t width>
std::array<double, width> noValues()
{
    std::array<double, width> out;
    out.fill(rdatNone);
    return out;
}

// Values of a sorted table at one time: linear inside, the nearest entry outside, rdatNone for a
// time below 0.
template <std::size_t width>
std::array<double, width> ipVal(const NbRdatTable<width>& table, double mjd)
{
    if (!(mjd >= 0)) return noValues<width>();
    if (mjd <= table.front().mjd) return table.front().value;
    if (mjd >= table.back().mjd) return table.back().value;
    const auto after = std::ranges::upper_bound(table, mjd, {}, &NbRdatTimed<width>::mjd);
    const auto before = after - 1;
    std::array<double, width> out;
    for (std::size_t i = 0; i < width; ++i)
        out[i] = before->value[i] + (after->value[i] - before->value[i]) * (mjd - before->mjd) /
                                        (after->mjd - before->mjd);
    return out;
}

// Runs store(column, values) over the columns. False when no entry counts: then the values are
// rdatNone.
template <std::size_t width, class Store>
bool interpolate(const NbRdatTable<width>& all, Item item, std::vector<NbRdatColumn>& columns,
                 Store store)
{
    const auto table = sorted(all);
    if (table.empty()) {
        nbpLogError("%s(): %s: all data are invalid \n", "interpolate", item.name);
        for (NbRdatColumn& column : columns)
            store(column, noValues<width>());
        return false;
    }
    const bool first = ipfhMode == 1 && !item.always;
    for (NbRdatColumn& column : columns)
        store(column, first ? table.front().value : ipVal(table, column.mjd));
    return true;
}

// Takes two of the values as a pair.
template <std::size_t width>
void copyPair(const std::array<double, width>& from, std::size_t at, double* to)
{
    to[0] = from[at];
    to[1] = from[at + 1];
}

// Times of the columns. The clock counts stand at even steps from the first column to the last,
// from the time of the first line's record on; without a clock the scan runs evenly from the
// observation's start to its end.
bool ipScanTime(NbRdatFile* file)
{
    const NbRdatHeader& header = file->header;
    const double last = std::max(header.columns - 1, 1);
    NbRdatTable<1> table; // its "times" are columns
    const auto& clock = header.clock;
    if (clock.size() > 1 && header.clockSeconds > 0) {
        for (std::size_t i = 0; i < clock.size(); ++i) {
            const std::uint32_t ticks = clock[i] - clock[0]; // also over the clock's end
            const double column =
                last * static_cast<double>(i) / static_cast<double>(clock.size() - 1);
            table.push_back(
                {.mjd = column,
                 .value = {file->lines[0].mjd + ticks * header.clockSeconds / secondsPerDay}});
        }
    } else {
        table = {{.mjd = 0, .value = {header.startMjd}}, {.mjd = last, .value = {header.endMjd}}};
    }
    for (std::size_t c = 0; c < file->columns.size(); ++c)
        file->columns[c].mjd = static_cast<double>(c);
    return interpolate(table, {.name = "scantime", .always = true}, file->columns,
                       [](NbRdatColumn& column, const auto& v) { column.mjd = v[0]; });
}

// Bands without telemetry of the mirrors go without what they send out.
bool ipMirrorTemp(NbRdatFile* file, int mirror)
{
    interpolate(file->header.calibration.temperatures[mirror], {.name = "mirror temperature"},
                file->columns, [mirror](NbRdatColumn& column, const auto& v) {
                    column.mirrorTemp[mirror] = v[0];
                });
    return true;
}

bool ipMirrorAng(NbRdatFile* file)
{
    return interpolate(file->header.navigation.mirror, {.name = "mirror angle", .always = true},
                       file->columns,
                       [](NbRdatColumn& column, const auto& v) { copyPair(v, 0, column.scan); });
}

bool ipLosFluct(NbRdatFile* file)
{
    return interpolate(
        file->header.navigation.mirror, {.name = "los fluctuation"}, file->columns,
        [](NbRdatColumn& column, const auto& v) { copyPair(v, 2, column.fluctuation); });
}

// Position and velocity `seconds` after an entry, under the earth's pull on its own position.
void carryOn(const std::array<double, 6>& entry, double seconds, NbRdatColumn* column)
{
    const double r = nbVectorMag(entry.data());
    const double pull = -earthGm / (r * r * r);
    for (std::size_t i = 0; i < 3; ++i) {
        const double acceleration = pull * entry[i];
        column->position[i] =
            entry[i] + entry[i + 3] * seconds + acceleration * seconds * seconds / 2;
        column->velocity[i] = entry[i + 3] + acceleration * seconds;
    }
}

// Position and velocity between two entries: the cubic that has both at both ends (Hermite).
void orbitBetween(const NbRdatTimed<6>& a, const NbRdatTimed<6>& b, NbRdatColumn* column)
{
    const double h = (b.mjd - a.mjd) * secondsPerDay;
    const double s = (column->mjd - a.mjd) / (b.mjd - a.mjd);
    for (std::size_t i = 0; i < 3; ++i) {
        const double rise = b.value[i] - a.value[i];
        const double va = a.value[i + 3] * h;
        const double vb = b.value[i + 3] * h;
        const double c2 = 3 * rise - 2 * va - vb;
        const double c3 = va + vb - 2 * rise;
        column->position[i] = a.value[i] + s * (va + s * (c2 + s * c3));
        column->velocity[i] = (va + s * (2 * c2 + s * 3 * c3)) / h;
    }
}

// The orbit. A satellite moves 3 km in a second, so the entries are not joined by straight lines
// and the first and last one are carried on for some minutes.
bool ipOrb(NbRdatFile* file)
{
    constexpr double longest = 600; // seconds
    const auto table = sorted(file->header.navigation.orbit);
    if (table.empty()) {
        nbpLogError("%s(): %s: all data are invalid \n", "interpolate", "orbit");
        return false;
    }
    for (NbRdatColumn& column : file->columns) {
        const double t = column.mjd;
        const bool inside = t > table.front().mjd && t < table.back().mjd;
        if (ipfhMode == 1) {
            carryOn(table.front().value, 0, &column);
        } else if (inside) {
            const auto after = std::ranges::upper_bound(table, t, {}, &NbRdatTimed<6>::mjd);
            orbitBetween(*(after - 1), *after, &column);
        } else {
            const auto& entry = t <= table.front().mjd ? table.front() : table.back();
            const double seconds = (t - entry.mjd) * secondsPerDay;
            carryOn(entry.value, std::clamp(seconds, -longest, longest), &column);
        }
    }
    return true;
}

bool ipSidereal(NbRdatFile* file)
{
    for (NbRdatColumn& column : file->columns)
        column.thetaRad = nbAstroCalcThetaG(column.mjd) * radPerDeg;
    return true;
}

bool ipNpMatrix(NbRdatFile* file)
{
    for (NbRdatColumn& column : file->columns)
        nbAstroCalcNpMatrixJ2k(column.mjd, column.np);
    return true;
}

bool ipAtt(NbRdatFile* file)
{
    return interpolate(file->header.navigation.attitude, {.name = "attitude"}, file->columns,
                       [](NbRdatColumn& column, const auto& v) {
                           std::copy(v.begin(), v.end(), column.attitude);
                       });
}

bool ipDist(NbRdatFile* file)
{
    const bool some =
        interpolate(file->header.navigation.distortion, {.name = "distortion"}, file->columns,
                    [](NbRdatColumn& column, const auto& v) { column.distortion = v; });
    // What a file does not know of, it does not correct.
    if (!some)
        for (NbRdatColumn& column : file->columns)
            column.distortion.fill(0.0);
    return true;
}

bool ipCoreg(NbRdatFile* file)
{
    const bool some = interpolate(
        file->header.navigation.coregistration, {.name = "coregistration"}, file->columns,
        [](NbRdatColumn& column, const auto& v) { copyPair(v, 0, column.coregistration); });
    if (!some)
        for (NbRdatColumn& column : file->columns)
            std::fill_n(column.coregistration, 2, 0.0);
    return true;
}

bool addDistCorrToAtt(NbRdatFile* file)
{
    if (distAttMode != 1) return true;
    for (NbRdatColumn& column : file->columns)
        for (std::size_t i = 0; i < 3; ++i)
            column.attitude[i] += column.distortion[rdatDistAttitude + i];
    return true;
}

// Sensor to orbit frame: the attitude.
void calcMatrixSensorToOrbit(const NbRdatColumn& column, double* m)
{
    const double* a = column.attitude;
    nbAstroCalcMatM(a[0], a[1], a[2], m);
}

// Orbit frame to inertial: its axes as columns.
void calcMatrixOrbitToInertia(const NbRdatColumn& column, double* m)
{
    double x[3];
    double y[3];
    double z[3];
    double back[3];
    for (int i = 0; i < 3; ++i)
        back[i] = -column.position[i];
    nbVectorUnit(back, z);
    nbVectorOuterProductUnit(column.velocity, column.position, y); // against the orbit's normal
    nbVectorOuterProduct(y, z, x);
    for (int i = 0; i < 3; ++i) {
        m[3 * i] = x[i];
        m[3 * i + 1] = y[i];
        m[3 * i + 2] = z[i];
    }
}

bool calcMatrix(NbRdatFile* file)
{
    for (NbRdatColumn& column : file->columns) {
        double sensorToOrbit[9];
        double orbitToInertia[9];
        calcMatrixSensorToOrbit(column, sensorToOrbit);
        calcMatrixOrbitToInertia(column, orbitToInertia);
        nbMultMat(orbitToInertia, sensorToOrbit, 3, 3, 3, column.sensorToJ2k);

        const double s = std::sin(column.thetaRad);
        const double c = std::cos(column.thetaRad);
        const double todToEf[9] = {c, s, 0, -s, c, 0, 0, 0, 1};
        double j2kToEf[9];
        nbMultMat(todToEf, column.np, 3, 3, 3, j2kToEf);
        nbMultMat(j2kToEf, column.sensorToJ2k, 3, 3, 3, column.sensorToEf);
        nbMultMat(j2kToEf, column.position, 3, 3, 1, column.positionEf);
    }
    return true;
}

// Normals of the two mirrors, which turn by half of what they move the line of sight.
void setNormals(NbRdatFile* file)
{
    constexpr double pi = std::numbers::pi;
    for (NbRdatColumn& column : file->columns) {
        const double m1 = static_cast<double>(nbpToFloat(column.scan[0])) * -0.5 + pi / 4;
        const double m2 = static_cast<double>(nbpToFloat(column.scan[1])) * 0.5 + 3 * pi / 4;
        column.normal1[0] = std::cos(m1);
        column.normal1[1] = std::sin(m1);
        column.normal2[0] = std::cos(m2);
        column.normal2[1] = std::sin(m2);
    }
}

} // namespace

bool nbpRdatIpFileHeader(NbRdatFile* file)
{
    file->columns.resize(static_cast<std::size_t>(file->header.columns));
    const bool good = ipScanTime(file) && ipMirrorTemp(file, 0) && ipMirrorTemp(file, 1) &&
                      ipMirrorAng(file) && ipLosFluct(file) && ipOrb(file) && ipSidereal(file) &&
                      ipNpMatrix(file) && ipAtt(file) && ipDist(file) && ipCoreg(file) &&
                      addDistCorrToAtt(file) && calcMatrix(file);
    if (good) setNormals(file);
    return good;
}
