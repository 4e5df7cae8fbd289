#include "tools/map/shoreTiles.h"

#include "geo/nbShoreMapFormat.h"
#include "tools/wholeFile.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace {
using Point = ShoreTiles::Point;
using Ring = ShoreTiles::Ring;
using Tile = ShoreTiles::Tile;
using Axis = std::int64_t Point::*;

constexpr std::int64_t worldWidth = std::int64_t{360} * nbShoreMapUnits;
constexpr std::int64_t worldHeight = worldWidth / 2;
// Closer to a pole a point is on it, 111 m: sources close Antarctica there.
constexpr std::int64_t poleMargin = nbShoreMapUnits / 1000;

std::int64_t floorDivide(std::int64_t a, std::int64_t b)
{
    return a / b - (a % b < 0 ? 1 : 0);
}

// The same meridian within half a turn of another.
std::int64_t nearTo(std::int64_t x, std::int64_t other)
{
    while (x - other > worldWidth / 2)
        x -= worldWidth;
    while (x - other < -worldWidth / 2)
        x += worldWidth;
    return x;
}

// The ring in steps, without jumps, closed over the pole when it goes round one.
Ring gridRing(const std::vector<LandRing::Point>& ring)
{
    Ring points;
    points.reserve(ring.size() + 4);
    std::int64_t sum = 0; // of y
    for (const LandRing::Point& p : ring) {
        if (!(std::abs(p.lon) <= 720) || !(std::abs(p.lat) <= 90))
            throw std::runtime_error("no position on earth: " + std::to_string(p.lon) + " " +
                                     std::to_string(p.lat));
        Point point{std::llround((p.lon + 180) * nbShoreMapUnits),
                    std::llround((90 - p.lat) * nbShoreMapUnits)};
        if (point.y <= poleMargin) point.y = 0;
        if (point.y >= worldHeight - poleMargin) point.y = worldHeight;
        if (!points.empty()) point.x = nearTo(point.x, points.back().x);
        if (std::abs(point.x) > 4 * worldWidth)
            throw std::runtime_error("a ring winds round the world");
        points.push_back(point);
        sum += point.y;
    }
    if (points.empty()) return points;
    const Point end{nearTo(points.front().x, points.back().x), points.front().y};
    if (end.x != points.front().x) {
        const bool south = sum > worldHeight / 2 * static_cast<std::int64_t>(points.size());
        const std::int64_t pole = south ? worldHeight : 0;
        points.push_back(end);
        points.push_back({end.x, pole});
        points.push_back({points.front().x, pole});
    }
    return points;
}

// A ring with a point more wherever an edge crosses a line of the grid. Both sides of the line
// take it from here, so that what is cut apart fits together.
Ring withCrossings(const Ring& ring, Axis axis, std::int64_t width)
{
    const Axis other = axis == &Point::x ? &Point::y : &Point::x;
    Ring out;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const Point& a = ring[i];
        const Point& b = ring[(i + 1) % ring.size()];
        out.push_back(a);
        const std::int64_t length = b.*axis - a.*axis;
        if (length == 0) continue;
        const double slope = static_cast<double>(b.*other - a.*other) / static_cast<double>(length);
        const std::int64_t step = length > 0 ? width : -width;
        // The first line beyond a.
        std::int64_t line = floorDivide(a.*axis, width) * width;
        if (length > 0 || line == a.*axis) line += step;
        for (; (b.*axis - line) * step > 0; line += step) {
            Point& cut = out.emplace_back();
            cut.*axis = line;
            cut.*other = a.*other + std::llround(slope * static_cast<double>(line - a.*axis));
        }
    }
    return out;
}

// Calls use(n, piece) for each strip n of a width that a ring reaches into. A piece may touch
// itself along the strip's borders; inside the strip even-odd holds as for the ring.
template <class Use>
void forStrips(const Ring& ring, Axis axis, std::int64_t width, Use&& use)
{
    const Ring noted = withCrossings(ring, axis, width);
    const auto [low, high] = std::ranges::minmax(ring, {}, axis);
    const std::int64_t last = floorDivide(high.*axis - 1, width);
    for (std::int64_t n = floorDivide(low.*axis, width); n <= last; ++n) {
        Ring piece;
        std::ranges::copy_if(noted, std::back_inserter(piece), [=](const Point& point) {
            return point.*axis >= n * width && point.*axis <= (n + 1) * width;
        });
        if (piece.size() >= 3) use(n, piece);
    }
}

// Whether points lie on one side of a tile's border.
template <class... More>
bool onOneSide(std::int64_t size, const Point& first, const More&... more)
{
    const auto all = [&](Axis axis, std::int64_t line) {
        return first.*axis == line && ((more.*axis == line) && ...);
    };
    return all(&Point::x, 0) || all(&Point::x, size) || all(&Point::y, 0) || all(&Point::y, size);
}

// Takes out double points, and those between two others on one side of the tile.
Ring tidyRing(const Ring& ring, std::int64_t size)
{
    const auto idle = [size](const Point& a, const Point& b, const Point& c) {
        return a == b || b == c || onOneSide(size, a, b, c);
    };
    Ring out;
    for (const Point& point : ring) {
        while (out.size() >= 2 && idle(out[out.size() - 2], out.back(), point))
            out.pop_back();
        out.push_back(point);
    }
    while (out.size() > 1 && out.back() == out.front())
        out.pop_back();
    return out;
}

bool runsOnBorder(const Ring& ring, std::int64_t size)
{
    for (std::size_t i = 0; i < ring.size(); ++i)
        if (!onOneSide(size, ring[i], ring[(i + 1) % ring.size()])) return false;
    return true;
}

// Adds a piece of a ring, in steps from the tile's corner.
void addToTile(Tile& tile, const Ring& piece, std::int64_t size)
{
    Ring ring = tidyRing(piece, size);
    if (ring.size() < 3) return;
    if (!runsOnBorder(ring, size)) {
        tile.rings.push_back(std::move(ring));
        return;
    }
    // Goes round the tile once, or not at all.
    std::int64_t area = 0; // twice the area
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const Point& a = ring[i];
        const Point& b = ring[(i + 1) % ring.size()];
        area += a.x * b.y - b.x * a.y;
    }
    if (area / (2 * size * size) % 2 != 0) tile.land = !tile.land;
}

class ByteWriter {
public:
    template <class T>
    void put(T value)
    {
        for (std::size_t i = 0; i < sizeof(T); ++i)
            bytes.push_back(static_cast<std::byte>(static_cast<std::uint64_t>(value) >> 8 * i));
    }
    void text(std::string_view s, std::size_t width)
    {
        for (std::size_t i = 0; i < width; ++i)
            bytes.push_back(static_cast<std::byte>(i < s.size() ? s[i] : '\0'));
    }
    // Seven bits a byte, the lowest first.
    void packed(std::uint64_t value)
    {
        for (; value >= 0x80; value >>= 7)
            put(static_cast<std::uint8_t>(value | 0x80));
        put(static_cast<std::uint8_t>(value));
    }
    void difference(std::int64_t value)
    {
        packed(value < 0 ? static_cast<std::uint64_t>(-value) * 2 - 1
                         : static_cast<std::uint64_t>(value) * 2);
    }

    std::vector<std::byte> bytes;
};

std::size_t countPoints(const Tile& tile)
{
    std::size_t count = tile.land ? 4 : 0;
    for (const Ring& ring : tile.rings)
        count += ring.size();
    return count;
}

std::vector<std::byte> tileBytes(const Tile& tile, std::int64_t size)
{
    ByteWriter out;
    const auto putRing = [&out](const Ring& ring) {
        out.packed(ring.size());
        Point last{0, 0};
        for (const Point& point : ring) {
            out.difference(point.x - last.x);
            out.difference(point.y - last.y);
            last = point;
        }
    };
    out.packed(tile.rings.size() + (tile.land ? 1 : 0));
    if (tile.land) putRing({{0, 0}, {size, 0}, {size, size}, {0, size}});
    for (const Ring& ring : tile.rings)
        putRing(ring);
    return std::move(out.bytes);
}
} // namespace

ShoreTiles::ShoreTiles(int degrees)
    : degrees_(degrees), size_(std::int64_t{degrees} * nbShoreMapUnits)
{
    if (degrees < 1 || 180 % degrees != 0)
        throw std::runtime_error("tiles of " + std::to_string(degrees) + " degrees do not fit");
    tiles_.resize(static_cast<std::size_t>(worldWidth / size_ * (worldHeight / size_)));
}

void ShoreTiles::add(const std::vector<LandRing::Point>& ring)
{
    const Ring steps = gridRing(ring);
    if (steps.size() < 3) return;
    const std::int64_t columns = worldWidth / size_;
    forStrips(steps, &Point::x, size_, [&](std::int64_t n, const Ring& strip) {
        const std::int64_t column = n - floorDivide(n, columns) * columns;
        forStrips(strip, &Point::y, size_, [&](std::int64_t row, Ring piece) {
            for (Point& point : piece)
                point = {point.x - n * size_, point.y - row * size_};
            addToTile(tiles_[static_cast<std::size_t>(row * columns + column)], piece, size_);
        });
    });
}

void ShoreTiles::write(const std::string& path, std::string_view source) const
{
    ByteWriter index;
    std::vector<std::byte> data;
    for (const Tile& tile : tiles_) {
        if (tile.rings.empty()) {
            index.put(tile.land ? nbShoreMapAllLand : nbShoreMapAllWater);
            index.put(std::uint32_t{0});
            continue;
        }
        const std::vector<std::byte> bytes = tileBytes(tile, size_);
        if (countPoints(tile) > nbShoreMapMostPoints)
            throw std::runtime_error("a tile would have " + std::to_string(countPoints(tile)) +
                                     " points, at most " + std::to_string(nbShoreMapMostPoints) +
                                     " expected");
        index.put(static_cast<std::uint32_t>(bytes.size()));
        index.put(nbpCrc32(bytes));
        data.insert(data.end(), bytes.begin(), bytes.end());
    }

    ByteWriter map;
    map.text(nbShoreMapMagic, nbShoreMapMagic.size());
    map.put(nbShoreMapVersion);
    map.put(static_cast<std::uint16_t>(degrees_));
    map.put(std::uint64_t{nbShoreMapHeaderSize + index.bytes.size() + nbShoreMapChecksumSize +
                          data.size()});
    map.text(source, nbShoreMapSourceSize);
    map.bytes.insert(map.bytes.end(), index.bytes.begin(), index.bytes.end());
    map.put(nbpCrc32(map.bytes));
    map.bytes.insert(map.bytes.end(), data.begin(), data.end());

    writeWholeFile(path, map.bytes);
}
