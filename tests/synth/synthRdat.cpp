#include "tests/synth/synthRdat.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <numbers>
#include <string_view>

namespace {

constexpr double radian = std::numbers::pi / 180;
constexpr double equatorialKm = 6378.14;
constexpr double polarKm = 6356.755;
constexpr double secondsPerDay = 86400.0;
constexpr double tickSeconds = 1.0 / 65536;

using Vector = std::array<double, 3>;

// Turns a vector about an axis (0 x, 1 y, 2 z) by an angle, counter-clockwise.
Vector turn(const Vector& v, int axis, double angle)
{
    const auto i = static_cast<std::size_t>((axis + 1) % 3);
    const auto j = static_cast<std::size_t>((axis + 2) % 3);
    Vector out = v;
    out[i] = std::cos(angle) * v[i] - std::sin(angle) * v[j];
    out[j] = std::sin(angle) * v[i] + std::cos(angle) * v[j];
    return out;
}

// Earth-fixed to J2000 by the short formulas of Meeus, Astronomical Algorithms (1998): sidereal
// time 12.4, nutation in the four largest terms (chapter 22, 0.5 arcsecond), precession 21.2.
Vector efToJ2000(const Vector& ef, double mjd)
{
    const double days = mjd - 51544.5;
    const double t = days / 36525;
    const double node = (125.04452 - 1934.136261 * t) * radian;
    const double sun = (280.4665 + 36000.7698 * t) * radian;
    const double moon = (218.3165 + 481267.8813 * t) * radian;
    const double arcsec = radian / 3600;
    const double psi = (-17.20 * std::sin(node) - 1.32 * std::sin(2 * sun) -
                        0.23 * std::sin(2 * moon) + 0.21 * std::sin(2 * node)) *
                       arcsec;
    const double eps = (9.20 * std::cos(node) + 0.57 * std::cos(2 * sun) +
                        0.10 * std::cos(2 * moon) - 0.09 * std::cos(2 * node)) *
                       arcsec;
    const double mean = (84381.448 - 46.8150 * t) * arcsec;
    const double sidereal = (280.46061837 + 360.98564736629 * days + 0.000387933 * t * t) * radian +
                            psi * std::cos(mean + eps);
    const double zeta = (2306.2181 * t + 0.30188 * t * t) * arcsec;
    const double z = (2306.2181 * t + 1.09468 * t * t) * arcsec;
    const double theta = (2004.3109 * t - 0.42665 * t * t) * arcsec;

    Vector v = turn(ef, 2, sidereal);
    v = turn(turn(turn(v, 0, -(mean + eps)), 2, -psi), 0, mean); // to the mean equator of date
    return turn(turn(turn(v, 2, -z), 1, theta), 2, -zeta);
}

using Block = SynthBlock;

// A time as the file has it.
double fileTime(const SynthRdat& s, double mjd)
{
    return mjd + s.leapSeconds / secondsPerDay;
}

double rayNorth(const SynthRdat& s, double line)
{
    const double up = ((s.lines - 1) / 2.0 - line) * s.lineStep;
    return s.southUp ? -up : up;
}

double mirrorEast(const SynthRdat& s, double column)
{
    return s.eastRad + (column - (s.columns - 1) / 2.0) * s.pixelStep;
}

// The i-th of n times spread over the scan and a second more at each end.
double recordTime(const SynthRdat& s, int i, int n)
{
    const double part = n > 1 ? static_cast<double>(i) / (n - 1) : 0.0;
    return s.startMjd + (part * (s.scanSeconds + 2) - 1) / secondsPerDay;
}

Block calibrationBlock(const SynthRdat& s)
{
    Block b(s.bigEndian);
    b.f64(0).u32(0).u32(0).u32(0).spare(4).f64(0).f64(0).f64(0).f64(0);
    b.f64(fileTime(s, s.referenceMjd)).f64(s.a).f64(s.b).f64(s.c).f64(s.wavelength);
    b.f64s(s.polynomial, 3).f64(s.albedo).u32(0).u32(s.calibrationMode);
    b.u32(2).spare(4);
    for (std::size_t id = 0; id < 2; ++id) {
        b.u32(id).u32(s.temperatures[id].size()).f64(fileTime(s, s.startMjd)).f64(2);
        b.f64s(s.temperatures[id].data(), s.temperatures[id].size());
    }
    return b.f64s(s.mirrorA, 3).f64s(s.mirrorB, 3).f64(s.offsetRad);
}

Block navigationBlock(const SynthRdat& s)
{
    constexpr double earthTurn = 7.292115855e-5; // rad/s
    Block b(s.bigEndian);
    b.f64(0).u32(s.orbitCount).spare(4);
    for (int i = 0; i < s.orbitCount; ++i) {
        const double mjd = recordTime(s, i, s.orbitCount);
        const double lon = s.subLon * radian;
        const Vector ef = {s.distance * std::cos(lon), s.distance * std::sin(lon), 0};
        const Vector efVelocity = {-ef[1] * earthTurn, ef[0] * earthTurn, 0};
        b.f64(fileTime(s, mjd)).f64s(efToJ2000(ef, mjd).data(), 3);
        b.f64s(efToJ2000(efVelocity, mjd).data(), 3).spare(18 * 8);
    }
    b.u32(0).u32(s.distortionMode).u32(s.attitudeCount).u32(s.mirrorCount);
    b.u32(s.distortionCount).u32(s.coregistrationCount);
    for (int i = 0; i < s.attitudeCount; ++i)
        b.f64(fileTime(s, recordTime(s, i, s.attitudeCount))).f64s(s.attitude, 3);
    for (int i = 0; i < s.mirrorCount; ++i) {
        const double mjd = recordTime(s, i, s.mirrorCount);
        const double column = (mjd - s.startMjd) * secondsPerDay / s.scanSeconds * (s.columns - 1);
        b.f64(fileTime(s, mjd)).f64(mirrorEast(s, column)).f64(s.northRad);
        b.f64s(s.fluctuation, 2);
    }
    b.f64s(s.misalignment, 10);
    for (int i = 0; i < s.distortionCount; ++i)
        b.f64(fileTime(s, recordTime(s, i, s.distortionCount))).f64s(s.distortion, 36);
    for (int i = 0; i < s.coregistrationCount; ++i)
        b.f64(fileTime(s, recordTime(s, i, s.coregistrationCount))).f64s(s.coregistration, 2);
    return b;
}

// The clock runs over its end during the scan.
Block psicBlock(const SynthRdat& s)
{
    Block b(s.bigEndian);
    b.u32(0).u32(0).u32(0).u32(s.clockCount).f64(fileTime(s, s.startMjd)).u32(0).u32(0);
    b.f64(tickSeconds);
    for (int i = 0; i < s.clockCount; ++i) {
        const double seconds = s.scanSeconds * i / std::max(s.clockCount - 1, 1);
        b.u32(0xFFFFFF00U + static_cast<std::uint64_t>(std::llround(seconds / tickSeconds)));
        b.u32(0);
    }
    return b;
}

std::size_t lineSize(const SynthRdat& s)
{
    return 0x90 + 16 * static_cast<std::size_t>(s.clockCount) +
           2 * static_cast<std::size_t>(s.columns) + 6; // padded
}

void putLine(const SynthRdat& s, int line, Block& b)
{
    b.text("LINEDATA", 8).u32(static_cast<unsigned>(line)).u32(0).u32(0).spare(4);
    b.f64(fileTime(s, s.startMjd)).f64(s.square).f64(s.slope).f64(s.intercept).f64(s.drift);
    b.f64(s.base).f64(0).f64(rayNorth(s, line)).spare(0x90 - 0x58);
    b.spare(16 * static_cast<std::size_t>(s.clockCount));
    for (int column = 0; column < s.columns; ++column)
        b.u16(s.word ? s.word(column, line)
                     : static_cast<unsigned>(SynthRdat::defaultCount(column, line)) << 2);
    b.spare(6);
}

// Creation, structure, observation, calibration, navigation, PSIC.
std::vector<std::vector<std::byte>> headerBlocks(const SynthRdat& s)
{
    const std::vector<std::byte> tail[3] = {calibrationBlock(s).bytes, navigationBlock(s).bytes,
                                            psicBlock(s).bytes};
    const std::size_t first = 0xF8 + tail[0].size() + tail[1].size() + tail[2].size();
    const std::size_t total = first + lineSize(s) * static_cast<std::size_t>(s.lines);

    Block creation(s.bigEndian);
    creation.text(std::string("HIMA") + s.satellite + "ZAN", 8).spare(64);
    creation.u32(s.bigEndian ? 1 : 0).spare(4).f64(fileTime(s, s.startMjd));
    creation.f64(fileTime(s, s.startMjd)).u32(s.leapSeconds).u32(0);

    Block structure(s.bigEndian);
    structure.u32(total).u32(first).u32(0x68).u32(52).u32(0x58);
    for (const auto& block : tail)
        structure.u32(block.size());
    structure.u32(static_cast<unsigned>(s.lines)).u32(static_cast<unsigned>(s.columns));
    structure.u32(lineSize(s)).u32(0).u32(0).spare(4);

    // With a clock the observation is longer than the scan.
    const double longer = s.clockCount > 0 ? 3 / secondsPerDay : 0;
    const double start = fileTime(s, s.startMjd - longer);
    const double end = fileTime(s, s.startMjd + s.scanSeconds / secondsPerDay + longer);
    Block observation(s.bigEndian);
    observation.u32(0).u32(static_cast<unsigned>(s.band)).u32(0).u32(0);
    observation.f64(s.lineStep).f64(s.pixelStep).spare(12).u32(0);
    observation.f64(start).f64(end).f64(start).f64(end).u32(0).u32(0);
    return {creation.bytes, structure.bytes, observation.bytes, tail[0], tail[1], tail[2]};
}

} // namespace

std::size_t SynthRdat::blockOffset(int block) const
{
    const auto blocks = headerBlocks(*this);
    std::size_t offset = 0;
    for (int i = 0; i < std::min(block - 1, 6); ++i)
        offset += blocks[static_cast<std::size_t>(i)].size();
    return block > 7 ? offset + lineSize(*this) * static_cast<std::size_t>(lines) : offset;
}

std::vector<std::byte> SynthRdat::bytes() const
{
    Block file(bigEndian);
    for (const auto& block : headerBlocks(*this))
        file.bytes.insert(file.bytes.end(), block.begin(), block.end());
    for (int line = 0; line < lines; ++line)
        putLine(*this, line, file);
    synthDamage(file.bytes, patches, cutAt, [&](int block) { return blockOffset(block); });
    return file.bytes;
}

void SynthRdat::write(const std::string& path) const
{
    SynthFile{path}(bytes());
}

// The mirrors turn the ray of a detector (angle b to the north) to the east angle p and the north
// angle q: its components are sin p cos b to the east, with K = cos p cos b, -(sin q K + cos q
// sin b) to the south and cos q K - sin q sin b along the axis.
SynthRdat::Place SynthRdat::place(double column, double line) const
{
    const double p = mirrorEast(*this, column);
    const double ray = rayNorth(*this, line);
    const double q = northRad;
    const double k = std::cos(p) * std::cos(ray);
    Place out{};
    out.east = std::asin(std::sin(p) * std::cos(ray)) + fluctuation[0] - coregistration[0];
    out.north = std::atan2(std::sin(q) * k + std::cos(q) * std::sin(ray),
                           std::cos(q) * k - std::sin(q) * std::sin(ray)) +
                fluctuation[1] - coregistration[1];

    // East, south, down at the satellite, through the attitude.
    Vector u = {std::sin(out.east), -std::sin(out.north) * std::cos(out.east),
                std::cos(out.north) * std::cos(out.east)};
    u = turn(turn(turn(u, 2, attitude[2]), 1, attitude[1]), 0, attitude[0]);
    // From the earth's centre: out to the satellite, east, north.
    const Vector d = {-u[2], u[0], -u[1]};
    const double flat = (equatorialKm / polarKm) * (equatorialKm / polarKm);
    const double a2 = d[0] * d[0] + d[1] * d[1] + flat * d[2] * d[2];
    const double a1 = d[0] * distance;
    const double root = a1 * a1 - a2 * (distance * distance - equatorialKm * equatorialKm);
    out.onEarth = root >= 0;
    if (!out.onEarth) return out;
    const double t = (-a1 - std::sqrt(root)) / a2;
    const Vector x = {distance + t * d[0], t * d[1], t * d[2]};
    out.lon = std::fmod(subLon + std::atan2(x[1], x[0]) / radian + 360, 360.0);
    out.lat = std::atan(flat * x[2] / std::hypot(x[0], x[1])) / radian;
    return out;
}
