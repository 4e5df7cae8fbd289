#include "drivers/common/nbZoomWalk.h"
#include "drivers/native/nbNativeFile.h"
#include "util/nbArray.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace {

constexpr int blockPoints = 512; // positions worked on at a time: their arrays stay in the cache
constexpr float noPosition = -9999.0F;
constexpr std::int16_t missingI2 = -1; // 0xFFFF
constexpr float missingR4 = -1.0F;

struct Block {
    std::int32_t column[blockPoints];
    std::int32_t line[blockPoints]; // the number of lines for what is outside
};

int noMemory(const char* caller)
{
    nbpLogError("%s : メモリーエラー\n", caller);
    return -1;
}

// Columns that the user's shift moves a sample by: to the nearest, halves away from zero.
std::int64_t columnShift(const NbNativeFile& file)
{
    const float s = -file.shiftPixel;
    const double half = s < 0.0F ? -0.5 : 0.5;
    return std::isnan(s) ? 0 : nbpTrunc32(static_cast<double>(s) + half);
}

// Positions to indices. The nearest index is a truncation toward zero, so that positions from
// -1.5 on have index 0.
//
// Deliberate: the last line and the last column have no samples. To admit them adds a line and a
// column to every image.
void makeIndices(const NbNativeFile& file, std::int64_t shift, const float* pixel,
                 const float* line, int n, Block* out)
{
    const std::int64_t columnEnd = file.columns - 1;
    const int lineEnd = file.lines - 1;
    for (int k = 0; k < n; ++k) {
        const std::int64_t column = nbpNearest16(static_cast<double>(pixel[k])) + shift;
        const int at = nbpNearest16(static_cast<double>(line[k]));
        const bool inside = (pixel[k] != noPosition) & (line[k] != noPosition) &
                            (pixel[k] == pixel[k]) & (column >= 0) & (column < columnEnd) &
                            (at >= 0) & (at < lineEnd);
        out->column[k] = inside ? static_cast<std::int32_t>(column) : 0;
        out->line[k] = inside ? at : file.lines;
    }
}

// The same without a shift, as nearly always: masks stand in the place of conditions, so that the
// loop is one of vector registers. A position that is no number is outside.
void makePlainIndices(const NbNativeFile& file, const float* __restrict pixel,
                      const float* __restrict line, int n, Block* __restrict out)
{
    // Whole numbers and a half below 2^15: exact. A grid of one column or line has nothing inside.
    const auto end = [](int size) { return size > 1 ? static_cast<float>(size) - 1.5F : -1.5F; };
    const float right = end(file.columns);
    const float bottom = end(file.lines);
    const std::int32_t outside = file.lines;
    for (int k = 0; k < n; ++k) {
        const float p = pixel[k];
        const float l = line[k];
        const bool in = (p > -1.5F) & (p < right) & (l > -1.5F) & (l < bottom);
        // All bits set inside, none outside; the sign bit goes too, below 0 is 0.
        const auto keep = [mask = -static_cast<std::int32_t>(in)](float v) {
            const std::int32_t positive = -static_cast<std::int32_t>(v > 0.0F);
            return std::bit_cast<float>(std::bit_cast<std::int32_t>(v) & mask & positive);
        };
        const std::int32_t mask = -static_cast<std::int32_t>(in);
        out->column[k] = nbpNearestInside(keep(p));
        out->line[k] = (nbpNearestInside(keep(l)) & mask) | (outside & ~mask);
    }
}

// Samples at positions. `convert` turns a count into an output. The results of line reads ORed,
// or -1 when memory ran out.
template <class Out, class Convert>
int nativeGetDataByPixLin(NbNativeFile* file, const float* pixel, const float* line, Out* out,
                          int n, Out missing, Convert convert)
{
    if (n <= 0) return 0;
    if (file->lost) {
        std::fill_n(out, n, missing);
        return -1;
    }
    const std::int64_t shift = columnShift(*file);
    int result = 0;
    Block block;
    for (std::ptrdiff_t at = 0; at < n; at += blockPoints) {
        const int m = static_cast<int>(std::min<std::ptrdiff_t>(blockPoints, n - at));
        if (shift == 0)
            makePlainIndices(*file, pixel + at, line + at, m, &block);
        else
            makeIndices(*file, shift, pixel + at, line + at, m, &block);
        const std::uint16_t* const* ready = file->ready.data();
        for (int k = 0; k < m; ++k) {
            const std::uint16_t* counts = ready[block.line[k]];
            if (counts == nullptr) [[unlikely]] {
                const int code = nbpNativeLine(file, block.line[k]);
                if (code < 0) {
                    std::fill(out + at + k, out + n, missing);
                    return noMemory("nativeGetDataByPixLin()");
                }
                result |= code;
                counts = ready[block.line[k]];
            }
            const std::uint16_t v = counts == nullptr ? 0xFFFF : counts[block.column[k]];
            out[at + k] = v < nativeLevels ? convert(v) : missing;
        }
    }
    return result;
}

bool hasPhysics(const NbNativeFile& file)
{
    return file.kind >= nativeAlbedo && file.kind <= nativeRadiance;
}

// Zoomed read by lines and integer columns. `convert` turns a count or -1 into an output.
template <class Out, class Convert>
int zoom(NbNativeFile* file, const NbZoomRect& rect, Out* out, Out missing, const char* caller,
         Convert convert)
{
    return nbpGuard(caller, -1, [&] {
        if (rect.outWidth < 1 || rect.outHeight < 1) return 0;
        std::fill_n(out, std::ptrdiff_t{rect.outWidth} * rect.outHeight, missing);
        if (file->lost) return -1;
        const NbZoomWalk walk = nbpZoomWalk(rect, file->columns, file->lines);
        NbArray<std::int32_t> columns(static_cast<std::size_t>(walk.outWidth), 0,
                                      NbAllocator<std::int32_t>(caller));
        // Deliberate: the columns start one before the line's first, wherever the rectangle does,
        // so that the left output column is missing. To start at the rectangle moves every zoomed
        // picture by a column.
        nbpZoomColumns(walk, 0, file->columns, columns);
        int result = 0;
        for (int y = 0; y < rect.outHeight; ++y) {
            // Deliberate: the rectangle's first line, counted from 1, is taken for an index from
            // 0, so that a zoom begins one line into its rectangle.
            const std::int64_t i = walk.firstLine + std::int64_t{walk.height} * y / rect.outHeight;
            if (i < 0 || i >= file->lines) continue;
            const int code = nbpNativeLine(file, static_cast<int>(i));
            if (code < 0) return noMemory(caller);
            result |= code;
            if (code != 0) continue;
            const std::uint16_t* counts = file->ready[static_cast<std::size_t>(i)];
            Out* row = out + std::ptrdiff_t{y} * rect.outWidth;
            for (std::size_t k = 0; k < columns.size(); ++k) {
                const int v = columns[k] < 0 ? nativeLevels : counts[columns[k]];
                if (v < nativeLevels) row[k] = convert(v);
            }
        }
        return result;
    });
}

} // namespace

int nbNativeGetI2DataByPixLin(void* p, const float* pixel, const float* line, std::int16_t* out,
                              int n)
{
    const auto count = [](int v) { return nbpWrap16(v); };
    return nativeGetDataByPixLin(nbpNativeFile(p), pixel, line, out, n, missingI2, count);
}

int nbNativeGetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n)
{
    NbNativeFile* file = nbpNativeFile(p);
    // The lines are read all the same, and the table has no values.
    if (!file->lost && !hasPhysics(*file))
        nbpLogFatal("%s : INTERNAL ERROR ( physics = %d ).\n", "nbpNativeLevelToPhys()",
                    file->kind);
    const float* table = file->levelTable.data();
    const auto value = [table](int v) { return table[v]; };
    return nativeGetDataByPixLin(file, pixel, line, out, n, missingR4, value);
}

int nbNativeGetI2ZoomData(void* p, const NbZoomRect* rect, std::int16_t* out)
{
    return zoom(nbpNativeFile(p), *rect, out, missingI2, "nbNativeGetI2ZoomData()",
                [](int v) { return nbpWrap16(v); });
}

int nbNativeGetR4ZoomData(void* p, const NbZoomRect* rect, float* out)
{
    NbNativeFile* file = nbpNativeFile(p);
    if (!hasPhysics(*file)) return -1;
    const float* table = file->levelTable.data();
    return zoom(file, *rect, out, missingR4, "nbNativeGetR4ZoomData()",
                [table](int v) { return table[v]; });
}
