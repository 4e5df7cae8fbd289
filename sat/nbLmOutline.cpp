#include "sat/nbLmOutline.h"

#include "sat/nbSatNav.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace {

constexpr double noValue = -9999.0;
constexpr double radian = std::numbers::pi / 180;

// Longest edge that is drawn as one line, degrees. Over it a straight line of longitude and
// latitude leaves a straight line of the image by less than 100 m, up to 80 degrees of latitude.
constexpr double longestEdge = 0.25;

// Points of a ring beyond which edges are no longer divided: no coast has as many in one tile, and
// what has them shall not fill the memory.
constexpr std::size_t mostRingPoints = 1'000'000;

// Points of an outline beyond which it takes no more and is not drawn: the finest coasts have some
// thousands around a place.
constexpr std::size_t mostOutlinePoints = 100'000;

// Cuts of a drawing's rows with an outline beyond which nothing is drawn: no coast winds as much.
constexpr std::size_t mostCuts = 400'000;

// Points closer than this to the one before are left out, pixels.
constexpr float leastStep = 0.03F;

double wrapped(double lon)
{
    return std::remainder(lon, 360.0);
}

// Solves the symmetric system a x = b in place, for two right sides. False when it has no
// solution.
template <std::size_t n>
bool solve(std::array<std::array<double, n>, n>& a, std::array<double, n>& b,
           std::array<double, n>& c)
{
    for (std::size_t k = 0; k < n; ++k) {
        if (!(a[k][k] > 1e-9)) return false;
        for (std::size_t i = k + 1; i < n; ++i) {
            const double factor = a[i][k] / a[k][k];
            for (std::size_t j = k; j < n; ++j)
                a[i][j] -= factor * a[k][j];
            b[i] -= factor * b[k];
            c[i] -= factor * c[k];
        }
    }
    for (std::size_t k = n; k-- > 0;) {
        for (std::size_t j = k + 1; j < n; ++j) {
            b[k] -= a[k][j] * b[j];
            c[k] -= a[k][j] * c[j];
        }
        b[k] /= a[k][k];
        c[k] /= a[k][k];
    }
    return true;
}

} // namespace

void NbLmView::toEarth(std::span<float> pixel, std::span<float> line, std::span<double> lon,
                       std::span<double> lat) const
{
    for (float& p : pixel)
        p = nbpToFloat(static_cast<double>(p) - startPixel);
    for (float& l : line)
        l = nbpToFloat(static_cast<double>(l) - startLine);
    nbSatPixLinToLonLat(object, pixel.data(), line.data(), lon.data(), lat.data(),
                        static_cast<int>(lon.size()));
    for (std::size_t i = 0; i < lon.size(); ++i)
        if (!(std::fabs(lon[i]) <= 720 && std::fabs(lat[i]) <= 90)) lon[i] = lat[i] = noValue;
}

void NbLmView::toImage(std::span<const double> lon, std::span<const double> lat,
                       std::span<float> pixel, std::span<float> line) const
{
    nbSatLonLatToPixLin(object, lon.data(), lat.data(), pixel.data(), line.data(),
                        static_cast<int>(lon.size()));
    constexpr auto none = static_cast<float>(noValue);
    for (std::size_t i = 0; i < lon.size(); ++i) {
        if (pixel[i] == none || line[i] == none) continue;
        pixel[i] = nbpToFloat(static_cast<double>(pixel[i]) + startPixel);
        line[i] = nbpToFloat(static_cast<double>(line[i]) + startLine);
    }
}

NbLmSurroundings::NbLmSurroundings(const NbLmView& view, int pixel, int line, int half)
{
    // Five by five points of the image, to the earth and back: what counts is where the forward
    // navigation puts a place, and the image's edge and the limb are known before it is asked.
    constexpr int side = 5;
    constexpr int count = side * side;
    std::array<float, count> p, l;
    std::array<double, count> lon, lat;
    for (int i = 0; i < count; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const int row = i / side - 2;
        p[at] = nbpToFloat(pixel + half * (i % side - 2) / 2.0);
        l[at] = nbpToFloat(line + half * row / 2.0);
    }
    const std::array<float, count> pAsked = p, lAsked = l;
    view.toEarth(p, l, lon, lat);
    if (std::ranges::find(lon, noValue) != lon.end()) return;
    view.toImage(lon, lat, p, l);
    for (std::size_t i = 0; i < count; ++i)
        if (!(std::fabs(p[i] - pAsked[i]) <= 1 && std::fabs(l[i] - lAsked[i]) <= 1)) return;

    lon_ = lon[count / 2];
    lat_ = lat[count / 2];
    sinLat_ = std::sin(lat_ * radian);
    cosLat_ = std::cos(lat_ * radian);
    double reach = 0;
    std::array<Flat, count> q;
    for (std::size_t i = 0; i < count; ++i) {
        q[i] = flat(lon[i], lat[i]);
        reach = std::max({reach, std::fabs(q[i].e), std::fabs(q[i].n)});
    }
    if (!(reach > 0 && reach < 0.7)) return; // radian: beyond it the plane folds the earth
    reach_ = reach;

    std::array<std::array<double, terms>, terms> a{};
    std::array<double, terms> x{}, y{};
    std::array<double, terms> row;
    for (std::size_t i = 0; i < count; ++i) {
        q[i].e /= reach;
        q[i].n /= reach;
        powers(q[i], row);
        const double dx = static_cast<double>(p[i]) - pixel;
        const double dy = static_cast<double>(l[i]) - line;
        for (std::size_t j = 0; j < terms; ++j) {
            for (std::size_t k = 0; k < terms; ++k)
                a[j][k] += row[j] * row[k];
            x[j] += row[j] * dx;
            y[j] += row[j] * dy;
        }
    }
    if (!solve(a, x, y)) return;
    std::ranges::copy(x, x_);
    std::ranges::copy(y, y_);

    // A navigation that jumps within the square is no map.
    constexpr double tolerance = 0.1; // pixels
    for (std::size_t i = 0; i < count; ++i) {
        powers(q[i], row);
        double dx = static_cast<double>(p[i]) - pixel;
        double dy = static_cast<double>(l[i]) - line;
        for (std::size_t j = 0; j < terms; ++j) {
            dx -= row[j] * x_[j];
            dy -= row[j] * y_[j];
        }
        if (!(std::fabs(dx) <= tolerance && std::fabs(dy) <= tolerance)) return;
    }
    good_ = true;
}

NbLmSurroundings::Flat NbLmSurroundings::flat(double lon, double lat) const
{
    const double dLon = (lon - lon_) * radian;
    const double sinLat = std::sin(lat * radian);
    const double cosLat = std::cos(lat * radian);
    return {.e = cosLat * std::sin(dLon) / reach_,
            .n = (cosLat_ * sinLat - sinLat_ * cosLat * std::cos(dLon)) / reach_};
}

void NbLmSurroundings::powers(Flat p, std::span<double, terms> out)
{
    const double e2 = p.e * p.e;
    const double n2 = p.n * p.n;
    const double values[terms] = {1,  p.e,      p.n,      e2,       p.e * p.n,
                                  n2, e2 * p.e, e2 * p.n, p.e * n2, n2 * p.n};
    std::ranges::copy(values, out.begin());
}

bool NbLmSurroundings::meets(double west, double south, double tileSize) const
{
    const double half = tileSize / 2;
    const double reach = 1.5 * reach_ / radian + half; // the square's corners
    if (std::fabs(south + half - lat_) > reach) return false;
    const double poleward = std::max(std::fabs(lat_), std::fabs(south + half) + half);
    const double narrow = std::cos(std::min(poleward, 89.0) * radian);
    return std::fabs(wrapped(west + half - lon_)) <=
           half + 1.5 * reach_ / radian / std::max(narrow, 0.02);
}

void NbLmSurroundings::add(const NbShoreTile& tile, double west, double south, double tileSize,
                           Scratch& scratch, NbLmOutline& outline) const
{
    if (tile.rings.empty() && tile.land) {
        const NbShorePoint square[] = {{west, south},
                                       {west + tileSize, south},
                                       {west + tileSize, south + tileSize},
                                       {west, south + tileSize}};
        addRing(square, scratch, outline);
    }
    for (const auto& ring : tile.rings)
        addRing(ring, scratch, outline);
}

void NbLmSurroundings::addRing(std::span<const NbShorePoint> ring, Scratch& scratch,
                               NbLmOutline& outline) const
{
    auto& [points, cut] = scratch;
    if (ring.size() < 3 || outline.points.size() > mostOutlinePoints) return;
    points.clear();
    NbShorePoint last = ring.back();
    Flat least = {9, 9};
    Flat most = {-9, -9};
    for (const NbShorePoint& point : ring) {
        const double dLon = point.lon - last.lon;
        const double dLat = point.lat - last.lat;
        const double length = std::max(std::fabs(dLon), std::fabs(dLat));
        const double pieces = points.size() < mostRingPoints ? std::ceil(length / longestEdge) : 1;
        for (int i = 1; i < pieces; ++i)
            points.push_back(flat(last.lon + dLon * i / pieces, last.lat + dLat * i / pieces));
        points.push_back(flat(point.lon, point.lat));
        last = point;
    }
    for (const Flat& p : points) {
        least = {std::min(least.e, p.e), std::min(least.n, p.n)};
        most = {std::max(most.e, p.e), std::max(most.n, p.n)};
    }
    // The square on earth, and a little more for its corners in a curved image.
    constexpr double end = 1.05;
    if (least.e > end || least.n > end || most.e < -end || most.n < -end) return;

    // Cut at the four sides in turn.
    for (const auto& [axis, sign] : {std::pair{&Flat::e, 1.0}, std::pair{&Flat::e, -1.0},
                                     std::pair{&Flat::n, 1.0}, std::pair{&Flat::n, -1.0}}) {
        if (points.empty()) return;
        cut.clear();
        Flat before = points.back();
        for (const Flat& p : points) {
            const double over = sign * (p.*axis) - end;
            const double overBefore = sign * (before.*axis) - end;
            if ((over <= 0) != (overBefore <= 0)) {
                const double part = overBefore / (overBefore - over);
                cut.push_back(
                    {before.e + part * (p.e - before.e), before.n + part * (p.n - before.n)});
            }
            if (over <= 0) cut.push_back(p);
            before = p;
        }
        std::swap(points, cut);
    }

    const std::size_t begin = outline.points.size();
    std::array<double, terms> row;
    for (const Flat& p : points) {
        powers(p, row);
        double x = 0;
        double y = 0;
        for (std::size_t j = 0; j < terms; ++j) {
            x += row[j] * x_[j];
            y += row[j] * y_[j];
        }
        const NbLmOutline::Point point = {nbpToFloat(x), nbpToFloat(y)};
        if (outline.points.size() > begin) {
            const auto& previous = outline.points.back();
            if (std::fabs(previous.x - point.x) + std::fabs(previous.y - point.y) < leastStep)
                continue;
        }
        if (outline.points.size() > mostOutlinePoints) return;
        outline.points.push_back(point);
    }
    if (outline.points.size() - begin < 3)
        outline.points.resize(begin);
    else
        outline.ends.push_back(outline.points.size());
}

void NbLmRaster::draw(const NbLmOutline& outline, float dx, float dy, int half,
                      std::vector<float>& share)
{
    constexpr int fine = 8; // rows a pixel; along a row the share is exact
    const int side = 2 * half + 1;
    share.assign(static_cast<std::size_t>(side) * static_cast<std::size_t>(side), 0.0F);
    if (outline.points.size() > mostOutlinePoints) return;
    const float left = static_cast<float>(half) + 0.5F; // from the square's edge to its middle

    // Where each fine row, taken at its middle, cuts an outline.
    cuts_.clear();
    std::size_t begin = 0;
    const auto rowOf = [&](float y) { return (y + dy + left) * fine - 0.5F; };
    for (const std::size_t end : outline.ends) {
        NbLmOutline::Point a = outline.points[end - 1];
        for (; begin < end; ++begin) {
            const NbLmOutline::Point b = outline.points[begin];
            const float ya = rowOf(a.y);
            const float yb = rowOf(b.y);
            // Half-open, so that a corner is cut once.
            const int first = std::max(nbpTrunc32(std::ceil(std::min(ya, yb))), 0);
            const int last = std::min(nbpTrunc32(std::ceil(std::max(ya, yb))), side * fine);
            if (first < last) {
                if (cuts_.size() > mostCuts) return;
                const float slope = (b.x - a.x) / (yb - ya);
                for (int row = first; row < last; ++row)
                    cuts_.push_back(
                        {row, a.x + (static_cast<float>(row) - ya) * slope + dx + left});
            }
            a = b;
        }
    }
    std::ranges::sort(cuts_, [](const Cut& a, const Cut& b) {
        return a.row != b.row ? a.row < b.row : a.x < b.x;
    });

    // Each cut adds, or takes away, all that lies to its right: as differences first.
    const auto width = static_cast<float>(side);
    bool odd = false;
    for (std::size_t i = 0; i < cuts_.size(); ++i) {
        odd = i > 0 && cuts_[i - 1].row == cuts_[i].row ? !odd : true;
        const float x = std::clamp(cuts_[i].x, 0.0F, width);
        const int column = std::min(nbpTrunc32(x), side - 1);
        const float part = x - static_cast<float>(column);
        const float one = odd ? 1.0F / fine : -1.0F / fine;
        float* cell =
            share.data() + static_cast<std::ptrdiff_t>(cuts_[i].row / fine) * side + column;
        cell[0] += one * (1 - part);
        if (column + 1 < side) cell[1] += one * part;
    }
    for (float* row = share.data(); row < share.data() + share.size(); row += side)
        for (int i = 1; i < side; ++i)
            row[i] += row[i - 1];
}
