#include "sat/nbSatGetZoomDataSub.h"

#include "util/nbArray.h"
#include "util/nbGuard.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

// Index of the source for entry k of n that spread over `size` of it from `start`. One entry
// alone is the first.
float sourceAt(std::int64_t k, std::int64_t n, std::int64_t size, std::int64_t start)
{
    return static_cast<float>(n == 1 ? start : start + (size - 1) * k / (n - 1));
}

template <class Value, class Slot>
int zoom(const NbSatObject& object, const NbZoomRect& rect, Value* out, Slot slot,
         const char* caller)
{
    if (slot == nullptr) return -1;
    const std::int64_t toRight = object.pixelNum - rect.startPixel;
    const std::int64_t height = rect.height == 0 ? object.lineNum - rect.startLine : rect.height;
    std::int64_t width = rect.width == 0 ? toRight : rect.width;
    const std::int64_t outWidth = std::max<int>(rect.outWidth, 0);
    std::int64_t used = outWidth; // columns that lie on the image
    if (width > toRight) {
        used = toRight * used / width;
        width = toRight;
    }
    used = std::clamp<std::int64_t>(used, 0, outWidth);

    const auto columns = static_cast<std::size_t>(used);
    NbArray<float> pixel(columns, 0.0F, NbAllocator<float>(caller));
    NbArray<float> line(columns, 0.0F, NbAllocator<float>(caller));
    for (std::size_t k = 0; k < columns; ++k)
        pixel[k] = sourceAt(static_cast<std::int64_t>(k), used, width, rect.startPixel);

    const std::ptrdiff_t rowValues = outWidth * object.elemNum;
    int result = 0;
    for (int j = 0; j < rect.outHeight; ++j) {
        Value* row = out + j * rowValues;
        const float source = sourceAt(j, rect.outHeight, height, rect.startLine);
        if (source == -1.0F) {
            // The line above the first repeats what stands above it.
            if (j > 0) std::copy_n(row - rowValues, used * object.elemNum, row);
        } else if (source < static_cast<float>(object.lineNum)) {
            std::fill(line.begin(), line.end(), source);
            result =
                slot(object.privateData, pixel.data(), line.data(), row, static_cast<int>(used));
        }
    }
    return result;
}

} // namespace

int nbSatGetI2ZoomDataSub(NbSatObject* object, const NbZoomRect* rect, int16_t* out)
{
    constexpr const char* caller = "nbSatGetI2ZoomDataSub()";
    return nbpGuard(caller, -1,
                    [&] { return zoom(*object, *rect, out, object->GetI2DataByPixLin, caller); });
}

int nbSatGetR4ZoomDataSub(NbSatObject* object, const NbZoomRect* rect, float* out)
{
    constexpr const char* caller = "nbSatGetR4ZoomDataSub()";
    return nbpGuard(caller, -1,
                    [&] { return zoom(*object, *rect, out, object->GetR4DataByPixLin, caller); });
}
