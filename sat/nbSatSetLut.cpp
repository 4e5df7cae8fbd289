#include "sat/nbSatSetLut.h"

#include "sat/nbLut.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatLinked.h"
#include "util/nbArray.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"
#include "util/nbUtlFreer.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <span>
#include <utility>
#include <vector>

namespace {

// What is asked for, as the arguments give it.
struct LutRequest {
    const char* caller;
    NbLut lut;                       // its scalars; no arrays yet
    std::span<const float> x = {};   // breakpoints
    const std::int16_t* y = nullptr; // a level each
    // Converts n source values.
    void (*convert)(const LutRequest& request, const float* in, std::int16_t* out, float errorValue,
                    int n);
};

// Room for a record with `levels` entries of `table` and `breakpoints` of tableX and tableY
// behind it; null when memory ran out.
NbLut* allocateLut(const NbLut& plain, std::size_t levels, std::size_t breakpoints,
                   const char* caller)
{
    static_assert(sizeof(NbLut) % alignof(float) == 0);
    const std::size_t size = sizeof(NbLut) +
                             breakpoints * (sizeof(float) + sizeof(std::int16_t)) // x, y
                             + levels * sizeof(std::int16_t);
    auto* bytes = static_cast<std::byte*>(nbUtlMalloc(size, caller));
    if (bytes == nullptr) return nullptr;
    auto* lut = new (bytes) NbLut(plain);
    auto* x = reinterpret_cast<float*>(bytes + sizeof(NbLut));
    auto* y = reinterpret_cast<std::int16_t*>(bytes + sizeof(NbLut) + breakpoints * sizeof(float));
    lut->tableX = breakpoints > 0 ? x : nullptr;
    lut->tableY = breakpoints > 0 ? y : nullptr;
    lut->table = levels > 0 ? y + breakpoints : nullptr;
    return lut;
}

// The request as it stands, for an element without a table: the sampler applies it to each value.
NbLut* makeSampleLut(const LutRequest& request)
{
    NbLut* lut = allocateLut(request.lut, 0, request.x.size(), request.caller);
    if (lut == nullptr) return nullptr;
    std::copy_n(request.x.data(), request.x.size(), lut->tableX);
    std::copy_n(request.y, request.x.size(), lut->tableY);
    return lut;
}

// The output level of each source level.
NbLut* makeLevelLut(const LutRequest& request, const NbArray<float>& source, float errorValue)
{
    NbLut plain{};
    plain.kind = NB_LUT_LEVELS;
    plain.levels = static_cast<std::int32_t>(source.size());
    plain.errorLevel = request.lut.errorLevel;
    NbLut* lut = allocateLut(plain, source.size(), 0, request.caller);
    if (lut != nullptr)
        request.convert(request, source.data(), lut->table, errorValue, lut->levels);
    return lut;
}

// The conversion for one object; null when it cannot be had.
NbLut* makeLut(NbSatObject& object, const LutRequest& request)
{
    NbArray<float> source{NbAllocator<float>(request.caller)};
    if (object.elemKind == 0) {
        source.resize(static_cast<std::size_t>(std::max<int>(object.levelNum, 0)));
        for (std::size_t i = 0; i < source.size(); ++i)
            source[i] = static_cast<float>(i);
        return makeLevelLut(request, source, object.errorValue);
    }
    int n = 0;
    if (nbSatGetCalTable(&object, object.elemName, nullptr, &n) < 0) return makeSampleLut(request);
    source.resize(static_cast<std::size_t>(std::max(n, 0)));
    if (nbSatGetCalTable(&object, object.elemName, source.data(), &n) < 0) return nullptr;
    return makeLevelLut(request, source, object.errorValue);
}

int setLut(NbSatObject* object, const LutRequest& request)
{
    return nbpGuard(request.caller, -1, [&] {
        int result = -1;
        const auto objects = nbpSatLinked(object);
        // They go at the end: the breakpoints given may be those of one of them.
        std::vector<std::unique_ptr<NbLut, NbUtlFreer>> replaced;
        replaced.reserve(objects.size());
        for (NbSatObject& one : objects) {
            if (one.elemNum == 0) {
                nbpLogError("%s : 要素が指定されていません\n", request.caller);
                continue;
            }
            if (one.elemNum >= 2) {
                nbpLogError("%s : 要素が複数の時,階調変換の指定はできません\n", request.caller);
                continue;
            }
            replaced.emplace_back(std::exchange(one.lut, nullptr));
            one.lut = makeLut(one, request);
            if (one.lut != nullptr) result = 0;
        }
        return result;
    });
}

template <auto convertTable>
int setBreakpoints(NbSatObject* object, const char* caller, const float* x, const std::int16_t* y,
                   int n, int errorLevel)
{
    LutRequest request{};
    request.caller = caller;
    request.lut.kind = NB_LUT_BREAKPOINTS;
    request.lut.errorLevel = nbpWrap16(errorLevel);
    request.lut.tableNum = std::max(n, 0);
    request.x = {x, static_cast<std::size_t>(request.lut.tableNum)};
    request.y = y;
    request.convert = [](const LutRequest& r, const float* in, std::int16_t* out, float errorValue,
                         int count) {
        convertTable(r.x.data(), r.y, r.lut.tableNum, in, out, errorValue, r.lut.errorLevel, count);
    };
    return setLut(object, request);
}

} // namespace

extern "C" {

int nbSatSetLutByBiasScale(NbSatObject* object, float bias, float scale, int levels, int errorLevel)
{
    LutRequest request{};
    request.caller = "nbSatSetLutByBiasScale()";
    request.lut.kind = NB_LUT_BIAS_SCALE;
    request.lut.levels = levels;
    request.lut.errorLevel = nbpWrap16(errorLevel);
    request.lut.bias = bias;
    request.lut.scale = scale;
    request.convert = [](const LutRequest& r, const float* in, std::int16_t* out, float errorValue,
                         int n) {
        nbLutR4ToI2ByBiasScale(r.lut.bias, r.lut.scale, r.lut.levels, in, out, errorValue,
                               r.lut.errorLevel, n);
    };
    return setLut(object, request);
}

int nbSatSetLutByTable(NbSatObject* object, const float* tableX, const std::int16_t* tableY, int n,
                       int errorLevel)
{
    return setBreakpoints<nbLutR4ToI2ByTable>(object, "nbSatSetLutByTable()", tableX, tableY, n,
                                              errorLevel);
}

// Deliberate: on an element without a calibration table the breakpoints are stored like those of
// nbSatSetLutByTable, so its samples are converted linearly and not by stairs. A kind of its own
// would change the levels of every such image.
int nbSatSetLutByTableStair(NbSatObject* object, const float* tableX, const std::int16_t* tableY,
                            int n, int errorLevel)
{
    return setBreakpoints<nbLutR4ToI2ByTableStair>(object, "nbSatSetLutByTableStair()", tableX,
                                                   tableY, n, errorLevel);
}

int nbSatSetLutByMinMax(NbSatObject* object, float min, float max, int levels, int errorLevel)
{
    const float scale = (max - min) / static_cast<float>(levels - 1);
    const int result = nbSatSetLutByBiasScale(object, min, scale, levels, errorLevel);
    if (result < 0)
        nbpLogError("%s : nbSatSetLutByBiasScale() return error code [%d]\n",
                    "nbSatSetLutByMinMax()", result);
    return result;
}

} // extern "C"
