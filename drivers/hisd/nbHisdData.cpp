#include "drivers/common/nbInGroups.h"
#include "drivers/common/nbZoomWalk.h"
#include "drivers/hisd/nbHisdFile.h"
#include "util/nbArray.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr int blockPoints = 512; // positions worked on at a time: their arrays stay in the cache

// Positions of one block, first as column and line from 1, then as indices.
struct Block {
    float column[blockPoints];
    float line[blockPoints];
    std::int32_t columnIndex[blockPoints];
    std::int32_t lineIndex[blockPoints]; // of the file; the number of lines for what is outside
};

bool noMemory(const char* caller)
{
    nbpLogError("%s : メモリーエラー\n", caller);
    return false;
}

// Rotation of the file in radians, in float.
float rotationRad(const NbHisdFile& file)
{
    return nbpToFloat(file.correction.rotation / 1000 / 1000);
}

// Image positions to columns and lines of the raster, from 1: the whole road, a point at a time.
void rasterPositions(const NbHisdFile& file, const float* pixel, const float* line, int n,
                     Block* out)
{
    const NbHisdLineComp& comp = file.comp;
    const double angle = static_cast<double>(rotationRad(file));
    const double cosR = std::cos(angle);
    const double sinR = std::sin(angle);
    const bool rotated = file.correction.rotation != 0;
    const float cx = file.correction.column;
    const float cy = file.correction.line;
    for (int k = 0; k < n; ++k) {
        float l = line[k] + 1.0F;
        const int i = nbpHisdCompIndex(file, l);
        // Entries past the file's own lines are not for points; the zoomed read alone takes them.
        const bool own = i < file.lines;
        const float compColumn = own ? comp.column[static_cast<std::size_t>(i)] : 0.0F;
        const float compLine = own ? comp.line[static_cast<std::size_t>(i)] : 0.0F;
        float c = pixel[k] + 1.0F - (file.shiftPixel + compColumn);
        l = l - (file.shiftLine + compLine);
        if (rotated) {
            const double dc = static_cast<double>(c - cx);
            const double dl = static_cast<double>(l - cy);
            c = nbpToFloat(cosR * dc - sinR * dl + static_cast<double>(cx));
            l = nbpToFloat(sinR * dc + cosR * dl + static_cast<double>(cy));
        }
        out->column[k] = c;
        out->line[k] = l;
    }
}

// rasterPositions of a file without shifts of its lines and without rotation: three sums a point.
void shiftedPositions(const NbHisdFile& file, const float* __restrict pixel,
                      const float* __restrict line, int n, Block* __restrict out)
{
    const float shiftColumn = file.shiftPixel;
    const float shiftLine = file.shiftLine;
    nbpInGroups(n, [=](int k) { out->column[k] = pixel[k] + 1.0F - shiftColumn; });
    nbpInGroups(n, [=](int k) { out->line[k] = line[k] + 1.0F - shiftLine; });
}

// Raster positions to indices. A position that is no number is outside. Masks stand in the place
// of conditions, which would keep the loop out of vector registers.
void makeIndices(const NbHisdFile& file, int n, Block* block)
{
    // Whole numbers and a half below 2^15: exact.
    const float right = static_cast<float>(file.columns) + 0.5F;
    const float top = static_cast<float>(file.firstLine) - 0.5F;
    const float bottom = static_cast<float>(file.lastLine) + 0.5F;
    const std::int32_t firstLine = file.firstLine;
    const std::int32_t outside = file.lines;
    nbpInGroups(n, [=](int k) {
        const float c = block->column[k];
        const float l = block->line[k];
        // All bits set inside, none outside.
        const std::int32_t inside =
            -static_cast<std::int32_t>((c >= 0.5F) & (c < right) & (l >= top) & (l < bottom));
        const float column = std::bit_cast<float>(std::bit_cast<std::int32_t>(c) & inside);
        const float line = std::bit_cast<float>(std::bit_cast<std::int32_t>(l) & inside);
        block->columnIndex[k] = (nbpNearestInside(column) - 1) & inside;
        block->lineIndex[k] = ((nbpNearestInside(line) - firstLine) & inside) | (outside & ~inside);
    });
}

// Samples at positions. `convert` turns a count within the valid bits into an output. False when
// memory ran out, which is logged; the samples from there on are missing.
template <class Out, class Convert>
bool hisdGetDataByPixLin(NbHisdFile* file, const float* pixel, const float* line, Out* out, int n,
                         Out missing, Convert convert)
{
    const bool plain = file->comp.none && file->correction.rotation == 0;
    const unsigned levels = static_cast<unsigned>(file->levels());
    const std::uint16_t* const* ready = file->ready.data();
    Block block;
    for (std::ptrdiff_t at = 0; at < n; at += blockPoints) {
        const int m = static_cast<int>(std::min<std::ptrdiff_t>(blockPoints, n - at));
        if (plain)
            shiftedPositions(*file, pixel + at, line + at, m, &block);
        else
            rasterPositions(*file, pixel + at, line + at, m, &block);
        makeIndices(*file, m, &block);
        for (int k = 0; k < m; ++k) {
            const std::uint16_t* counts = ready[block.lineIndex[k]];
            if (counts == nullptr) [[unlikely]] {
                counts = nbpHisdReadyLine(file, block.lineIndex[k]);
                if (counts == nullptr) {
                    std::fill(out + at + k, out + n, missing);
                    return noMemory("hisdGetDataByPixLin()");
                }
            }
            // No mask: the counts of error pixels and of the outside fall out here.
            const std::uint16_t v = counts[block.columnIndex[k]];
            out[at + k] = v < levels ? convert(v) : missing;
        }
    }
    return true;
}

constexpr std::int16_t missingI2 = -1; // 0xFFFF
constexpr float missingR4 = -1.0F;

int getI2(NbHisdFile* file, const float* pixel, const float* line, std::int16_t* out, int n)
{
    const auto count = [](std::uint16_t v) { return static_cast<std::int16_t>(v); };
    return hisdGetDataByPixLin(file, pixel, line, out, n, missingI2, count) ? 0 : -1;
}

int getR4(NbHisdFile* file, const float* pixel, const float* line, float* out, int n)
{
    const float* table = file->levelTable.data();
    const auto value = [table](std::uint16_t v) { return table[v]; };
    return hisdGetDataByPixLin(file, pixel, line, out, n, missingR4, value) ? 0 : -1;
}

// True when physical values can be given. Says nothing when they cannot: callers ask with any
// element.
bool hasPhysics(const NbHisdFile& file)
{
    return file.kind == hisdAlbedo || file.kind == hisdRadiance || file.kind == hisdTemperature;
}

// Zoomed read by lines and integer columns. `convert` turns a signed count, or -1, into an
// output.
template <class Out, class Convert>
bool zoomByLines(NbHisdFile* file, const NbZoomRect& rect, Out* out, const char* caller,
                 Convert convert)
{
    const NbZoomWalk walk = nbpZoomWalk(rect, file->columns, file->lastLine);
    const NbHisdLineComp& comp = file->comp;
    const int levels = file->levels();
    NbArray<std::int32_t> columns(static_cast<std::size_t>(walk.outWidth), 0,
                                  NbAllocator<std::int32_t>(caller));
    std::int32_t columnsFrom = 0; // first column for which `columns` stands
    bool haveColumns = false;
    for (int y = 0; y < rect.outHeight; ++y) {
        float l = static_cast<float>(walk.height) * static_cast<float>(y) /
                      static_cast<float>(rect.outHeight) +
                  static_cast<float>(walk.firstLine);
        const auto i = static_cast<std::size_t>(nbpHisdCompIndex(*file, l));
        const float shift = file->shiftPixel + comp.column[i];
        l -= file->shiftLine + comp.line[i];
        const std::int64_t n =
            std::int64_t{nbpTrunc32(static_cast<double>(l) - 0.5)} - file->firstLine + 1;
        if (n < 0 || n >= file->lines) continue;
        const std::uint16_t* counts = file->ready[static_cast<std::size_t>(n)];
        if (counts == nullptr) counts = nbpHisdReadyLine(file, static_cast<int>(n));
        if (counts == nullptr) return noMemory(caller);

        const std::int32_t from =
            nbpNearest32(static_cast<double>(static_cast<float>(walk.firstColumn) - shift));
        if (!haveColumns || from != columnsFrom) {
            nbpZoomColumns(walk, from, file->columns, columns);
            columnsFrom = from;
            haveColumns = true;
        }
        Out* row = out + std::ptrdiff_t{y} * rect.outWidth;
        for (std::size_t k = 0; k < columns.size(); ++k) {
            // Deliberate: the count is tested as a signed number, so those from 0x8000 up pass
            // and 0xFFFE stays 0xFFFE here, while a sample at a position is missing there.
            // Pictures in counts show the outside of the scan by it.
            const std::int16_t v = columns[k] < 0 ? missingI2 : nbpWrap16(counts[columns[k]]);
            row[k] = convert(v < levels ? v : missingI2);
        }
    }
    return true;
}

// Zoomed read through sample positions, for a file that is rotated. `sample` reads a row of n.
template <class Out, class Sample>
bool zoomBySamples(NbHisdFile* file, const NbZoomRect& rect, Out* out, const char* caller,
                   Sample sample)
{
    const NbZoomWalk walk = nbpZoomWalk(rect, file->columns, file->lastLine);
    const auto width = static_cast<std::size_t>(rect.outWidth);
    NbArray<float> pixel(width, 0.0F, NbAllocator<float>(caller));
    NbArray<float> line(width, 0.0F, NbAllocator<float>(caller));
    for (std::size_t x = 0; x < width; ++x)
        pixel[x] = static_cast<float>(x) * static_cast<float>(walk.width) /
                       static_cast<float>(walk.outWidth) +
                   static_cast<float>(walk.firstColumn) - 1.0F;
    for (int y = 0; y < rect.outHeight; ++y) {
        const float l = static_cast<float>(walk.firstLine) +
                        static_cast<float>(walk.height) * static_cast<float>(y) /
                            static_cast<float>(rect.outHeight) -
                        1.0F;
        std::fill(line.begin(), line.end(), l);
        if (sample(pixel.data(), line.data(), out + std::ptrdiff_t{y} * rect.outWidth,
                   rect.outWidth) < 0)
            return false;
    }
    return true;
}

// Deliberate: the zoomed read by lines is taken up to a rotation of 9 microradians and leaves it
// out, while a sample at a position turns by any rotation. To turn here too would cost every
// nearly straight file the fast read, for a shift of a twentieth of a pixel.
bool zoomsByLines(const NbHisdFile& file)
{
    const float r = rotationRad(file);
    return r == 0.0F ||
           std::abs(std::int64_t{nbpTrunc32(static_cast<double>(r * 1000.0F * 1000.0F))}) <= 9;
}

template <class Out, class Convert, class Sample>
int zoom(NbHisdFile* file, const NbZoomRect* rect, Out* out, Out missing, const char* caller,
         Convert convert, Sample sample)
{
    return nbpGuard(caller, -1, [&] {
        if (rect->outWidth < 1 || rect->outHeight < 1) return 0;
        std::fill_n(out, std::ptrdiff_t{rect->outWidth} * rect->outHeight, missing);
        const bool good = zoomsByLines(*file) ? zoomByLines(file, *rect, out, caller, convert)
                                              : zoomBySamples(file, *rect, out, caller, sample);
        return good ? 0 : -1;
    });
}

} // namespace

int nbpHisdCompIndex(const NbHisdFile& file, float diskLine)
{
    const int count = static_cast<int>(file.comp.column.size());
    return std::clamp(nbpNearest16(static_cast<double>(diskLine)) - file.comp.start, 0, count - 1);
}

int nbHisdGetI2DataByPixLin(void* p, const float* pixel, const float* line, std::int16_t* out,
                            int n)
{
    return getI2(nbpHisdFile(p), pixel, line, out, n);
}

int nbHisdGetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n)
{
    NbHisdFile* file = nbpHisdFile(p);
    return hasPhysics(*file) ? getR4(file, pixel, line, out, n) : -1;
}

int nbHisdGetI2ZoomData(void* p, const NbZoomRect* rect, std::int16_t* out)
{
    NbHisdFile* file = nbpHisdFile(p);
    return zoom(
        file, rect, out, missingI2, "nbHisdGetI2ZoomData()", [](std::int16_t v) { return v; },
        [file](const float* pixel, const float* line, std::int16_t* row, int n) {
            return getI2(file, pixel, line, row, n);
        });
}

int nbHisdGetR4ZoomData(void* p, const NbZoomRect* rect, float* out)
{
    NbHisdFile* file = nbpHisdFile(p);
    if (!hasPhysics(*file)) return -1;
    const float* table = file->levelTable.data();
    return zoom(
        file, rect, out, missingR4, "nbHisdGetR4ZoomData()",
        [table](std::int16_t v) { return v < 0 ? missingR4 : table[v]; },
        [file](const float* pixel, const float* line, float* row, int n) {
            return getR4(file, pixel, line, row, n);
        });
}
