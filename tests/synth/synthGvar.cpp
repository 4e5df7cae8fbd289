#include "tests/synth/synthGvar.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace {

using Bytes = std::vector<std::byte>;

constexpr std::size_t recordSize = 26624;
constexpr int block0Words = 8040;
constexpr int docWords = 16;

void put(Bytes& out, std::size_t at, std::uint64_t value, int size)
{
    for (int i = 0; i < size; ++i)
        out[at + static_cast<std::size_t>(i)] =
            static_cast<std::byte>(value >> (8 * (size - 1 - i)) & 0xFF);
}

void putTime(Bytes& out, std::size_t at, std::uint64_t time)
{
    std::uint64_t bcd = 0;
    for (int i = 0; i < 16; ++i, time /= 10)
        bcd |= time % 10 << (4 * i);
    put(out, at, bcd, 8);
}

// Adds whole seconds to a time, with carries as far as the hours.
std::uint64_t later(std::uint64_t time, int seconds)
{
    const std::uint64_t ms = time % 1000;
    std::uint64_t s = time / 1000 % 100 + static_cast<std::uint64_t>(seconds);
    std::uint64_t m = time / 100000 % 100 + s / 60;
    const std::uint64_t h = time / 10000000 + m / 60;
    s %= 60;
    m %= 60;
    return ((h * 100 + m) * 100 + s) * 1000 + ms;
}

// Ten-bit words, one after the other.
class Packer {
public:
    void add(unsigned word)
    {
        for (int bit = 9; bit >= 0; --bit) {
            if (used_ % 8 == 0) bytes_.push_back(std::byte{0});
            bytes_.back() |= static_cast<std::byte>((word >> bit & 1) << (7 - used_ % 8));
            ++used_;
        }
    }
    std::size_t words() const { return used_ / 10; }
    const Bytes& bytes() const { return bytes_; }

private:
    Bytes bytes_;
    std::size_t used_ = 0; // bits
};

// A line of a block: which one of which channel, and its detector's number.
struct Line {
    int channel, line, detector;
};

std::vector<Line> linesOf(const SynthGvar& s, int scan, int id)
{
    if (id >= 3) return {{0, scan * 8 + id - 3, id - 2}};
    const bool twelve = s.satellite == 12;
    const int first = (id == 1) == twelve ? 1 : 3; // channels 1 and 2, or 3 and 4
    int detector = twelve ? (first == 1 ? 1 : 5) : (first == 1 ? 5 : 1);
    std::vector<Line> lines;
    for (const int channel : {first, first + 1})
        for (int j = 0; j < s.linesPerScan(channel); ++j)
            lines.push_back({channel, scan * s.linesPerScan(channel) + j, detector++});
    return lines;
}

Bytes header(const SynthGvar& s, int id, int wordSize, std::size_t words, bool valid,
             int damagedCopies)
{
    Bytes out(90);
    for (std::size_t copy = 0; copy < 3; ++copy) {
        const std::size_t at = copy * 30;
        put(out, at, static_cast<unsigned>(id), 1);
        put(out, at + 1, static_cast<unsigned>(wordSize), 1);
        put(out, at + 2, words, 2);
        put(out, at + 8, valid, 1);
        put(out, at + 11, static_cast<unsigned>(s.satellite << 4 | 3), 1);
        put(out, at + 28, synthGvarCrc(out.data() + at, 28), 2);
        if ((damagedCopies >> copy & 1) != 0) out[at + 5] ^= std::byte{0x40};
    }
    return out;
}

Bytes block0(const SynthGvar& s, int scan)
{
    Bytes data(block0Words);
    data[2] = static_cast<std::byte>(s.directionBit != (scan % 2 == 1) ? 2 : 0);
    data[3] = static_cast<std::byte>(s.imcOff ? 0x80 : 0);
    data[4] = static_cast<std::byte>(s.flipped ? 0x80 : 0);
    const std::uint64_t now = later(s.headerTime, scan);
    putTime(data, 22, s.imcTime != 0 ? s.imcTime : now);
    putTime(data, 62, s.startTime);
    const auto two = [&](std::size_t at, int value) {
        put(data, at, static_cast<unsigned>(value) & 0xFFFFU, 2);
    };
    two(150, scan + 1);
    two(152, s.firstScan + scan);
    two(154, s.north + 8 * scan);
    two(156, s.west);
    two(158, s.east);
    two(160, s.north);
    two(162, s.south);
    // Of the nominal angles: 3.5 increments are a visible line, one is a visible pixel.
    two(170, s.subLine != 0 ? s.subLine
                            : static_cast<int>((s.nsCycles * 6136 + s.nsIncrements) / 3.5 + 4.5));
    two(172, s.subPixel != 0 ? s.subPixel : s.ewCycles * 6136 + s.ewIncrements + 1);
    two(188, s.pixelOffset);
    two(190, s.lineOffset);
    static const std::set<int> whole = {
        64,  95,  96,  97,  101, 102, 106, 107, 111, 112, 119, 150, 151, 152, 156, 157, 161,
        162, 166, 167, 174, 205, 206, 207, 211, 212, 216, 217, 221, 222, 229, 260, 261, 262,
        266, 267, 271, 272, 276, 277, 284, 315, 316, 317, 321, 322, 326, 327, 331, 332};
    auto words = s.oa;
    words.try_emplace(4, -1.3125);
    for (const auto& [word, value] : words)
        put(data, 278 + 4 * static_cast<std::size_t>(word),
            whole.contains(word) ? static_cast<std::uint32_t>(value) : synthGvarReal(value), 4);
    putTime(data, 322, s.epochTime);
    putTime(data, 5698, now);
    put(data, 6304, static_cast<unsigned>(s.nsCycles) & 0xFF, 1);
    put(data, 6305, static_cast<unsigned>(s.ewCycles) & 0xFF, 1);
    two(6306, s.nsIncrements);
    two(6308, s.ewIncrements);
    put(data, block0Words - 2, synthGvarCrc(data.data(), block0Words - 2), 2);
    return data;
}

const SynthGvarDamage& damageOf(const SynthGvar& s, int scan, int id)
{
    static const SynthGvarDamage none;
    const auto found = std::ranges::find_if(
        s.damage, [&](const SynthGvarDamage& d) { return d.scan == scan && d.block == id; });
    return found == s.damage.end() ? none : *found;
}

Bytes imageBlock(const SynthGvar& s, int scan, int id, std::size_t* words)
{
    const SynthGvarDamage& damage = damageOf(s, scan, id);
    Packer out;
    int n = 0;
    for (const Line& line : linesOf(s, scan, id)) {
        const bool damaged = damage.block == id && damage.line == n++;
        const auto told = [&](int stated, int value) {
            return static_cast<unsigned>(damaged && stated >= 0 ? stated : value);
        };
        const int pixels = (s.pixels(line.channel) + 3) / 4 * 4;
        unsigned doc[docWords] = {};
        doc[3] = told(damage.detector, line.detector);
        const unsigned relative = told(damage.relativeScan, scan + 1);
        doc[5] = relative >> 10;
        doc[6] = relative & 1023;
        const unsigned length = told(damage.words, pixels + docWords + s.spareWords);
        doc[11] = length >> 10;
        doc[12] = length & 1023;
        for (const unsigned word : doc)
            out.add(word);
        for (int x = 0; x < pixels; ++x)
            out.add(static_cast<unsigned>(s.countAt(line.channel, line.line, x)));
        for (int x = 0; x < s.spareWords; ++x)
            out.add(0x155);
    }
    *words = out.words() + 2;
    Bytes data = out.bytes();
    data.resize(out.words() * 10 / 8); // the CRC follows the whole bytes
    const std::uint16_t crc = synthGvarCrc(data.data(), data.size());
    data.resize(data.size() + 2);
    put(data, data.size() - 2, crc, 2);
    return data;
}

// All blocks of a scan as they stand in the file.
Bytes scanBytes(const SynthGvar& s, int scan)
{
    Bytes out;
    for (const int id : {0xF0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}) {
        const SynthGvarDamage& damage = damageOf(s, scan, id);
        if (damage.missing) continue;
        std::size_t words = block0Words;
        Bytes data = id == 0xF0 ? block0(s, scan) : imageBlock(s, scan, id, &words);
        if (damage.badByte >= 0) data[static_cast<std::size_t>(damage.badByte)] ^= std::byte{0xFF};
        const Bytes head =
            header(s, id, id == 0xF0 ? 8 : 10, words, !damage.invalid, damage.headerCopies);
        std::uint32_t noise = 1;
        for (int i = 0; !s.records && i < damage.junk; ++i) {
            noise = noise * 1664525 + 1013904223; // Numerical Recipes' generator
            out.push_back(
                static_cast<std::byte>(noise >> 24 & static_cast<unsigned>(damage.junkBits)));
        }
        const std::size_t start = out.size();
        if (s.records) {
            static constexpr unsigned char prefix[] = {0x5A, 0x5A, 0xA5, 0xA5, 1, 2, 3, 4, 0xFF, 1};
            for (std::size_t i = s.longPrefix ? 0 : 8; i < sizeof prefix; ++i)
                out.push_back(static_cast<std::byte>(prefix[i]));
        }
        out.insert(out.end(), head.begin(), head.end());
        out.insert(out.end(), data.begin(), data.end());
        if (s.records) out.resize(start + recordSize);
    }
    return out;
}

} // namespace

std::uint16_t synthGvarCrc(const std::byte* data, std::size_t size)
{
    unsigned crc = 0xFFFF;
    for (std::size_t i = 0; i < size; ++i) {
        crc ^= std::to_integer<unsigned>(data[i]) << 8;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x8000) != 0 ? (crc << 1 ^ 0x1021) & 0xFFFF : crc << 1;
    }
    return static_cast<std::uint16_t>(crc ^ 0xFFFF);
}

std::uint32_t synthGvarReal(double value)
{
    if (value == 0) return 0;
    double size = std::abs(value);
    int exponent = 64;
    for (; size >= 1; size /= 16)
        ++exponent;
    for (; size < 1.0 / 16; size *= 16)
        --exponent;
    const auto fraction = static_cast<std::uint32_t>(size * 0x1p24);
    const std::uint32_t word = static_cast<std::uint32_t>(exponent) << 24 | fraction;
    return value < 0 ? 0U - word : word;
}

int SynthGvar::scans() const
{
    return (south - north) / 8 + 1;
}

int SynthGvar::linesPerScan(int channel) const
{
    if (channel == 0) return 8;
    return channel == (satellite == 12 ? 4 : 2) ? 1 : 2;
}

int SynthGvar::lines(int channel) const
{
    return (south - north) * linesPerScan(channel) / 8 + 1;
}

int SynthGvar::pixels(int channel) const
{
    const int width = east - west - pixelOffset;
    return channel == 0 ? width + 1 : width / 4 + 1;
}

int SynthGvar::countAt(int channel, int line, int pixel) const
{
    if (count) return count(channel, line, pixel);
    return (31 * channel + 7 * line + 3 * pixel + line * pixel / 16) % 1024;
}

std::vector<std::byte> SynthGvar::bytes() const
{
    Bytes out;
    for (int scan = 0; scan < scans() && out.size() < cutAt; ++scan) {
        const Bytes more = scanBytes(*this, scan);
        out.insert(out.end(), more.begin(), more.end());
    }
    out.resize(std::min(out.size(), cutAt));
    return out;
}

void SynthGvar::write(const std::string& path) const
{
    SynthFile file(path);
    for (int scan = 0; scan < scans(); ++scan)
        file(scanBytes(*this, scan));
}

SynthGvar SynthGvar::fullDisk() const
{
    SynthGvar disk = *this;
    disk.north = 2465;
    disk.south = 13312; // 10848 lines around 7888.5
    disk.west = 5841;
    disk.east = 24840; // 19000 pixels around 15340.5
    disk.firstScan = 1;
    return disk;
}
