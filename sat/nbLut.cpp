#include "sat/nbLut.h"

#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>

namespace {

// Counts have no value that is not a number; a float that is none is as invalid as the mark.
bool isInvalid(float value, float errorValue)
{
    return value == errorValue || std::isnan(value);
}
bool isInvalid(std::int16_t value, int errorValue)
{
    return value == errorValue;
}

float scaleOf(float min, float max, int levels)
{
    return (max - min) / static_cast<float>(levels - 1);
}

// The quotient is a float's, the sum with a half a double's.
template <class T, class Error>
void byBiasScale(float bias, float scale, int levels, const T* in, std::int16_t* out,
                 Error errorValue, std::int16_t errorLevel, int n)
{
    for (int i = 0; i < n; ++i) {
        if (isInvalid(in[i], errorValue)) {
            out[i] = errorLevel;
            continue;
        }
        const float quotient = (static_cast<float>(in[i]) - bias) / scale;
        const int level = nbpNearest32(static_cast<double>(quotient));
        out[i] = nbpWrap16(std::max(std::min(level, levels - 1), 0));
    }
}

// Index of the interval that holds v: -1 below the first breakpoint, n - 1 at or above the last,
// otherwise i with x[i] at or below v and v below x[i + 1].
int binSearch(float v, const float* x, int n)
{
    if (v < x[0]) return -1;
    if (v >= x[n - 1]) return n - 1;
    int low = 0;
    int high = n - 1;
    while (high - low > 1) {
        const int middle = low + (high - low) / 2;
        (v < x[middle] ? high : low) = middle;
    }
    return low;
}

// Gives the level of each valid value by `levelOf(value)`.
template <class T, class Error, class LevelOf>
void byTable(int tableNum, const T* in, std::int16_t* out, Error errorValue,
             std::int16_t errorLevel, int n, LevelOf levelOf)
{
    for (int i = 0; i < n; ++i) {
        const bool invalid = tableNum < 1 || isInvalid(in[i], errorValue);
        out[i] = invalid ? errorLevel : levelOf(static_cast<float>(in[i]));
    }
}

std::int16_t linearLevel(float v, const float* x, const std::int16_t* y, int tableNum)
{
    const int i = binSearch(v, x, tableNum);
    if (i < 0) return y[0];
    if (i >= tableNum - 1) return y[tableNum - 1];
    const auto rise = static_cast<float>(y[i + 1] - y[i]);
    const float level = static_cast<float>(y[i]) + (v - x[i]) * rise / (x[i + 1] - x[i]);
    return nbpNearest16(static_cast<double>(level));
}

} // namespace

extern "C" {

void nbLutR4ToI2ByBiasScale(float bias, float scale, int levels, const float* in, std::int16_t* out,
                            float errorValue, std::int16_t errorLevel, int n)
{
    byBiasScale(bias, scale, levels, in, out, errorValue, errorLevel, n);
}

void nbLutI2ToI2ByBiasScale(float bias, float scale, int levels, const std::int16_t* in,
                            std::int16_t* out, int errorValue, std::int16_t errorLevel, int n)
{
    byBiasScale(bias, scale, levels, in, out, errorValue, errorLevel, n);
}

void nbLutR4ToI2ByMinMax(float min, float max, int levels, const float* in, std::int16_t* out,
                         float errorValue, std::int16_t errorLevel, int n)
{
    byBiasScale(min, scaleOf(min, max, levels), levels, in, out, errorValue, errorLevel, n);
}

void nbLutI2ToI2ByMinMax(float min, float max, int levels, const std::int16_t* in,
                         std::int16_t* out, int errorValue, std::int16_t errorLevel, int n)
{
    byBiasScale(min, scaleOf(min, max, levels), levels, in, out, errorValue, errorLevel, n);
}

void nbLutR4ToI2ByTable(const float* x, const std::int16_t* y, int tableNum, const float* in,
                        std::int16_t* out, float errorValue, std::int16_t errorLevel, int n)
{
    byTable(tableNum, in, out, errorValue, errorLevel, n,
            [=](float v) { return linearLevel(v, x, y, tableNum); });
}

void nbLutI2ToI2ByTable(const float* x, const std::int16_t* y, int tableNum, const std::int16_t* in,
                        std::int16_t* out, int errorValue, std::int16_t errorLevel, int n)
{
    byTable(tableNum, in, out, errorValue, errorLevel, n,
            [=](float v) { return linearLevel(v, x, y, tableNum); });
}

void nbLutR4ToI2ByTableStair(const float* x, const std::int16_t* y, int tableNum, const float* in,
                             std::int16_t* out, float errorValue, std::int16_t errorLevel, int n)
{
    for (int i = 0; i < n; ++i) {
        const float v = in[i];
        if (tableNum < 1 || v == errorValue) {
            out[i] = errorLevel;
        } else if (v < x[0]) {
            out[i] = y[0];
        } else if (v >= x[tableNum - 1]) {
            out[i] = y[tableNum - 1];
        } else {
            // Deliberate: a walk from the first breakpoint, and a value that fits no interval (not
            // a number, or a table out of order) keeps the level of the value before it. A search
            // by halving gives the same levels in ascending tables and others in the rest.
            int k = 0;
            while (k < tableNum - 1 && !(x[k] <= v && v < x[k + 1]))
                ++k;
            if (k < tableNum - 1)
                out[i] = y[k];
            else
                out[i] = i > 0 ? out[i - 1] : errorLevel;
        }
    }
}

void nbLutI2ToI2ByTableStair(const float* x, const std::int16_t* y, int tableNum,
                             const std::int16_t* in, std::int16_t* out, int errorValue,
                             std::int16_t errorLevel, int n)
{
    byTable(tableNum, in, out, errorValue, errorLevel, n,
            [=](float v) { return y[std::max(binSearch(v, x, tableNum), 0)]; });
}

} // extern "C"
