#include "tests/synth/synthNoaa.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double radian = std::numbers::pi / 180;
constexpr double earthRadius = 6371.0;                   // km
constexpr double gravity = 398600.4418;                  // km^3 s^-2
constexpr double earthRate = 7.2921159e-05;              // rad/s
constexpr double scanStep = 55.37 / 1023.5 * 5 * radian; // of a pixel: five of 2048 samples
constexpr int pixels = 409;

// A block of zeros that numbers are put into, high byte first.
class Block {
public:
    explicit Block(std::span<std::byte> bytes) : bytes_(bytes) {}
    template <class T>
    void put(std::size_t offset, T value)
    {
        for (std::size_t i = 0; i < sizeof(T); ++i)
            bytes_[offset + i] = static_cast<std::byte>(static_cast<std::uint64_t>(value) >>
                                                        8 * (sizeof(T) - 1 - i));
    }
    void text(std::size_t offset, const std::string& s, std::size_t width)
    {
        for (std::size_t i = 0; i < width; ++i)
            bytes_[offset + i] = static_cast<std::byte>(i < s.size() ? s[i] : ' ');
    }

private:
    std::span<std::byte> bytes_;
};

// Angle at the earth's centre between the nadir and a pixel; to the left as seen in flight.
double earthAngle(const SynthOrbit& orbit, double pixel)
{
    const double scan = (pixel - 204) * scanStep;
    return std::asin((earthRadius + orbit.altitude) / earthRadius * std::sin(scan)) - scan;
}

std::int64_t nearest(double value)
{
    return std::llround(value);
}

// Three samples to a word, behind two unused bits.
void putSamples(const SynthNoaa& s, int line, std::size_t offset, Block* record)
{
    for (int word = 0; word < 682; ++word) {
        std::uint32_t bits = 0;
        for (int i = 0; i < 3; ++i) {
            const int n = word * 3 + i;
            const int count = n < pixels * 5 ? s.count(line, n / 5, n % 5) : 0;
            bits = bits << 10 | static_cast<std::uint32_t>(count & 1023);
        }
        record->put(offset + static_cast<std::size_t>(word) * 4, bits);
    }
}

struct LineTime {
    int year, day;
    std::uint32_t millisecond;
};
LineTime timeOf(const SynthNoaa& s, int line)
{
    const double ms = s.millisecond + line * s.orbit.secondsPerLine * 1000;
    const int days = static_cast<int>(ms / 86400000);
    return {s.year, s.day + days, static_cast<std::uint32_t>(nearest(ms - days * 86400000.0))};
}

std::vector<std::byte> finish(const SynthNoaa& s, std::vector<std::byte> file)
{
    synthDamage(file, s.patches, s.cutAt);
    return file;
}

} // namespace

SynthPlace SynthOrbit::place(double pixel, double line) const
{
    const double a = earthRadius + altitude;
    const double seconds = line * secondsPerLine;
    const double u = startArg * radian + std::sqrt(gravity / (a * a * a)) * seconds;
    const double i = inclination * radian;
    // Up, and the normal of the orbit (to the left in flight), in axes through the node.
    const double up[3] = {std::cos(u), std::sin(u) * std::cos(i), std::sin(u) * std::sin(i)};
    const double left[3] = {0, -std::sin(i), std::cos(i)};
    const double g = earthAngle(*this, pixel);
    double p[3];
    for (int k = 0; k < 3; ++k)
        p[k] = std::cos(g) * up[k] + std::sin(g) * left[k];
    const double lon = std::atan2(p[1], p[0]) / radian + nodeLon - earthRate * seconds / radian;
    return {.lon = lon - 360 * std::floor((lon + 180) / 360),
            .lat = std::asin(std::clamp(p[2], -1.0, 1.0)) / radian};
}

double SynthOrbit::satZenith(double pixel) const
{
    return std::fabs((pixel - 204) * scanStep + earthAngle(*this, pixel)) / radian;
}

int SynthNoaa::count(int line, int pixel, int slot) const
{
    return fill ? fill(line, pixel, slot) : (7 * line + 3 * pixel + 101 * slot) % 1024;
}

std::vector<std::byte> SynthNgac::bytes() const
{
    std::vector<std::byte> file(firstLine + static_cast<std::size_t>(lines) * recordLength);
    Block head{file};
    head.text(30, name, 42);
    head.text(97, channels, 20);
    head.text(117, bits, 2);
    head.text(161, format, 20);
    head.text(181, "  4608", 6);
    head.text(187, std::to_string(lines + 2), 6); // records, with both headers
    head.put(516, static_cast<std::uint16_t>(version));
    head.text(534, name, 42);
    head.put(640, static_cast<std::uint16_t>(lines));
    head.put(642, static_cast<std::uint16_t>(lineCount642 < 0 ? lines : lineCount642));
    for (std::size_t i = 0; i < 9; ++i)
        head.put(792 + 4 * i, thermal[i / 3][i % 3]);
    for (std::size_t i = 0; i < 3; ++i)
        head.put(854 + 2 * i, headerAttitude[i]);

    for (int n = 0; n < lines; ++n) {
        Block record{
            std::span(file).subspan(firstLine + static_cast<std::size_t>(n) * recordLength)};
        const LineTime t = timeOf(*this, n);
        record.put(0, static_cast<std::uint16_t>(n + 1));
        record.put(2, static_cast<std::uint16_t>(t.year));
        record.put(4, static_cast<std::uint16_t>(t.day));
        record.put(8, t.millisecond);
        record.put(12, static_cast<std::uint16_t>(selection ? selection(n) : 0));
        for (std::size_t c = 0; c < 3; ++c) {
            for (std::size_t i = 0; i < 5; ++i)
                record.put(48 + 60 * c + 4 * i, visible[c][i]);
            for (std::size_t i = 0; i < 3; ++i)
                record.put(228 + 24 * c + 4 * i, infrared[c][i]);
        }
        for (std::size_t i = 0; i < 3; ++i)
            record.put(320 + 2 * i, attitude[i]);
        record.put(326, static_cast<std::uint16_t>(nearest(orbit.altitude * 10)));
        for (std::size_t k = 0; k < 51; ++k) {
            const double pixel = 8 * static_cast<double>(k) + 4;
            const SynthPlace p = orbit.place(pixel, n);
            // Made up, but smooth: the sun's zenith falls by a degree every two anchors.
            record.put(328 + 6 * k, static_cast<std::int16_t>(6000 - 50 * static_cast<int>(k)));
            record.put(330 + 6 * k,
                       static_cast<std::int16_t>(nearest(orbit.satZenith(pixel) * 100)));
            record.put(332 + 6 * k, static_cast<std::int16_t>(k < 25 ? -6000 : 12000));
            record.put(640 + 8 * k, static_cast<std::int32_t>(nearest(p.lat * 10000)));
            record.put(644 + 8 * k, static_cast<std::int32_t>(nearest(p.lon * 10000)));
        }
        putSamples(*this, n, 1264, &record);
    }
    return finish(*this, std::move(file));
}

std::vector<std::byte> SynthNgacv1::bytes() const
{
    const std::size_t front = leading ? 122 : 0;
    // An odd number of lines has one empty record behind them.
    std::vector<std::byte> file(front + firstLine +
                                static_cast<std::size_t>(lines + lines % 2) * recordLength);
    Block head{std::span(file).subspan(front)};
    head.put(0, static_cast<std::uint8_t>(satellite));
    head.put(8, static_cast<std::uint16_t>(lines));
    for (int n = 0; n < lines; ++n) {
        Block record{std::span(file).subspan(front + firstLine +
                                             static_cast<std::size_t>(n) * recordLength)};
        const LineTime t = timeOf(*this, n);
        record.put(0, static_cast<std::uint16_t>(n + 1));
        record.put(2, static_cast<std::uint16_t>(t.year % 100 << 9 | t.day));
        record.put(4, t.millisecond);
        for (std::size_t c = 0; c < 5; ++c) {
            record.put(12 + 8 * c, slope[c]);
            record.put(16 + 8 * c, intercept[c]);
        }
        record.put(52, static_cast<std::uint8_t>(51));
        for (std::size_t k = 0; k < 51; ++k) {
            const SynthPlace p = orbit.place(8 * static_cast<double>(k) + 4, n);
            record.put(53 + k, static_cast<std::uint8_t>(120 - k)); // 60 to 35 degrees
            record.put(104 + 4 * k, static_cast<std::int16_t>(nearest(p.lat * 128)));
            record.put(106 + 4 * k, static_cast<std::int16_t>(nearest(p.lon * 128)));
        }
        putSamples(*this, n, 448, &record);
    }
    return finish(*this, std::move(file));
}
