#include "tests/synth/synthNative.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>

namespace {

constexpr int hrv = 11;
constexpr std::size_t mainLength = 3674;
constexpr std::size_t secondLength = 1440;
constexpr std::size_t packetHeaderLength = 38; // packet and sub-header
constexpr std::size_t sideLength = 27;
constexpr std::size_t headerLength = 445248;  // level 1.5 header with its version byte
constexpr std::size_t trailerLength = 380325; // likewise
constexpr std::size_t rawHeaderLength = 445250;
constexpr std::size_t rawDataLength = 17324928;

// From the satellite id: satellite status 60134, image acquisition 700, celestial events 326058.
constexpr std::size_t toDescription = 60134 + 700 + 326058;
// From the description: 101 of its own, 72 of linearisation and feedback flags.
constexpr std::size_t toCalibration = 101 + 72;
// From the trailer's version: version and satellite id 3, scanning 14, behaviour 12, reception
// 4 x 12 x 4, validity 12 x 6.
constexpr std::size_t toCoverage = 3 + 14 + 12 + 192 + 72;

using Bytes = std::vector<std::byte>;

template <class T>
void put(std::span<std::byte> out, std::size_t at, T value)
{
    std::byte raw[sizeof(T)];
    std::memcpy(raw, &value, sizeof(T));
    if (std::endian::native != std::endian::big) std::reverse(std::begin(raw), std::end(raw));
    std::copy(std::begin(raw), std::end(raw), out.begin() + static_cast<std::ptrdiff_t>(at));
}

void putText(std::span<std::byte> out, std::size_t at, std::string_view text)
{
    std::memcpy(out.data() + at, text.data(), text.size());
}

// A name in 28 characters, a colon and a blank.
std::string key(std::string_view name)
{
    std::string text(name);
    text.resize(28, ' ');
    return text + ": ";
}
std::string number(std::size_t value, std::size_t width)
{
    const std::string digits = std::to_string(value);
    return std::string(width - digits.size(), ' ') + digits;
}
// A record of name and value, 80 characters.
std::string record(std::string_view name, std::string_view value)
{
    std::string text = key(name) + std::string(value);
    text.resize(79, ' ');
    return text + "\n";
}

std::size_t packed(int columns)
{
    return static_cast<std::size_t>(columns) * 10 / 8;
}

bool has(const SynthNative& s, int channel)
{
    return std::ranges::find(s.channels, channel) != s.channels.end();
}

std::size_t packetLength(const SynthNative& s, int channel)
{
    const int columns = channel == hrv ? s.hrvColumns / 2 : s.columns;
    return (s.raw ? 0 : packetHeaderLength) + sideLength + packed(columns);
}

std::size_t dataLength(const SynthNative& s)
{
    if (s.raw) return rawDataLength;
    std::size_t sum = 0;
    for (const int c : s.channels)
        sum += packetLength(s, c) * static_cast<std::size_t>(c == hrv ? s.hrvLines : s.lines);
    return sum;
}

Bytes textHeaders(const SynthNative& s)
{
    Bytes out(mainLength + secondLength, std::byte{' '});
    const auto section = [](std::string_view name, std::size_t size, std::size_t address) {
        return key(name) + number(size, 15) + " " + number(address, 15) + "\n";
    };
    const std::size_t header = headerLength + packetHeaderLength;
    const std::size_t data = mainLength + secondLength + header;
    std::string text =
        record("FormatName", "NATIVE") +
        record("FormatDocumentName", "MSG Ground Segment LRIT/HRIT") +
        record("FormatDocumentMajorVersion", "1") + record("FormatDocumentMinorVersion", "0") +
        record("CreationDateTime", "20200802002000Z") + record("CreatingCentre", "SYNTH");
    text += section("MainProductHeader", mainLength, 0);
    text += section("SecondaryProductHeader", secondLength, mainLength);
    text += section("15Header", header, mainLength + secondLength);
    text += section("15Data", dataLength(s), data);
    text += section("15Trailer", trailerLength + packetHeaderLength, data + dataLength(s));
    putText(out, 0, text);

    std::string marks;
    for (int c = 0; c < 12; ++c)
        marks += has(s, c) ? 'X' : '-';
    const std::pair<const char*, std::string> records[] = {
        {"ABID", ""},
        {"SMOD", ""},
        {"APXS", ""},
        {"AVPA", ""},
        {"LSCD", ""},
        {"LMAP", ""},
        {"QDLC", ""},
        {"QDLP", ""},
        {"QQAI", ""},
        {"SelectedBandIDs", marks},
        {"SouthLineSelectedRectangle", "1"},
        {"NorthLineSelectedRectangle", std::to_string(s.lines)},
        {"EastColumnSelectedRectangle", "1"},
        {"WestColumnSelectedRectangle", std::to_string(s.columns)},
        {"NumberLinesVISIR", std::to_string(s.lines)},
        {"NumberColumnsVISIR", std::to_string(s.columns)},
        {"NumberLinesHRV", std::to_string(s.hrvLines)},
        {"NumberColumnsHRV", std::to_string(s.hrvColumns)},
    };
    std::size_t at = mainLength;
    for (const auto& [name, value] : records) {
        putText(out, at, record(name, value));
        at += 80;
    }
    return out;
}

// Everything before the first packet.
Bytes head(const SynthNative& s)
{
    Bytes out = s.raw ? Bytes() : textHeaders(s);
    out.resize(s.dataOffset());
    put(out, s.raw ? 3 : s.idOffset, static_cast<std::uint16_t>(s.satelliteId));
    const std::size_t d = s.descriptionOffset();
    put(out, d + 1, s.subLon);
    put(out, d + 5, s.lines);
    put(out, d + 9, s.columns);
    put(out, d + 13, 3.0F);
    put(out, d + 17, 3.0F);
    put(out, d + 21, static_cast<std::uint8_t>(s.origin));
    put(out, d + 22, s.hrvLines);
    put(out, d + 26, s.hrvColumns);
    put(out, d + 30, 1.0F);
    put(out, d + 34, 1.0F);
    put(out, d + 38, static_cast<std::uint8_t>(s.hrvOrigin));
    for (int c = 0; c < 12; ++c) {
        const std::size_t at = d + toCalibration + static_cast<std::size_t>(c) * 16;
        put(out, at, s.slope * (c + 1));
        put(out, at + 8, s.offset * (c + 1));
    }
    return out;
}

// The packet of a line.
Bytes packet(const SynthNative& s, int channel, int line)
{
    Bytes out(packetLength(s, channel));
    const std::size_t side = s.raw ? 0 : packetHeaderLength;
    put(out, side, std::uint8_t{1});
    put(out, side + 1, static_cast<std::uint16_t>(s.satelliteId));
    put(out, side + 3, static_cast<std::uint16_t>(s.day));
    put(out, side + 5, s.startMs);
    put(out, side + 13, line);
    put(out, side + 17, static_cast<std::uint8_t>(channel + 1));
    put(out, side + 18, static_cast<std::uint16_t>(s.day));
    put(out, side + 20, s.startMs + s.lineMs * static_cast<std::uint32_t>(line - 1));
    // Ten bits a pixel, the highest first; bits that the last byte has no room for are lost.
    const int columns = channel == hrv ? s.hrvColumns / 2 : s.columns;
    std::size_t at = side + sideLength;
    unsigned bits = 0;
    int held = 0;
    for (int column = 0; column < columns; ++column) {
        const int v = s.count ? s.count(channel, column, line)
                              : SynthNative::defaultCount(channel, column, line);
        bits = bits << 10 | static_cast<unsigned>(v & 1023);
        held += 10;
        for (; held >= 8 && at < out.size(); held -= 8)
            out[at++] = static_cast<std::byte>(bits >> (held - 8) & 255);
    }
    return out;
}

Bytes trailer(const SynthNative& s)
{
    Bytes out((s.raw ? 0 : packetHeaderLength) + trailerLength);
    const std::size_t at = (s.raw ? 0 : packetHeaderLength) + toCoverage;
    for (std::size_t i = 0; i < s.coverage.size(); ++i)
        put(out, at + 4 * i, s.coverage[i]);
    return out;
}

// Hands the file to `give` piece by piece.
template <class Give>
void pour(const SynthNative& s, const Give& give)
{
    give(head(s));
    std::size_t given = 0;
    const auto line = [&](int channel, int n) {
        const Bytes out = packet(s, channel, n);
        given += out.size();
        give(out);
    };
    // A group: one line of each channel of VIS/IR, then three of HRV.
    const bool hrvAlone = s.channels.size() == 1 && has(s, hrv);
    const int groups = hrvAlone ? (s.hrvLines + 2) / 3 : s.lines;
    for (int group = 0; group < groups; ++group)
        for (const int channel : s.channels) {
            if (channel != hrv) line(channel, group + 1);
            for (int i = 1; channel == hrv && i <= 3; ++i)
                if (group * 3 + i <= s.hrvLines) line(hrv, group * 3 + i);
        }
    if (given < dataLength(s)) give(Bytes(dataLength(s) - given));
    give(trailer(s));
}

} // namespace

int SynthNative::defaultCount(int channel, int column, int line)
{
    return (3 * column + 7 * line + 101 * channel) % 1024;
}

std::size_t SynthNative::dataOffset() const
{
    return raw ? rawHeaderLength : mainLength + secondLength + packetHeaderLength + headerLength;
}

std::size_t SynthNative::trailerOffset() const
{
    return dataOffset() + dataLength(*this) + (raw ? 0 : packetHeaderLength);
}

std::size_t SynthNative::packetOffset(int channel, int line) const
{
    std::size_t at = dataOffset();
    const int group = channel == hrv ? (line - 1) / 3 : line - 1;
    for (const int c : channels) {
        const std::size_t length = packetLength(*this, c);
        at += static_cast<std::size_t>(group) * length * (c == hrv ? 3 : 1);
        if (c < channel) at += length;
        if (c == hrv && channel == hrv) at += static_cast<std::size_t>((line - 1) % 3) * length;
    }
    return at;
}

std::size_t SynthNative::descriptionOffset() const
{
    return (raw ? 3 : idOffset) + toDescription;
}

std::vector<std::byte> SynthNative::bytes() const
{
    Bytes file;
    pour(*this, [&](const Bytes& piece) { file.insert(file.end(), piece.begin(), piece.end()); });
    synthDamage(file, patches, cutAt);
    return file;
}

void SynthNative::write(const std::string& path) const
{
    pour(*this, SynthFile(path));
}
