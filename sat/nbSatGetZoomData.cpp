#include "sat/nbSatGetZoomData.h"

#include "sat/nbSatGetDataByPixLin.h"
#include "sat/nbSatLevels.h"
#include "util/nbArray.h"
#include "util/nbGuard.h"
#include "util/nbLog.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

constexpr std::int16_t missing = -1;

template <class Rect>
std::size_t cellCount(const Rect& rect)
{
    return static_cast<std::size_t>(std::max<int>(rect.outWidth, 0)) *
           static_cast<std::size_t>(std::max<int>(rect.outHeight, 0));
}

std::size_t valueCount(const NbSatObject& object, const NbZoomRect& rect)
{
    return cellCount(rect) * static_cast<std::size_t>(std::max<int>(object.elemNum, 1));
}

NbZoomRectF floatRect(const NbZoomRect& rect)
{
    return {.startPixel = static_cast<float>(rect.startPixel),
            .startLine = static_cast<float>(rect.startLine),
            .width = rect.width,
            .height = rect.height,
            .outWidth = rect.outWidth,
            .outHeight = rect.outHeight};
}

bool knownMethod(const NbSatObject& object, const char* caller)
{
    if (object.intpMethod >= 0 && object.intpMethod < 4) return true;
    nbpLogError("%s : この内挿モードには対応していません.\n", caller);
    return false;
}

// Counts by the driver's own zoom, or levels by interpolation: that one converts already.
int zoomCounts(NbSatObject* object, const NbZoomRect& rect, int16_t* out)
{
    if (object->intpMethod == 0)
        return object->GetI2ZoomData == nullptr
                   ? -1
                   : object->GetI2ZoomData(object->privateData, &rect, out);
    const NbZoomRectF rectF = floatRect(rect);
    return nbSatGetI2ZoomDataIntp(object, &rectF, out);
}

int zoomValues(NbSatObject* object, const NbZoomRect& rect, float* out)
{
    if (object->intpMethod == 0)
        return object->GetR4ZoomData == nullptr
                   ? -1
                   : object->GetR4ZoomData(object->privateData, &rect, out);
    const NbZoomRectF rectF = floatRect(rect);
    return nbSatGetR4ZoomDataIntp(object, &rectF, out);
}

int getLevels(NbSatObject* object, const NbZoomRect& rect, int16_t* out, const char* caller)
{
    if (object->elemNum == 0) {
        nbpLogError("%s : no selected element.\n", caller);
        return -1;
    }
    if (!knownMethod(*object, caller)) return -1;
    switch (nbpSatLevelRoad(*object)) {
    case NbLevelRoad::Counts:
        return zoomCounts(object, rect, out);
    case NbLevelRoad::CountsTable: {
        const int result = zoomCounts(object, rect, out);
        if (object->intpMethod == 0 && result >= 0)
            nbpSatCountsToLevels(*object, {out, valueCount(*object, rect)});
        return result;
    }
    case NbLevelRoad::Values: {
        NbArray<float> values(valueCount(*object, rect), object->errorValue,
                              NbAllocator<float>(caller));
        const int result = zoomValues(object, rect, values.data());
        nbpSatValuesToLevels(*object, values, out);
        return result;
    }
    case NbLevelRoad::None:
        break;
    }
    nbpLogFatal("%s : INTERNAL ERROR", caller);
    return -1;
}

// Positions of the output's columns or rows along one axis of the source. One alone has the
// first position.
float positionAt(int k, std::int32_t size, int outSize, float start)
{
    if (outSize == 1) return start;
    return nbpToFloat(k * (static_cast<double>(size) - 1) / (outSize - 1) + start);
}

// Samples the whole grid of positions in one call of `sample`.
template <class Value, class Sample>
int zoomInterpolated(NbSatObject* object, const NbZoomRectF& rect, Value* out, const char* caller,
                     Sample sample)
{
    NbArray<float> pixel{NbAllocator<float>(caller)};
    NbArray<float> line{NbAllocator<float>(caller)};
    const bool room = nbpGuard(caller, false, [&] {
        pixel.resize(cellCount(rect));
        line.resize(cellCount(rect));
        return true;
    });
    if (!room) {
        nbpLogError("%s : メモリ確保に失敗しました (pix/lin)\n", caller);
        return -1;
    }
    const auto width = static_cast<std::size_t>(std::max<int>(rect.outWidth, 0));
    for (std::size_t i = 0; i < width && i < pixel.size(); ++i)
        pixel[i] = positionAt(static_cast<int>(i), rect.width, rect.outWidth, rect.startPixel);
    for (std::size_t first = 0; first < pixel.size(); first += width) {
        if (first > 0) std::copy_n(pixel.data(), width, pixel.data() + first);
        std::fill_n(line.data() + first, width,
                    positionAt(static_cast<int>(first / width), rect.height, rect.outHeight,
                               rect.startLine));
    }
    return sample(object, pixel.data(), line.data(), out, static_cast<int>(pixel.size()));
}

} // namespace

int nbSatGetI2ZoomData(NbSatObject* object, const NbZoomRect* rect, int16_t* out)
{
    constexpr const char* caller = "nbSatGetI2ZoomData()";
    return nbpGuard(caller, -1, [&] { return getLevels(object, *rect, out, caller); });
}

int nbSatGetR4ZoomData(NbSatObject* object, const NbZoomRect* rect, float* out)
{
    constexpr const char* caller = "nbSatGetR4ZoomData()";
    return nbpGuard(caller, -1, [&] {
        if (!knownMethod(*object, caller)) return -1;
        if (object->elemKind != 0) return zoomValues(object, *rect, out);
        // Deliberate: an interpolated zoom of counts under a level conversion gives levels, the
        // nearest one counts. To give counts in both, the conversion would have to be put aside.
        NbArray<std::int16_t> counts(valueCount(*object, *rect), missing,
                                     NbAllocator<std::int16_t>(caller));
        const int result = zoomCounts(object, *rect, counts.data());
        std::transform(counts.begin(), counts.end(), out,
                       [](std::int16_t v) { return static_cast<float>(v); });
        return result;
    });
}

int nbSatGetI2ZoomDataIntp(NbSatObject* object, const NbZoomRectF* rect, int16_t* out)
{
    return zoomInterpolated(object, *rect, out, "nbSatGetI2ZoomDataIntp()", nbSatGetI2DataByPixLin);
}

int nbSatGetR4ZoomDataIntp(NbSatObject* object, const NbZoomRectF* rect, float* out)
{
    return zoomInterpolated(object, *rect, out, "nbSatGetR4ZoomDataIntp()", nbSatGetR4DataByPixLin);
}
