#include "tools/view/gridFile.h"

#include "tools/view/szdd.h"
#include "util/nbCursor.h"
#include "util/nbFile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <limits>
#include <stdexcept>

namespace nbView {
namespace {

constexpr std::size_t headerBytes = 256;
constexpr float noValue = std::numeric_limits<float>::quiet_NaN();

[[noreturn]] void fail(const std::string& what)
{
    throw std::runtime_error(what);
}

NbFilePtr openInput(const std::string& path)
{
    NbFilePtr file = nbpFileOpenRead(path.c_str());
    std::error_code none;
    if (!file)
        fail(std::filesystem::is_fifo(path, none) ? "is a pipe; a file is expected"
                                                  : "cannot be opened for reading");
    return file;
}

// Reads on until there are `size` bytes.
void readUpTo(std::size_t size, std::FILE* file, std::vector<std::byte>& bytes)
{
    const std::size_t before = bytes.size();
    bytes.resize(size);
    if (std::fread(bytes.data() + before, 1, size - before, file) != size - before)
        fail("cannot be read");
}

// A blank padded field. What no terminal should be sent becomes "?".
std::string readText(NbCursor& in, std::size_t width)
{
    std::string text(in.text(width));
    text.erase(text.find_last_not_of(' ') + 1);
    for (char& c : text)
        if (c < ' ' || c > '~') c = '?';
    return text;
}

// Year as two numbers, month, day, hour, minute, second, millisecond.
NbDateInts readTime(NbCursor& in)
{
    std::int32_t n[8];
    for (std::int32_t& number : n)
        number = std::clamp(in.get<std::int32_t>(), -99999, 99999);
    return {n[0] * 100 + n[1], n[2], n[3], n[4], n[5], n[6], n[7]};
}

void readHeader(std::span<const std::byte> file, GridFile& grid)
{
    if (file.size() < headerBytes) fail("is no nimbex file");
    NbCursor in(file.first(headerBytes), NbByteOrder::Little);
    const auto real = [&in] { return decimal(in.get<float>()); };
    const auto whole = [&in] { return in.get<std::int32_t>(); };

    if (whole() != 256) fail("is no nimbex file");
    grid.label = readText(in, 8);
    grid.satellite = readText(in, 8);
    in.seek(24);
    grid.start = readTime(in);
    grid.end = readTime(in);
    const std::int32_t gridFlag = whole();
    grid.isGrid = gridFlag == 1;
    const std::int32_t width = whole();
    const std::int32_t height = whole();
    grid.stepX = real();
    grid.stepY = real();
    const std::int32_t gridColumns = whole();
    const std::int32_t gridRows = whole();
    grid.rowBytes = 256 * std::uint64_t{in.get<std::uint32_t>()};
    grid.pixelBytes = whole();
    for (GridFile::Corner& corner : grid.corners) {
        corner.lat = real();
        corner.lon = real();
    }
    const std::int32_t tableCount = whole();
    grid.lowLevel = whole();
    grid.highLevel = whole();
    grid.correction = whole();
    in.seek(192);
    for (double& angle : grid.attitude)
        angle = real();
    grid.subLat = real();
    grid.subLon = real();
    grid.distanceKm = decimal(in.get<float>()) / 1000;
    in.seek(248);
    grid.version = readText(in, 4);
    if (whole() != 256) fail("is no nimbex file");

    grid.isVersion10 = grid.version.empty();
    if (grid.isVersion10) grid.version = "1.0";
    grid.columns = grid.isGrid ? gridColumns : width;
    grid.rows = grid.isGrid ? gridRows : height;
    if (grid.isGrid) {
        grid.imageWidth = width;
        grid.imageHeight = height;
    }
    if (gridFlag < 0 || gridFlag > 1 || grid.columns < 1 || grid.rows < 1 ||
        (grid.pixelBytes != 1 && grid.pixelBytes != 2) ||
        grid.rowBytes <
            static_cast<std::uint64_t>(grid.columns) * static_cast<unsigned>(grid.pixelBytes) + 8)
        fail("is damaged: the sizes in its header do not fit each other");
    // The table begins at level 0 behind the block's mark, or the marks lie over its ends and the
    // usable levels begin at 1.
    if (grid.lowLevel < 0 || grid.lowLevel > 1 || tableCount < 1 || tableCount > 65536 ||
        grid.highLevel != grid.lowLevel + tableCount - 1)
        fail("is damaged: the levels in its header do not fit each other");
    if (grid.isGrid && !(grid.stepX > 0 && grid.stepY > 0))
        fail("is damaged: its grid has no steps");
    grid.invalid = grid.isVersion10 ? 0 : grid.pixelBytes == 1 ? 0xFF : 0xFFFF;
}

void readTable(std::span<const std::byte> file, GridFile& grid)
{
    NbCursor in(file, NbByteOrder::Little);
    in.seek(headerBytes);
    const std::uint64_t blockBytes = in.get<std::uint32_t>();
    const auto count = static_cast<std::uint64_t>(grid.highLevel - grid.lowLevel + 1);
    if (!in.ok() || blockBytes % 256 != 0 || (count + 2) * 4 > blockBytes ||
        headerBytes + blockBytes > file.size())
        fail("is damaged: its table does not fit its block");
    grid.cellsAt = headerBytes + blockBytes + 4;
    // Either way the first usable entry stands behind the mark.
    if (grid.lowLevel == 1) grid.table.push_back(noValue);
    for (std::uint64_t i = 0; i < count; ++i) {
        const auto value = in.get<float>();
        grid.table.push_back(std::isfinite(value) ? value : noValue);
    }
    in.seek(static_cast<std::size_t>(grid.cellsAt - 8));
    if (in.get<std::uint32_t>() != blockBytes)
        fail("is damaged: its table block is not closed by its mark");
}

void readRows(std::span<const std::byte> file, GridFile& grid)
{
    const std::uint64_t begin = grid.cellsAt - 4;
    const auto rows = static_cast<std::uint64_t>(grid.rows);
    const std::uint64_t room = (file.size() - begin) / grid.rowBytes;
    if (room < rows || file.size() - begin > rows * grid.rowBytes)
        fail("is damaged: its header says " + std::to_string(rows) + " rows of " +
             std::to_string(grid.rowBytes) + " bytes, " + std::to_string(file.size() - begin) +
             " bytes follow the table");
    const auto columns = static_cast<std::size_t>(grid.columns);
    grid.levels.reserve(columns * static_cast<std::size_t>(rows));
    NbCursor in(file, NbByteOrder::Little);
    for (std::uint64_t row = 0; row < rows; ++row) {
        const std::uint64_t at = begin + row * grid.rowBytes;
        in.seek(static_cast<std::size_t>(at + grid.rowBytes - 4));
        const auto close = in.get<std::uint32_t>();
        in.seek(static_cast<std::size_t>(at));
        if (in.get<std::uint32_t>() != grid.rowBytes || close != grid.rowBytes)
            fail("is damaged: row " + std::to_string(row) + " does not stand between its marks");
        const auto cells = in.bytes(columns * static_cast<std::size_t>(grid.pixelBytes));
        if (grid.pixelBytes == 1) {
            for (const std::byte cell : cells)
                grid.levels.push_back(std::to_integer<std::uint16_t>(cell));
        } else {
            for (std::size_t i = 0; i < cells.size(); i += 2)
                grid.levels.push_back(
                    static_cast<std::uint16_t>(std::to_integer<unsigned>(cells[i]) |
                                               std::to_integer<unsigned>(cells[i + 1]) << 8));
        }
    }
}

template <class Real>
std::string shortest(Real value)
{
    char buffer[64];
    const auto end = std::to_chars(std::begin(buffer), std::end(buffer), value).ptr;
    return {buffer, end};
}

} // namespace

float GridFile::value(int level) const
{
    if (level == invalid || level < 0 || static_cast<std::size_t>(level) >= table.size())
        return noValue;
    return table[static_cast<std::size_t>(level)];
}

GridFile readGridFile(const std::string& path)
{
    GridFile grid;
    grid.path = path;
    try {
        const NbFilePtr input = openInput(path);
        const std::int64_t told = nbpFileSize(input.get());
        if (told < 0) fail("is not a file of known size");
        const auto size = static_cast<std::size_t>(told);
        grid.storedBytes = size;
        std::vector<std::byte> file;
        readUpTo(std::min(size, headerBytes), input.get(), file);
        grid.compressed = isSzdd(file);
        if (!grid.compressed) readHeader(file, grid); // before a large file of another kind is read
        readUpTo(size, input.get(), file);
        if (grid.compressed) {
            file = expandSzdd(file);
            readHeader(file, grid);
        }
        readTable(file, grid);
        readRows(file, grid);
    } catch (const std::runtime_error& e) {
        throw std::runtime_error(path + " : " + e.what());
    }
    return grid;
}

double decimal(float value)
{
    const std::string digits = shortest(value);
    double number = static_cast<double>(value);
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
}

std::string text(float value)
{
    return shortest(value);
}

std::string text(double value)
{
    return shortest(value);
}

CellStatistics cellStatistics(const GridFile& grid)
{
    CellStatistics result;
    result.cells = grid.levels.size();
    result.histogram.resize(65536);
    for (const std::uint16_t level : grid.levels)
        ++result.histogram[level];
    result.invalid = result.histogram[static_cast<std::size_t>(grid.invalid)];

    const auto eachValue = [&](auto&& body) {
        for (int level = 0; level < 65536; ++level) {
            const std::uint64_t n = result.histogram[static_cast<std::size_t>(level)];
            const auto value = static_cast<double>(grid.value(level));
            if (n > 0 && !std::isnan(value)) body(value, static_cast<double>(n), n);
        }
    };
    double sum = 0;
    result.least = std::numeric_limits<double>::infinity();
    result.most = -result.least;
    eachValue([&](double value, double weight, std::uint64_t n) {
        result.valid += n;
        sum += value * weight;
        result.least = std::min(result.least, value);
        result.most = std::max(result.most, value);
    });
    result.lost = result.cells - result.invalid - result.valid;
    if (result.valid == 0) return result;
    const auto count = static_cast<double>(result.valid);
    result.mean = sum / count;
    double squares = 0;
    eachValue([&](double value, double weight, std::uint64_t) {
        squares += (value - result.mean) * (value - result.mean) * weight;
    });
    result.deviation = std::sqrt(squares / count);
    return result;
}

} // namespace nbView
