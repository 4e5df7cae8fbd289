#include "geo/nbShoreMap.h"

#include "geo/nbShoreMapFormat.h"
#include "util/nbCursor.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace {
// Reads a part of the file whole.
bool readBytes(std::FILE* file, std::int64_t offset, std::span<std::byte> bytes)
{
    return fseeko(file, offset, SEEK_SET) == 0 &&
           std::fread(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

// A number in groups of seven bits, the lowest first; the eighth bit says that more follow.
// Nothing has more than five bytes.
std::uint32_t getPacked(NbCursor& in)
{
    std::uint32_t value = 0;
    for (unsigned shift = 0; shift < 35; shift += 7) {
        const auto group = in.get<std::uint8_t>();
        value |= (group & 0x7FU) << shift;
        if ((group & 0x80U) == 0) break;
    }
    return value;
}

// A packed difference: 0, -1, 1, -2, ... are 0, 1, 2, 3, ...
std::int64_t getDifference(NbCursor& in)
{
    const std::uint32_t packed = getPacked(in);
    const auto half = static_cast<std::int64_t>(packed >> 1);
    return (packed & 1) != 0 ? -half - 1 : half;
}

// The rings of a tile of `size` steps whose north-west corner is at `west`, `north` (steps from
// 180 W and from the south pole); none when the bytes are not such rings.
std::optional<std::vector<std::vector<NbShorePoint>>>
getRings(std::span<const std::byte> bytes, std::int64_t size, std::int64_t west, std::int64_t north)
{
    constexpr double units = nbShoreMapUnits;
    NbCursor in(bytes, NbByteOrder::Little);
    const std::size_t count = getPacked(in);
    constexpr std::size_t leastRing = 7; // bytes: a count and three points
    std::size_t pointsLeft = nbShoreMapMostPoints;
    if (count == 0 || count > std::min(pointsLeft / 3, in.remaining() / leastRing)) return {};
    std::vector<std::vector<NbShorePoint>> rings(count);
    for (auto& ring : rings) {
        const std::size_t points = getPacked(in);
        // A byte or more a coordinate.
        if (points < 3 || points > std::min(pointsLeft, in.remaining() / 2)) return {};
        pointsLeft -= points;
        ring.resize(points);
        std::int64_t x = 0; // from the corner eastward
        std::int64_t y = 0; // and southward
        for (NbShorePoint& point : ring) {
            x += getDifference(in);
            y += getDifference(in);
            if (x < 0 || x > size || y < 0 || y > size) return {};
            point = {static_cast<double>(west + x - 180 * nbShoreMapUnits) / units,
                     static_cast<double>(north - y - 90 * nbShoreMapUnits) / units};
        }
    }
    if (!in.ok() || in.remaining() != 0) return {};
    return rings;
}
} // namespace

NbShoreMap::~NbShoreMap() = default;

std::unique_ptr<NbShoreMap> NbShoreMap::open(const std::string& path, std::string& problem)
{
    const auto refuse = [&problem](const std::string& reason) {
        problem = reason;
        return nullptr;
    };
    std::unique_ptr<NbShoreMap> map(new NbShoreMap);
    map->file_ = nbpFileOpenRead(path.c_str(), false);
    const std::int64_t fileSize = nbpFileSize(map->file_.get());
    if (fileSize < 0) return refuse("cannot be opened");

    std::vector<std::byte> bytes(nbShoreMapHeaderSize);
    NbCursor header(bytes, NbByteOrder::Little);
    if (!readBytes(map->file_.get(), 0, bytes) ||
        header.text(nbShoreMapMagic.size()) != nbShoreMapMagic)
        return refuse("is not a shore map");
    const int version = header.get<std::uint16_t>();
    map->degrees_ = header.get<std::uint16_t>();
    const auto toldSize = header.get<std::uint64_t>();
    if (version != nbShoreMapVersion)
        return refuse("shore map of version " + std::to_string(version) + ", " +
                      std::to_string(nbShoreMapVersion) + " expected");
    if (toldSize != static_cast<std::uint64_t>(fileSize))
        return refuse("shore map of " + std::to_string(toldSize) + " bytes, the file has " +
                      std::to_string(fileSize));
    if (map->degrees_ == 0 || 180 % map->degrees_ != 0)
        return refuse("shore map with tiles of " + std::to_string(map->degrees_) + " degrees");

    const std::size_t tiles =
        static_cast<std::size_t>(map->columns()) * static_cast<std::size_t>(map->rows());
    const std::size_t tableEnd = nbShoreMapHeaderSize + tiles * nbShoreMapEntrySize;
    const std::size_t dataBegin = tableEnd + nbShoreMapChecksumSize;
    constexpr const char* damaged = "shore map with a damaged header or index";
    if (dataBegin > toldSize) return refuse(damaged);
    bytes.resize(dataBegin);
    if (!readBytes(map->file_.get(), 0, bytes)) return refuse("cannot be read");
    NbCursor index(bytes, NbByteOrder::Little);
    index.seek(tableEnd);
    if (index.get<std::uint32_t>() != nbpCrc32(std::span(bytes).first(tableEnd)))
        return refuse(damaged);
    index.seek(nbShoreMapHeaderSize);
    map->index_.resize(tiles);
    auto offset = static_cast<std::int64_t>(dataBegin);
    for (Entry& entry : map->index_) {
        entry.offset = offset;
        entry.length = index.get<std::uint32_t>();
        entry.checksum = index.get<std::uint32_t>();
        if (entry.length == nbShoreMapAllLand) continue;
        if (entry.length > nbShoreMapMostTile) return refuse(damaged);
        offset += entry.length;
    }
    if (offset != fileSize) return refuse(damaged);
    return map;
}

double NbShoreMap::tileSize() const
{
    return degrees_;
}

int NbShoreMap::columns() const
{
    return 360 / degrees_;
}

int NbShoreMap::rows() const
{
    return 180 / degrees_;
}

bool NbShoreMap::read(int column, int row, NbShoreTile& tile, std::string& problem)
{
    tile.land = false;
    tile.rings.clear();
    const std::string name = "tile " + std::to_string(column) + ", " + std::to_string(row);
    if (column < 0 || column >= columns() || row < 0 || row >= rows()) {
        problem = name + " is not in the shore map";
        return false;
    }
    const Entry& entry =
        index_[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns()) +
               static_cast<std::size_t>(column)];
    if (entry.length == nbShoreMapAllWater || entry.length == nbShoreMapAllLand) {
        tile.land = entry.length == nbShoreMapAllLand;
        return true;
    }
    bytes_.resize(entry.length);
    if (!readBytes(file_.get(), entry.offset, bytes_)) {
        problem = name + " of the shore map cannot be read";
        return false;
    }
    const std::int64_t size = std::int64_t{degrees_} * nbShoreMapUnits;
    auto rings = nbpCrc32(bytes_) == entry.checksum
                     ? getRings(bytes_, size, column * size,
                                std::int64_t{180} * nbShoreMapUnits - row * size)
                     : std::nullopt;
    if (!rings) {
        problem = name + " of the shore map is damaged";
        return false;
    }
    tile.rings = std::move(*rings);
    return true;
}
