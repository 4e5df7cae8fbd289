/*
 * Lines on demand, with missing ones filled from their neighbours, and samples.
 */
#include "drivers/common/nbNearest.h"
#include "drivers/vissr/nbVissrFile.h"
#include "util/nbArray.h"
#include "util/nbCursor.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

constexpr std::size_t controlSize = 64; // line control word
constexpr float noPosition = -9999.0F;
constexpr std::int16_t missingI2 = -1; // 0xFFFF
constexpr float missingR4 = -1.0F;
constexpr int mostComplaints = 10; // messages of one call

NbVissrLineResult lineResult(const NbVissrFile& file, std::int64_t line)
{
    if (line < 0 || line >= file.lines) return vissrOffImage;
    if (line + 1 < file.firstLine || line + 1 > file.lastLine) return vissrOffFile;
    return file.lineTable[static_cast<std::size_t>(line)] < 1 ? vissrMissingLine : vissrGoodLine;
}

// Detector that scanned a visible line. Its bits, one of which is set, give 0, 1, 2 and 4.
int detectorOf(const NbVissrFile& file, std::uint32_t mark)
{
    const auto bits = (mark >> (file.variant == 0 ? 4 : 2)) & 0xFU;
    return static_cast<int>(std::min(bits, 3U));
}

// Reads a line that the file has: control word, gap and pixels at once. What lies behind the end
// of a short file reads as zeros.
bool loadLine(NbVissrFile* file, int line, const char* caller)
{
    std::uint16_t* samples = file->cache.add(line, caller);
    if (samples == nullptr) return false;
    const std::size_t head = controlSize + static_cast<std::size_t>(file->lineGap);
    const auto width = static_cast<std::size_t>(file->pixels);
    file->record.resize(head + width);
    const std::int64_t record = file->lineTable[static_cast<std::size_t>(line)];
    nbpVissrReadAt(*file, (record - 1) * file->recordSize, file->record.data(), head + width);

    NbCursor control(file->record, NbByteOrder::Big);
    const auto mark = control.get<std::uint32_t>();
    const auto lineNo = control.get<std::int32_t>();
    if (lineNo != line + 1)
        nbpLogError("INTERNAL ERROR : LCW.lineNo(%d) <> lineNo(%d)\n", lineNo, line + 1);

    const std::byte* pixels = file->record.data() + head;
    if (!file->visible()) {
        std::transform(pixels, pixels + width, samples,
                       [](std::byte b) { return std::to_integer<std::uint16_t>(b); });
    } else {
        const int detector = detectorOf(*file, mark);
        std::uint16_t sampleOf[vissrCounts];
        for (int c = 0; c < vissrCounts; ++c)
            sampleOf[c] = static_cast<std::uint16_t>(
                file->keepsDetectors ? detector * vissrCounts + c : file->sortIdx[detector][c]);
        std::transform(pixels, pixels + width, samples, [&](std::byte b) {
            return sampleOf[std::to_integer<unsigned>(b) % vissrCounts]; // 6 bits count
        });
    }
    file->cache.setState(line, vissrLineRead);
    return true;
}

bool ensureLine(NbVissrFile* file, int line, const char* caller)
{
    return file->cache.state(line) == vissrLineRead || loadLine(file, line, caller);
}

// The nearest line on one side that the file has, within the gap; -1 for none.
int nearestGoodLine(const NbVissrFile& file, int line, int direction)
{
    for (std::int64_t i = 1; i <= file.stopGap; ++i) {
        const std::int64_t n = line + direction * i;
        const auto result = lineResult(file, n);
        if (result == vissrGoodLine) return static_cast<int>(n);
        if (result != vissrMissingLine) break; // nothing good lies beyond
    }
    return -1;
}

// Fills a missing line; vissrMissingLine where the gap is too wide.
NbVissrLineResult fillLine(NbVissrFile* file, int line, const char* caller)
{
    NbLineCache& cache = file->cache;
    const int before = nearestGoodLine(*file, line, -1);
    const int after = nearestGoodLine(*file, line, 1);
    if (before < 0 && after < 0) {
        cache.setState(line, vissrLineMissing);
        return vissrMissingLine;
    }
    if ((before >= 0 && !ensureLine(file, before, caller)) ||
        (after >= 0 && !ensureLine(file, after, caller)))
        return vissrNoMemoryForLine;
    std::uint16_t* out = cache.add(line, caller);
    if (out == nullptr) return vissrNoMemoryForLine;
    const int width = cache.columns();
    if (before >= 0 && after >= 0) {
        const std::uint16_t* a = cache.line(before);
        const std::uint16_t* b = cache.line(after);
        for (int i = 0; i < width; ++i)
            out[i] = static_cast<std::uint16_t>(((after - line) * a[i] + b[i] * (line - before)) /
                                                (after - before));
    } else {
        std::copy_n(cache.line(before >= 0 ? before : after), width, out);
    }
    cache.setState(line, vissrLineRead);
    return vissrGoodLine;
}

// Makes a line present. `line` need not lie in the image.
NbVissrLineResult readOneLine(NbVissrFile* file, std::int64_t line, const char* caller)
{
    const NbVissrLineResult result = lineResult(*file, line);
    if (result == vissrOffImage || result == vissrOffFile) return result;
    const int n = static_cast<int>(line);
    if (file->cache.state(n) == vissrLineRead) return vissrGoodLine;
    if (file->cache.state(n) == vissrLineMissing) return vissrMissingLine;
    if (result == vissrMissingLine) return fillLine(file, n, caller);
    return loadLine(file, n, caller) ? vissrGoodLine : vissrNoMemoryForLine;
}

// Samples at positions. `convert` turns a stored sample into an output.
template <class Out, class Convert>
int samplesAt(NbVissrFile* file, const float* pixel, const float* line, Out* out, int n,
              Out missing, const char* caller, Convert convert)
{
    int errors = 0;
    int complaints = 0;
    // A point that lies outside or on a line that is not in memory. False: memory is out.
    const auto lookCloser = [&](int k) {
        out[k] = missing;
        if (pixel[k] == noPosition || line[k] == noPosition) return true;
        const int column = nbpNearest32(static_cast<double>(pixel[k]));
        const int row = nbpNearest32(static_cast<double>(line[k]));
        if (column < 0 || column >= file->pixels || row < 0 || row >= file->lines) {
            if (complaints++ < mostComplaints)
                nbpLogError("%s : bad value. Line=%d, Pixel=%d\n", caller, row, column);
            return true;
        }
        const NbVissrLineResult result = readOneLine(file, row, caller);
        if (result == vissrMissingLine) ++errors;
        if (result == vissrGoodLine) out[k] = convert(file->cache.line(row)[column]);
        return result != vissrNoMemoryForLine;
    };
    NbNearest nearest;
    for (int at = 0; at < n; at += nbpNearestPoints) {
        const int m = std::min(nbpNearestPoints, n - at);
        nbpNearestPixels(pixel + at, line + at, m, file->pixels, file->lines, &nearest);
        for (int k = 0; k < m; ++k) {
            const std::int32_t row = nearest.line[k];
            const bool ready = row >= 0 && file->cache.state(row) == vissrLineRead;
            if (ready) [[likely]] {
                out[at + k] = convert(file->cache.line(row)[nearest.column[k]]);
            } else if (!lookCloser(at + k)) {
                std::fill(out + at + k, out + n, missing);
                return -1;
            }
        }
    }
    return errors;
}

// Index of the source for entry k of n that spread over `size` of it from `start`. One entry
// alone is the first.
std::int64_t sourceAt(std::int64_t k, std::int64_t n, std::int64_t size, std::int64_t start)
{
    return n == 1 ? start : (size - 1) * k / (n - 1) + start;
}

// Zoomed read. A size of 0 reaches to the edge.
template <class Out, class Convert>
int zoom(NbVissrFile* file, const NbZoomRect& rect, Out* out, Out missing, const char* caller,
         Convert convert)
{
    return nbpGuard(caller, -1, [&] {
        if (rect.outWidth < 1 || rect.outHeight < 1) return 0;
        const std::ptrdiff_t stride = rect.outWidth;
        std::fill_n(out, stride * rect.outHeight, missing);
        const std::int64_t toRight = file->pixels - rect.startPixel;
        const std::int64_t height = rect.height == 0 ? file->lines - rect.startLine : rect.height;
        std::int64_t width = rect.width == 0 ? toRight : rect.width;
        std::int64_t used = stride; // columns that lie on the image
        if (width > toRight) {
            used = std::clamp<std::int64_t>(used * toRight / width, 0, stride);
            width = toRight;
        }
        NbArray<std::int64_t> columns(static_cast<std::size_t>(used), 0,
                                      NbAllocator<std::int64_t>(caller));
        for (std::size_t k = 0; k < columns.size(); ++k)
            columns[k] = sourceAt(static_cast<std::int64_t>(k), used, width, rect.startPixel);

        int errors = 0;
        for (std::ptrdiff_t j = 0; j < rect.outHeight; ++j) {
            const std::int64_t line = sourceAt(j, rect.outHeight, height, rect.startLine);
            Out* row = out + j * stride;
            // Deliberate: the line above the first repeats the row above it, while other lines off
            // the image stay invalid. Pictures that start half a line high have no gap by it.
            if (line == -1 && j > 0) std::copy_n(row - stride, stride, row);
            const NbVissrLineResult result = readOneLine(file, line, caller);
            if (result == vissrNoMemoryForLine) return -1;
            if (result == vissrMissingLine) ++errors;
            if (result != vissrGoodLine) continue;
            const std::uint16_t* samples = file->cache.line(static_cast<int>(line));
            for (std::size_t k = 0; k < columns.size(); ++k)
                if (columns[k] >= 0 && columns[k] < file->pixels)
                    row[k] = convert(samples[columns[k]]);
        }
        return errors;
    });
}

// Physical value of each stored sample of the selected element; null when it has none, which is
// told.
const float* physicalValues(const NbVissrFile& file, const char* caller)
{
    switch (file.element) {
    case vissrAlbedo:
        return file.vals;
    case vissrTemperature:
        return file.calibration.temperature;
    case vissrRadiance:
        return file.calibration.radiance;
    case vissrNoElement:
        nbpLogError("%s : 要素が選択されていません\n", caller);
        return nullptr;
    default:
        nbpLogError("%s : bad elementId (%d)\n", caller, file.element);
        return nullptr;
    }
}

constexpr int noValues = -10; // result without physical values

constexpr auto toLevel = [](std::uint16_t sample) { return static_cast<std::int16_t>(sample); };

} // namespace

int nbVissrIsErrorLine(void* p, int line)
{
    return lineResult(*nbpVissrFile(p), line);
}

int nbVissrClearDataCache(void* p)
{
    return nbpGuard("nbVissrClearDataCache()", -1, [&] {
        NbVissrFile* file = nbpVissrFile(p);
        file->cache.reset(file->lines, file->pixels);
        return 0;
    });
}

int nbVissrGetI2DataByPixLin(void* p, const float* pixel, const float* line, std::int16_t* out,
                             int n)
{
    constexpr const char* caller = "nbVissrGetI2DataByPixLin()";
    return nbpGuard(caller, -1, [&] {
        return samplesAt(nbpVissrFile(p), pixel, line, out, n, missingI2, caller, toLevel);
    });
}

int nbVissrGetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n)
{
    constexpr const char* caller = "nbVissrGetR4DataByPixLin()";
    const float* values = physicalValues(*nbpVissrFile(p), caller);
    if (values == nullptr) return noValues;
    return nbpGuard(caller, -1, [&] {
        return samplesAt(nbpVissrFile(p), pixel, line, out, n, missingR4, caller,
                         [values](std::uint16_t sample) { return values[sample]; });
    });
}

int nbVissrGetI2ZoomData(void* p, const NbZoomRect* rect, std::int16_t* out)
{
    return zoom(nbpVissrFile(p), *rect, out, missingI2, "nbVissrGetI2ZoomData()", toLevel);
}

int nbVissrGetR4ZoomData(void* p, const NbZoomRect* rect, float* out)
{
    constexpr const char* caller = "nbVissrGetR4ZoomData()";
    const float* values = physicalValues(*nbpVissrFile(p), caller);
    if (values == nullptr) return noValues;
    return zoom(nbpVissrFile(p), *rect, out, missingR4, caller,
                [values](std::uint16_t sample) { return values[sample]; });
}
