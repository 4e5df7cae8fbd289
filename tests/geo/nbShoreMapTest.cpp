#include "geo/nbShoreMap.h"

#include "geo/nbShoreMapFormat.h"
#include "tests/support/support.h"
#include "tools/map/shoreSource.h"
#include "tools/map/shoreTiles.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <numbers>
#include <tuple>

namespace {
constexpr double degree = std::numbers::pi / 180;

std::unique_ptr<NbShoreMap> openMap(const std::string& path)
{
    std::string problem;
    auto map = NbShoreMap::open(path, problem);
    EXPECT_NE(map, nullptr) << problem;
    return map;
}

NbShoreTile readTile(NbShoreMap& map, int column, int row)
{
    NbShoreTile tile;
    std::string problem;
    EXPECT_TRUE(map.read(column, row, tile, problem)) << problem;
    return tile;
}

bool isLand(const NbShoreTile& tile, double lon, double lat)
{
    bool land = tile.land;
    for (const auto& ring : tile.rings) {
        NbShorePoint a = ring.back();
        for (const NbShorePoint& b : ring) {
            if ((a.lat > lat) != (b.lat > lat) &&
                lon < a.lon + (lat - a.lat) / (b.lat - a.lat) * (b.lon - a.lon))
                land = !land;
            a = b;
        }
    }
    return land;
}

bool isLand(NbShoreMap& map, double lon, double lat)
{
    const auto index = [&](double degrees) {
        return static_cast<int>(std::floor(degrees / map.tileSize()));
    };
    return isLand(readTile(map, index(lon + 180), index(90 - lat)), lon, lat);
}

// Calls use(tile, lon, lat) for points between those of a grid of whole degrees / n.
void forPoints(NbShoreMap& map, int n,
               const std::function<void(const NbShoreTile&, double, double)>& use)
{
    const int count = static_cast<int>(map.tileSize()) * n;
    for (int row = 0; row < map.rows(); ++row)
        for (int column = 0; column < map.columns(); ++column) {
            const NbShoreTile tile = readTile(map, column, row);
            for (int i = 0; i < count * count; ++i)
                use(tile, -180 + column * map.tileSize() + (i % count + 0.47) / n,
                    90 - row * map.tileSize() - (i / count + 0.53) / n);
        }
}

// Expects that shore which ends on a border goes on behind it, and gives the number of places.
std::size_t countJoints(NbShoreMap& map)
{
    // Ends of shore on borders, of both tiles: an even number at each point.
    std::map<std::tuple<char, double, double>, int> ends;
    const double size = map.tileSize();
    const auto onBorder = [size](double degrees) { return std::remainder(degrees, size) == 0; };
    for (int row = 0; row < map.rows(); ++row)
        for (int column = 0; column < map.columns(); ++column)
            for (const auto& ring : readTile(map, column, row).rings) {
                NbShorePoint a = ring.back();
                for (const NbShorePoint& b : ring) {
                    const bool border =
                        (a.lon == b.lon && onBorder(a.lon)) || (a.lat == b.lat && onBorder(a.lat));
                    for (const NbShorePoint& p : {a, b}) {
                        const double lon = p.lon == -180 ? 180 : p.lon;
                        if (!border && onBorder(lon)) ++ends[{'x', lon, p.lat}];
                        if (!border && onBorder(p.lat)) ++ends[{'y', lon, p.lat}];
                    }
                    a = b;
                }
            }
    for (const auto& [end, count] : ends)
        EXPECT_EQ(count % 2, 0) << get<0>(end) << ' ' << get<1>(end) << ' ' << get<2>(end);
    return ends.size();
}

// Long edges at a slant.
const std::vector<LandRing::Point> slantingShape = {{-150, -11}, {-100, -53}, {-145, -60}};

// Land of simple shapes: whole tiles, a lake, a ring over 180, two polar caps.
const std::vector<std::vector<LandRing::Point>> shapes = {
    {{30, 0}, {60, 0}, {60, 30}, {30, 30}},       // its corners are those of a tile of 30 degrees
    {{45, 10}, {50, 10}, {50, 20}, {45, 20}},     // lake in it
    {{-90, 60}, {0, 60}, {0, 30}, {-90, 30}},     // three tiles wide
    {{-75, 60}, {-75, 45}, {-45, 45}, {-45, 60}}, // bay that opens on a border
    {{170, 5}, {-170, 5}, {-170, -15}, {170, -15}},
    {{175, -35}, {185, -35}, {185, -45}, {175, -45}}, // runs on
    slantingShape,
    {{0, -70}, {120, -70}, {-120, -70}},
    {{0, -89.9995}, {120, -89.9995}, {-120, -89.9995}}, // the end of a cap short of its pole
    {{-180, 85}, {-60, 85}, {60, 85}, {180, 85}, {180, 90}, {-180, 90}}, // along the pole
};

bool isLandOfShapes(double lon, double lat)
{
    const auto inside = [&](double west, double east, double south, double north) {
        return lon > west && lon < east && lat > south && lat < north;
    };
    const auto rightOf = [&](double lon1, double lat1, double lon2, double lat2) {
        return (lon2 - lon1) * (lat - lat1) < (lat2 - lat1) * (lon - lon1);
    };
    return (inside(30, 60, 0, 30) && !inside(45, 50, 10, 20)) ||
           (inside(-90, 0, 30, 60) && !inside(-75, -45, 45, 60)) ||
           ((lon > 170 || lon < -170) && inside(-180, 180, -15, 5)) ||
           ((lon > 175 || lon < -175) && inside(-180, 180, -45, -35)) || lat < -70 || lat > 85 ||
           (rightOf(-150, -11, -100, -53) && rightOf(-100, -53, -145, -60) &&
            rightOf(-145, -60, -150, -11));
}

void writeShapes(const std::string& path, int degrees)
{
    ShoreTiles tiles(degrees);
    for (const auto& ring : shapes)
        tiles.add(ring);
    tiles.write(path, "shapes");
}

template <class T>
void putNumber(Bytes* bytes, std::size_t offset, T value)
{
    std::memcpy(bytes->data() + offset, &value, sizeof(T));
}

constexpr const char* gshhg = "/usr/share/gmt-gshhg/binned_GSHHS_l.nc";

// A netCDF file, of the classic format, of lists of integers.
Bytes netCdf(const std::vector<std::pair<std::string, std::vector<int>>>& lists)
{
    Bytes out;
    const auto put = [&out](std::size_t number) {
        const Bytes bytes = numberBytes(number, 4, true);
        out.insert(out.end(), bytes.begin(), bytes.end());
    };
    const auto putName = [&](const std::string& name) {
        put(name.size());
        for (const char c : name)
            out.push_back(static_cast<std::byte>(c));
        out.resize((out.size() + 3) / 4 * 4);
    };
    const auto putNumbers = [&put](std::initializer_list<std::size_t> numbers) {
        for (const std::size_t number : numbers)
            put(number);
    };
    constexpr std::size_t headBytes = 4096;        // room for all names
    putNumbers({0x43444601, 0, 10, lists.size()}); // "CDF" and 1, no records, the dimensions
    for (const auto& [name, values] : lists) {
        putName(name);
        put(values.size());
    }
    putNumbers({0, 0, 11, lists.size()}); // no attributes, the variables
    std::size_t begin = headBytes;
    for (std::size_t i = 0; i < lists.size(); ++i) {
        const std::size_t length = 4 * lists[i].second.size();
        putName(lists[i].first);
        putNumbers({1, i, 0, 0, 4, length, begin}); // dimension i, no attributes, integers
        begin += length;
    }
    out.resize(headBytes);
    for (const auto& [name, values] : lists)
        for (const int value : values)
            put(static_cast<std::uint32_t>(value));
    return out;
}

// Shorelines of the repository, and those of a Debian package where it is installed.
class ShoreMapOf : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        if (GetParam() == gshhg && (!MAP_READS_GSHHG || !std::filesystem::exists(gshhg)))
            GTEST_SKIP() << gshhg << " or the netCDF library is not installed";
        makeShoreMap(GetParam(), dir / "map.dat");
        map = openMap(dir / "map.dat");
        ASSERT_NE(map, nullptr);
    }

    TempDir dir;
    std::unique_ptr<NbShoreMap> map;
};
INSTANTIATE_TEST_SUITE_P(Sources, ShoreMapOf, testing::Values(TOOLS_DATA "/land.txt", gshhg));
} // namespace

TEST(ShoreMap, ShapesComeBackFromTilesOfEverySize)
{
    const TempDir dir;
    for (const int degrees : {90, 30, 4, 1}) {
        writeShapes(dir / "map.dat", degrees);
        const auto map = openMap(dir / "map.dat");
        ASSERT_NE(map, nullptr);
        EXPECT_EQ(map->columns() * map->tileSize(), 360);
        EXPECT_EQ(map->rows() * map->tileSize(), 180);
        int wrong = 0;
        forPoints(*map, 1, [&](const NbShoreTile& tile, double lon, double lat) {
            wrong += isLand(tile, lon, lat) != isLandOfShapes(lon, lat) ? 1 : 0;
        });
        EXPECT_EQ(wrong, 0) << degrees;
    }
    EXPECT_TRUE(isLand(*openMap(dir / "map.dat"), 10.3, -89.9999));
    // A tile that is land to its border has no ring, and neither have its neighbours.
    writeShapes(dir / "map.dat", 5);
    const auto map = openMap(dir / "map.dat");
    for (const auto& [lon, land] :
         {std::pair{27.5, false}, {32.5, true}, {57.5, true}, {62.5, false}}) {
        const NbShoreTile tile = readTile(*map, static_cast<int>((lon + 180) / 5), 12);
        EXPECT_TRUE(tile.rings.empty() && tile.land == land) << lon;
    }
}

TEST_P(ShoreMapOf, KnowsPlaces)
{
    struct Place {
        const char* name;
        double lon, lat;
        bool land;
    };
    constexpr Place places[] = {
        {"Tokyo", 139.5, 35.7, true},
        {"Pacific south of Honshu", 137, 30, false},
        {"Paris", 2.35, 48.85, true},
        {"Channel", -1, 50.2, false},
        {"Nairobi", 36.8, -1.3, true},
        {"Gulf of Guinea", 0.1, 0.1, false},
        {"Sicily", 14, 37.5, true},
        {"Strait of Gibraltar", -5.6, 35.95, false},
        {"Viti Levu", 178, -17.8, true},
        {"Taveuni, at 180", -179.98, -16.83, true},
        {"Koro Sea", 179.99, -18, false},
        {"Chukotka west of 180", 179.9, 67.5, true},
        {"Chukotka east of 180", -179.9, 67.5, true},
        {"Gulf of Anadyr", -179.9, 64, false},
        {"Wrangel Island", 179.99, 71.2, true},
        {"Caspian Sea", 51, 42, false},
        {"North Pole", 0.1, 89.99995, false},
        {"South Pole", 0.1, -89.99995, true},
        {"South Pole, other side", -179.9, -89.99995, true},
        {"Antarctica at 180 W", -179.99, -85, true},
        {"Antarctica at 180 E", 179.99, -85, true},
        {"Ross Sea", 179.9, -76, false},
        {"Greenland's ice", -40, 72, true},
    };
    for (const Place& place : places)
        EXPECT_EQ(isLand(*map, place.lon, place.lat), place.land) << place.name;
    if (GetParam() != gshhg) return;
    constexpr Place inland[] = {
        {"Lake Superior", -87.5, 47.5, false},
        {"Manitoulin, an island in Lake Huron", -82, 45.7, true},
        {"Lake Victoria", 33, -1, false},
        {"Ross Ice Shelf", 179.9, -80.5, true},
    };
    for (const Place& place : inland)
        EXPECT_EQ(isLand(*map, place.lon, place.lat), place.land) << place.name;
}

// 148.9 of 510.1 million km2 are land (The World Factbook), 29.2 %; sources differ by lakes
// (0.4 %) and ice shelves (0.3 %).
TEST_P(ShoreMapOf, HasThePublishedShareOfLand)
{
    double land = 0;
    double all = 0;
    forPoints(*map, 2, [&](const NbShoreTile& tile, double lon, double lat) {
        all += std::cos(lat * degree);
        if (isLand(tile, lon, lat)) land += std::cos(lat * degree);
    });
    EXPECT_NEAR(land / all, 0.292, 0.006);
}

TEST_P(ShoreMapOf, ShoresGoOnInTheNextTile)
{
    EXPECT_GT(countJoints(*map), 1000U);
}

// Its long edges cross many tiles, at points that are rounded.
TEST(ShoreMap, EdgesOverManyTilesGoOnInTheNext)
{
    const TempDir dir;
    ShoreTiles tiles(1);
    tiles.add(slantingShape);
    tiles.write(dir / "map.dat", "triangle");
    // Lines of whole degrees: 49 + 44 + 4 meridians and 41 + 6 + 48 parallels are crossed, and
    // three corners lie on one of each.
    EXPECT_EQ(countJoints(*openMap(dir / "map.dat")), 198U);
}

TEST(ShoreMapDamage, OfHeaderIndexAndLengthIsFoundAtOpen)
{
    const TempDir dir;
    const std::string path = dir / "map.dat";
    writeShapes(path, 90);
    const Bytes good = readFile(path);
    constexpr std::size_t head = 64 + 8 * 8 + 4; // header, eight tiles, checksum
    ASSERT_GT(good.size(), head);
    const auto refuses = [&](const Bytes& bytes) {
        writeFile(path, bytes);
        std::string problem;
        return NbShoreMap::open(path, problem) == nullptr && !problem.empty();
    };
    for (std::size_t i = 0; i < head; ++i) {
        Bytes bad = good;
        bad[i] ^= static_cast<std::byte>(1U << i % 8);
        EXPECT_TRUE(refuses(bad)) << "byte " << i;
    }
    writeFile(path, good);
    for (std::size_t length = good.size(); length-- > 0;) {
        std::filesystem::resize_file(path, length);
        std::string problem;
        EXPECT_EQ(NbShoreMap::open(path, problem), nullptr) << length;
        EXPECT_FALSE(problem.empty());
    }
    Bytes longer = good;
    longer.push_back(std::byte{0});
    EXPECT_TRUE(refuses(longer));

    // Lengths that lie under a right checksum.
    EXPECT_EQ(nbpCrc32(std::as_bytes(std::span("123456789", 9))), 0xCBF43926U); // published
    for (const std::uint32_t length : {0U, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
        Bytes bad = good;
        putNumber(&bad, 64, length);
        putNumber(&bad, head - 4, nbpCrc32(std::span(bad).first(head - 4)));
        EXPECT_TRUE(refuses(bad)) << length;
    }
}

TEST(ShoreMapDamage, OfATileIsFoundInThatTileOnly)
{
    const TempDir dir;
    const std::string path = dir / "map.dat";
    writeShapes(path, 90);
    const Bytes good = readFile(path);
    constexpr std::size_t head = 64 + 8 * 8 + 4;
    std::size_t end = head;
    std::size_t holder = 0; // of the byte
    for (std::size_t i = head; i < good.size(); ++i) {
        for (; i >= end; ++holder)
            end += numberAt<std::uint32_t>(good, 64 + 8 * holder);
        Bytes bad = good;
        bad[i] ^= static_cast<std::byte>(1U << i % 8);
        writeFile(path, bad);
        const auto map = openMap(path);
        ASSERT_NE(map, nullptr);
        for (std::size_t k = 0; k < 8; ++k) {
            NbShoreTile tile;
            std::string problem;
            const bool read =
                map->read(static_cast<int>(k % 4), static_cast<int>(k / 4), tile, problem);
            EXPECT_EQ(read, k + 1 != holder) << "byte " << i << " tile " << k;
            EXPECT_EQ(problem.empty(), read);
        }

        // Under right checksums whatever is read is rings in the tile.
        const std::size_t entry = 64 + 8 * (holder - 1);
        const std::size_t length = numberAt<std::uint32_t>(bad, entry);
        putNumber(&bad, entry + 4, nbpCrc32(std::span(bad).subspan(end - length, length)));
        putNumber(&bad, head - 4, nbpCrc32(std::span(bad).first(head - 4)));
        writeFile(path, bad);
        NbShoreTile tile;
        std::string problem;
        const int column = static_cast<int>(holder - 1) % 4;
        const int row = static_cast<int>(holder - 1) / 4;
        if (!openMap(path)->read(column, row, tile, problem)) continue;
        for (const auto& ring : tile.rings) {
            EXPECT_GE(ring.size(), 3U);
            for (const NbShorePoint& point : ring)
                EXPECT_TRUE(std::abs(point.lon - (-135 + 90 * column)) <= 45 &&
                            std::abs(point.lat - (45 - 90 * row)) <= 45);
        }
    }
    writeFile(path, good);
    const auto map = openMap(path);
    NbShoreTile tile;
    for (const auto& [column, row] : {std::pair{-1, 0}, {4, 0}, {0, -1}, {0, 2}}) {
        std::string problem;
        EXPECT_FALSE(map->read(column, row, tile, problem) || problem.empty());
    }
}

// Two bytes a point are little beside what a reader makes of them.
TEST(ShoreMapDamage, ATileOfMorePointsThanAnyCoastIsRefused)
{
    const TempDir dir;
    writeShapes(dir / "map.dat", 90);
    const Bytes good = readFile(dir / "map.dat");
    constexpr std::size_t head = 64 + 8 * 8 + 4;
    constexpr std::size_t last = 64 + 8 * 7; // entry of the last tile, whose bytes are the last
    for (const std::uint32_t count : {4'000'000U, 4'000'001U}) {
        Bytes tile = {std::byte{1}}; // a ring, its count in four groups of bits, its points
        for (const unsigned shift : {0U, 7U, 14U, 21U})
            tile.push_back(static_cast<std::byte>((count >> shift & 0x7F) | (shift < 21) << 7));
        tile.resize(tile.size() + 2 * count);
        Bytes bytes = good;
        bytes.resize(good.size() - numberAt<std::uint32_t>(good, last));
        bytes.insert(bytes.end(), tile.begin(), tile.end());
        putNumber(&bytes, 12, std::uint64_t{bytes.size()});
        putNumber(&bytes, last, static_cast<std::uint32_t>(tile.size()));
        putNumber(&bytes, last + 4, nbpCrc32(tile));
        putNumber(&bytes, head - 4, nbpCrc32(std::span(bytes).first(head - 4)));
        writeFile(dir / "map.dat", bytes);
        NbShoreTile read;
        std::string problem;
        EXPECT_EQ(openMap(dir / "map.dat")->read(3, 1, read, problem), count == 4'000'000U);
    }
}

TEST(MapMaker, RefusesWhatIsNoLandAndLeavesTheMapAlone)
{
    const TempFile source("0 10 10 20 10 20 20\n0 10 10 20 ten\n");
    const TempFile map("as it was");
    const ProgramResult bad = runProgram(NIMBEX_MAP_PROGRAM, {source.path(), map.path()});
    EXPECT_EQ(bad.status, 1);
    EXPECT_EQ(bad.err, "nimbex-map : " + source.path() + ": line 2 is no ring of land\n");
    EXPECT_EQ(readFile(map.path()).size(), 9U);
    for (const char* const ring :
         {"0 10 10 20 10 20 91", "0 10 10 20 10 721 20", "0 10 10 20 10 nan 20",
          "0 10 10 20 10 20 20 10", "0 10 10 20 10 20 20 1e999"}) {
        const TempFile nowhere(ring);
        const ProgramResult result = runProgram(NIMBEX_MAP_PROGRAM, {nowhere.path(), map.path()});
        EXPECT_EQ(result.status, 1) << ring;
        EXPECT_NE(result.err.find("line 1 is no ring of land"), std::string::npos) << ring;
    }
    EXPECT_EQ(runProgram(NIMBEX_MAP_PROGRAM, {map.path()}).status, 2);
    EXPECT_EQ(runProgram(NIMBEX_MAP_PROGRAM, {"--foo", source.path(), map.path()}).status, 2);
    const TempFile land("0 10 10 20 10 20 20\n");
    EXPECT_EQ(runProgram(NIMBEX_MAP_PROGRAM, {land.path(), land.path()}).status, 2);
    EXPECT_EQ(readFile(land.path()).size(), 20U);
    EXPECT_EQ(runProgram(NIMBEX_MAP_PROGRAM, {"--help"}).status, 0);
}

// A shore is a count and a place in the list of points: many that share theirs would make much of a
// small file.
TEST(MapMaker, RefusesShoresOfMorePointsThanThereAre)
{
    if (!MAP_READS_GSHHG) GTEST_SKIP() << "the netCDF library is not installed";
    const TempDir dir;
    for (const int points : {6, 5}) {
        constexpr int closedLand = 3 << 9 | 1 << 6 | 4; // of three points
        std::vector<int> x = {10000, 20000, 20000, 30000, 40000, 40000};
        std::vector<int> y = {10000, 10000, 20000, 10000, 10000, 20000};
        x.resize(static_cast<std::size_t>(points));
        y.resize(x.size());
        writeFile(dir / "shores.nc", netCdf({{"Bin_size_in_minutes", {180 * 60}}, // two bins
                                             {"Id_of_first_segment_in_a_bin", {0, 2}},
                                             {"N_segments_in_a_bin", {2, 0}},
                                             {"Embedded_node_levels_in_a_bin", {0, 0}},
                                             {"Embedded_npts_levels_exit_entry_for_a_segment",
                                              {closedLand, closedLand}},
                                             {"Id_of_first_point_in_a_segment", {0, points - 3}},
                                             {"Relative_longitude_from_SW_corner_of_bin", x},
                                             {"Relative_latitude_from_SW_corner_of_bin", y}}));
        const ProgramResult result =
            runProgram(NIMBEX_MAP_PROGRAM, {dir / "shores.nc", dir / "map.dat"});
        EXPECT_EQ(result.status, points == 6 ? 0 : 1) << result.err;
    }
    // 180 / 65535 of a degree a step: the first slope rises from 27.5 E 62.5 S to 54.9 E 35.1 S.
    EXPECT_TRUE(isLand(*openMap(dir / "map.dat"), 48, -52));
    EXPECT_FALSE(isLand(*openMap(dir / "map.dat"), 38, -42));
}
