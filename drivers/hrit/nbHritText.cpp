/*
 * Tables from the text records of the header. A record is lines of KEY:=VALUE that end in a
 * carriage return; a line of any length and any contents is taken or passed over.
 */
#include "drivers/hrit/nbHritFile.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace {

bool contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::string_view trimmed(std::string_view text)
{
    const auto start = text.find_first_not_of(" \t");
    if (start == std::string_view::npos) return {};
    text.remove_prefix(start);
    if (text.front() == '+') text.remove_prefix(1);
    return text;
}

// The number that a text begins with; 0 when it begins with none or with one that is not finite.
template <class T>
T realOf(std::string_view text)
{
    text = trimmed(text);
    T value = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), value);
    return end.ec == std::errc{} && std::isfinite(value) ? value : T{0};
}

// Likewise; beyond the range of 32 bits its highest value.
std::int32_t intOf(std::string_view text)
{
    text = trimmed(text);
    std::int32_t value = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), value);
    if (end.ec == std::errc::result_out_of_range) return std::numeric_limits<std::int32_t>::max();
    return value;
}

// Walks over the lines of a record. Nothing but the carriage return separates them, so a line feed
// behind it belongs to the next line, whose key it spoils.
template <class Body>
void forEachLine(std::string_view text, Body body)
{
    while (!text.empty()) {
        const auto end = text.find('\r');
        if (end != 0) body(text.substr(0, end));
        if (end == std::string_view::npos) return;
        text.remove_prefix(end + 1);
    }
}

// What stands behind ":=" in a line; empty when there is none.
std::string_view valueOf(std::string_view line)
{
    const auto mark = line.find(":=");
    return mark == std::string_view::npos ? std::string_view{} : line.substr(mark + 2);
}

// Collects the groups of a record: "LINE" begins one, and it is whole when `items` lines of it
// were seen. `set` puts a further line of the group into its entry, false when it is none.
template <class Entry, class Set>
std::vector<Entry> readGroups(std::string_view text, int items, Set set)
{
    std::vector<Entry> entries;
    Entry entry;
    int seen = 0;
    forEachLine(text, [&](std::string_view line) {
        if (!contains(line, ":=")) return;
        if (line.starts_with("LINE")) {
            if (seen == 0) entry = {};
            entry.line = intOf(valueOf(line));
        } else if (seen == 0 || !set(line, &entry)) {
            return;
        }
        if (++seen < items) return;
        entries.push_back(entry);
        seen = 0;
    });
    std::ranges::stable_sort(entries, {}, &Entry::line);
    return entries;
}

struct ChannelMark {
    std::string_view upper;
    std::string_view lower;
    int channel;
};

// Deliberate: "VIS" goes before all band names, so an annotation with both is channel 0.
constexpr ChannelMark channelMarks[] = {
    {"VIS", "vis", 0},  {"B03", "b03", 0},  {"B07", "b07", 4},  {"B08", "b08", 3},
    {"B13", "b13", 1},  {"B15", "b15", 2},  {"B01", "b01", 5},  {"B02", "b02", 6},
    {"B04", "b04", 7},  {"B05", "b05", 8},  {"B06", "b06", 9},  {"B09", "b09", 10},
    {"B10", "b10", 11}, {"B11", "b11", 12}, {"B12", "b12", 13}, {"B14", "b14", 14},
    {"B16", "b16", 15}, {"IR1", "ir1", 1},  {"IR2", "ir2", 2},  {"IR3", "ir3", 3},
    {"IR4", "ir4", 4},
};

constexpr std::int32_t tenBitLast = 1023;
constexpr std::int32_t invalidLevel = 65535; // entry of a ten-bit table for invalid counts

} // namespace

int nbpHritChannelOf(std::string_view annotation)
{
    for (const ChannelMark& mark : channelMarks)
        if (contains(annotation, mark.upper) || contains(annotation, mark.lower))
            return mark.channel;
    return -1;
}

NbHritCalib nbpHritReadCalib(std::string_view text, int channel)
{
    NbHritCalib calib;
    const bool solar = channel == 0 || (channel >= 5 && channel <= 9);
    forEachLine(text, [&](std::string_view line) {
        if (!isDigit(line.front()) || !contains(line, ":=")) return;
        float value = realOf<float>(valueOf(line));
        if (solar) value /= 100; // percent to a fraction
        calib.entries.push_back({.level = intOf(line), .value = value});
    });
    if (calib.entries.empty()) return calib;
    std::ranges::stable_sort(calib.entries, {}, &NbHritCalib::Entry::level);
    const std::size_t n = calib.entries.size();
    const std::int32_t last = calib.entries[n - 1].level;
    calib.tenBit = n > 1 && last == invalidLevel && calib.entries[n - 2].level == tenBitLast;
    calib.levels = calib.tenBit ? tenBitLast + 1 : std::min(last, invalidLevel + 1) + 1;
    return calib;
}

std::vector<NbHritCompEntry> nbpHritReadComp(std::string_view text)
{
    return readGroups<NbHritCompEntry>(text, 3, [](std::string_view line, NbHritCompEntry* entry) {
        if (line.starts_with("COFF"))
            entry->coff = realOf<float>(valueOf(line));
        else if (line.starts_with("LOFF"))
            entry->loff = realOf<float>(valueOf(line));
        else
            return false;
        return true;
    });
}

std::vector<NbHritTimeEntry> nbpHritReadTimes(std::string_view text)
{
    return readGroups<NbHritTimeEntry>(text, 2, [](std::string_view line, NbHritTimeEntry* entry) {
        if (!line.starts_with("TIME")) return false;
        entry->mjd = realOf<double>(valueOf(line));
        return true;
    });
}

std::vector<NbHritQualityEntry> nbpHritReadQuality(std::string_view text)
{
    const auto set = [](std::string_view line, NbHritQualityEntry* entry) {
        if (!line.starts_with("ERROR")) return false;
        entry->error = realOf<double>(valueOf(line));
        return true;
    };
    return readGroups<NbHritQualityEntry>(text, 2, set);
}

NbHritProjection nbpHritReadProjection(std::string_view name)
{
    NbHritProjection projection;
    const auto open = name.find('(');
    const std::string_view inside =
        open == std::string_view::npos ? std::string_view{} : name.substr(open + 1);
    if (name.starts_with("GEOS")) {
        projection.kind = hritDisk;
        if (open != std::string_view::npos) projection.subLon = realOf<double>(inside);
    } else if (name.starts_with("POLAR")) {
        projection.kind = hritPolar;
        const bool south = inside.starts_with('s') || inside.starts_with('S');
        projection.hemisphere = south ? -1.0 : 1.0;
        if (const auto comma = name.find(','); comma != std::string_view::npos)
            projection.reference = realOf<double>(name.substr(comma + 1));
    } else if (name.starts_with("MERCATOR")) {
        projection.kind = hritMercator;
    }
    return projection;
}

bool nbpHritComp(const std::vector<NbHritCompEntry>& table, float line, float* coff, float* loff)
{
    if (table.empty()) return false;
    const auto lineOf = [](const NbHritCompEntry& e) { return static_cast<float>(e.line); };
    const auto after = std::ranges::lower_bound(table, line, {}, lineOf);
    const bool outside = after == table.begin() || after == table.end();
    if (outside || lineOf(*after) == line) {
        const NbHritCompEntry& entry = after == table.end() ? table.back() : *after;
        *coff = entry.coff;
        *loff = entry.loff;
        return true;
    }
    const NbHritCompEntry& a = *(after - 1);
    const NbHritCompEntry& b = *after;
    const float steps = lineOf(b) - lineOf(a);
    const float step = line - lineOf(a);
    *coff = a.coff + (b.coff - a.coff) * step / steps;
    *loff = a.loff + (b.loff - a.loff) * step / steps;
    return true;
}
