#include "tests/synth/synthHisd.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <numbers>
#include <string_view>

namespace {

// The earth and the virtual satellite of the format, as block 3 states them.
constexpr double equatorialKm = 6378.137;
constexpr double polarKm = 6356.7523;
constexpr double distanceKm = 42164.0;    // earth centre to satellite
constexpr double slantKm2 = 1737122264.0; // distance^2 - equatorial^2, rounded as the agency has it
constexpr double equatorial2 = equatorialKm * equatorialKm;
constexpr double polar2 = polarKm * polarKm;

constexpr double lightSpeed = 299792458.0;  // m/s
constexpr double planck = 6.62606957e-34;   // J s
constexpr double boltzmann = 1.3806488e-23; // J/K

// Columns per degree x 2^16 of the disk of 5500 columns; other sizes in proportion.
constexpr double cfacOf5500 = 20466275.0;

constexpr double unknown = -1e10;
constexpr double radian = std::numbers::pi / 180;

struct Band {
    double wavelength; // micrometre
    int validBits;
    double slope;
    double intercept;
    double tail[3]; // infrared: c0, c1, c2; visible: radiance to albedo
    int resolution; // at nadir, 0.1 km
};

// Imager of Himawari-8, bands 1 to 16.
constexpr Band himawariBands[] = {
    {0.4703, 11, 0.37768, -7.5536, {0.0015588}, 10},
    {0.5105, 11, 0.36073, -7.2146, {0.0016595}, 10},
    {0.6391, 11, 0.37255, -7.4511, {0.0019244}, 5},
    {0.8563, 11, 0.22430, -4.4859, {0.0032346}, 10},
    {1.6098, 11, 0.05758, -1.1515, {0.0129637}, 20},
    {2.2570, 11, 0.01875, -0.3751, {0.0418957}, 20},
    {3.8853, 14, -0.0001516, 2.4789, {0.4793, 0.99957, 2.7e-07}, 20},
    {6.2429, 11, -0.0031, 6.33, {-0.2, 1.00087, -1.9e-06}, 20},
    {6.9410, 11, -0.0057, 11.66, {-0.08, 1.00035, -7.6e-07}, 20},
    {7.3467, 12, -0.0044, 18.01, {-0.02, 1.00012, -2.2e-07}, 20},
    {8.5926, 12, -0.0035, 14.32, {-0.1, 1.00066, -1.2e-06}, 20},
    {9.6372, 12, -0.0039, 15.97, {-0.09, 1.00074, -1.4e-06}, 20},
    {10.4073, 12, -0.0037, 15.20, {-0.116127314574, 1.00099153832, -1.76961091571e-06}, 20},
    {11.2395, 12, -0.0035, 14.37, {-0.09, 1.00096, -1.8e-06}, 20},
    {12.3806, 12, -0.0032, 13.13, {-0.11, 1.00122, -2.2e-06}, 20},
    {13.2807, 12, -0.0028, 11.49, {-0.05, 1.00056, -1.1e-06}, 20},
};

// Imager of MTSAT-2, bands 1 to 5, ten bits.
constexpr Band mtsatBands[] = {
    {0.725, 10, 0.5, -10.0, {0.00203}, 10},
    {3.75, 10, -0.0024, 2.4, {0.4, 0.9996, 2.6e-07}, 40},
    {6.75, 10, -0.01, 10.2, {-0.1, 1.0005, -1.2e-06}, 40},
    {10.8, 10, -0.0146, 14.9, {-0.1, 1.00098, -1.8e-06}, 40},
    {12.0, 10, -0.0132, 13.4, {-0.1, 1.0011, -2.0e-06}, 40},
};

bool isMtsat(const SynthHisd& s)
{
    return s.satellite.find("MTSAT-2") != std::string::npos;
}

// Which tail block 5 has.
bool isInfrared(const SynthHisd& s)
{
    const bool himawari = s.satellite.find("Himawari") != std::string::npos;
    return (s.band > 6 && himawari) || (s.band >= 2 && isMtsat(s));
}

const Band& bandOf(const SynthHisd& s)
{
    const std::span<const Band> bands =
        isMtsat(s) ? std::span<const Band>(mtsatBands) : std::span<const Band>(himawariBands);
    const int last = static_cast<int>(bands.size());
    return bands[static_cast<std::size_t>(std::clamp(s.band, 1, last) - 1)];
}

int levelsOf(const SynthHisd& s)
{
    const int bits = s.validBits != 0 ? s.validBits : bandOf(s).validBits;
    return 1 << std::clamp(bits, 0, 16);
}

std::int32_t scaledCfac(int size)
{
    return static_cast<std::int32_t>(std::lround(cfacOf5500 * size / 5500));
}

// Scan angle in radians of a disk position, on one axis.
double scanAngle(double position, std::int32_t factor, float offset, int size)
{
    const double perDegree = (factor != 0 ? factor : scaledCfac(size)) / 65536.0;
    const double centre = offset != 0 ? static_cast<double>(offset) : size / 2.0 + 0.5;
    return (position - centre) / perDegree * radian;
}

// Time of a line of the disk: the first line at the start, the last at the end.
double lineMjd(const SynthHisd& s, int line)
{
    if (line >= s.diskLines) return s.endMjd;
    return s.startMjd + (s.endMjd - s.startMjd) * (line - 1) / (s.diskLines - 1);
}

using Block = SynthBlock;

Block calibrationBlock(const SynthHisd& s)
{
    Block b(s.bigEndian);
    b.u8(5).u16(s.block5Length != 0 ? s.block5Length : 147).u16(s.band).f64(s.wavelength);
    b.u16(s.validBits).u16(s.errorCount).u16(s.outsideCount).f64(s.slope).f64(s.intercept);
    if (!isInfrared(s)) return b.f64(s.albedo).spare(104);
    const double c0 = s.polynomial[0];
    const double c1 = s.polynomial[1];
    const double c2 = s.polynomial[2];
    b.f64(c0).f64(c1).f64(c2);
    b.f64(-c0 / c1).f64(1 / c1).f64(-c2 / (c1 * c1 * c1)); // the inverse, to the second order
    return b.f64(lightSpeed).f64(planck).f64(boltzmann).spare(40);
}

Block identificationBlock(const SynthHisd& s, std::size_t headerLength)
{
    const double start = lineMjd(s, s.firstLine);
    const double end = lineMjd(s, s.firstLine + s.lines - 1);
    const double minutes = std::floor((s.startMjd - std::floor(s.startMjd)) * 144) * 10;
    const int timeline = static_cast<int>(std::lround(std::floor(minutes / 60) * 40 + minutes));
    Block b(s.bigEndian);
    b.u8(1).u16(s.block1Length != 0 ? s.block1Length : 282).u16(11).u8(s.bigEndian ? 1 : 0);
    b.text(s.satellite, 16).text("MSC", 16).text("FLDK", 4).text("RT", 2).u16(timeline);
    b.f64(start).f64(end).f64(s.endMjd + 2.0 / 1440);
    b.u32(static_cast<std::int64_t>(headerLength)).u32(std::int64_t{2} * s.columns * s.lines);
    return b.u8(0).u8(0).u8(77).u8(1).text("1.3", 32).text(s.fileName(), 128).spare(40);
}

// The eleven header blocks of a resolved description.
std::vector<std::vector<std::byte>> headerBlocks(const SynthHisd& s)
{
    const auto block = [&] { return Block(s.bigEndian); };
    std::vector<std::vector<std::byte>> blocks(11);

    blocks[1] =
        block().u8(2).u16(50).u16(16).u16(s.columns).u16(s.lines).u8(s.compression).spare(40).bytes;

    Block projection = block();
    projection.u8(3).u16(127).f64(s.subLon).u32(s.cfac).u32(s.lfac).f32(s.coff).f32(s.loff);
    projection.f64(distanceKm).f64(equatorialKm).f64(polarKm);
    projection.f64((equatorial2 - polar2) / equatorial2).f64(polar2 / equatorial2);
    projection.f64(equatorial2 / polar2).f64(slantKm2).u16(0).u16(0).spare(40);
    blocks[2] = projection.bytes;

    Block navigation = block();
    navigation.u8(4).u16(139).f64(s.startMjd).f64(s.actualSubLon).f64(s.actualSubLat);
    navigation.f64(s.distance).f64(s.nadirLon).f64(s.nadirLat);
    navigation.f64(-1.2e8).f64(8.1e7).f64(3.5e7);           // sun, km
    navigation.f64(2.1e5).f64(-3.0e5).f64(5.0e4).spare(40); // moon, km
    blocks[3] = navigation.bytes;

    blocks[4] = calibrationBlock(s).bytes;

    Block intercalibration = block();
    intercalibration.u8(6).u16(259);
    for (int i = 0; i < 8; ++i)
        intercalibration.f64(unknown);
    blocks[5] = intercalibration.spare(64).spare(128).bytes;

    blocks[6] = block().u8(7).u16(47).u8(s.segments).u8(s.segment).u16(s.firstLine).spare(40).bytes;

    Block correction = block();
    const int corrections = static_cast<int>(s.corrections.size());
    correction.u8(8).u16(61 + 10 * corrections).f32(s.rotationColumn).f32(s.rotationLine);
    correction.f64(s.rotationMicrorad).u16(corrections);
    for (const SynthHisd::Correction& c : s.corrections)
        correction.u16(c.line).f32(c.column).f32(c.lineShift);
    blocks[7] = correction.spare(40).bytes;

    Block times = block();
    const int timeCount = static_cast<int>(s.lineTimes.size());
    times.u8(9).u16(45 + 10 * timeCount).u16(timeCount);
    for (const SynthHisd::LineTime& t : s.lineTimes)
        times.u16(t.line).f64(t.mjd);
    blocks[8] = times.spare(40).bytes;

    Block errors = block();
    const int errorCount = static_cast<int>(s.errorLines.size());
    errors.u8(10).u32(47 + 4 * errorCount).u16(errorCount); // the one length of four bytes
    for (const SynthHisd::ErrorLine& e : s.errorLines)
        errors.u16(e.line).u16(e.pixels);
    blocks[9] = errors.spare(40).bytes;

    blocks[10] = block().u8(11).u16(259).spare(256).bytes;

    std::size_t length = 282;
    for (const auto& b : blocks)
        length += b.size();
    blocks[0] = identificationBlock(s, length).bytes;
    return blocks;
}

// Hands the file of a resolved description to `put` piece by piece: header blocks, then lines.
template <class Put>
void pour(const SynthHisd& s, const Put& put)
{
    for (const auto& block : headerBlocks(s))
        put(std::span<const std::byte>(block));

    const bool swap = s.bigEndian != (std::endian::native == std::endian::big);
    std::vector<std::uint16_t> counts(static_cast<std::size_t>(std::max(s.columns, 0)));
    for (int line = s.firstLine; line < s.firstLine + s.lines; ++line) {
        if (s.fill) {
            s.fill(line, counts);
        } else {
            for (int i = 0; i < s.columns; ++i)
                counts[static_cast<std::size_t>(i)] = s.defaultCount(i + 1, line);
        }
        if (swap) {
            for (std::uint16_t& c : counts)
                c = static_cast<std::uint16_t>(c << 8 | c >> 8);
        }
        put(std::as_bytes(std::span(counts)));
    }
}

} // namespace

std::vector<std::byte> SynthHisd::bytes() const
{
    std::vector<std::byte> file;
    pour(resolved(), [&](std::span<const std::byte> piece) {
        file.insert(file.end(), piece.begin(), piece.end());
    });
    synthDamage(file, patches, cutAt, [&](int block) { return blockOffset(block); });
    return file;
}

void SynthHisd::write(const std::string& path) const
{
    SynthFile file(path);
    if (patches.empty() && cutAt == SIZE_MAX)
        pour(resolved(), file);
    else
        file(bytes());
}

std::size_t SynthHisd::blockOffset(int block) const
{
    if (block <= 1) return 0;
    const SynthHisd s = resolved();
    const auto blocks = headerBlocks(s);
    std::size_t at = 0;
    for (int i = 1; i < std::min(block, 12); ++i)
        at += blocks[static_cast<std::size_t>(i - 1)].size();
    if (block > 12) {
        at += std::size_t{2} * static_cast<std::size_t>(s.columns) *
              static_cast<std::size_t>(s.lines);
    }
    return at;
}

bool SynthHisd::onEarth(double column, double line) const
{
    const double x = scanAngle(column, cfac, coff, columns);
    const double y = scanAngle(line, lfac, loff, diskLines);
    // The line of sight meets the ellipsoid where the quadratic for its length has a root.
    const double along = distanceKm * std::cos(x) * std::cos(y);
    const double square =
        std::cos(y) * std::cos(y) + equatorial2 / polar2 * std::sin(y) * std::sin(y);
    return along * along >= square * slantKm2;
}

std::uint16_t SynthHisd::defaultCount(int column, int line) const
{
    if (!onEarth(column, line)) return outsideCount;
    return static_cast<std::uint16_t>((3 * column + 7 * line) % levelsOf(*this));
}

double SynthHisd::physical(int count) const
{
    const SynthHisd s = resolved();
    const double radiance = count * s.slope + s.intercept;
    if (!isInfrared(s)) return radiance * s.albedo;
    if (radiance <= 0) return std::numeric_limits<double>::quiet_NaN();
    const double metre = s.wavelength * 1e-6;
    const double a = 2 * planck * lightSpeed * lightSpeed / std::pow(metre, 5) * 1e-6;
    const double b = planck * lightSpeed / (boltzmann * metre);
    const double effective = b / std::log1p(a / radiance);
    return s.polynomial[0] + effective * (s.polynomial[1] + effective * s.polynomial[2]);
}

SynthHisd SynthHisd::resolved() const
{
    SynthHisd s = *this;
    const Band& usual = bandOf(s);
    if (s.lines == 0) s.lines = s.diskLines - s.firstLine + 1;
    if (s.cfac == 0) s.cfac = scaledCfac(s.columns);
    if (s.lfac == 0) s.lfac = scaledCfac(s.diskLines);
    if (s.coff == 0) s.coff = static_cast<float>(s.columns) / 2 + 0.5F;
    if (s.loff == 0) s.loff = static_cast<float>(s.diskLines) / 2 + 0.5F;
    if (s.validBits == 0) s.validBits = usual.validBits;
    if (s.wavelength == 0) s.wavelength = usual.wavelength;
    if (s.slope == 0) s.slope = usual.slope;
    if (s.intercept == 0) s.intercept = usual.intercept;
    if (s.albedo == 0) s.albedo = usual.tail[0];
    if (std::ranges::all_of(s.polynomial, [](double c) { return c == 0; })) {
        std::ranges::copy(usual.tail, s.polynomial);
    }
    if (s.rotationColumn == 0) s.rotationColumn = s.coff;
    if (s.rotationLine == 0) s.rotationLine = s.loff;
    if (s.lineTimes.empty()) {
        const int last = s.firstLine + s.lines - 1;
        for (int line = s.firstLine; line < last; line += 10)
            s.lineTimes.push_back({line, lineMjd(s, line)});
        s.lineTimes.push_back({last, lineMjd(s, last)});
    }
    return s;
}

std::vector<SynthHisd> SynthHisd::split(int segmentCount) const
{
    std::vector<SynthHisd> files;
    for (int i = 0; i < segmentCount; ++i) {
        SynthHisd s = *this;
        const int before = diskLines * i / segmentCount;
        const int end = diskLines * (i + 1) / segmentCount;
        s.segment = i + 1;
        s.segments = segmentCount;
        s.firstLine = before + 1;
        s.lines = end - before;
        std::erase_if(s.errorLines,
                      [&](const ErrorLine& e) { return e.line <= before || e.line > end; });
        files.push_back(std::move(s));
    }
    return files;
}

std::string SynthHisd::fileName() const
{
    using namespace std::chrono;
    const auto minutes = std::lround(std::floor(startMjd * 144) * 10);
    const sys_days day = sys_days{1858y / 11 / 17} + days{minutes / 1440};
    const year_month_day date(day);
    const int minute = static_cast<int>(minutes % 1440);
    char name[128];
    std::snprintf(name, sizeof(name), "HS_%s_%04d%02u%02u_%02d%02d_B%02d_FLDK_R%02d_S%02d%02d.DAT",
                  isMtsat(*this)             ? "MT2"
                  : satellite.ends_with("9") ? "H09"
                                             : "H08",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), minute / 60, minute % 60, band,
                  bandOf(*this).resolution, segment, segments);
    return name;
}
