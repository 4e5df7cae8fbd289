#include "sat/nbSatGetDataByPixLin.h"

#include "sat/nbSatLevels.h"
#include "util/nbArray.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <numbers>

namespace {

constexpr const char* unit = "nbSatGetDataByPixLin";
constexpr float noPosition = -9999.0F;
constexpr std::int16_t missing = -1;

// A position that has neighbours: given, a number, and one that a 16-bit index can stand for.
bool hasNeighbours(float pixel, float line)
{
    return pixel != noPosition && line != noPosition && std::abs(pixel) < 32768.0F &&
           std::abs(line) < 32768.0F;
}

// An index of the image, or its edge, as a position.
//
// Deliberate: lines end at the object's own number of lines, counted from line 0 of the whole
// image. In a later segment of an image all neighbours therefore lie above the file and are
// missing. Limiting to the file's own lines would make segments interpolate.
float limited(int index, int size)
{
    return static_cast<float>(std::max(0, std::min(index, size - 1)));
}

// The image around one position: where its neighbours lie and what is sampled there.
struct Neighbours {
    float* pixel;
    float* line;
    std::int16_t* sample;
};

struct Bilinear {
    static constexpr int number = 4;
    static constexpr int perCall = 1;
    static int merge(int result, int next) { return result | next; }

    static void place(const NbSatObject& object, float pixel, float line, const Neighbours& at)
    {
        // Deliberate: toward zero, so a position in the outer half of the first column or line
        // continues the slope between the first two samples beyond the first one. With the index
        // below it instead, such a position would get the first sample.
        const int x = nbpTrunc16(pixel);
        const int y = nbpTrunc16(line);
        for (int k = 0; k < number; ++k) {
            at.pixel[k] = limited(x + k % 2, object.pixelNum);
            at.line[k] = limited(y + k / 2, object.lineNum);
        }
    }

    static std::int16_t value(const NbSatObject&, float pixel, float line, const Neighbours& at)
    {
        if (std::all_of(at.sample, at.sample + number, [](auto v) { return v == missing; }))
            return missing;
        // Deliberate: a missing neighbour counts as 0 with its full weight, so samples fade out
        // toward missing ones. Sharing its weight among the others would raise them there.
        std::array<float, number> s{};
        for (std::size_t k = 0; k < number; ++k)
            s[k] = at.sample[k] == missing ? 0.0F : static_cast<float>(at.sample[k]);
        const float dx = pixel - static_cast<float>(nbpTrunc16(pixel));
        const float dy = line - static_cast<float>(nbpTrunc16(line));
        const float sum = dy * dx * s[3] + dy * (1 - dx) * s[2] + (1 - dy) * dx * s[1] +
                          (1 - dy) * (1 - dx) * s[0];
        return nbpWrap16(nbpNearest32(sum));
    }
};

double sincFunc(double t)
{
    return t == 0 ? 1.0 : std::sin(t) / t;
}

double cubicConv(double t)
{
    const double s = std::abs(t);
    if (s <= 1) return 1 + s * s * s - 2 * s * s;
    if (s <= 2) return -(s * s * s) + 5 * s * s - 8 * s + 4;
    return 0;
}

double sincWeight(double distance)
{
    return sincFunc(std::numbers::pi * distance);
}

// The weighted mean of the 4 x 4 pixels around a position, row by row. `weight` is that of a
// distance in pixels; pixels off the image are replaced by the edge, at the edge's distance.
template <double (*weight)(double), int positionsPerCall>
struct Kernel {
    static constexpr int number = 16;
    static constexpr int perCall = positionsPerCall;
    static int merge(int, int next) { return next; }

    static void place(const NbSatObject& object, float pixel, float line, const Neighbours& at)
    {
        const int x = nbpTrunc16(pixel) - 1;
        const int y = nbpTrunc16(line) - 1;
        for (int k = 0; k < number; ++k) {
            at.pixel[k] = limited(x + k % 4, object.pixelNum);
            at.line[k] = limited(y + k / 4, object.lineNum);
        }
    }

    static std::int16_t value(const NbSatObject& object, float pixel, float line,
                              const Neighbours& at)
    {
        std::array<double, 4> wx{};
        std::array<double, 4> wy{};
        for (std::size_t k = 0; k < 4; ++k) {
            wx[k] = weight(static_cast<double>(at.pixel[k]) - pixel);
            wy[k] = weight(static_cast<double>(at.line[4 * k]) - line);
        }
        // Deliberate: a missing sample enters as the -1 that marks it. Leaving it out would
        // keep the values beside missing pixels up and change the overshoot around them.
        double sum = 0;
        double weights = 0;
        for (std::size_t k = 0; k < number; ++k) {
            sum += at.sample[k] * wx[k % 4] * wy[k / 4];
            weights += wx[k % 4] * wy[k / 4];
        }
        // Weights of 0 alone, two pixels or more off the image, leave no number: 0.
        std::int32_t v = nbpNearest32(sum / weights);
        // Deliberate: a value of exactly levelNum stands, one above the highest level. Through a
        // table it gives the error value; limiting it too would give the highest level.
        if (v > object.levelNum) v = object.levelNum - 1;
        return nbpWrap16(std::max(v, 0));
    }
};

using Sinc = Kernel<sincWeight, 1>;
using Convolution = Kernel<cubicConv, 16>;

// Counts at n positions by one of the samplers above; -1 where there are none.
//
// The driver is asked for the neighbours of many points at once: that gives the samples that a
// call for each would give, without its cost. The last point alone is asked for by `perCall`
// positions, because the result of the whole is that of its calls. A call that fails ends the
// work with its code.
template <class Sampler>
int interpolate(const NbSatObject& object, const float* pixel, const float* line, int16_t* out,
                int n)
{
    constexpr int blockPoints = 256;
    std::array<float, blockPoints * Sampler::number> pixels;
    std::array<float, blockPoints * Sampler::number> lines;
    std::array<std::int16_t, blockPoints * Sampler::number> samples;
    std::array<int, blockPoints> points;
    const auto neighbours = [&](int k) {
        const std::ptrdiff_t first = std::ptrdiff_t{k} * Sampler::number;
        return Neighbours{pixels.data() + first, lines.data() + first, samples.data() + first};
    };

    std::fill_n(out, n, missing);
    int last = n - 1;
    while (last >= 0 && !hasNeighbours(pixel[last], line[last]))
        --last;
    for (int i = 0; i < last;) {
        int used = 0;
        for (; i < last && used < blockPoints; ++i) {
            if (!hasNeighbours(pixel[i], line[i])) continue;
            Sampler::place(object, pixel[i], line[i], neighbours(used));
            points[static_cast<std::size_t>(used++)] = i;
        }
        if (used == 0) break;
        const int asked = used * Sampler::number;
        std::fill_n(samples.begin(), asked, missing);
        const int code = object.GetI2DataByPixLin(object.privateData, pixels.data(), lines.data(),
                                                  samples.data(), asked);
        if (code < 0) return code;
        for (int k = 0; k < used; ++k) {
            const int point = points[static_cast<std::size_t>(k)];
            out[point] = Sampler::value(object, pixel[point], line[point], neighbours(k));
        }
    }
    if (last < 0) return 0;

    const Neighbours at = neighbours(0);
    Sampler::place(object, pixel[last], line[last], at);
    std::fill_n(at.sample, Sampler::number, missing);
    int result = 0;
    for (int k = 0; k < Sampler::number; k += Sampler::perCall) {
        const int code = object.GetI2DataByPixLin(object.privateData, at.pixel + k, at.line + k,
                                                  at.sample + k, Sampler::perCall);
        if (code < 0) return code;
        result = Sampler::merge(result, code);
    }
    out[last] = Sampler::value(object, pixel[last], line[last], at);
    return result;
}

// Values of n points in an output or a buffer.
std::size_t valueCount(const NbSatObject& object, int n)
{
    const int perPixel = std::max<int>(object.elemNum, 1);
    return static_cast<std::size_t>(std::max(n, 0)) * static_cast<std::size_t>(perPixel);
}

// Counts by the object's interpolation; all missing where it, or the driver, has none.
int sampleCounts(const NbSatObject& object, const float* pixel, const float* line, int16_t* out,
                 int n)
{
    const bool single = object.elemNum <= 1; // the only kind that can be interpolated
    if (object.GetI2DataByPixLin != nullptr && (single || object.intpMethod == 0)) {
        switch (object.intpMethod) {
        case 0:
            return object.GetI2DataByPixLin(object.privateData, pixel, line, out, n);
        case 1:
            return interpolate<Bilinear>(object, pixel, line, out, n);
        case 2:
            return interpolate<Sinc>(object, pixel, line, out, n);
        case 3:
            return interpolate<Convolution>(object, pixel, line, out, n);
        default:
            break;
        }
    }
    std::fill_n(out, valueCount(object, n), missing);
    return -1;
}

NbArray<std::int16_t> countBuffer(const NbSatObject& object, int n, const char* caller)
{
    return {valueCount(object, n), missing, NbAllocator<std::int16_t>(caller)};
}

// Physical values by the object's interpolation. Interpolated counts become values through the
// table of the object, which has levelNum entries.
int sampleValues(const NbSatObject& object, const float* pixel, const float* line, float* out,
                 int n, const char* caller)
{
    if (object.intpMethod == 0)
        return object.GetR4DataByPixLin == nullptr
                   ? -1
                   : object.GetR4DataByPixLin(object.privateData, pixel, line, out, n);
    auto counts = countBuffer(object, n, caller);
    const int result = sampleCounts(object, pixel, line, counts.data(), n);
    std::transform(counts.begin(), counts.end(), out, [&](std::int16_t v) {
        return v >= 0 && v < object.levelNum ? object.intpTable[v] : object.errorValue;
    });
    return result;
}

// False, with a message, for an interpolation of physical values without their table.
bool canInterpolate(const NbSatObject& object, const char* caller)
{
    if (object.intpMethod <= 0 || object.elemKind == 0 || object.intpTable != nullptr) return true;
    std::fprintf(stderr, "%s : 内挿モードが有効になっていますが、要素が指定されていません\n",
                 caller);
    return false;
}

int getLevels(const NbSatObject& object, const float* pixel, const float* line, int16_t* out, int n,
              const char* caller)
{
    if (!canInterpolate(object, caller)) return -1;
    if (object.elemNum == 0) {
        nbpLogError("%s : no selected element.\n", caller);
        return -1;
    }
    switch (nbpSatLevelRoad(object)) {
    case NbLevelRoad::Counts:
        return sampleCounts(object, pixel, line, out, n);
    case NbLevelRoad::CountsTable: {
        const int result = sampleCounts(object, pixel, line, out, n);
        nbpSatCountsToLevels(object, {out, valueCount(object, n)});
        return result;
    }
    case NbLevelRoad::Values: {
        NbArray<float> values(valueCount(object, n), object.errorValue, NbAllocator<float>(caller));
        const int result = sampleValues(object, pixel, line, values.data(), n, caller);
        nbpSatValuesToLevels(object, values, out);
        return result;
    }
    case NbLevelRoad::None:
        break;
    }
    nbpLogFatal("%s %s : INTERNAL ERROR !!(%d,%d) \n", unit, caller, object.elemKind,
                object.lut->kind);
    return -1;
}

} // namespace

int nbSatGetI2DataByPixLin(NbSatObject* object, const float* pixel, const float* line, int16_t* out,
                           int n)
{
    constexpr const char* caller = "nbSatGetI2DataByPixLin()";
    return nbpGuard(caller, -1, [&] { return getLevels(*object, pixel, line, out, n, caller); });
}

int nbSatGetR4DataByPixLin(NbSatObject* object, const float* pixel, const float* line, float* out,
                           int n)
{
    constexpr const char* caller = "nbSatGetR4DataByPixLin()";
    return nbpGuard(caller, -1, [&] {
        if (!canInterpolate(*object, caller)) return -1;
        if (object->elemKind != 0) return sampleValues(*object, pixel, line, out, n, caller);
        auto counts = countBuffer(*object, n, caller);
        const int result = sampleCounts(*object, pixel, line, counts.data(), n);
        std::transform(counts.begin(), counts.end(), out,
                       [](std::int16_t v) { return static_cast<float>(v); });
        return result;
    });
}
