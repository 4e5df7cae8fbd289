/*
 * Lines of the image: reading them on demand, finding blocks of error counts and filling them.
 */
#include "drivers/hrit/nbHritFile.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

constexpr std::int16_t missingCount = -1; // 0xFFFF
constexpr double offEarth = -9000.0;      // below it, the mark of no position

std::size_t at(int n)
{
    return static_cast<std::size_t>(n);
}

// Counts of file line m in the machine's order; how many there were.
std::size_t readCounts(NbHritFile* file, int m, std::uint16_t* counts)
{
    if (file->frame.empty()) return nbpRasterRead(&file->raster, m, file->columns, counts);
    const std::size_t columns = at(file->columns);
    std::copy_n(file->frame.begin() + static_cast<std::ptrdiff_t>(at(m) * columns), columns,
                counts);
    if (file->raster.order != nbCpuByteOrder) nbpRasterSwap(counts, columns);
    return columns;
}

// File line that a slot takes when it is read at r.
int sourceLine(const NbHritFile& file, int n, float r)
{
    const float position = r - file.lineShift[at(n)];
    return std::clamp<int>(nbpNearest16(static_cast<double>(position)), 0, file.lines - 1);
}

bool isGood(const NbHritFile& file, int m)
{
    return file.quality[at(m)] < file.threshold;
}

// Navigates the pixels from..to - 1 of a slot in pieces; `body` gets each column and whether it
// sees the earth.
template <class Body>
void forEachOnEarth(NbHritFile* file, int n, int from, int to, Body body)
{
    constexpr int piece = 64;
    float pixel[piece];
    float line[piece];
    double lon[piece];
    double lat[piece];
    // Deliberate: the slot stands for the line of the image, which it is in a file that begins
    // with line 1. In a later segment these positions lie outside it, so it has no error blocks:
    // with its own lines here it would be filled, and pictures of segments would change.
    std::fill_n(line, piece, static_cast<float>(n));
    for (int k = from; k < to; k += piece) {
        const int count = std::min(piece, to - k);
        for (int i = 0; i < count; ++i)
            pixel[i] = static_cast<float>(k + i);
        nbpHritToEarth(file, pixel, line, lon, lat, count);
        for (int i = 0; i < count; ++i)
            body(k + i, !(lon[i] < offEarth) && !(lat[i] < offEarth));
    }
}

// Finds the blocks of error counts of a slot that was just read: 1 there are some, 0 none, -1 no
// memory. A run of error counts that leaves the disk goes on into space for a run's least length.
int findErrPixForMT2(NbHritFile* file, int n)
{
    const std::uint16_t error = file->channel == 0 ? 1 : 1023;
    const int least = file->channel == 0 ? 100 : 25; // counts in a run
    const std::uint16_t* counts = file->cache.line(n);
    const int columns = file->columns;
    file->blockStart[at(n)] = static_cast<std::uint32_t>(file->blocks.size());
    file->blockCount[at(n)] = 0;
    int earthMark = -9999; // last column on earth, over all runs of the line
    for (int j = 0; j < columns - least; ++j) {
        if (counts[j] != error) continue;
        int k = j;
        while (k < columns && counts[k] == error)
            ++k;
        int endMark = 0;
        forEachOnEarth(file, n, j, k, [&](int column, bool onEarth) {
            if (onEarth)
                endMark = earthMark = column;
            else if (endMark < earthMark + least)
                endMark = column;
        });
        if (endMark - j + 1 >= least) {
            const bool kept = nbpGuard("findErrPixForMT2()", false, [&] {
                file->blocks.push_back({.first = j, .last = endMark});
                return true;
            });
            if (!kept) {
                nbpLogError("%s : メモリーエラー\n", "findErrPixForMT2()");
                return -1;
            }
            ++file->blockCount[at(n)];
        }
        j = k - 1; // the scan goes on behind the run
    }
    return file->blockCount[at(n)] > 0 ? 1 : 0;
}

// Makes slot n present, read at r: 0 read now, 1 was there, 2 bad quality, -1 no memory. What lies
// behind the end of a short file reads as count 0.
int readSlot(NbHritFile* file, int n, float r)
{
    NbLineCache& cache = file->cache;
    const int m = sourceLine(*file, n, r);
    if (!isGood(*file, m)) {
        // A line that others were filled from may serve no more: their filling is stale.
        const std::uint8_t was = cache.state(n);
        if (was != hritLineUnread && was != hritLineBad && was != hritLineFilled) ++file->linesRead;
        cache.setState(n, hritLineBad);
        return NB_HRIT_BAD_LINE;
    }
    if (cache.state(n) != hritLineUnread) return 1;
    std::uint16_t* counts = cache.add(n, "nbpHritReadOneLine()");
    if (counts == nullptr) return -1;
    const std::size_t got = readCounts(file, m, counts);
    if (got == 0)
        cache.useZeros(n);
    else
        std::fill(counts + got, counts + file->columns, std::uint16_t{0});
    cache.setState(n, hritLineRead);
    ++file->linesRead;
    if (file->generation == 2 && file->stopGap > 0) {
        const int found = findErrPixForMT2(file, n);
        if (found < 0) { // to be read again when there is room
            cache.setState(n, hritLineUnread);
            --file->linesRead;
            return -1;
        }
        cache.setState(n, found > 0 ? hritLineErrors : hritLineSound);
    }
    return 0;
}

// True when a column of a slot gives no count to fill others with: there is no line, it is a
// missing one, or a block covers the column.
bool chkErrPix(const NbHritFile& file, int n, int column)
{
    const std::uint8_t state = file.cache.state(n);
    if (file.cache.line(n) == nullptr || state == hritLineBad || state == hritLineFilled)
        return true;
    const NbHritErrorBlock* block = file.blocks.data() + file.blockStart[at(n)];
    for (int i = 0; i < file.blockCount[at(n)]; ++i)
        if (column >= block[i].first && column <= block[i].last) return true;
    return false;
}

// A count to fill with and its slot.
struct Neighbour {
    int slot = -1;
    std::int16_t count = missingCount;
};

// The nearest good count of a column from slot n on, upward (step -1, to the earlier lines) or
// downward.
Neighbour nearest(const NbHritFile& file, int n, int step, int column)
{
    const int reach = std::min(file.stopGap, file.lines);
    for (int i = 0; i <= reach; ++i) {
        const int slot = n + i * step;
        if (slot < 0 || slot >= file.lines) break;
        if (!chkErrPix(file, slot, column))
            return {.slot = slot, .count = nbpWrap16(file.cache.line(slot)[column])};
    }
    return {};
}

// Which sides of a line have a sound line within the gap.
enum Sides { bothSides = 0, laterSide = 1, earlierSide = 2, noSide = 3 };

// Reads the lines around r. One of Sides, or -1 without memory.
int readSomeLines(NbHritFile* file, float r)
{
    bool earlier = false;
    bool later = false;
    const int reach = std::min(file->stopGap, file->lines);
    for (int i = 1; i <= reach; ++i) {
        const float step = static_cast<float>(i);
        for (const float position : {r - step, r + step}) {
            if (!(position >= 0 && position < static_cast<float>(file->lines))) continue;
            const int slot = nbpNearest16(static_cast<double>(position));
            if (slot >= file->lines) continue; // rounded past the last line
            if (readSlot(file, slot, position) < 0) return -1;
            if (file->cache.state(slot) == hritLineSound) (position < r ? earlier : later) = true;
        }
    }
    if (earlier) return later ? bothSides : earlierSide;
    return later ? laterSide : noSide;
}

// The count that a column of slot n is filled with. `half` is added to the value between two
// lines before it is cut to an integer. Where one of two sides has no good count in this column
// the other one stands alone.
std::int16_t fillCount(const NbHritFile& file, int n, int column, int sides, float half)
{
    if (sides == laterSide) return nearest(file, n, 1, column).count;
    if (sides == earlierSide) return nearest(file, n, -1, column).count;
    const Neighbour p = nearest(file, n, -1, column);
    const Neighbour q = nearest(file, n, 1, column);
    if (p.slot < 0) return q.count;
    if (q.slot < 0) return p.count;
    const float above = static_cast<float>(n - p.slot);
    const float below = static_cast<float>(q.slot - n);
    const float value =
        (static_cast<float>(p.count) * below + static_cast<float>(q.count) * above) /
            (above + below) +
        half;
    return nbpTrunc16(static_cast<double>(value));
}

// Fills the error blocks of a slot.
void fillBlocks(NbHritFile* file, int n, int sides)
{
    std::uint16_t* counts = file->cache.line(n);
    const NbHritErrorBlock* block = file->blocks.data() + file->blockStart[at(n)];
    for (int i = 0; i < file->blockCount[at(n)] && sides != noSide; ++i)
        for (int c = block[i].first; c <= block[i].last; ++c)
            counts[c] = static_cast<std::uint16_t>(fillCount(*file, n, c, sides, 0.5F));
    file->cache.setState(n, hritLineErrorsFilled);
}

// Fills a missing line; false without memory.
bool fillLine(NbHritFile* file, int n, int sides)
{
    NbLineCache& cache = file->cache;
    const std::uint16_t* before = cache.line(n);
    std::uint16_t* counts = cache.add(n, "procErrLineForMT2()");
    if (counts == nullptr) return false;
    // Room that the slot did not have yet; one of the shared zeros keeps its contents.
    if (counts != before)
        std::fill_n(counts, file->columns, std::uint16_t(before == nullptr ? 0xFFFF : 0));
    // Deliberate: the value between two lines is cut without the 0.5 that error blocks get. With
    // it, filled lines come out up to one count higher.
    for (int c = 0; c < file->columns && sides != noSide; ++c)
        counts[c] = static_cast<std::uint16_t>(fillCount(*file, n, c, sides, 0.0F));
    return true;
}

// Fills slot n, read at r, by its state; false without memory.
bool procErrLineForMT2(NbHritFile* file, int n, float r)
{
    const int sides = readSomeLines(file, r);
    if (sides < 0) return false;
    if (file->cache.state(n) == hritLineErrors) {
        fillBlocks(file, n, sides);
    } else if (file->cache.state(n) == hritLineBad) {
        NbHritFile::Filling& filling = file->fillings[at(n)];
        if (filling.sides != sides || filling.linesRead != file->linesRead) {
            if (!fillLine(file, n, sides)) return false;
            filling = {.linesRead = file->linesRead, .sides = sides};
        }
        file->cache.setState(n, hritLineFilled);
    }
    return true;
}

bool fills(const NbHritFile& file)
{
    return file.stopGap > 0 && file.generation == 2;
}

// True when every later read of the slot finds it as it stands now.
bool isReady(const NbHritFile& file, int n)
{
    const std::uint8_t state = file.cache.state(n);
    if (file.cache.line(n) == nullptr) return false;
    if (fills(file) && (state == hritLineErrors || state == hritLineBad)) return false;
    // Whatever the position in the slot, the line it leads to is good.
    const int last = sourceLine(file, n, static_cast<float>(n) + 0.5F);
    for (int m = sourceLine(file, n, static_cast<float>(n) - 0.5F); m <= last; ++m)
        if (!isGood(file, m)) return false;
    return true;
}

} // namespace

int nbpHritSlot(const NbHritFile& file, float r)
{
    return std::clamp<int>(nbpNearest16(static_cast<double>(r)), 0, file.lines - 1);
}

int nbpHritReadOneLine(void* p, float line)
{
    NbHritFile* file = nbpHritFile(p);
    return readSlot(file, nbpHritSlot(*file, line), line);
}

const std::uint16_t* nbpHritLine(NbHritFile* file, float r, int* result)
{
    const int n = nbpHritSlot(*file, r);
    *result = readSlot(file, n, r);
    if (*result < 0) return nullptr;
    const std::uint8_t state = file->cache.state(n);
    if (fills(*file) && (state == hritLineErrors || state == hritLineBad) &&
        !procErrLineForMT2(file, n, r)) {
        *result = -1;
        return nullptr;
    }
    if (isReady(*file, n)) file->ready[at(n)] = file->cache.line(n);
    return file->cache.line(n);
}
