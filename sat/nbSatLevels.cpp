#include "sat/nbSatLevels.h"

#include "sat/nbLut.h"
#include "util/nbNumber.h"

#include <cstddef>

NbLevelRoad nbpSatLevelRoad(const NbSatObject& object)
{
    const bool physical = object.elemKind != 0;
    if (object.lut == nullptr) return physical ? NbLevelRoad::Values : NbLevelRoad::Counts;
    switch (object.lut->kind) {
    case NB_LUT_LEVELS:
        return NbLevelRoad::CountsTable;
    case NB_LUT_BIAS_SCALE:
    case NB_LUT_BREAKPOINTS:
        return physical ? NbLevelRoad::Values : NbLevelRoad::None;
    default:
        return NbLevelRoad::None;
    }
}

void nbpSatCountsToLevels(const NbSatObject& object, std::span<int16_t> counts)
{
    const NbLut& lut = *object.lut;
    const std::int16_t error = nbpErrorLevel(object.errorValue);
    for (std::int16_t& v : counts) {
        const bool good = v != error && v >= 0 && v < lut.levels;
        v = good ? lut.table[v] : lut.errorLevel;
    }
}

bool nbpSatIsMissing(const NbSatObject& object, std::int16_t sample)
{
    if (object.lut != nullptr) return sample == object.lut->errorLevel;
    return sample == -1 || sample == nbpErrorLevel(object.errorValue);
}

bool nbpSatIsMissing(const NbSatObject& object, float sample)
{
    return sample == -1.0F || sample == object.errorValue;
}

void nbpSatValuesToLevels(const NbSatObject& object, std::span<const float> values, int16_t* out)
{
    // Only an element of one value a pixel takes a conversion, so the number of values is one
    // of points, an int.
    const int n = static_cast<int>(values.size());
    if (object.lut == nullptr) {
        for (std::size_t i = 0; i < values.size(); ++i)
            out[i] = nbpWrap16(nbpTrunc32(values[i]));
    } else if (object.lut->kind == NB_LUT_BIAS_SCALE) {
        nbLutR4ToI2ByBiasScale(object.lut->bias, object.lut->scale, object.lut->levels,
                               values.data(), out, object.errorValue, object.lut->errorLevel, n);
    } else {
        nbLutR4ToI2ByTable(object.lut->tableX, object.lut->tableY, object.lut->tableNum,
                           values.data(), out, object.errorValue, object.lut->errorLevel, n);
    }
}
