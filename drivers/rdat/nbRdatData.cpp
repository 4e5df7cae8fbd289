#include "drivers/common/nbZoomWalk.h"
#include "drivers/rdat/nbRdatFile.h"
#include "util/nbGuard.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

constexpr std::int16_t missingI2 = -1; // 0xFFFF
constexpr float missingR4 = -1.0F;

// Count of a pixel; -1 when it is marked invalid.
int countOf(const NbRdatFile& file, std::size_t at)
{
    const std::uint16_t word = file.words[at];
    return (word & 1U) != 0 ? -1 : word >> 2;
}

std::int16_t sampleI2(const NbRdatFile& file, int column, int line)
{
    return static_cast<std::int16_t>(countOf(file, file.at(column, line)));
}

// Value of the selected element at a pixel; missingR4 when it has none. Radiances and what is made
// of them are kept: a map takes many a pixel more than once.
float sampleR4(NbRdatFile& file, int column, int line)
{
    constexpr double computed = -9000.0;
    const std::size_t at = file.at(column, line);
    const int count = countOf(file, at);
    if (count < 0) return missingR4;
    double radiance = file.radiance.get(at);
    if (!(radiance > computed)) {
        radiance = nbpRdatRadiance(file, line, column, count);
        if (!(radiance >= computed)) return missingR4;
        file.radiance.set(at, radiance);
    }
    if (file.kind == rdatRadiance) return nbpToFloat(radiance);
    double value = file.physical.get(at);
    if (!(value > computed)) {
        value = nbpRdatFromRadiance(file, file.kind, radiance);
        if (!(value >= computed)) return missingR4;
        file.physical.set(at, value);
    }
    return nbpToFloat(value);
}

// Samples at positions. Deliberate: the user's shift is added to a position, where drivers of
// rectified data take it off. Taken off, a shift that was found for such a file would move the
// picture twice as far the other way.
template <class Out, class Sample>
int dataByPixLin(const NbRdatFile& file, const float* pixel, const float* line, Out* out, int n,
                 Out missing, Sample sample)
{
    int invalid = 0;
    for (int i = 0; i < n; ++i) {
        const int c = nbpNearest32(static_cast<double>(pixel[i] + file.shiftPixel));
        const int l = nbpNearest32(static_cast<double>(line[i] + file.shiftLine));
        out[i] = file.inside(c, l) ? sample(c, l) : missing;
        invalid += out[i] == missing;
    }
    return invalid;
}

// Zoomed read: source line of a row and source column of an output column in integers.
template <class Out, class Sample>
int zoom(const NbRdatFile& file, const NbZoomRect& rect, Out* out, Out missing, const char* caller,
         Sample sample)
{
    return nbpGuard(caller, -1, [&] {
        if (rect.outWidth < 1 || rect.outHeight < 1) return 0;
        std::fill_n(out, std::ptrdiff_t{rect.outWidth} * rect.outHeight, missing);
        const NbRdatHeader& header = file.header;
        const NbZoomWalk walk = nbpZoomWalk(rect, header.columns, header.lines);
        NbArray<std::int32_t> columns(static_cast<std::size_t>(walk.outWidth), 0,
                                      NbAllocator<std::int32_t>(caller));
        const double from =
            static_cast<double>(static_cast<float>(walk.firstColumn) + file.shiftPixel);
        nbpZoomColumns(walk, nbpNearest32(from), header.columns, columns);
        for (int y = 0; y < rect.outHeight; ++y) {
            const std::int64_t source =
                std::int64_t{walk.height} * y / rect.outHeight + walk.firstLine - 1;
            const int line =
                nbpNearest32(static_cast<double>(static_cast<float>(source) + file.shiftLine));
            if (!file.inside(0, line)) continue;
            Out* row = out + std::ptrdiff_t{y} * rect.outWidth;
            for (std::size_t k = 0; k < columns.size(); ++k)
                if (columns[k] >= 0) row[k] = sample(columns[k], line);
        }
        return 0;
    });
}

// True when physical values can be given.
bool hasPhysics(const NbRdatFile& file)
{
    return file.kind == rdatAlbedo || file.kind == rdatRadiance || file.kind == rdatTemperature;
}

} // namespace

int nbRdatGetI2DataByPixLin(void* p, const float* pixel, const float* line, std::int16_t* out,
                            int n)
{
    const NbRdatFile& file = *nbpRdatFile(p);
    return dataByPixLin(file, pixel, line, out, n, missingI2,
                        [&](int column, int l) { return sampleI2(file, column, l); });
}

int nbRdatGetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n)
{
    NbRdatFile& file = *nbpRdatFile(p);
    if (!hasPhysics(file)) return -1;
    return dataByPixLin(file, pixel, line, out, n, missingR4,
                        [&](int column, int l) { return sampleR4(file, column, l); });
}

int nbRdatGetI2ZoomData(void* p, const NbZoomRect* rect, std::int16_t* out)
{
    const NbRdatFile& file = *nbpRdatFile(p);
    return zoom(file, *rect, out, missingI2, "nbRdatGetI2ZoomData()",
                [&](int column, int line) { return sampleI2(file, column, line); });
}

int nbRdatGetR4ZoomData(void* p, const NbZoomRect* rect, float* out)
{
    NbRdatFile& file = *nbpRdatFile(p);
    if (!hasPhysics(file)) return -1;
    return zoom(file, *rect, out, missingR4, "nbRdatGetR4ZoomData()",
                [&](int column, int line) { return sampleR4(file, column, line); });
}
