#include "tests/synth/synthHrit.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <string_view>

namespace {

// Infrared disk of 2200 columns: columns per degree of scan angle x 2^16.
constexpr double cfacOf2200 = 8170135;

class Record : SynthBlock {
public:
    Record(bool bigEndian, int type) : SynthBlock(bigEndian) { SynthBlock::u8(type).u16(0); }

    Record& u8(std::int64_t value) { return SynthBlock::u8(value), *this; }
    Record& u16(std::int64_t value) { return SynthBlock::u16(value), *this; }
    Record& u32(std::int64_t value) { return SynthBlock::u32(value), *this; }
    Record& text(std::string_view value, std::size_t width)
    {
        return SynthBlock::text(value, width), *this;
    }
    // The record with its length in it.
    std::vector<std::byte> done()
    {
        const std::vector<std::byte> all = bytes;
        bytes.resize(1);
        u16(static_cast<std::int64_t>(all.size()));
        bytes.insert(bytes.end(), all.begin() + 3, all.end());
        return bytes;
    }
};

// Lines of the file at which its tables have entries: every 10th and the last.
std::vector<int> tableLines(const SynthHrit& s)
{
    std::vector<int> at;
    const int last = s.firstLine + s.lines - 1;
    for (int line = s.firstLine; line < last; line += 10)
        at.push_back(line);
    at.push_back(last);
    return at;
}

// One line of a text record.
std::string item(const std::string& key, double value, int digits = 0)
{
    char text[64];
    std::snprintf(text, sizeof text, ":=%.*f\r", digits, value);
    return key + text;
}

std::string usualCalib()
{
    std::string text = "$HALFTONE:=10\r_NAME:=INFRARED\r_UNIT:=KELVIN\r";
    for (int level = 0; level < 1024; ++level)
        text += item(std::to_string(level), 330 - 200.0 * level / 1023, 2);
    return text + "65535:=130.00\r";
}

std::vector<std::vector<std::byte>> records(const SynthHrit& s)
{
    const auto record = [&](int type) { return Record(s.bigEndian, type); };
    const auto textRecord = [&](int type, const std::string& text) {
        const std::string_view body = text == "-" ? std::string_view{} : std::string_view(text);
        return record(type).text(body, body.size()).done();
    };
    std::vector<std::vector<std::byte>> all(10);
    all[1] = record(1).u8(s.bitsPerPixel).u16(s.columns).u16(s.lines).u8(s.compression).done();
    all[2] =
        record(2).text(s.projection, 32).u32(s.cfac).u32(s.lfac).u32(s.coff).u32(s.loff).done();
    all[3] = textRecord(3, s.calib);
    all[4] = textRecord(4, s.annotation);
    all[5] = record(5).u8(0x40).u16(17744).u32(10800000).done(); // days since 1958-01-01
    all[6] = record(128).u8(s.segment).u8(s.segments).u16(s.firstLine).done();
    all[7] = textRecord(130, s.comp);
    all[8] = textRecord(131, s.times);
    all[9] = textRecord(132, s.quality);
    std::size_t length = 16;
    for (const auto& one : all)
        length += one.size();
    const std::int64_t bits = std::int64_t{16} * s.columns * s.lines;
    all[0] = record(0)
                 .u8(s.fileType)
                 .u32(static_cast<std::int64_t>(length))
                 .u32(bits >> 32)
                 .u32(bits & 0xFFFFFFFF)
                 .done();
    return all;
}

} // namespace

std::vector<std::byte> SynthHrit::bytes() const
{
    const SynthHrit s = resolved();
    std::vector<std::byte> file;
    for (const auto& record : records(s))
        file.insert(file.end(), record.begin(), record.end());
    if (!s.image.empty()) {
        file.insert(file.end(), s.image.begin(), s.image.end());
        return file;
    }
    const bool swap = s.bigEndian != (std::endian::native == std::endian::big);
    std::vector<std::uint16_t> counts(static_cast<std::size_t>(std::max(s.columns, 0)));
    for (int line = s.firstLine; line < s.firstLine + s.lines; ++line) {
        if (s.fill)
            s.fill(line, counts);
        else
            for (int i = 0; i < s.columns; ++i)
                counts[static_cast<std::size_t>(i)] =
                    static_cast<std::uint16_t>((3 * (i + 1) + 7 * line) % 1000);
        if (swap)
            for (std::uint16_t& c : counts)
                c = static_cast<std::uint16_t>(c << 8 | c >> 8);
        const auto piece = std::as_bytes(std::span(counts));
        file.insert(file.end(), piece.begin(), piece.end());
    }
    return file;
}

void SynthHrit::write(const std::string& path) const
{
    SynthFile{path}(bytes());
}

std::size_t SynthHrit::recordOffset(int k) const
{
    const SynthHrit s = resolved();
    const auto all = records(s);
    std::size_t at = 0;
    for (int i = 0; i < std::min(k, 10); ++i)
        at += all[static_cast<std::size_t>(i)].size();
    return k > 10 ? s.bytes().size() : at;
}

SynthHrit SynthHrit::resolved() const
{
    SynthHrit s = *this;
    const auto scaled = [](int size) {
        return static_cast<std::int32_t>(std::lround(cfacOf2200 * size / 2200));
    };
    if (s.lines == 0) s.lines = s.imageLines - s.firstLine + 1;
    if (s.cfac == 0) s.cfac = scaled(s.columns);
    if (s.lfac == 0) s.lfac = scaled(s.imageLines);
    if (s.coff == 0) s.coff = s.columns / 2;
    if (s.loff == 0) s.loff = s.imageLines / 2;
    if (s.calib.empty()) s.calib = usualCalib();
    const std::vector<int> at = tableLines(s);
    if (s.comp.empty())
        for (const int line : at)
            s.comp += item("LINE", line) + item("COFF", s.coff, 1) + item("LOFF", s.loff, 1);
    if (s.times.empty())
        for (const int line : at) {
            const double along = (line - 1.0) / std::max(s.imageLines - 1, 1);
            s.times +=
                item("LINE", line) + item("TIME", s.startMjd + (s.endMjd - s.startMjd) * along, 9);
        }
    return s;
}

std::vector<SynthHrit> SynthHrit::split(int segmentCount, int overlap) const
{
    std::vector<SynthHrit> files;
    for (int i = 0; i < segmentCount; ++i) {
        SynthHrit s = resolved();
        s.comp = comp;
        s.times = times;
        const int before = imageLines * i / segmentCount;
        const int end = std::min(imageLines * (i + 1) / segmentCount + overlap, imageLines);
        s.segment = i + 1;
        s.segments = segmentCount;
        s.firstLine = before + 1;
        s.lines = end - before;
        files.push_back(std::move(s));
    }
    return files;
}
