#include "sat/nbLmMatch.h"

#include "sat/nbSatGetDataByPixLin.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>

namespace {

// Peaks that vote for one displacement lie within this of its whole pixel.
constexpr int voteRadius = 1;
// Peaks within this of the displacement, to a part of a pixel, are fitted.
constexpr double farthestVote = voteRadius + 0.75;
// The displacement must have this share of all votes.
constexpr double leastShare = 0.3;
// Votes of the next best displacement, at most this share of those of the best.
constexpr double mostRival = 0.5;

// Error of a match beyond what its pixels tell, of the map and of the coast itself: pixels.
constexpr double coastError = 0.15;
// A match farther from the mean than this many standard errors, or pixels, is none.
constexpr double farthestSigma = 4;
constexpr double farthestMatch = 1.0;
// Largest standard error of the result that is believed.
constexpr double mostError = 0.15;

// One match in the mean.
struct Weighted {
    NbLmShift shift;
    double xx, xy, yy; // inverse covariance
};

Weighted weighted(const NbLmFit& fit)
{
    const double xx = fit.xx + coastError * coastError;
    const double yy = fit.yy + coastError * coastError;
    const double determinant = xx * yy - fit.xy * fit.xy;
    return {fit.shift, yy / determinant, -fit.xy / determinant, xx / determinant};
}

// Squared distance of two displacements in standard errors of a match.
double distance2(const Weighted& w, NbLmShift to)
{
    const double x = w.shift.x - to.x;
    const double y = w.shift.y - to.y;
    return w.xx * x * x + 2 * w.xy * x * y + w.yy * y * y;
}

NbLmShift mean(const std::vector<Weighted>& all, const std::vector<char>& used)
{
    double xx = 0, xy = 0, yy = 0, x = 0, y = 0;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (!used[i]) continue;
        const Weighted& w = all[i];
        xx += w.xx;
        xy += w.xy;
        yy += w.yy;
        x += w.xx * w.shift.x + w.xy * w.shift.y;
        y += w.xy * w.shift.x + w.yy * w.shift.y;
    }
    const double determinant = xx * yy - xy * xy;
    return {(yy * x - xy * y) / determinant, (xx * y - xy * x) / determinant};
}

// Reads the samples of squares of the image.
class Samples {
public:
    explicit Samples(NbSatObject* object) : object_(object) {}

    // Empty when the file cannot be read there.
    std::span<const std::int16_t> square(int pixel, int line, int half)
    {
        const auto side = static_cast<std::size_t>(2 * half + 1);
        pixel_.resize(side * side);
        line_.resize(side * side);
        counts_.assign(side * side, -1);
        for (std::size_t i = 0; i < side * side; ++i) {
            pixel_[i] = static_cast<float>(pixel - half + static_cast<int>(i % side));
            line_[i] = static_cast<float>(line - half + static_cast<int>(i / side));
        }
        if (nbSatGetI2DataByPixLin(object_, pixel_.data(), line_.data(), counts_.data(),
                                   static_cast<int>(counts_.size())) < 0)
            return {};
        return counts_;
    }

private:
    NbSatObject* object_;
    std::vector<float> pixel_, line_;
    std::vector<std::int16_t> counts_;
};

// The displacement with most votes; false when it has not clearly the most.
bool vote(const std::vector<NbLmPeak>& peaks, const NbLmSearch& search, NbLmShift& shift)
{
    const auto near = [](const NbLmPeak& peak, int x, int y, int radius) {
        return peak.found && std::abs(peak.x - x) <= radius && std::abs(peak.y - y) <= radius;
    };
    const auto votes = [&](int x, int y) {
        double sum = 0;
        for (const NbLmPeak& peak : peaks)
            if (near(peak, x, y, voteRadius))
                sum += 1 + 0.001 * static_cast<double>(peak.correlation);
        return sum;
    };
    double best = 0;
    int bestX = 0;
    int bestY = 0;
    double all = 0;
    for (const NbLmPeak& peak : peaks) {
        all += peak.found;
        if (!peak.found) continue;
        for (int y = peak.y - voteRadius; y <= peak.y + voteRadius; ++y)
            for (int x = peak.x - voteRadius; x <= peak.x + voteRadius; ++x)
                if (const double sum = votes(x, y); sum > best) {
                    best = sum;
                    bestX = x;
                    bestY = y;
                }
    }
    double rival = 0;
    for (const NbLmPeak& peak : peaks)
        if (peak.found && !near(peak, bestX, bestY, 2 * voteRadius))
            rival = std::max(rival, votes(peak.x, peak.y));
    if (best < search.leastMatches || best < leastShare * all || rival > mostRival * best)
        return false;
    double weight = 0;
    shift = {};
    for (const NbLmPeak& peak : peaks) {
        if (!near(peak, bestX, bestY, voteRadius)) continue;
        weight += 1;
        shift.x += peak.x;
        shift.y += peak.y;
    }
    shift.x /= weight;
    shift.y /= weight;
    return true;
}

// Takes out the farthest match from the mean, one after the other, until all that are left agree.
// False when they become too few.
bool agree(const std::vector<Weighted>& fits, const NbLmSearch& search, std::vector<char>& used,
           NbLmShift& shift)
{
    used.assign(fits.size(), 1);
    for (std::size_t left = fits.size();; --left) {
        if (left < static_cast<std::size_t>(search.leastMatches)) return false;
        shift = mean(fits, used);
        double most = 0;
        std::size_t worst = 0;
        for (std::size_t i = 0; i < fits.size(); ++i) {
            if (!used[i]) continue;
            const double pixels = std::hypot(fits[i].shift.x - shift.x, fits[i].shift.y - shift.y);
            const double away = std::max(std::sqrt(distance2(fits[i], shift)) / farthestSigma,
                                         pixels / farthestMatch);
            if (away > most) {
                most = away;
                worst = i;
            }
        }
        if (most <= 1) return true;
        used[worst] = 0;
    }
}

// Standard error of a mean, from how its matches scatter.
double errorOf(const std::vector<Weighted>& fits, const std::vector<char>& used, NbLmShift shift)
{
    double scatter = 0;
    double n = 0;
    for (std::size_t i = 0; i < fits.size(); ++i) {
        if (!used[i]) continue;
        n += 1;
        const double x = fits[i].shift.x - shift.x;
        const double y = fits[i].shift.y - shift.y;
        scatter += x * x + y * y;
    }
    return std::sqrt(scatter / (n * std::max(n - 1, 1.0)));
}

// True when the matches do not all look at the same few pieces of image, which one cloud may
// have deceived together.
bool independent(const std::vector<NbLmMatch>& places, const NbLmSearch& search)
{
    std::vector<const NbLmMatch*> apart;
    for (const NbLmMatch& match : places) {
        const auto overlaps = [&](const NbLmMatch* other) {
            return std::abs(match.pixel - other->pixel) <= 2 * search.halfTemplate &&
                   std::abs(match.line - other->line) <= 2 * search.halfTemplate;
        };
        if (match.verdict == NbLmVerdict::Matched && std::ranges::none_of(apart, overlaps))
            apart.push_back(&match);
    }
    return 2 * apart.size() >= static_cast<std::size_t>(search.leastMatches);
}

} // namespace

NbLmResult nbpLmMatch(NbSatObject* object, const std::vector<NbLmPlace>& places,
                      const NbLmSearch& search)
{
    NbLmResult result;
    Samples samples(object);
    NbLmMatcher matcher(search.halfWindow, search.halfTemplate);
    std::vector<NbLmPeak> peaks(places.size());
    for (std::size_t i = 0; i < places.size(); ++i) {
        const NbLmPlace& place = places[i];
        NbLmMatch match{.pixel = place.pixel, .line = place.line};
        const auto counts = samples.square(place.pixel, place.line, search.halfWindow);
        if (!counts.empty()) peaks[i] = matcher.search(place.outline, counts);
        if (peaks[i].found) {
            match.verdict = NbLmVerdict::Disputed;
            match.shift = {static_cast<double>(peaks[i].x), static_cast<double>(peaks[i].y)};
        }
        result.places.push_back(match);
    }
    NbLmShift shift;
    if (!vote(peaks, search, shift)) return result;

    // From the mean of the whole pixels to parts of a pixel, and once more from the mean of those:
    // the nearer a fit starts, the less its result depends on the start.
    std::vector<Weighted> fits;
    std::vector<std::size_t> placeOf;
    std::vector<char> used;
    for (int round = 0; round < 2; ++round) {
        fits.clear();
        placeOf.clear();
        for (std::size_t i = 0; i < places.size(); ++i) {
            NbLmMatch& match = result.places[i];
            const NbLmPeak& peak = peaks[i];
            if (!peak.found || std::fabs(peak.x - shift.x) > farthestVote ||
                std::fabs(peak.y - shift.y) > farthestVote)
                continue;
            match.verdict = NbLmVerdict::Poor;
            const auto counts = samples.square(match.pixel + nbpTrunc32(std::floor(shift.x + 0.5)),
                                               match.line + nbpTrunc32(std::floor(shift.y + 0.5)),
                                               search.halfTemplate + 1);
            if (counts.empty()) continue;
            const NbLmFit fit = matcher.fit(places[i].outline, counts, peak.low, peak.high, shift);
            if (!fit.good) continue;
            match.shift = fit.shift;
            fits.push_back(weighted(fit));
            placeOf.push_back(i);
        }
        if (!agree(fits, search, used, shift)) return result;
    }
    for (std::size_t i = 0; i < fits.size(); ++i)
        if (used[i]) result.places[placeOf[i]].verdict = NbLmVerdict::Matched;
    if (errorOf(fits, used, shift) > mostError || !independent(result.places, search))
        return result;
    result.matches = static_cast<int>(std::ranges::count(used, 1));
    result.shift = shift;
    return result;
}
