#include "tests/synth/synthVissr.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>
#include <span>
#include <stdexcept>

namespace {

using Vector = SynthVissrVector;
constexpr double pi = std::numbers::pi;
constexpr double radian = pi / 180;
constexpr double radius = 42164.2e3; // earth centre to satellite, m

double days(const SynthVissr& s, double mjd)
{
    return mjd - s.originMjd;
}

double wrapped(double angle, double turn)
{
    return angle - turn * std::floor(angle / turn + 0.5);
}

// Angle around the axis, right-handed, from the sun to the earth's centre as the satellite sees
// them.
double sunToEarth(const SynthVissr& s, double mjd)
{
    const Vector u = s.axisEarthFixed(mjd);
    const Vector v = s.sun(mjd);
    const Vector down = -1.0 * s.position(mjd);
    const Vector from = v + -dot(u, v) * u;
    const Vector to = down + -dot(u, down) * u;
    return std::atan2(dot(u, cross(from, to)), dot(from, to));
}

// EBCDIC of what names and dates need.
int ebcdicOf(char c)
{
    if (c >= '0' && c <= '9') return 0xF0 + (c - '0');
    if (c >= 'A' && c <= 'I') return 0xC1 + (c - 'A');
    if (c >= 'J' && c <= 'R') return 0xD1 + (c - 'J');
    if (c >= 'S' && c <= 'Z') return 0xE2 + (c - 'S');
    return c == '-' ? 0x60 : 0x40;
}

// A value as sign, exponent of 16 and fraction: `bits` of fraction below the top byte.
std::uint64_t ibmWord(double value, int bits)
{
    if (value == 0) return 0;
    int exponent = 0;
    double fraction = std::abs(value);
    while (fraction >= 1) {
        fraction /= 16;
        ++exponent;
    }
    while (fraction < 1.0 / 16) {
        fraction *= 16;
        --exponent;
    }
    const auto top = static_cast<std::uint64_t>((value < 0 ? 0x80 : 0) + 64 + exponent);
    return top << bits | static_cast<std::uint64_t>(std::ldexp(fraction, bits));
}

// The bytes of a file, written at positions.
class Image {
public:
    Image(std::size_t size, bool ibm) : bytes(size), ibm_(ibm) {}

    void at(std::size_t position) { at_ = position; }
    void skip(std::size_t n) { at_ += n; }
    void integer(std::uint64_t value, std::size_t width)
    {
        for (std::size_t i = 0; i < width; ++i)
            bytes.at(at_ + i) = static_cast<std::byte>(value >> (8 * (width - 1 - i)));
        at_ += width;
    }
    void i16(int value) { integer(static_cast<std::uint64_t>(value), 2); }
    void i32(int value) { integer(static_cast<std::uint64_t>(value), 4); }
    void f32(float value)
    {
        if (ibm_)
            integer(ibmWord(static_cast<double>(value), 24), 4);
        else
            integer(std::bit_cast<std::uint32_t>(value), 4);
    }
    void f64(double value)
    {
        if (ibm_)
            integer(ibmWord(value, 56), 8);
        else
            integer(std::bit_cast<std::uint64_t>(value), 8);
    }
    void vector(Vector v)
    {
        f64(v.x);
        f64(v.y);
        f64(v.z);
    }
    void text(std::string_view value, std::size_t width)
    {
        for (std::size_t i = 0; i < width; ++i) {
            const char c = i < value.size() ? value[i] : ' ';
            integer(static_cast<std::uint64_t>(ibm_ ? ebcdicOf(c) : c), 1);
        }
    }

    std::vector<std::byte> bytes;

private:
    bool ibm_;
    std::size_t at_ = 0;
};

// What variant and kind of channel fix.
struct Layout {
    std::size_t block;  // record size on which the header counts
    std::size_t record; // of one line
    int documents;      // record of the first documentation block, from 0
    int image;          // first image record, from 1
    int gap;            // control word to pixels
    struct {
        const char* name;
        std::size_t offset;
    } blocks[9];
};
constexpr Layout layouts[2][2] = {{{3664,
                                    3664,
                                    2,
                                    14,
                                    256,
                                    {{"mode", 7328},
                                     {"trans", 14656},
                                     {"attitude", 18320},
                                     {"orbit1", 21984},
                                     {"orbit2", 25648},
                                     {"calib0", 32976},
                                     {"calib1", 36640},
                                     {"calib2", 40304},
                                     {"calib3", 43968}}},
                                   {13504,
                                    13504,
                                    2,
                                    6,
                                    64,
                                    {{"mode", 27008},
                                     {"trans", 32384},
                                     {"attitude", 35072},
                                     {"orbit1", 40512},
                                     {"orbit2", 43200},
                                     {"calib0", 48576},
                                     {"calib1", 54016},
                                     {"calib2", 56704},
                                     {"calib3", 59392}}}},
                                  {{14016,
                                    7008,
                                    1,
                                    7,
                                    256,
                                    {{"mode", 14016},
                                     {"trans", 28032},
                                     {"attitude", 30720},
                                     {"orbit1", 35040},
                                     {"orbit2", 37728},
                                     {"calib0", 23712},
                                     {"calib1", 21024},
                                     {},
                                     {}}},
                                   {27008,
                                    13504,
                                    2,
                                    5,
                                    64,
                                    {{"mode", 54016},
                                     {"trans", 67520},
                                     {"attitude", 70208},
                                     {"orbit1", 72896},
                                     {"orbit2", 75584},
                                     {"calib0", 62080},
                                     {"calib1", 59392},
                                     {},
                                     {}}}}};

const Layout& layoutOf(const SynthVissr& s)
{
    return layouts[s.variant][s.channel == 0 ? 1 : 0];
}

bool isMissing(const SynthVissr& s, int line)
{
    return std::ranges::find(s.missing, line) != s.missing.end();
}

void writeHeader(const SynthVissr& s, Image& out)
{
    const Layout& layout = layoutOf(s);
    const int count = s.lastLine - s.firstLine + 1;
    const auto missing = std::ranges::count_if(
        s.missing, [&](int line) { return line >= s.firstLine && line <= s.lastLine; });
    out.at(0);
    out.i16(layout.documents);
    out.i16(layout.documents + 1);
    out.i16(3);
    out.i16(layout.image);
    out.i16(count);
    out.i16(count - static_cast<int>(missing));
    out.i16(s.firstLine);
    out.i16(s.lastLine);
    out.i16(layout.image + count - 1);
    if (s.variant == 0) {
        out.at(32);
        for (int i = 0; i < count; ++i)
            out.i16(isMissing(s, s.firstLine + i) ? -1 : layout.image + i);
        return;
    }
    // The second header of variant 1, in the record after the first one.
    out.at(static_cast<std::size_t>(layout.documents) * layout.record);
    if (s.tail == 0) {
        out.i16(0x4040);
        out.i16(0x4040);
        return;
    }
    out.i16(layout.documents);
    for (int i = 0; i < 5; ++i)
        out.i16(0);
    out.i16(s.lastLine + 1);
    out.i16(s.tail);
}

void writeMode(const SynthVissr& s, Image& out)
{
    const std::size_t start = s.blockOffset("mode");
    out.at(start + 4);
    out.text(s.satellite, 12);
    out.text(s.startText, 16);
    out.at(start + 88 + 24);
    out.i32(s.channel == 0 ? s.lineGap : 64);
    out.at(start + 120 + 24);
    out.i32(s.channel == 0 ? 256 : s.lineGap);
    for (std::size_t i = 0; i < 10; ++i) {
        constexpr int numbers[] = {1, 4, 5, 7, 8, 3, 2, 0, 0, 0};
        out.at(start + 400 + i * 16);
        out.i32(numbers[i]);
    }
}

void writeTransform(const SynthVissr& s, Image& out)
{
    out.at(s.blockOffset("trans") + 16);
    out.f64(s.originMjd);
    const auto four = [&](auto valueOf) {
        for (int c = 0; c < 4; ++c)
            out.f32(valueOf(c));
    };
    four([&](int) { return s.lineStep; });
    four([&](int) { return s.pixStep; });
    four([&](int c) { return s.centreLine + s.centreLineShift[c]; });
    // The centre in two parts, of 3 to 1.
    four([&](int) { return s.centrePixel * 0.75F; });
    four([&](int) { return s.centrePixel * 0.25F; });
    four([&](int) { return static_cast<float>(s.sensorsPerScan); });
    four([&](int) { return static_cast<float>(s.lines); });
    four([&](int) { return static_cast<float>(s.columns); });
    out.f32(s.tilt);
    out.f32(s.lineOffset);
    out.f32(s.pixelOffset);
    // The columns of the matrix follow each other in the file.
    for (int column = 0; column < 3; ++column)
        for (int row = 0; row < 3; ++row)
            out.f32(static_cast<float>(s.misalignment(row, column)));
    out.at(s.blockOffset("trans") + 520);
    out.f64(s.spinRate);
}

void writeAttitude(const SynthVissr& s, Image& out)
{
    const std::size_t start = s.blockOffset("attitude");
    out.at(start + 40);
    out.i32(s.attitudeEntries);
    for (int i = 0; i < std::min(s.attitudeEntries, 33); ++i) {
        const double t = s.originMjd + (i - 1) * 5.0 / 1440;
        out.at(start + 48 + static_cast<std::size_t>(i) * 80);
        out.f64(t);
        out.skip(8);
        out.f64(s.axisRightAscension(t));
        out.f64(s.axisDeclination(t));
        out.f64(wrapped(s.sunAngle(t), 2 * pi));
    }
}

void writeOrbit(const SynthVissr& s, Image& out)
{
    for (const char* name : {"orbit1", "orbit2"}) {
        out.at(s.blockOffset(name) + 40);
        out.i32(s.orbitEntries);
    }
    for (int i = 0; i < std::min(s.orbitEntries, 18); ++i) {
        const double t = s.originMjd + (i - 1) * 5.0 / 1440;
        out.at(s.blockOffset(i < 9 ? "orbit1" : "orbit2") + 48 +
               static_cast<std::size_t>(i % 9) * 280);
        out.f64(t);
        out.skip(8);
        out.vector(s.inertialPosition(t));
        out.vector(s.inertialVelocity(t));
        out.vector(s.position(t));
        out.skip(24);
        out.f64(wrapped(s.greenwich(t), 360));
        out.skip(16);
        out.f64(wrapped(s.sunRightAscension(t), 360));
        out.f64(s.sunDeclination(t));
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 3; ++column)
                out.f64(s.rotation(row, column));
    }
}

void writeCalibration(const SynthVissr& s, Image& out)
{
    const std::size_t start = s.blockOffset("calib" + std::to_string(s.channel));
    if (s.channel == 0) {
        for (int d = 0; d < 4; ++d) {
            out.at(start + 20 + static_cast<std::size_t>(d) * 400 + 20);
            for (int c = 0; c < 64; ++c)
                out.f32(s.albedoOf(d, c));
        }
        return;
    }
    out.at(start + 32);
    for (int c = 0; c < 256; ++c)
        out.f32(s.radianceOf(c));
    for (int c = 0; c < 256; ++c)
        out.f32(s.temperatureOf(c));
}

// One bit says channel or detector.
int controlMark(const SynthVissr& s, int line)
{
    if (s.channel != 0) return 1 << (s.channel - 1);
    return (s.variant == 0 ? 8 : 2) << s.detectorOf(line);
}

void writeLines(const SynthVissr& s, Image& out)
{
    for (int line = s.firstLine; line <= s.lastLine; ++line) {
        const std::size_t start = s.lineOffsetOf(line);
        out.at(start);
        out.i32(controlMark(s, line));
        out.i32(line);
        out.i32(0);
        out.i32(isMissing(s, line) ? 1 : 0);
        out.at(start + 64 + static_cast<std::size_t>(s.lineGap));
        for (int column = 1; column <= s.columns; ++column)
            out.integer(static_cast<std::uint64_t>(s.countOf(column, line)), 1);
    }
}

} // namespace

float SynthVissr::radianceOf(int count) const
{
    return static_cast<float>(160 - count) * 0.5F;
}
float SynthVissr::temperatureOf(int count) const
{
    return 330.0F - static_cast<float>(count) * 0.625F;
}
float SynthVissr::albedoOf(int detector, int count) const
{
    if (albedo) return albedo(detector, count);
    // Squares, each detector a little brighter than the one before; 0 only for count 0.
    const int scaled = count * count * (64 + detector);
    return static_cast<float>(scaled) / 262144.0F;
}
int SynthVissr::detectorOf(int line) const
{
    return (line - 1) % 4;
}
int SynthVissr::countOf(int column, int line) const
{
    if (fill) return fill(column, line);
    return (3 * column + 7 * line) % (channel == 0 ? 64 : 256);
}

Vector SynthVissr::position(double mjd) const
{
    const double lat = 0.4 * radian;
    const double lon = subLon * radian;
    const Vector start{radius * std::cos(lat) * std::cos(lon),
                       radius * std::cos(lat) * std::sin(lon), radius * std::sin(lat)};
    return start + days(*this, mjd) * 86400 * Vector{6.0, -4.0, 10.0};
}

// A circle inclined by 3 degrees, with its node at 80 degrees.
Vector SynthVissr::inertialPosition(double mjd) const
{
    const Vector node{std::cos(80 * radian), std::sin(80 * radian), 0};
    const Vector side{-node.y * std::cos(3 * radian), node.x * std::cos(3 * radian),
                      std::sin(3 * radian)};
    const double u = (25 + 360 * days(*this, mjd)) * radian;
    return radius * (std::cos(u) * node + std::sin(u) * side);
}
Vector SynthVissr::inertialVelocity(double mjd) const
{
    // A quarter of a turn ahead, at the speed of a circle: root of GM / r.
    return std::sqrt(3.986005e14 / radius) / radius * inertialPosition(mjd + 0.25);
}
double SynthVissr::greenwich(double mjd) const
{
    return 358.0 + 360.98564736629 * days(*this, mjd);
}
double SynthVissr::sunRightAscension(double mjd) const
{
    return subLon + 3.0 - 359.9 * days(*this, mjd); // overhead of the satellite within the scan
}
double SynthVissr::sunDeclination(double mjd) const
{
    return 22.0 + 0.3 * days(*this, mjd);
}
double SynthVissr::axisRightAscension(double mjd) const
{
    return pi + 0.004 + 0.01 * days(*this, mjd); // z of the axis points south
}
double SynthVissr::axisDeclination(double mjd) const
{
    return 0.006 - 0.02 * days(*this, mjd);
}
double SynthVissr::sunAngle(double mjd) const
{
    const double first = sunToEarth(*this, originMjd);
    const double step = 1.0 / 96;
    const double rate = wrapped(sunToEarth(*this, originMjd + step) - first, 2 * pi) / step;
    return first + rate * days(*this, mjd);
}
Vector SynthVissr::axis(double mjd) const
{
    const double a = axisRightAscension(mjd);
    const double d = axisDeclination(mjd);
    return {std::sin(d), -std::cos(d) * std::sin(a), std::cos(d) * std::cos(a)};
}
// Turned by the transpose of the rotation, then with the earth.
Vector SynthVissr::axisEarthFixed(double mjd) const
{
    const Vector s = axis(mjd);
    double turned[3];
    for (int k = 0; k < 3; ++k)
        turned[k] = rotation(0, k) * s.x + rotation(1, k) * s.y + rotation(2, k) * s.z;
    const double g = greenwich(mjd) * radian;
    return {turned[0] * std::cos(g) + turned[1] * std::sin(g),
            turned[1] * std::cos(g) - turned[0] * std::sin(g), turned[2]};
}
Vector SynthVissr::sun(double mjd) const
{
    const double a = sunRightAscension(mjd) * radian;
    const double d = sunDeclination(mjd) * radian;
    return {std::cos(d) * std::cos(a), std::cos(d) * std::sin(a), std::sin(d)};
}
// A turn by 0.005 around y after one by 0.011 around z: what precession does in 50 years.
double SynthVissr::rotation(int row, int column) const
{
    const double cy = std::cos(0.005);
    const double sy = std::sin(0.005);
    const double cz = std::cos(0.011);
    const double sz = std::sin(0.011);
    const double m[3][3] = {{cy * cz, -cy * sz, -sy}, {sz, cz, 0}, {sy * cz, -sy * sz, cy}};
    return m[row][column];
}
// Turns by the line offset around y, the tilt around x, the pixel offset around z. Only columns 0
// and 2 matter, and only up to the square of the tilt is the way back the same.
double SynthVissr::misalignment(int row, int column) const
{
    const auto tiltBy = static_cast<double>(tilt);
    const auto lineBy = static_cast<double>(lineOffset);
    const auto pixelBy = static_cast<double>(pixelOffset);
    const double e = lineBy + (column == 2 ? pi / 2 : 0); // where the axis of the column goes
    if (column == 1) return row == 1 ? 1.0 : 0.0;
    const double x = std::cos(e);
    const double y = std::sin(tiltBy) * std::sin(e);
    const double z = std::cos(tiltBy) * std::sin(e);
    if (row == 0) return x * std::cos(pixelBy) + y * std::sin(pixelBy);
    if (row == 1) return y * std::cos(pixelBy) - x * std::sin(pixelBy);
    return z;
}

SynthVissr SynthVissr::resolved() const
{
    SynthVissr s = *this;
    if (s.lastLine == 0) s.lastLine = s.lines;
    if (s.lineGap == 0) s.lineGap = layoutOf(s).gap;
    if (s.sensorsPerScan == 0) s.sensorsPerScan = s.channel == 0 ? 4 : 1;
    if (s.spinRate == 0) s.spinRate = s.lines / 25.0 / s.sensorsPerScan;
    // The disk is 17.4 degrees wide; IBM reals of 4 bytes hold this number of bits at least.
    const auto step = [](int size) {
        const float wide = 0.32F / static_cast<float>(size);
        return std::round(wide * 1048576.0F) / 1048576.0F;
    };
    if (s.lineStep == 0) s.lineStep = step(s.lines);
    if (s.pixStep == 0) s.pixStep = step(s.columns);
    if (s.centreLine == 0) s.centreLine = static_cast<float>(s.lines + 1) / 2;
    if (s.centrePixel == 0) s.centrePixel = static_cast<float>(s.columns + 1) / 2;
    return s;
}

std::size_t SynthVissr::blockOffset(std::string_view name) const
{
    for (const auto& block : layoutOf(*this).blocks)
        if (block.name != nullptr && block.name == name) return block.offset;
    throw std::invalid_argument("no such block: " + std::string(name));
}

std::size_t SynthVissr::recordSize() const
{
    return layoutOf(*this).record;
}

std::size_t SynthVissr::lineOffsetOf(int line) const
{
    const Layout& layout = layoutOf(*this);
    return static_cast<std::size_t>(layout.image - 1) * layout.block +
           static_cast<std::size_t>(line - firstLine) * layout.record;
}

std::vector<std::byte> SynthVissr::bytes() const
{
    const SynthVissr s = resolved();
    const std::size_t needed = 64 + static_cast<std::size_t>(s.lineGap + s.columns);
    if (needed > s.recordSize()) throw std::invalid_argument("a line does not fit its record");
    Image out(s.lineOffsetOf(s.lastLine + 1), s.ebcdic);
    writeHeader(s, out);
    writeMode(s, out);
    writeTransform(s, out);
    writeAttitude(s, out);
    writeOrbit(s, out);
    writeCalibration(s, out);
    writeLines(s, out);
    synthDamage(out.bytes, s.patches, s.cutAt);
    return out.bytes;
}
