#include "drivers/common/nbInGroups.h"
#include "drivers/common/nbZoomWalk.h"
#include "drivers/hrit/nbHritFile.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace {

constexpr int blockPoints = 512; // positions worked on at a time: their arrays stay in the cache

// Positions of one block as indices.
struct Block {
    std::int32_t column[blockPoints];
    std::int32_t slot[blockPoints]; // the number of lines for what is outside
};

// Positions to indices; `shiftOf` is the column shift of a line counted from 0 in the file. A
// position that is no number is outside. Masks stand in the place of conditions, which would keep
// the loop out of vector registers.
template <class Shift>
void makeIndices(const NbHritFile& file, const float* __restrict pixel,
                 const float* __restrict line, int n, Block* __restrict block, Shift shiftOf)
{
    // Whole numbers and a half below 2^15: exact.
    const float right = static_cast<float>(file.columns) + 0.5F;
    const float top = static_cast<float>(file.firstLine) - 0.5F;
    const float bottom = static_cast<float>(file.lastLine) + 0.5F;
    const std::int32_t firstLine = file.firstLine;
    const std::int32_t lastSlot = file.lines - 1;
    const std::int32_t outside = file.lines;
    nbpInGroups(n, [=](int k) {
        const float l = line[k] + 1.0F;
        // All bits set inside, none outside.
        const std::int32_t onLine = -static_cast<std::int32_t>((l >= top) & (l < bottom));
        const auto masked = [](float value, std::int32_t mask) {
            return std::bit_cast<float>(std::bit_cast<std::int32_t>(value) & mask);
        };
        // The two may differ where the sum above was rounded.
        const std::int32_t shiftLine = nbpNearestInside(masked(l, onLine)) - firstLine;
        const std::int32_t slot = nbpNearestInside(masked(line[k], onLine)) + 1 - firstLine;
        const float c = pixel[k] + 1.0F - shiftOf(std::clamp(shiftLine, 0, lastSlot));
        const std::int32_t inside = onLine & -static_cast<std::int32_t>((c >= 0.5F) & (c < right));
        block->column[k] = (nbpNearestInside(masked(c, inside)) - 1) & inside;
        block->slot[k] = (std::clamp(slot, 0, lastSlot) & inside) | (outside & ~inside);
    });
}

// Samples at positions. `convert` turns a count among the levels into an output. 0, 2 when a line
// of bad quality was touched, or -1 when memory ran out, which is logged; the samples from there
// on are missing.
template <class Out, class Convert>
int hritGetDataByPixLin(NbHritFile* file, const float* pixel, const float* line, Out* out, int n,
                        Out missing, Convert convert)
{
    // A count is a signed number: from 0x8000 up it is below 0.
    const unsigned levels = static_cast<unsigned>(std::min(file->calib.levels, 0x8000));
    const std::uint16_t* const* ready = file->ready.data();
    const float* shifts = file->columnShift.data();
    int result = 0;
    Block block;
    for (std::ptrdiff_t at = 0; at < n; at += blockPoints) {
        const int m = static_cast<int>(std::min<std::ptrdiff_t>(blockPoints, n - at));
        if (file->evenShift)
            makeIndices(*file, pixel + at, line + at, m, &block,
                        [shift = shifts[0]](std::int32_t) { return shift; });
        else
            makeIndices(*file, pixel + at, line + at, m, &block,
                        [shifts](std::int32_t i) { return shifts[i]; });
        for (int k = 0; k < m; ++k) {
            const std::uint16_t* counts = ready[block.slot[k]];
            if (counts == nullptr) [[unlikely]] {
                const double r = static_cast<double>(line[at + k]) - (file->firstLine - 1.0);
                int code = 0;
                counts = nbpHritLine(file, nbpToFloat(r), &code);
                if (code < 0) {
                    nbpLogError("%s : メモリーエラー\n", "hritGetDataByPixLin()");
                    std::fill(out + at + k, out + n, missing);
                    return -1;
                }
                if (code == NB_HRIT_BAD_LINE) result = NB_HRIT_BAD_LINE;
                if (counts == nullptr) {
                    out[at + k] = missing;
                    continue;
                }
            }
            const std::uint16_t v = counts[block.column[k]];
            out[at + k] = v < levels ? convert(v) : missing;
        }
    }
    return result;
}

constexpr std::int16_t missingI2 = -1; // 0xFFFF
constexpr float missingR4 = -1.0F;

// True when physical values can be given. Says nothing when they cannot: callers ask with any
// element.
bool hasPhysics(const NbHritFile& file)
{
    return file.kind == hritAlbedo || file.kind == hritRadiance || file.kind == hritTemperature;
}

// Column of each output pixel of a row that starts at `firstColumn` (from 1); -1 outside the image.
// No narrowing to 16 bits: a column far to the left stays outside.
void makeColumns(const NbZoomWalk& walk, std::int32_t firstColumn, int columns,
                 NbArray<std::int32_t>* out)
{
    const auto n = static_cast<std::int64_t>(out->size());
    for (std::int64_t k = 0; k < n; ++k) {
        const std::int64_t column = walk.width * k / n - 1 + firstColumn;
        (*out)[static_cast<std::size_t>(k)] =
            column >= 0 && column < columns ? static_cast<std::int32_t>(column) : -1;
    }
}

// Zoomed read by lines, all in integers. `convert` turns a count or -1 into an output.
template <class Out, class Convert>
int zoom(NbHritFile* file, const NbZoomRect& rect, Out* out, Out missing, const char* caller,
         Convert convert)
{
    if (rect.outWidth < 1 || rect.outHeight < 1) return 0;
    std::fill_n(out, std::ptrdiff_t{rect.outWidth} * rect.outHeight, missing);
    const NbZoomWalk walk = nbpZoomWalk(rect, file->columns, file->lastLine);
    NbArray<std::int32_t> columns(static_cast<std::size_t>(walk.outWidth), 0,
                                  NbAllocator<std::int32_t>(caller));
    std::int32_t columnsFrom = 0; // first column for which `columns` stands
    bool haveColumns = false;
    int result = 0;
    for (int y = 0; y < rect.outHeight; ++y) {
        const std::int64_t slot =
            std::int64_t{y} * walk.height / rect.outHeight + walk.firstLine - file->firstLine;
        if (slot < 0 || slot >= file->lines) continue;
        const auto i = static_cast<std::size_t>(slot);
        const std::uint16_t* counts = file->ready[i];
        if (counts == nullptr) {
            int code = 0;
            counts = nbpHritLine(file, static_cast<float>(slot), &code);
            if (code < 0) {
                nbpLogError("%s : メモリーエラー\n", caller);
                return -1;
            }
            if (code == NB_HRIT_BAD_LINE) result = NB_HRIT_BAD_LINE;
        }
        if (counts == nullptr) continue;
        const float first = static_cast<float>(walk.firstColumn) - file->columnShift[i];
        const std::int32_t from = nbpNearest32(static_cast<double>(first));
        if (!haveColumns || from != columnsFrom) {
            makeColumns(walk, from, file->columns, &columns);
            columnsFrom = from;
            haveColumns = true;
        }
        Out* row = out + std::ptrdiff_t{y} * rect.outWidth;
        for (std::size_t k = 0; k < columns.size(); ++k) {
            const std::int16_t v = columns[k] < 0 ? missingI2 : nbpWrap16(counts[columns[k]]);
            row[k] = convert(v >= 0 && v < file->calib.levels ? v : missingI2);
        }
    }
    return result;
}

} // namespace

int nbHritGetI2DataByPixLin(void* p, const float* pixel, const float* line, std::int16_t* out,
                            int n)
{
    const auto count = [](std::uint16_t v) { return static_cast<std::int16_t>(v); };
    return hritGetDataByPixLin(nbpHritFile(p), pixel, line, out, n, missingI2, count);
}

int nbHritGetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n)
{
    NbHritFile* file = nbpHritFile(p);
    if (!hasPhysics(*file)) return -1;
    const float* table = file->levelTable.data();
    const auto value = [table](std::uint16_t v) { return table[v]; };
    return hritGetDataByPixLin(file, pixel, line, out, n, missingR4, value);
}

int nbHritGetI2ZoomData(void* p, const NbZoomRect* rect, std::int16_t* out)
{
    constexpr const char* name = "nbHritGetI2ZoomData()";
    return nbpGuard(name, -1, [&] {
        const auto count = [](std::int16_t v) { return v; };
        return zoom(nbpHritFile(p), *rect, out, missingI2, name, count);
    });
}

int nbHritGetR4ZoomData(void* p, const NbZoomRect* rect, float* out)
{
    constexpr const char* name = "nbHritGetR4ZoomData()";
    NbHritFile* file = nbpHritFile(p);
    if (!hasPhysics(*file)) return -1;
    const float* table = file->levelTable.data();
    const auto value = [table](std::int16_t v) { return v < 0 ? missingR4 : table[v]; };
    return nbpGuard(name, -1, [&] { return zoom(file, *rect, out, missingR4, name, value); });
}
