#include "frontend/levelTable.h"

#include "util/nbFile.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>

namespace {

// Takes 0 to 255 onto about 0 to 1023, steeper at the cold end.
double cubic(double t)
{
    return 0.00005 * t * t * t - 0.001 * t * t + 1.017 * t;
}

// Smallest entry of any run of an array, in constant time: minima of all runs whose length is a
// power of two.
class RunMinimum {
public:
    explicit RunMinimum(std::vector<int> values) : rows_{std::move(values)}
    {
        const std::size_t n = rows_[0].size();
        for (std::size_t length = 2; length <= n; length *= 2) {
            const std::vector<int>& half = rows_.back();
            std::vector<int> row(n - length + 1);
            for (std::size_t i = 0; i < row.size(); ++i)
                row[i] = std::min(half[i], half[i + length / 2]);
            rows_.push_back(std::move(row));
        }
    }
    int of(std::size_t begin, std::size_t end) const // not empty
    {
        const auto k = static_cast<std::size_t>(std::bit_width(end - begin)) - 1;
        // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult): k is not below 0
        return std::min(rows_[k][begin], rows_[k][end - (std::size_t{1} << k)]);
    }

private:
    std::vector<std::vector<int>> rows_;
};

// Answers which entry of a table is nearest to a value, the first of equals.
class NearestEntry {
public:
    explicit NearestEntry(std::span<const float> table)
        : order_(sortedOrder(table)), indices_(order_)
    {
        values_.reserve(order_.size());
        for (const int i : order_)
            values_.push_back(table[static_cast<std::size_t>(i)]);
    }

    // -1 when nothing lies nearer than `limit`.
    int find(double value, double limit) const
    {
        if (!std::isfinite(value) || values_.empty()) return -1;
        const auto above = std::lower_bound(values_.begin(), values_.end(), value);
        double best = limit;
        if (above != values_.begin()) best = std::min(best, value - *(above - 1));
        if (above != values_.end()) best = std::min(best, *above - value);
        if (best == limit) return -1;
        // Differences round, so that several values can be equally near; on each side they are
        // one run.
        const auto begin = std::partition_point(values_.begin(), above,
                                                [&](double v) { return value - v > best; });
        const auto end =
            std::partition_point(above, values_.end(), [&](double v) { return v - value <= best; });
        return indices_.of(static_cast<std::size_t>(begin - values_.begin()),
                           static_cast<std::size_t>(end - values_.begin()));
    }

private:
    // Indices of the finite entries by value; the others are near to nothing.
    static std::vector<int> sortedOrder(std::span<const float> table)
    {
        std::vector<int> order;
        for (std::size_t i = 0; i < table.size(); ++i)
            if (std::isfinite(table[i])) order.push_back(static_cast<int>(i));
        std::sort(order.begin(), order.end(), [&](int a, int b) {
            return table[static_cast<std::size_t>(a)] < table[static_cast<std::size_t>(b)];
        });
        return order;
    }

    std::vector<int> order_;
    RunMinimum indices_;
    std::vector<double> values_; // ascending
};

} // namespace

void spreadLevels(std::span<const float> source, bool nonlinear, std::span<float> out)
{
    const auto at = [&](std::int64_t i) { return source[static_cast<std::size_t>(i)]; };
    const auto sourceLevels = static_cast<std::int64_t>(source.size());
    const auto levels = static_cast<std::int64_t>(out.size());
    std::int64_t first = 0;
    while (first + 1 < sourceLevels - 1 && at(first + 1) == at(0))
        ++first;
    std::int64_t last = sourceLevels - 1;
    while (last > 0 && at(last - 1) == at(sourceLevels - 1))
        --last;
    const std::int64_t span = last - first; // negative when all values are equal

    const bool falls = at(0) > at(sourceLevels - 1);
    for (std::int64_t i = 0; i < levels; ++i) {
        std::int64_t k = span * i / (levels - 1) + first;
        if (nonlinear) {
            const std::int64_t place = falls ? i : levels - i - 1;
            const float t = static_cast<float>(place * 255) / static_cast<float>(levels - 1);
            const int part =
                nbpTrunc32(std::floor(cubic(t) * static_cast<double>(span) / 1023 + 0.5));
            k = std::clamp<std::int64_t>((falls ? part : span - part) + first, 0, sourceLevels - 1);
        }
        out[static_cast<std::size_t>(i)] = at(k);
    }
}

void fillLine(float low, float high, int divisor, std::span<float> out)
{
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = static_cast<float>(i) * (high - low) / static_cast<float>(divisor) + low;
}

void readTableFile(const char* path, std::span<float> table)
{
    const NbFilePtr file = nbpFileOpenText(path);
    if (!file) return;
    constexpr int mostRecords = 1000000; // a device can give numbers for ever
    long index = 0;
    double value = 0;
    for (int record = 0; record < mostRecords; ++record) {
        if (std::fscanf(file.get(), "%ld %400lf\n", &index, &value) != 2) return;
        if (index >= 0 && static_cast<std::size_t>(index) < table.size())
            table[static_cast<std::size_t>(index)] = nbpToFloat(value);
    }
}

std::vector<std::uint16_t> nearestLevels(std::span<const float> source,
                                         std::span<const float> table, int levels)
{
    constexpr double farthest = 9999;
    const NearestEntry nearest(table);
    const auto top = static_cast<std::int64_t>(table.size()) - 1;
    std::vector<std::uint16_t> out(static_cast<std::size_t>(levels));
    for (std::size_t i = 0; i < out.size(); ++i) {
        const int found = i < source.size() ? nearest.find(source[i], farthest) : -1;
        const std::int64_t byNumber = top * static_cast<std::int64_t>(i) / std::max(levels - 1, 1);
        out[i] = static_cast<std::uint16_t>(found >= 0 ? found : byNumber);
    }
    return out;
}

std::vector<std::uint16_t> sameLevels(int levels, bool inverted)
{
    std::vector<std::uint16_t> out(static_cast<std::size_t>(levels));
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = static_cast<std::uint16_t>(inverted ? out.size() - 1 - i : i);
    return out;
}
