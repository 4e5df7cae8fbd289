// nimbex-view info: what a file says of itself, and statistics of its cells.
#include "tools/view/commands.h"
#include "tools/view/gridFile.h"
#include "tools/view/quantity.h"

#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace nbView {
namespace {

// snprintf into a string.
__attribute__((format(printf, 1, 2))) std::string format(const char* form, ...)
{
    char buffer[512];
    va_list values;
    va_start(values, form);
    std::vsnprintf(buffer, sizeof buffer, form, values);
    va_end(values);
    return buffer;
}

// "2020-08-01T03:00:20.500Z", or empty when the header has no time.
std::string isoTime(const NbDateInts& t)
{
    if (t.year < 1 || t.year > 9999 || t.month < 1 || t.month > 12 || t.day < 1 || t.day > 31 ||
        t.hour < 0 || t.hour > 24 || t.minute < 0 || t.minute > 59 || t.second < 0 ||
        t.second > 60 || t.millisecond < 0 || t.millisecond > 999)
        return {};
    return format("%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", t.year, t.month, t.day, t.hour, t.minute,
                  t.second, t.millisecond);
}

constexpr std::array cornerNames = {"north-west", "north-east", "south-west", "south-east"};
constexpr std::array edgeNames = {"first from the top", "from the right", "from the left",
                                  "from the bottom"};

// First and last usable level with a value; -1 when there is none.
int edgeLevel(const GridFile& grid, int from, int to, int step)
{
    for (int level = from; level != to + step; level += step)
        if (!std::isnan(grid.table[static_cast<std::size_t>(level)])) return level;
    return -1;
}

std::string degrees(double value, char positive, char negative)
{
    return format("%.4f %c", std::fabs(value), value < 0 ? negative : positive);
}

void print(const char* name, const std::string& value)
{
    std::printf("%-12s %s\n", name, value.c_str());
}

void printText(const GridFile& grid)
{
    const Meaning meaning = meaningOf(grid.label);
    const std::string unit = meaning.unit[0] != '\0' ? std::string(" ") + meaning.unit : "";
    const std::string start = isoTime(grid.start), end = isoTime(grid.end);
    print("file",
          grid.path + format(", nimbex %s, %d-byte cells, %llu bytes%s", grid.version.c_str(),
                             grid.pixelBytes, static_cast<unsigned long long>(grid.storedBytes),
                             grid.compressed ? ", SZDD-compressed" : ""));
    print("label", (grid.label.empty() ? "none" : grid.label) + " : " +
                       (meaning.quantity == Quantity::Unknown ? "unknown quantity" : meaning.name) +
                       (unit.empty() ? "" : " in" + unit));
    std::string satellite = grid.satellite.empty() ? "none" : grid.satellite;
    if (!grid.isVersion10)
        satellite += format(", over %s %s, %.1f km from the earth's centre",
                            degrees(grid.subLon, 'E', 'W').c_str(),
                            degrees(grid.subLat, 'N', 'S').c_str(), grid.distanceKm);
    print("satellite", satellite);
    if (!grid.isVersion10)
        print("attitude", format("%.6g, %.6g, %.6g degrees", grid.attitude[0], grid.attitude[1],
                                 grid.attitude[2]));
    print("start", start.empty() ? "none" : start);
    print("end", end.empty() ? "none" : end);
    const std::string size = format("%d x %d cells", grid.columns, grid.rows);
    if (grid.isGrid) {
        print("map", "latitude-longitude grid, " + size + " of " + text(grid.stepX) + " x " +
                         text(grid.stepY) + " degrees");
        const auto extent = [](int pixels) { return std::to_string(std::llabs(pixels)); };
        print("source",
              extent(grid.imageWidth) + " x " + extent(grid.imageHeight) + " pixels of the image");
    } else {
        print("map", size + "; the projection is not in the file");
    }
    for (std::size_t i = 0; i < grid.corners.size(); ++i)
        print(i > 0         ? ""
              : grid.isGrid ? "corners"
                            : "image cells",
              format("%-18s %s %s", grid.isGrid ? cornerNames[i] : edgeNames[i],
                     degrees(grid.corners[i].lat, 'N', 'S').c_str(),
                     degrees(grid.corners[i].lon, 'E', 'W').c_str()));
    std::string levels = format("%d to %d", grid.lowLevel, grid.highLevel);
    const int first = edgeLevel(grid, grid.lowLevel, grid.highLevel, 1);
    const int last = edgeLevel(grid, grid.highLevel, grid.lowLevel, -1);
    if (first >= 0)
        levels += " : " + text(grid.table[static_cast<std::size_t>(first)]) + " to " +
                  text(grid.table[static_cast<std::size_t>(last)]) + unit;
    if (grid.correction != 0) levels += "; the calibration needs correcting";
    print("levels", levels);

    const CellStatistics cells = cellStatistics(grid);
    print("cells",
          format("%llu with a value, %llu without", static_cast<unsigned long long>(cells.valid),
                 static_cast<unsigned long long>(cells.cells - cells.valid)) +
              (cells.lost > 0 ? format(" (%llu at a level without a value)",
                                       static_cast<unsigned long long>(cells.lost))
                              : ""));
    if (cells.valid > 0)
        print("values", format("min %.6g  max %.6g  mean %.6g  deviation %.6g", cells.least,
                               cells.most, cells.mean, cells.deviation) +
                            unit);
}

// JSON has no word for what is not finite.
std::string number(double value)
{
    return std::isfinite(value) ? text(value) : "null";
}

std::string quoted(const std::string& value)
{
    std::string out = "\"";
    for (const char c : value) {
        if (c == '"' || c == '\\')
            out += std::string("\\") + c;
        else if (static_cast<unsigned char>(c) < ' ')
            out += format("\\u%04x", static_cast<unsigned>(c));
        else
            out += c;
    }
    return out + "\"";
}

// The members of an object, in order.
class JsonObject {
public:
    JsonObject& add(const char* name, const std::string& json)
    {
        members_ += (members_.empty() ? "" : ", ") + quoted(name) + ": " + json;
        return *this;
    }
    JsonObject& add(const char* name, double value) { return add(name, number(value)); }
    JsonObject& add(const char* name, bool value)
    {
        return add(name, std::string(value ? "true" : "false"));
    }
    JsonObject& add(const char* name, int value) { return add(name, std::to_string(value)); }
    JsonObject& add(const char* name, std::uint64_t value)
    {
        return add(name, std::to_string(value));
    }
    std::string text() const { return "{" + members_ + "}"; }

private:
    std::string members_;
};

std::string array(auto&& items, auto&& json)
{
    std::string out;
    for (const auto& item : items)
        out += (out.empty() ? "" : ", ") + json(item);
    return "[" + out + "]";
}

std::string timeJson(const NbDateInts& t)
{
    const std::string iso = isoTime(t);
    return iso.empty() ? "null" : quoted(iso);
}

void printJson(const GridFile& grid)
{
    const Meaning meaning = meaningOf(grid.label);
    const CellStatistics cells = cellStatistics(grid);
    JsonObject out;
    out.add("file", quoted(grid.path)).add("version", quoted(grid.version));
    out.add("compressed", grid.compressed).add("bytes", grid.storedBytes);
    out.add("label", quoted(grid.label)).add("satellite", quoted(grid.satellite));
    out.add("quantity", meaning.quantity == Quantity::Unknown ? "null" : quoted(meaning.name));
    out.add("unit", meaning.quantity == Quantity::Unknown ? "null" : quoted(meaning.unit));
    out.add("start", timeJson(grid.start)).add("end", timeJson(grid.end));
    out.add("projection", quoted(grid.isGrid ? "grid" : "unknown"));
    out.add("columns", grid.columns).add("rows", grid.rows).add("bytesPerCell", grid.pixelBytes);
    if (grid.isGrid) {
        out.add("stepLon", grid.stepX).add("stepLat", grid.stepY);
        out.add("imageWidth", grid.imageWidth).add("imageHeight", grid.imageHeight);
    }
    out.add("corners", array(grid.corners, [](const GridFile::Corner& corner) {
                return JsonObject().add("lat", corner.lat).add("lon", corner.lon).text();
            }));
    if (!grid.isVersion10) {
        out.add("attitude", array(grid.attitude, number));
        out.add("subLat", grid.subLat).add("subLon", grid.subLon);
        out.add("distanceKm", grid.distanceKm);
    }
    out.add("correction", grid.correction);
    out.add("lowLevel", grid.lowLevel).add("highLevel", grid.highLevel);
    out.add("invalidLevel", grid.invalid);
    out.add("table", array(std::span(grid.table).subspan(static_cast<std::size_t>(grid.lowLevel)),
                           [](float value) { return std::isnan(value) ? "null" : text(value); }));
    JsonObject statistics;
    statistics.add("cells", cells.cells).add("valid", cells.valid);
    statistics.add("invalid", cells.invalid).add("withoutValue", cells.lost);
    if (cells.valid > 0)
        statistics.add("min", cells.least)
            .add("max", cells.most)
            .add("mean", cells.mean)
            .add("deviation", cells.deviation);
    out.add("statistics", statistics.text());
    std::puts(out.text().c_str());
}

int run(const CommandLine& line)
{
    const GridFile grid = readGridFile(line.positional()[0]);
    line.has("--json") ? printJson(grid) : printText(grid);
    return 0;
}

constexpr OptionSpec options[] = {
    {"--json", nullptr, "the same as one JSON object, with the level table"}};

} // namespace

constexpr CommandSpec infoCommand{
    "info",  "FILE", "Header, level table and statistics of the cells in physical units.",
    options, 1,      1,
    run};

} // namespace nbView
