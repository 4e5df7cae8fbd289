#include "tools/map/gshhg.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <netcdf.h>
#include <stdexcept>

namespace {
// An open netCDF file; what it lacks ends in std::runtime_error.
class NetCdf {
public:
    explicit NetCdf(const std::string& path) : path_(path)
    {
        if (const int code = nc_open(path.c_str(), NC_NOWRITE, &id_); code != NC_NOERR)
            throw std::runtime_error(path + ": " + nc_strerror(code));
    }
    ~NetCdf() { nc_close(id_); }
    NetCdf(const NetCdf&) = delete;
    NetCdf& operator=(const NetCdf&) = delete;

    // A variable of one dimension, whole.
    std::vector<int> integers(const char* name) const
    {
        int variable = 0;
        int dimensions = 0;
        check(nc_inq_varid(id_, name, &variable), name);
        check(nc_inq_varndims(id_, variable, &dimensions), name);
        if (dimensions != 1) fail(std::string(name) + " has not one dimension");
        int dimension = 0;
        std::size_t length = 0;
        check(nc_inq_vardimid(id_, variable, &dimension), name);
        check(nc_inq_dimlen(id_, dimension, &length), name);
        if (length == 0 || length > maxLength) fail(std::string(name) + " has no sensible length");
        std::vector<int> values(length);
        check(nc_get_var_int(id_, variable, values.data()), name);
        return values;
    }
    int integer(const char* name) const { return integers(name)[0]; }

    [[noreturn]] void fail(const std::string& problem) const
    {
        throw std::runtime_error(path_ + ": " + problem);
    }

private:
    static constexpr std::size_t maxLength = std::size_t{1} << 28;

    void check(int code, const char* name) const
    {
        if (code != NC_NOERR) fail(std::string(name) + ": " + nc_strerror(code));
    }

    std::string path_;
    int id_ = 0;
};

// Positions in a bin are counted from its south-west corner; the field is an unsigned one in a
// signed type.
constexpr int binSide = 65535;
struct BinPoint {
    int x;
    int y;
};

// One piece of shore in a bin: closed, or from border to border.
using Shore = std::vector<BinPoint>;

// Border position, counter-clockwise from the south-west corner.
int alongBorder(BinPoint p)
{
    if (p.y == 0) return p.x;
    if (p.x == binSide) return binSide + p.y;
    if (p.y == binSide) return 3 * binSide - p.x;
    return 4 * binSide - p.y;
}

constexpr std::array<BinPoint, 4> corners = {
    {{0, 0}, {binSide, 0}, {binSide, binSide}, {0, binSide}}}; // counter-clockwise

// The corners from one border position counter-clockwise to another.
Shore cornersBetween(int from, int to)
{
    if (to < from) to += 4 * binSide;
    Shore passed;
    for (int corner = from / binSide + 1; corner * binSide < to; ++corner)
        passed.push_back(corners[static_cast<std::size_t>(corner) % 4]);
    return passed;
}

// Joins pieces of shore along those parts of the bin's border that are land. All have land on
// their left: from where one ends land goes on counter-clockwise to where the next begins.
std::vector<Shore> closeShores(const std::vector<Shore>& open)
{
    std::multimap<int, std::size_t> begins; // pieces that are not come to yet
    for (std::size_t i = 0; i < open.size(); ++i)
        begins.emplace(alongBorder(open[i].front()), i);
    std::vector<Shore> rings;
    std::vector<bool> used(open.size());
    for (std::size_t start = 0; start < open.size(); ++start) {
        if (used[start]) continue;
        Shore& ring = rings.emplace_back();
        std::size_t i = start;
        do {
            used[i] = true;
            ring.insert(ring.end(), open[i].begin(), open[i].end());
            const int end = alongBorder(open[i].back());
            auto next = begins.lower_bound(end);
            if (next == begins.end()) next = begins.begin();
            const Shore passed = cornersBetween(end, next->first);
            ring.insert(ring.end(), passed.begin(), passed.end());
            i = next->second;
            begins.erase(next);
        } while (i != start);
    }
    return rings;
}
} // namespace

ShoreSource readGshhg(const std::string& path)
{
    const NetCdf file(path);
    const int minutes = file.integer("Bin_size_in_minutes");
    if (minutes < 60 || minutes % 60 != 0 || 180 % (minutes / 60) != 0)
        file.fail("bins of " + std::to_string(minutes) + " minutes");
    const int degrees = minutes / 60;
    const int columns = 360 / degrees;
    const auto bins = static_cast<std::size_t>(columns) * static_cast<std::size_t>(180 / degrees);

    const auto firstShore = file.integers("Id_of_first_segment_in_a_bin");
    const auto shoreCount = file.integers("N_segments_in_a_bin");
    const auto nodes = file.integers("Embedded_node_levels_in_a_bin");
    const auto shores = file.integers("Embedded_npts_levels_exit_entry_for_a_segment");
    const auto firstPoint = file.integers("Id_of_first_point_in_a_segment");
    const auto x = file.integers("Relative_longitude_from_SW_corner_of_bin");
    const auto y = file.integers("Relative_latitude_from_SW_corner_of_bin");
    if (firstShore.size() != bins || shoreCount.size() != bins || nodes.size() != bins ||
        firstPoint.size() != shores.size() || x.size() != y.size())
        file.fail("its tables do not fit together");

    ShoreSource source;
    source.name = "GSHHG, " + std::filesystem::path(path).filename().string();
    // Tiles that end where bins do: the seams of bins are no shore then.
    source.tileDegrees = std::min(degrees, 5);
    while (degrees % source.tileDegrees != 0)
        --source.tileDegrees;

    auto left = static_cast<std::int64_t>(x.size()); // points: each is one shore's
    for (std::size_t bin = 0; bin < bins; ++bin) {
        std::vector<Shore> open;
        std::vector<Shore> rings;
        const std::int64_t end = std::int64_t{firstShore[bin]} + (shoreCount[bin] & 0xFFFF);
        if (firstShore[bin] < 0 || end > static_cast<std::int64_t>(shores.size()))
            file.fail("bin " + std::to_string(bin) + " has shores that are not there");
        for (auto i = static_cast<std::size_t>(firstShore[bin]); i < static_cast<std::size_t>(end);
             ++i) {
            // Bits from the lowest: side of exit and of entry (4 closed), level, points.
            const auto packed = static_cast<std::uint32_t>(shores[i]);
            const std::int64_t count = packed >> 9;
            const std::int64_t first = firstPoint[i];
            if (first < 0 || count < 2 || first + count > static_cast<std::int64_t>(x.size()))
                file.fail("shore " + std::to_string(i) + " has points that are not there");
            left -= count;
            if (left < 0) file.fail("its shores have more points than there are");
            // Levels 1 to 4 are shores of land, lake, island and pond: each parts land from water.
            // Others are the grounding line under Antarctica's ice.
            if ((packed >> 6 & 7) > 4) continue;
            Shore shore;
            for (auto p = static_cast<std::size_t>(first);
                 p < static_cast<std::size_t>(first + count); ++p)
                shore.push_back({x[p] & 0xFFFF, y[p] & 0xFFFF});
            ((packed & 7) == 4 ? rings : open).push_back(std::move(shore));
        }
        // Where no shore meets the border, the corners tell: four levels of three bits, odd on
        // land.
        if (open.empty() && (nodes[bin] & 1) != 0)
            rings.emplace_back(corners.begin(), corners.end());
        for (Shore& ring : closeShores(open))
            rings.push_back(std::move(ring));

        const auto column = static_cast<int>(bin) % columns;
        const auto row = static_cast<int>(bin) / columns;
        const auto west = static_cast<double>(column * degrees);
        const auto south = static_cast<double>(90 - (row + 1) * degrees);
        const double step = static_cast<double>(degrees) / binSide;
        for (const Shore& ring : rings) {
            LandRing& land = source.land.emplace_back();
            for (const BinPoint p : ring)
                land.points.push_back({west + p.x * step, south + p.y * step});
        }
    }
    return source;
}
