#include "drivers/common/nbNearest.h"
#include "drivers/gvar/nbGvarFile.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

constexpr std::int16_t missingI2 = -1; // 0xFFFF
constexpr float missingR4 = -1.0F;
constexpr float noPositionF = -9999.0F;
constexpr int mostReports = 10; // positions outside the image that a call reports
constexpr int noPhysics = -10;  // result of a float read without a physical element

// Lines for one call of a reader, and how many bad ones it has met.
class Lines {
public:
    explicit Lines(NbGvarFile* file) : file_(file) {}

    // A line of the image; null for a bad one and when reading is over.
    const NbGvarLine* get(int n)
    {
        const NbGvarLine& line = file_->cache[static_cast<std::size_t>(n)];
        if (!line.counts.empty()) [[likely]]
            return &line;
        if (n == lastBad_) return nullptr;
        const int code = nbpGvarReadLine(file_, n);
        if (code == gvarLineBad) {
            nbpGvarFillLine(file_, n);
            ++errors_;
            lastBad_ = n;
        }
        over_ = code == gvarLineFileEnd || code == gvarLineNoMemory;
        return line.counts.empty() ? nullptr : &line;
    }
    // Deliberate: a line behind the end of the file ends the call, also for positions further on
    // that have their line. Going on would search the file's end for each of them.
    bool over() const { return over_; }
    int errors() const { return errors_; }

private:
    NbGvarFile* file_;
    int errors_ = 0;
    int lastBad_ = -1;
    bool over_ = false;
};

// Turns the counts of a line into values.
struct AsCounts {
    static constexpr std::int16_t missing = missingI2;
    void setLine(int) {}
    std::int16_t operator()(std::uint16_t count) const { return nbpWrap16(count); }
};
class AsPhysics {
public:
    static constexpr float missing = missingR4;
    explicit AsPhysics(const NbGvarFile& file) : file_(file), table_(file.tables.front().data()) {}
    void setLine(int n)
    {
        const int index = std::max<int>(file_.detectors[static_cast<std::size_t>(n)], 0);
        const std::size_t detectors = file_.tables.size();
        table_ = file_.tables[std::min(static_cast<std::size_t>(index), detectors - 1)].data();
    }
    float operator()(std::uint16_t count) const { return table_[count]; } // ten bits

private:
    const NbGvarFile& file_;
    const float* table_;
};

template <class Out, class Convert>
int getDataByPixLin(NbGvarFile* file, const float* pixel, const float* line, Out* out, int n,
                    Convert convert, const char* caller)
{
    Lines lines(file);
    const Out missing = Convert::missing;
    int reports = 0;
    const auto isInside = [&](int k) {
        if (pixel[k] == noPositionF || line[k] == noPositionF) return false;
        const int x = nbpNearest32(static_cast<double>(pixel[k]));
        const int y = nbpNearest32(static_cast<double>(line[k]));
        const bool inside = x >= 0 && x < file->pixels && y >= 0 && y < file->lines;
        if (!inside && ++reports <= mostReports)
            nbpLogError("%s : bad value. Line=%d,Pixel=%d\n", caller, y, x);
        return inside;
    };
    NbNearest nearest;
    for (int at = 0; at < n; at += nbpNearestPoints) {
        const int m = std::min(nbpNearestPoints, n - at);
        nbpNearestPixels(pixel + at, line + at, m, file->pixels, file->lines, &nearest);
        for (int k = 0; k < m; ++k) {
            std::int32_t x = nearest.column[k];
            std::int32_t y = nearest.line[k];
            out[at + k] = missing;
            if (y < 0) [[unlikely]] {
                if (!isInside(at + k)) continue;
                x = nbpNearest32(static_cast<double>(pixel[at + k]));
                y = nbpNearest32(static_cast<double>(line[at + k]));
            }
            const NbGvarLine* found = lines.get(y);
            if (lines.over()) {
                std::fill(out + at + k, out + n, missing);
                return lines.errors();
            }
            if (found == nullptr || x >= found->pixels()) continue;
            convert.setLine(y);
            out[at + k] = convert(found->counts[static_cast<std::size_t>(x)]);
        }
    }
    return lines.errors();
}

// Whether the selected element has physical values; logged when not.
bool checkElementId(const NbGvarFile& file, const char* caller)
{
    if (file.element >= gvarAlbedo && file.element <= gvarRadiance && !file.tables.empty())
        return true;
    nbpLogError("%s : bad elementId (%d)\n", caller, file.element);
    return false;
}

// Index of the source for entry k of n that spread evenly over `size` of it from `start`.
std::int64_t sourceAt(std::int64_t k, std::int64_t n, std::int64_t size, std::int64_t start)
{
    return n == 1 ? start : (size - 1) * k / (n - 1) + start;
}

// `more` is added to an extent of 0 that reaches to the edge; lines from `endLine` on are not read.
template <class Out, class Convert>
int zoom(NbGvarFile* file, const NbZoomRect& rect, Out* out, int more, int endLine, Convert convert,
         const char* caller)
{
    if (rect.outWidth < 1 || rect.outHeight < 1) return 0;
    std::fill_n(out, std::ptrdiff_t{rect.outWidth} * rect.outHeight, Out{Convert::missing});
    const std::int64_t toRight = std::int64_t{file->pixels} - rect.startPixel;
    const std::int64_t toBottom = std::int64_t{file->lines} - rect.startLine;
    std::int64_t width = rect.width == 0 ? toRight + more : rect.width;
    const std::int64_t height = rect.height == 0 ? toBottom + more : rect.height;
    std::int64_t outWidth = rect.outWidth;
    if (width > toRight) {
        outWidth = width > 0 ? outWidth * toRight / width : 0;
        width = toRight;
    }
    outWidth = std::clamp<std::int64_t>(outWidth, 0, rect.outWidth);
    return nbpGuard(caller, -1, [&] {
        std::vector<std::int32_t> columns(static_cast<std::size_t>(outWidth));
        for (std::int64_t k = 0; k < outWidth; ++k) {
            const std::int64_t x = sourceAt(k, outWidth, width, rect.startPixel);
            columns[static_cast<std::size_t>(k)] =
                x >= 0 && x < file->pixels ? static_cast<std::int32_t>(x) : -1;
        }
        Lines lines(file);
        for (int j = 0; j < rect.outHeight; ++j) {
            const std::int64_t y = sourceAt(j, rect.outHeight, height, rect.startLine);
            if (y < 0 || y >= endLine) continue;
            const NbGvarLine* found = lines.get(static_cast<int>(y));
            if (lines.over()) break;
            if (found == nullptr) continue;
            convert.setLine(static_cast<int>(y));
            Out* row = out + std::ptrdiff_t{j} * rect.outWidth;
            for (std::size_t k = 0; k < columns.size(); ++k)
                if (columns[k] >= 0 && columns[k] < found->pixels())
                    row[k] = convert(found->counts[static_cast<std::size_t>(columns[k])]);
        }
        return lines.errors();
    });
}

} // namespace

int nbGvarGetI2DataByPixLin(void* p, const float* pixel, const float* line, int16_t* out, int n)
{
    return getDataByPixLin(nbpGvarFile(p), pixel, line, out, n, AsCounts{},
                           "nbGvarGetI2DataByPixLin()");
}

int nbGvarGetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n)
{
    constexpr const char* caller = "nbGvarGetR4DataByPixLin()";
    NbGvarFile* file = nbpGvarFile(p);
    if (!checkElementId(*file, caller)) return noPhysics;
    return getDataByPixLin(file, pixel, line, out, n, AsPhysics(*file), caller);
}

// Deliberate: an extent of 0 is one pixel wider and one line higher here than what is there, so
// the rightmost output column may stay missing; the float form takes the exact extent but never
// reads the last line. Pictures made by one have always differed so from those of the other.
int nbGvarGetI2ZoomData(void* p, const NbZoomRect* rect, int16_t* out)
{
    NbGvarFile* file = nbpGvarFile(p);
    return zoom(file, *rect, out, 1, file->lines, AsCounts{}, "nbGvarGetI2ZoomData()");
}

int nbGvarGetR4ZoomData(void* p, const NbZoomRect* rect, float* out)
{
    constexpr const char* caller = "nbGvarGetR4ZoomData()";
    NbGvarFile* file = nbpGvarFile(p);
    if (!checkElementId(*file, caller)) return noPhysics;
    return zoom(file, *rect, out, 0, file->lines - 1, AsPhysics(*file), caller);
}
