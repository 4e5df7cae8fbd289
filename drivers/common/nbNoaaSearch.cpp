#include "drivers/common/nbNoaaSearch.h"

#include "drivers/common/nbNoaaAnchor.h"
#include "sat/nbSatObject.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <numbers>

namespace {

constexpr int rows = NbNoaaCells::rows;
constexpr int columns = NbNoaaCells::columns;
constexpr std::int16_t noLine = -1;

// Cells that lines pass through.
struct Extent {
    NbNoaaCells::Layer highest; // noLine for none
    NbNoaaCells::Layer lowest;  // noaaLongest for none

    void add(std::size_t row, std::size_t column, std::int16_t high, std::int16_t low)
    {
        highest[row][column] = std::max(highest[row][column], high);
        lowest[row][column] = std::min(lowest[row][column], low);
    }
};

void addLine(const NbNoaaLine& line, int n, Extent* extent)
{
    for (std::size_t k = 0; k < noaaAnchors; k += 10) {
        // Toward zero, and the pole and the date line belong to the last cells.
        const int row = std::min(nbpTrunc32((line.lat[k] + 90) / 10), rows - 1);
        const int column = std::min(nbpTrunc32((line.lon[k] + 180) / 10), columns - 1);
        if (row < 0 || column < 0) continue; // no place on earth
        const auto at = static_cast<std::int16_t>(n);
        extent->add(static_cast<std::size_t>(row), static_cast<std::size_t>(column), at, at);
    }
}

// Each cell of the rows between the polar ones also counts as one of its four neighbours; a
// polar row is one cell.
void widen(const Extent& narrow, Extent* wide)
{
    for (std::size_t r = 1; r + 1 < rows; ++r)
        for (std::size_t c = 0; c < columns; ++c) {
            const std::int16_t high = narrow.highest[r][c];
            const std::int16_t low = narrow.lowest[r][c];
            if (high == noLine) continue;
            wide->add(r - 1, c, high, low);
            wide->add(r + 1, c, high, low);
            wide->add(r, (c + columns - 1) % columns, high, low);
            wide->add(r, (c + 1) % columns, high, low);
        }
    for (const std::size_t r : {std::size_t{0}, std::size_t{rows - 1}}) {
        wide->highest[r].fill(*std::ranges::max_element(narrow.highest[r]));
        wide->lowest[r].fill(*std::ranges::min_element(narrow.lowest[r]));
    }
}

// Deliberate: a first line of -99 to 99 is taken for a hole, although lines up to 99 are lines
// of the image. With neighbours farther on it becomes their mean, and searches in that cell start
// away from the pass's beginning and come back to it. To spare real lines changes where they
// start, and with it the last digits of what they find.
void fillHoles(NbNoaaCells::Layer* layer)
{
    const auto isHole = [](std::int16_t line) { return line >= -99 && line <= 99; };
    for (std::size_t c = 0; c < columns; ++c)
        for (std::size_t r = 1; r + 1 < rows; ++r) {
            const std::int16_t below = (*layer)[r - 1][c];
            const std::int16_t above = (*layer)[r + 1][c];
            if (isHole((*layer)[r][c]) && !isHole(below) && !isHole(above))
                (*layer)[r][c] = static_cast<std::int16_t>((below + above) / 2);
        }
}

// Anchors are looked at in steps that lead past a cell where the meridians are close and pixels
// wide, so a cell without a line borrows that of the closest one that has it.
NbNoaaCells::Layer borrow(const NbNoaaCells::Layer& first)
{
    constexpr std::size_t reach = 3; // columns; at 75 degrees, 80 of the outer pixels
    NbNoaaCells::Layer near;
    for (std::size_t r = 0; r < rows; ++r)
        for (std::size_t c = 0; c < columns; ++c) {
            std::int16_t line = noLine;
            const auto take = [&](std::size_t row, std::size_t column) {
                if (line == noLine) line = first[row][column % columns];
            };
            for (std::size_t d = 0; first[r][c] == noLine && d <= reach; ++d)
                for (const std::size_t column : {c + columns - d, c + d}) {
                    take(r, column);
                    if (r > 0) take(r - 1, column);
                    if (r + 1 < rows) take(r + 1, column);
                }
            near[r][c] = line;
        }
    return near;
}

// Pixels are wider than lines are apart, by these factors from the nadir outward in anchors.
constexpr double width[] = {1.2, 1.2, 1.2, 1.3, 1.3, 1.3, 1.3, 1.4, 1.4, 1.4, 1.5, 1.6, 1.6,
                            1.7, 1.8, 2.0, 2.1, 2.3, 2.5, 2.7, 3.1, 3.5, 4.0, 4.7, 5.7, 8.0};
static_assert(std::size(width) == 26);

// How far a step may lead out of the image, by the number of the step.
constexpr double pixelMargin[] = {0, 9999, 100, 25, 5, 2, 1, 1, 0.5, 0.5, 0.5};
constexpr double lineMargin[] = {0, 9999, 100, 10, 5, 4, 3, 2, 0.5, 0.5, 0.5};
constexpr int mostSteps = 10;
constexpr int lateStep = 5; // from here on steps stay near by
static_assert(std::size(pixelMargin) == mostSteps + 1 && std::size(lineMargin) == mostSteps + 1);

// A step that moves less has arrived; from the nadir outward, four anchors a row.
constexpr double pixelLimit[] = {0.1, 0.1, 0.1, 0.1, 0.1, 0.2, 0.2};
constexpr double lineLimit[] = {0.1, 0.1, 0.1, 0.2, 0.2, 0.5, 0.5};
static_assert(std::size(pixelLimit) == 7 && std::size(lineLimit) == 7);

// A place with the terms of its latitude; radians.
struct Spot {
    double lon, lat, cosLat, sinLat;

    explicit Spot(const NbNoaaPlace& place)
        : lon(place.lon * noaaRadPerDeg), lat(place.lat * noaaRadPerDeg), cosLat(std::cos(lat)),
          sinLat(std::sin(lat))
    {
    }
};

// Direction and distance of a point seen from another one on the sphere.
struct Turn {
    double c; // cosine of the distance
    double q; // minus the cosine of the azimuth
    double p; // sine of the azimuth
};

Turn rotate(const Spot& base, const Spot& point)
{
    constexpr double small = 1e-06;
    constexpr double turn = 2 * std::numbers::pi;
    const double delta = point.lon - base.lon;
    const double cosD = std::cos(delta);
    const double sinD = std::sin(delta);
    Turn r{};
    r.c = std::min(base.cosLat * point.cosLat * cosD + base.sinLat * point.sinLat, 1.0);
    if (std::fabs(sinD) >= small) {
        if (std::fabs(point.cosLat) >= small) {
            const double t =
                -(base.cosLat * point.sinLat / point.cosLat - base.sinLat * cosD) / sinD;
            r.p = 1 / std::sqrt(t * t + 1);
            if (sinD < 0) r.p = -r.p;
            r.q = r.p * t;
        } else {
            r.p = 0;
            r.q = -point.sinLat;
        }
        return r;
    }
    // On one meridian: north or south.
    const double north = cosD > 0 ? point.lat - base.lat : std::numbers::pi - point.lat - base.lat;
    r.p = 0;
    r.q = std::fmod(north + turn, turn) <= std::numbers::pi ? -1 : 1;
    return r;
}

// A place as seen from `a` on the way to `b`, which is `distance` long.
struct Offset {
    double right; // across the way
    double along;
};

Offset estimate(const NbNoaaPlace& a, const NbNoaaPlace& b, double distance, const Spot& target)
{
    const Spot from(a);
    const Turn way = rotate(from, Spot(b));
    const Turn aim = rotate(from, target);
    const double r = std::acos(aim.c) / std::acos(way.c) * distance;
    return {.right = std::sin(std::atan2(way.p, way.q) - std::atan2(aim.p, aim.q)) * r,
            .along = (way.p * aim.p + way.q * aim.q) * r};
}

// A place on a line at any pixel.
NbNoaaPlace interpLonLat(const NbNoaaLine& line, double pixel)
{
    const int k = nbpNoaaCell(pixel);
    const double v = (pixel - nbpNoaaAnchorPixel(k)) * 0.125;
    const NbNoaaPlane<2> plane({nbpNoaaAnchor(line, k), nbpNoaaAnchor(line, k + 1)});
    const auto mix = [v](const std::array<double, 2>& x) { return (1 - v) * x[0] + v * x[1]; };
    return plane.place(mix(plane.x), mix(plane.y));
}

// One search. Steps go along a scan line and across lines by turns. Each depends on nothing but
// where it starts, so near the end, where they start again and again from the same places, the
// last ones are kept; that saves up to half of them.
class Search {
public:
    Search(const NbNoaaPass& pass, const NbNoaaPlace& target) : pass_(pass), target_(target) {}

    // Toward the target from anchor k of a line.
    Offset alongLine(int n, int k)
    {
        if (n != alongN_ || k != alongK_) {
            const NbNoaaLine& line = lineAt(n);
            along_ = estimate(nbpNoaaAnchor(line, k), nbpNoaaAnchor(line, k + 1), 8, target_);
            alongN_ = n;
            alongK_ = k;
        }
        return along_;
    }

    // Toward the target from a pixel of a line, measured by the line `step` farther on.
    Offset acrossLines(int n, double pixel, int step)
    {
        if (n != acrossN_ || pixel != acrossPixel_ || step != acrossStep_) {
            across_ = estimate(interpLonLat(lineAt(n), pixel),
                               interpLonLat(lineAt(n + step), pixel), step, target_);
            acrossN_ = n;
            acrossPixel_ = pixel;
            acrossStep_ = step;
        }
        return across_;
    }

private:
    const NbNoaaLine& lineAt(int n) const { return pass_.line[static_cast<std::size_t>(n)]; }

    const NbNoaaPass& pass_;
    Spot target_;
    int alongN_ = -1;
    int alongK_ = -1;
    Offset along_{};
    int acrossN_ = -1;
    double acrossPixel_ = 0;
    int acrossStep_ = 0;
    Offset across_{};
};

struct Position {
    double pixel;
    double line;
};

// How far a position lies from the one that shows the target, by the slopes of its cell. Huge or
// no number where the cell has no area.
Position missBy(const NbNoaaPass& pass, const NbNoaaPlace& target, const Position& at)
{
    const NbNoaaCorners c(pass, at.pixel, at.line);
    const NbNoaaPlane<4> plane = c.plane();
    double x = 0;
    double y = 0;
    plane.project(target, &x, &y);
    x -= c.mix(plane.x);
    y -= c.mix(plane.y);
    // On the side of the date line that the cell is not on.
    if (!plane.polar() && std::fabs(x) > 180) x -= std::copysign(360.0, x);
    const auto down = [&c](const std::array<double, 4>& p) {
        return (1 - c.v) * (p[2] - p[0]) + c.v * (p[3] - p[1]);
    };
    const auto right = [&c](const std::array<double, 4>& p) {
        return (1 - c.u) * (p[1] - p[0]) + c.u * (p[3] - p[2]);
    };
    const double xu = down(plane.x);
    const double yu = down(plane.y);
    const double xv = right(plane.x);
    const double yv = right(plane.y);
    const double area = xu * yv - xv * yu;
    return {.pixel = 8 * (xu * y - yu * x) / area, .line = (x * yv - y * xv) / area};
}

bool arrived(const Position& miss, double pixel)
{
    const auto off = static_cast<std::size_t>(std::abs(nbpNoaaCell(pixel) - 25) / 4);
    constexpr double part = 0.9; // slopes tell the miss to some percent
    return std::fabs(miss.line) < part * lineLimit[off] &&
           std::fabs(miss.pixel) < part * pixelLimit[off];
}

// Follows the slopes to the position that shows the target; false when they do not lead to one
// in the image.
bool settle(const NbNoaaPass& pass, const NbNoaaPlace& target, Position* at)
{
    constexpr int mostRounds = 10;
    constexpr double enough = 0.005; // pixels, lines
    const double bottom = pass.lines() - 0.5;
    Position p = *at;
    for (int i = 0; i < mostRounds; ++i) {
        const Position miss = missBy(pass, target, p);
        const Position next = {.pixel = p.pixel + miss.pixel, .line = p.line + miss.line};
        if (!std::isfinite(next.pixel) || !std::isfinite(next.line)) return false;
        if (std::fabs(miss.pixel) < enough && std::fabs(miss.line) < enough) {
            if (next.pixel < -0.5 - enough || next.pixel > 408.5 + enough ||
                next.line < -0.5 - enough || next.line > bottom + enough)
                return false;
            *at = next;
            return true;
        }
        p = {.pixel = std::clamp(next.pixel, -0.5, 408.5),
             .line = std::clamp(next.line, -0.5, bottom)};
    }
    return false;
}

} // namespace

NbNoaaCells nbpNoaaMakeCells(const NbNoaaPass& pass)
{
    constexpr int step = 270;     // lines; less than a cell at any place
    constexpr int onePass = 8000; // lines; an orbit has about 12200
    Extent narrow;
    for (auto& row : narrow.highest)
        row.fill(noLine);
    for (auto& row : narrow.lowest)
        row.fill(noaaLongest);
    const int last = pass.lines() - 1;
    for (int n = 0; n < last; n += step)
        addLine(pass.line[static_cast<std::size_t>(n)], n, &narrow);
    if (last >= 0) addLine(pass.line[static_cast<std::size_t>(last)], last, &narrow);

    Extent wide = narrow;
    widen(narrow, &wide);
    NbNoaaCells cells{.first = wide.highest, .second = wide.lowest, .near = {}};
    for (std::size_t r = 0; r < rows; ++r)
        for (std::size_t c = 0; c < columns; ++c) {
            std::int16_t& first = cells.first[r][c];
            std::int16_t& second = cells.second[r][c];
            if (first == noLine) {
                second = noLine;
            } else if (first - second < onePass) {
                first = static_cast<std::int16_t>((first + second) / 2);
                second = noLine;
            }
        }
    fillHoles(&cells.first);
    cells.near = borrow(cells.first);
    return cells;
}

int nbpNoaaSearch(const NbNoaaPass& pass, double lon, double lat, int line, float* pixelOut,
                  float* lineOut)
{
    const int last = pass.lines() - 1;
    if (last < 1) return NB_NAV_LINE;
    const NbNoaaPlace target = {.lon = lon, .lat = lat};
    const auto write = [&](const Position& at) {
        // Deliberate: the shift is added here and on the way to the earth too, so that there and
        // back moves by twice the shift. Shifts that users have found by landmarks are of this
        // sign; taken off here, their maps move the other way.
        *pixelOut = nbpToFloat(std::min(at.pixel + static_cast<double>(pass.shiftPixel), 408.499));
        *lineOut =
            nbpToFloat(std::min(at.line + static_cast<double>(pass.shiftLine), last + 0.499));
        return 0;
    };
    // Deliberate: steps follow great circles and cells are straight in longitude and latitude. Near
    // the poles these part by some lines, so what the steps give is looked at once more; it would
    // be up to 12 km off.
    const auto found = [&](Position at) {
        if (!arrived(missBy(pass, target, at), at.pixel)) settle(pass, target, &at);
        return write(at);
    };
    // Late steps that leave the image by a little may do so for the same reason.
    const auto left = [&](int step, Position at, int code) {
        return step >= lateStep && settle(pass, target, &at) ? write(at) : code;
    };
    Search search(pass, target);
    double pixel = 204.0;
    double oldPixel = -99.0;
    double oldLine = -99.0;
    for (int step = 1;; ++step) {
        const int k = nbpNoaaCell(pixel);
        const auto off = static_cast<std::size_t>(std::abs(k - 25));
        double newPixel = 0;
        double newLine = 0;
        if (step % 2 == 1) {
            const Offset to = search.alongLine(line, k);
            newLine = line + width[off] * to.right * 0.8;
            newPixel = nbpNoaaAnchorPixel(k) + to.along;
        } else {
            const int stride = std::min(step == 2 ? 100 : step == 4 ? 5 : 1, last);
            line = std::min(line, last - stride);
            const Offset to = search.acrossLines(line, pixel, stride);
            newLine = line + to.along;
            newPixel = pixel - to.right / width[off] * 0.8;
        }
        // Lines without a location have their points in one place, and nothing leads anywhere.
        if (!std::isfinite(newLine) || !std::isfinite(newPixel)) return NB_NAV_CONVERGENCE;

        if (std::fabs(newLine - line) < lineLimit[off / 4] &&
            std::fabs(newPixel - pixel) < pixelLimit[off / 4])
            return found({newPixel, newLine});
        if ((newLine == oldLine && newPixel == oldPixel) || step == mostSteps)
            return found({(oldPixel + newPixel) / 2, (oldLine + newLine) / 2});

        if (newLine < -lineMargin[step] || newLine >= last + lineMargin[step])
            return left(step, {pixel, line + 0.0}, NB_NAV_LINE);
        if (newPixel < -pixelMargin[step] || newPixel >= 408 + pixelMargin[step])
            return left(step, {pixel, line + 0.0}, NB_NAV_PIXEL);
        newLine = std::clamp(newLine, -0.5, last + 0.5);
        newPixel = std::clamp(newPixel, -0.5, 408.5);
        oldLine = newLine;
        oldPixel = newPixel;
        line = std::min(nbpTrunc32(std::floor(newLine + 0.5)), last);
        pixel = newPixel;
    }
}
