#include "tools/landMask.h"

#include "tools/noise.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <stdexcept>

std::vector<LandRing> readLandRings(const std::string& path)
{
    std::ifstream file(path);
    if (!file) throw std::runtime_error(path + ": cannot be opened");
    std::vector<LandRing> rings;
    int line = 0;
    for (std::string text; std::getline(file, text);) {
        ++line;
        if (text.empty() || text[0] == '#') continue;
        std::istringstream fields(text);
        int hole = 0; // even-odd filling needs no difference
        bool good = static_cast<bool>(fields >> hole);
        LandRing ring;
        while (good && !(fields >> std::ws).eof()) {
            LandRing::Point& p = ring.points.emplace_back();
            good = fields >> p.lon >> p.lat && std::abs(p.lon) <= 720 && std::abs(p.lat) <= 90;
        }
        if (!good || ring.points.size() < 3)
            throw std::runtime_error(path + ": line " + std::to_string(line) +
                                     " is no ring of land");
        rings.push_back(std::move(ring));
    }
    if (rings.empty()) throw std::runtime_error(path + ": holds no land");
    return rings;
}

LandMask::LandMask(const std::vector<LandRing>& rings, double centreLon)
    : cells_(std::size_t{columns} * rows)
{
    // Where each row's middle cuts the coast; between odd and even cuts lies land.
    std::vector<std::vector<float>> cuts(rows);
    const auto rowOf = [](double lat) { return (halfHeight - lat) * perDegree - 0.5; };
    for (const LandRing& ring : rings) {
        for (std::size_t i = 1; i < ring.points.size(); ++i) {
            const auto [a, b] =
                std::minmax(ring.points[i - 1], ring.points[i],
                            [](const auto& p, const auto& q) { return p.lat > q.lat; });
            // Half-open from north to south, so that a corner is cut once.
            const long first = std::max(std::lround(std::ceil(rowOf(a.lat))), 0L);
            const long end = std::min(std::lround(std::ceil(rowOf(b.lat))), long{rows});
            for (long row = first; row < end; ++row) {
                const double part =
                    (static_cast<double>(row) - rowOf(a.lat)) / (rowOf(b.lat) - rowOf(a.lat));
                cuts[static_cast<std::size_t>(row)].push_back(
                    static_cast<float>(a.lon + part * (b.lon - a.lon)));
            }
        }
    }
    for (std::size_t row = 0; row < cuts.size(); ++row) {
        std::ranges::sort(cuts[row]);
        std::uint8_t* cells = cells_.data() + row * columns;
        for (std::size_t i = 0; i + 1 < cuts[row].size(); i += 2) {
            for (const double turn : {-360.0, 0.0, 360.0}) {
                const auto columnOf = [&](double lon) {
                    const double column = (lon + turn - centreLon + halfWidth) * perDegree - 0.5;
                    return std::lround(std::ceil(std::clamp(column, 0.0, double{columns})));
                };
                std::fill(cells + columnOf(cuts[row][i]), cells + columnOf(cuts[row][i + 1]), 1);
            }
        }
    }
}

float LandMask::at(float dLon, float lat) const
{
    const float x = std::clamp((dLon + halfWidth) * perDegree - 0.5F, 0.0F, columns - 1.01F);
    const float y = std::clamp((halfHeight - lat) * perDegree - 0.5F, 0.0F, rows - 1.01F);
    const std::int32_t column = wholeBelow(x);
    const std::int32_t row = wholeBelow(y);
    const float fx = x - static_cast<float>(column);
    const float fy = y - static_cast<float>(row);
    const std::uint8_t* cell = cells_.data() + row * columns + column;
    const float above = static_cast<float>(cell[0]) * (1 - fx) + static_cast<float>(cell[1]) * fx;
    cell += columns;
    const float below = static_cast<float>(cell[0]) * (1 - fx) + static_cast<float>(cell[1]) * fx;
    return above * (1 - fy) + below * fy;
}
