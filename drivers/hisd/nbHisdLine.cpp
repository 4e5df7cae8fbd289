/*
 * Lines of the raster: reading them on demand and filling their error pixels.
 */
#include "drivers/hisd/nbHisdFile.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

constexpr std::uint16_t errorPixel = 0xFFFF;
constexpr std::uint16_t firstMissing = 0xFFFE; // this and above: no count to go by

// Makes a line present: 0 read now, 1 was there, -1 memory is out and nothing has changed. What
// lies behind the end of a short file reads as count 0.
int readLine(NbHisdFile* file, int n)
{
    NbLineCache& cache = file->cache;
    if (cache.state(n) != hisdLineUnread) return 1;
    std::uint16_t* counts = cache.add(n, "nbpHisdReadOneLine()");
    if (counts == nullptr) return -1;
    const auto columns = static_cast<std::size_t>(file->columns);
    const std::size_t got = nbpRasterRead(&file->raster, n, file->columns, counts);
    if (got == 0)
        cache.useZeros(n);
    else
        std::fill(counts + got, counts + columns, std::uint16_t{0});
    cache.setState(n, hisdLineRead);
    if (file->stopGap > 0) {
        const int errors = file->errorCounts[static_cast<std::size_t>(n)];
        if (errors == 0) cache.setState(n, hisdLineSound);
        if (errors > 0) cache.setState(n, hisdLineErrors);
    }
    return 0;
}

// Count at `p` on the straight line from (a, countA) to (b, countB), cut to an integer. In whole
// numbers, and the same as the quotient in extended precision: the result is never negative, and
// no quotient of these sizes lies so near to an integer that 64 bits would round to it.
std::uint16_t between(std::int64_t p, std::int64_t a, std::int64_t countA, std::int64_t b,
                      std::int64_t countB)
{
    const std::int64_t sum = (p - a) * (countB - countA) + countA * (b - a);
    return static_cast<std::uint16_t>(sum / (b - a));
}

// Fills gaps along a line. Gives the number of error pixels left, as the walk counts them: a gap
// that is too wide counts as one more than the widest. The first and the last pixel of a line are
// never filled here.
std::int64_t procErrOneLine(NbHisdFile* file, int n)
{
    NbLineCache& cache = file->cache;
    const std::int64_t columns = file->columns;
    const std::int64_t gap = file->stopGap;
    if (file->errorCounts[static_cast<std::size_t>(n)] == columns) {
        cache.setState(n, hisdLineFilledAlong);
        return columns;
    }
    std::uint16_t* v = cache.line(n);
    std::int64_t left = 0;
    for (std::int64_t k = 1; k <= columns - 2; ++k) {
        if (v[k] != errorPixel) continue;
        if (v[k - 1] >= firstMissing) {
            ++left;
            continue;
        }
        const std::int64_t end = std::min(k + gap, columns - 1);
        std::int64_t b = k + 1;
        while (b <= end && v[b] >= firstMissing)
            ++b;
        if (b <= end) {
            const std::int64_t a = k - 1;
            for (std::int64_t p = k; p < b; ++p)
                v[p] = between(p, a, v[a], b, v[b]);
            k = b;
        } else {
            left += gap + 1;
            k += gap;
        }
    }
    cache.setState(n, left == 0 ? hisdLineWhole : hisdLineFilledAlong);
    return left;
}

// Reads the lines on one side of line n, up to the first one that needs no filling. False when
// memory is out.
bool readNeighbours(NbHisdFile* file, int n, int direction)
{
    const NbLineCache& cache = file->cache;
    for (std::int64_t i = 1; i <= file->stopGap; ++i) {
        const std::int64_t wide = n + direction * i;
        if (wide < 0 || wide >= file->lines) return true;
        const int m = static_cast<int>(wide);
        if (readLine(file, m) < 0) return false;
        if (cache.state(m) == hisdLineWhole || cache.state(m) == hisdLineSound) return true;
        if (cache.state(m) == hisdLineErrors) procErrOneLine(file, m);
        if (cache.state(m) == hisdLineWhole) return true;
    }
    return true;
}

// The nearest line on one side that has a count in a column; -1 when there is none within the
// gap, before the file's edge or before a line that is not in memory.
int lineWithCount(const NbHisdFile& file, int n, int direction, std::size_t column)
{
    for (std::int64_t i = 1; i <= file.stopGap; ++i) {
        const std::int64_t m = n + direction * i;
        if (m < 0 || m >= file.lines) return -1;
        const std::uint16_t* counts = file.cache.line(static_cast<int>(m));
        if (counts == nullptr) return -1;
        if (counts[column] < firstMissing) return static_cast<int>(m);
    }
    return -1;
}

// Fills error pixels of line n from the lines above and below, and those of the lines between on
// the way. False when memory is out.
bool procErrLineLine(NbHisdFile* file, int n)
{
    if (!readNeighbours(file, n, -1) || !readNeighbours(file, n, 1)) return false;
    NbLineCache& cache = file->cache;
    const std::uint16_t* counts = cache.line(n);
    bool left = false;
    for (std::size_t c = 0; c < static_cast<std::size_t>(file->columns); ++c) {
        if (counts[c] != errorPixel) continue;
        const int up = lineWithCount(*file, n, -1, c);
        const int down = up < 0 ? -1 : lineWithCount(*file, n, 1, c);
        if (down < 0 || down - up - 1 > file->stopGap) {
            left = true;
            continue;
        }
        // None of the lines between is the shared line of zeros: they all miss this count.
        const std::uint16_t countUp = cache.line(up)[c];
        const std::uint16_t countDown = cache.line(down)[c];
        for (int m = up + 1; m < down; ++m)
            cache.line(m)[c] = between(m, up, countUp, down, countDown);
    }
    cache.setState(n, left ? hisdLineFilledAcross : hisdLineWhole);
    return true;
}

} // namespace

const std::uint16_t* nbpHisdReadyLine(NbHisdFile* file, int n)
{
    if (readLine(file, n) < 0) return nullptr;
    if (file->stopGap > 0 && file->cache.state(n) < hisdLineFilledAcross) {
        const bool whole =
            file->cache.state(n) < hisdLineFilledAlong && procErrOneLine(file, n) == 0;
        if (!whole && !procErrLineLine(file, n)) return nullptr;
    }
    file->ready[static_cast<std::size_t>(n)] = file->cache.line(n);
    return file->cache.line(n);
}

int nbpHisdReadOneLine(void* p, float line)
{
    NbHisdFile* file = nbpHisdFile(p);
    const int index = nbpNearest16(static_cast<double>(line));
    return readLine(file, std::clamp(index, 0, file->lines - 1));
}
