#include "sat/nbLmWindow.h"

#include "util/nbNumber.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

// Share of the template, and of its land and its sea, that must be free of cloud.
constexpr double leastClear = 0.3;
constexpr double leastOfKind = 0.25;
// Land, or sea, of fewer pixels than this is no pattern.
constexpr int leastPixels = 8;
// Widest range of counts whose sums over a template fit 32 bits.
constexpr int countBits = 12;

// What is left of the image when a part of its brightest or darkest pixels is taken for cloud.
struct Cut {
    double low, high; // shares of the window's pixels, by their counts
};
constexpr Cut cuts[] = {{0, 1},    {0, 0.75}, {0, 0.55}, {0, 0.4}, {0, 0.28},
                        {0.25, 1}, {0.45, 1}, {0.6, 1},  {0.72, 1}};

// A peak of less correlation, or so near to the second one, is no match.
constexpr float leastCorrelation = 0.55F;
constexpr float mostSecond = 0.9F;
// Pixels around the peak that belong to it: the larger the template, the broader its peak.
int peakRadius(int halfTemplate, int reach)
{
    return std::clamp(halfTemplate / 6, 2, std::max(reach / 2, 2));
}

// Terms of the fit: a plane (three), the land, and its change with either shift.
constexpr std::size_t terms = 6;
constexpr std::size_t landTerm = 3;
constexpr std::size_t shiftX = 4;
constexpr std::size_t shiftY = 5;

constexpr int leastRounds = 3;
constexpr int mostRounds = 15;
constexpr double longestStep = 0.6; // pixels
constexpr double farthestShift = 2; // from where the fit starts, pixels
constexpr double convergedStep = 0.02;
constexpr double leastContrast = 2.5;
constexpr double sigmaOfMedian = 1.4826; // of a normal distribution
constexpr double leastSigma = 0.3;       // counts: they are whole numbers
constexpr double farthest = 4.5;         // standard deviations beyond which a pixel is cloud

using Matrix = std::array<std::array<double, terms>, terms>;
using Vector = std::array<double, terms>;

// Inverse of a symmetric matrix in place; false when it has none.
bool invert(Matrix& a)
{
    for (std::size_t k = 0; k < terms; ++k) {
        const double pivot = a[k][k];
        if (!(pivot > 1e-9)) return false;
        a[k][k] = 1;
        for (double& v : a[k])
            v /= pivot;
        for (std::size_t i = 0; i < terms; ++i) {
            if (i == k) continue;
            const double factor = a[i][k];
            a[i][k] = 0;
            for (std::size_t j = 0; j < terms; ++j)
                a[i][j] -= factor * a[k][j];
        }
    }
    return true;
}

} // namespace

NbLmMatcher::NbLmMatcher(int halfWindow, int halfTemplate)
    : window_(2 * halfWindow + 1), template_(2 * halfTemplate + 1), half_(halfTemplate),
      shifts_(window_ - template_ + 1)
{
    const auto side = static_cast<std::size_t>(window_) + 1;
    const auto shifts = static_cast<std::size_t>(shifts_);
    rowCount_.resize(side * side);
    rowSum_.resize(side * side);
    count_.resize(side * side);
    sum_.resize(side * side);
    square_.resize(side * side);
    landCount_.resize(shifts);
    landSum_.resize(shifts);
    surface_.resize(shifts * shifts);
}

bool NbLmMatcher::makeRuns(const NbLmOutline& outline)
{
    raster_.draw(outline, 0, 0, half_, share_);
    runs_.clear();
    land_ = 0;
    for (int row = 0; row < template_; ++row) {
        const float* share = share_.data() + static_cast<std::ptrdiff_t>(row) * template_;
        for (int column = 0; column < template_; ++column) {
            if (share[column] < 0.5F) continue;
            const int begin = column;
            while (column < template_ && share[column] >= 0.5F)
                ++column;
            runs_.push_back({row, begin, column});
            land_ += column - begin;
        }
    }
    return land_ >= leastPixels && land_ <= template_ * template_ - leastPixels;
}

void NbLmMatcher::sumUp(std::span<const std::int16_t> counts, int low, int high)
{
    const std::size_t side = static_cast<std::size_t>(window_) + 1;
    for (std::size_t row = 0; row + 1 < side; ++row) {
        const std::int16_t* in = counts.data() + row * (side - 1);
        const std::size_t at = row * side;
        std::int32_t n = 0;
        std::int32_t sum = 0;
        std::int64_t square = 0;
        for (std::size_t i = 0; i + 1 < side; ++i) {
            if (in[i] >= low && in[i] <= high) {
                const std::int32_t value = (in[i] - lowest_) >> dropBits_;
                ++n;
                sum += value;
                square += value * value;
            }
            rowCount_[at + i + 1] = n;
            rowSum_[at + i + 1] = sum;
            count_[at + side + i + 1] = count_[at + i + 1] + n;
            sum_[at + side + i + 1] = sum_[at + i + 1] + sum;
            square_[at + side + i + 1] = square_[at + i + 1] + square;
        }
    }
}

// One row of the surface.
void NbLmMatcher::correlate(int dy)
{
    const std::ptrdiff_t side = window_ + 1;
    std::ranges::fill(landCount_, 0);
    std::ranges::fill(landSum_, 0);
    std::int32_t* const landCount = landCount_.data();
    std::int32_t* const landSum = landSum_.data();
    for (const Run& run : runs_) {
        const std::ptrdiff_t at = (run.row + dy) * side;
        const std::int32_t* const n = rowCount_.data() + at;
        const std::int32_t* const s = rowSum_.data() + at;
        for (int dx = 0; dx < shifts_; ++dx) {
            landCount[dx] += n[run.end + dx] - n[run.begin + dx];
            landSum[dx] += s[run.end + dx] - s[run.begin + dx];
        }
    }
    const auto inTemplate = [&](const auto& sums, int dx) {
        const auto* const top = sums.data() + dy * side + dx;
        const auto* const bottom = top + template_ * side;
        return bottom[template_] - bottom[0] - top[template_] + top[0];
    };
    const int all = template_ * template_;
    for (int dx = 0; dx < shifts_; ++dx) {
        const double n = inTemplate(count_, dx);
        const double onLand = landCount[dx];
        float& out = surface_[static_cast<std::size_t>(dy * shifts_ + dx)];
        out = 0;
        if (n < leastClear * all || onLand < leastOfKind * land_ ||
            n - onLand < leastOfKind * (all - land_))
            continue;
        const auto s = static_cast<double>(inTemplate(sum_, dx));
        const auto q = static_cast<double>(inTemplate(square_, dx));
        const double variance = (n * q - s * s) * (onLand * (n - onLand));
        if (!(variance > 0)) continue;
        out = nbpToFloat(std::fabs(n * landSum[dx] - onLand * s) / std::sqrt(variance));
    }
}

NbLmPeak NbLmMatcher::peakOf() const
{
    const auto at = static_cast<int>(std::ranges::max_element(surface_) - surface_.begin());
    const int x = at % shifts_;
    const int y = at / shifts_;
    NbLmPeak peak{.x = x - shifts_ / 2, .y = y - shifts_ / 2};
    peak.correlation = surface_[static_cast<std::size_t>(at)];
    const int radius = peakRadius(half_, shifts_ / 2);
    for (int dy = 0; dy < shifts_; ++dy)
        for (int dx = 0; dx < shifts_; ++dx)
            if (std::abs(dx - x) > radius || std::abs(dy - y) > radius)
                peak.second =
                    std::max(peak.second, surface_[static_cast<std::size_t>(dy * shifts_ + dx)]);
    // At the border the true peak may lie beyond.
    peak.found = x > 0 && y > 0 && x < shifts_ - 1 && y < shifts_ - 1 &&
                 peak.correlation >= leastCorrelation &&
                 peak.second <= mostSecond * peak.correlation;
    return peak;
}

NbLmPeak NbLmMatcher::search(const NbLmOutline& outline, std::span<const std::int16_t> counts)
{
    NbLmPeak best;
    if (!makeRuns(outline)) return best;
    sorted_.clear();
    for (const std::int16_t count : counts)
        if (count >= 0) sorted_.push_back(count);
    if (static_cast<double>(sorted_.size()) < leastClear * static_cast<double>(counts.size()))
        return best;
    std::ranges::sort(sorted_);
    lowest_ = sorted_.front();
    dropBits_ = 0;
    while ((sorted_.back() - lowest_) >> dropBits_ >= 1 << countBits)
        ++dropBits_;
    const auto quantile = [&](double share) {
        return sorted_[static_cast<std::size_t>(
            nbpTrunc32(share * static_cast<double>(sorted_.size() - 1)))];
    };
    for (const Cut& cut : cuts) {
        const int low = quantile(cut.low);
        const int high = quantile(cut.high);
        sumUp(counts, low, high);
        for (int dy = 0; dy < shifts_; ++dy)
            correlate(dy);
        NbLmPeak peak = peakOf();
        peak.low = low;
        peak.high = high;
        if (peak.found && peak.correlation - peak.second > best.correlation - best.second)
            best = peak;
    }
    return best;
}

NbLmFit NbLmMatcher::fit(const NbLmOutline& outline, std::span<const std::int16_t> counts, int low,
                         int high, NbLmShift start)
{
    const double wholeX = std::floor(start.x + 0.5);
    const double wholeY = std::floor(start.y + 0.5);
    const std::ptrdiff_t side = template_ + 2;
    pixels_.clear();
    for (int y = 1; y <= template_; ++y) {
        for (int x = 1; x <= template_; ++x) {
            const std::ptrdiff_t at = y * side + x;
            const std::int16_t count = counts[static_cast<std::size_t>(at)];
            if (count < 0) continue;
            pixels_.push_back({.at = at,
                               .x = (x - 1.0) / half_ - 1,
                               .y = (y - 1.0) / half_ - 1,
                               .count = static_cast<double>(count),
                               .weight = count >= low && count <= high ? 1.0 : 0.0});
        }
    }

    NbLmFit out;
    out.shift = start;
    for (int round = 0; round < mostRounds; ++round) {
        raster_.draw(outline, nbpToFloat(out.shift.x - wholeX), nbpToFloat(out.shift.y - wholeY),
                     half_ + 1, share_);
        const auto row = [&](const Pixel& p) -> Vector {
            const float* const share = share_.data() + p.at;
            return {1,
                    p.x,
                    p.y,
                    static_cast<double>(share[0]),
                    static_cast<double>(share[-1] - share[1]) / 2,
                    static_cast<double>(share[-side] - share[side]) / 2};
        };
        Matrix a{};
        Vector b{};
        for (const Pixel& p : pixels_) {
            if (p.weight <= 0) continue;
            const Vector v = row(p);
            for (std::size_t j = 0; j < terms; ++j) {
                const double weighted = p.weight * v[j];
                for (std::size_t k = 0; k < terms; ++k)
                    a[j][k] += weighted * v[k];
                b[j] += weighted * p.count;
            }
        }
        if (!invert(a)) return out;
        Vector c{}; // the plane, the contrast of land, and that times what is left of the shift
        for (std::size_t j = 0; j < terms; ++j)
            for (std::size_t k = 0; k < terms; ++k)
                c[j] += a[j][k] * b[k];
        if (c[landTerm] == 0) return out;

        // Weights anew, from what the fit leaves over: cloud is far from both land and sea.
        rest_.clear();
        for (Pixel& p : pixels_) {
            const Vector v = row(p);
            p.rest = p.count;
            for (std::size_t j = 0; j < terms; ++j)
                p.rest -= c[j] * v[j];
            if (p.weight > 0) rest_.push_back(std::fabs(p.rest));
        }
        const auto middle = rest_.begin() + static_cast<std::ptrdiff_t>(rest_.size() / 2);
        std::ranges::nth_element(rest_, middle);
        const double sigma = std::max(*middle * sigmaOfMedian, leastSigma);
        double weights = 0;
        for (Pixel& p : pixels_) {
            const double r = p.rest / (farthest * sigma);
            p.weight = std::fabs(r) < 1 ? (1 - r * r) * (1 - r * r) : 0;
            weights += p.weight;
        }

        const double stepX = c[shiftX] / c[landTerm];
        const double stepY = c[shiftY] / c[landTerm];
        out.shift.x += std::clamp(stepX, -longestStep, longestStep);
        out.shift.y += std::clamp(stepY, -longestStep, longestStep);
        out.contrast = std::fabs(c[landTerm]) / sigma;
        out.clear = weights / (template_ * template_);
        const double variance = sigma * sigma / (c[landTerm] * c[landTerm]);
        out.xx = variance * a[shiftX][shiftX];
        out.xy = variance * a[shiftX][shiftY];
        out.yy = variance * a[shiftY][shiftY];
        if (std::hypot(out.shift.x - start.x, out.shift.y - start.y) > farthestShift) return out;
        if (round >= leastRounds && std::hypot(stepX, stepY) < convergedStep) {
            out.good = out.contrast >= leastContrast && out.clear >= leastClear;
            return out;
        }
    }
    return out;
}
