#include "frontend/nimbexFile.h"

#include "frontend/recover.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <vector>

namespace {

constexpr std::size_t unit = 256;
constexpr std::size_t markBytes = 4;

constexpr std::size_t roundUp(std::size_t bytes)
{
    return (bytes + unit - 1) / unit * unit;
}

struct IntField {
    std::size_t offset;
    std::int32_t (*value)(const NbGridHeader& header);
};
struct FloatField {
    std::size_t offset;
    bool fromVersion11;
    float (*value)(const NbGridHeader& header);
};
using H = NbGridHeader;

// Fields that stand in neither table are 0.
constexpr IntField intFields[] = {
    {0, [](const H&) { return std::int32_t{unit}; }},
    // 4: label, 12: satellite word, 20: zero
    {24, [](const H& h) { return h.start.year / 100; }},
    {28, [](const H& h) { return h.start.year % 100; }},
    {32, [](const H& h) { return h.start.month; }},
    {36, [](const H& h) { return h.start.day; }},
    {40, [](const H& h) { return h.start.hour; }},
    {44, [](const H& h) { return h.start.minute; }},
    {48, [](const H& h) { return h.start.second; }},
    {52, [](const H& h) { return h.start.millisecond; }},
    {56, [](const H& h) { return h.end.year / 100; }},
    {60, [](const H& h) { return h.end.year % 100; }},
    {64, [](const H& h) { return h.end.month; }},
    {68, [](const H& h) { return h.end.day; }},
    {72, [](const H& h) { return h.end.hour; }},
    {76, [](const H& h) { return h.end.minute; }},
    {80, [](const H& h) { return h.end.second; }},
    {84, [](const H& h) { return h.end.millisecond; }},
    {88, [](const H& h) { return std::int32_t{h.isGrid}; }},
    {92, [](const H& h) { return h.isGrid ? h.imageWidth : h.columns; }},
    {96, [](const H& h) { return h.isGrid ? h.imageHeight : h.rows; }},
    // 100, 104: the grid's steps
    {108, [](const H& h) { return h.isGrid ? h.columns : 0; }},
    {112, [](const H& h) { return h.isGrid ? h.rows : 0; }},
    {116, [](const H& h) { return static_cast<std::int32_t>(h.rowBytes() / unit); }},
    {120, [](const H& h) { return h.pixelBytes; }},
    // 124 to 155: the corners
    {156, [](const H& h) { return h.table.count; }},
    {160, [](const H& h) { return h.table.low; }},
    {164, [](const H& h) { return h.table.high; }},
    {168, [](const H& h) { return h.correction; }},
    // 192 to 215: the satellite; 248: version text
    {252, [](const H&) { return std::int32_t{unit}; }},
};

constexpr FloatField floatFields[] = {
    {100, false, [](const H& h) { return h.isGrid ? h.stepX : 0; }},
    {104, false, [](const H& h) { return h.isGrid ? h.stepY : 0; }},
    {124, false, [](const H& h) { return h.corners[0].lat; }},
    {128, false, [](const H& h) { return h.corners[0].lon; }},
    {132, false, [](const H& h) { return h.corners[1].lat; }},
    {136, false, [](const H& h) { return h.corners[1].lon; }},
    {140, false, [](const H& h) { return h.corners[2].lat; }},
    {144, false, [](const H& h) { return h.corners[2].lon; }},
    {148, false, [](const H& h) { return h.corners[3].lat; }},
    {152, false, [](const H& h) { return h.corners[3].lon; }},
    {192, true, [](const H& h) { return h.attitude[0]; }},
    {196, true, [](const H& h) { return h.attitude[1]; }},
    {200, true, [](const H& h) { return h.attitude[2]; }},
    {204, true, [](const H& h) { return h.subLat; }},
    {208, true, [](const H& h) { return h.subLon; }},
    {212, true, [](const H& h) { return h.distanceM; }},
};

void putInt(std::uint8_t* at, std::uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        at[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

void putFloat(std::uint8_t* at, float value)
{
    putInt(at, std::bit_cast<std::uint32_t>(value));
}

void putMarks(std::span<std::uint8_t> block)
{
    putInt(block.data(), static_cast<std::uint32_t>(block.size()));
    putInt(block.data() + block.size() - markBytes, static_cast<std::uint32_t>(block.size()));
}

void putText(std::uint8_t* at, std::size_t width, const std::string& text)
{
    std::fill_n(at, width, std::uint8_t{' '});
    std::copy_n(text.begin(), std::min(width, text.size()), at);
}

void putHeader(std::span<std::uint8_t> block, const NbGridHeader& header)
{
    for (const IntField& field : intFields)
        putInt(&block[field.offset], static_cast<std::uint32_t>(field.value(header)));
    for (const FloatField& field : floatFields)
        if (!(field.fromVersion11 && header.isVersion10()))
            putFloat(&block[field.offset], field.value(header));
    putText(&block[4], 8, header.label);
    putText(&block[12], 8, header.satelliteWord);
    if (header.isVersion10()) return;
    const auto digit = [](int n) { return static_cast<std::uint8_t>('0' + n % 10); };
    const std::uint8_t text[] = {digit(header.versionCode / 10), '.', digit(header.versionCode), 0};
    std::copy_n(text, sizeof text, &block[248]);
}

void putTable(std::span<std::uint8_t> block, const NbTableLayout& layout,
              std::span<const float> table)
{
    for (std::size_t i = 0; i < table.size(); ++i)
        putFloat(&block[layout.tableAt + 4 * i], table[i]);
    putMarks(block); // last: they may lie over two entries
}

void putRow(std::span<const std::int16_t> cells, const NbPixelTable& pixels, int pixelBytes,
            std::uint8_t* out)
{
    const std::uint16_t* const pixel = pixels.pixel.data();
    if (pixelBytes == 1) {
        for (std::size_t i = 0; i < cells.size(); ++i)
            out[i] = static_cast<std::uint8_t>(pixel[static_cast<std::uint16_t>(cells[i])]);
        return;
    }
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::uint16_t value = pixel[static_cast<std::uint16_t>(cells[i])];
        out[2 * i] = static_cast<std::uint8_t>(value & 0xFF);
        out[2 * i + 1] = static_cast<std::uint8_t>(value >> 8);
    }
}

// Header, table and rows; false, with errno, when anything was not written whole.
bool writeParts(std::FILE* file, const NbGridHeader& header, std::span<const float> table,
                const NbPixelTable& pixels, std::span<const std::int16_t> cells)
{
    std::vector<std::uint8_t> head(unit + header.table.blockBytes);
    putHeader(std::span(head).first(unit), header);
    putTable(std::span(head).subspan(unit), header.table, table);
    if (std::fwrite(head.data(), 1, head.size(), file) != head.size()) return false;

    std::vector<std::uint8_t> record(header.rowBytes());
    putMarks(record);
    const auto columns = static_cast<std::size_t>(header.columns);
    for (std::size_t at = 0; at < cells.size(); at += columns) {
        putRow(cells.subspan(at, columns), pixels, header.pixelBytes, record.data() + markBytes);
        if (std::fwrite(record.data(), 1, record.size(), file) != record.size()) return false;
    }
    return std::fflush(file) == 0; // the last rows, too, have been written
}

} // namespace

NbTableLayout layOutTable(int levels, bool extended)
{
    const std::size_t bytes = static_cast<std::size_t>(levels) * 4;
    NbTableLayout layout;
    layout.blockBytes = roundUp(bytes + (extended ? 2 * markBytes : 0));
    const bool roomy = extended || roundUp(bytes) - bytes >= 2 * markBytes;
    layout.tableAt = roomy ? markBytes : 0;
    layout.count = roomy ? levels : levels - 2;
    layout.low = roomy ? 0 : 1;
    layout.high = roomy ? levels - 1 : levels - 2;
    return layout;
}

std::size_t NbGridHeader::rowBytes() const
{
    // 263: both marks, and rounding up
    return (static_cast<std::size_t>(columns) * static_cast<std::size_t>(pixelBytes) + 263) / unit *
           unit;
}

void fillPixelTable(std::span<const std::uint16_t> conversion, std::int16_t invalid,
                    const NbGridHeader& header, NbPixelTable& out)
{
    const int top = static_cast<int>(conversion.size()) - 1;
    const bool bytes = header.pixelBytes == 1;
    for (int cell = -32768; cell <= 32767; ++cell) {
        const std::uint16_t level = conversion[static_cast<std::size_t>(std::clamp(cell, 0, top))];
        // As the pixel's own type has it: bytes unsigned, words signed.
        int value = bytes ? static_cast<std::uint8_t>(level) : static_cast<std::int16_t>(level);
        if (!header.isVersion10())
            value = std::min(std::max(value, header.table.low), header.table.high);
        out.pixel[static_cast<std::uint16_t>(cell)] = static_cast<std::uint16_t>(value);
    }
    out.pixel[static_cast<std::uint16_t>(invalid)] = header.isVersion10() ? 0 : 0xFFFF;
}

int writeNimbexFile(NbOutputFile& out, const NbGridHeader& header, std::span<const float> table,
                    const NbPixelTable& pixels, std::span<const std::int16_t> cells)
{
    if (writeParts(out.stream(), header, table, pixels, cells)) return NB_RUN_COMPLETE;
    return out.fail(NB_RUN_SHORT_WRITE, "cannot write the output file");
}
