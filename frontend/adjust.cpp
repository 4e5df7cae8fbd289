#include "frontend/adjust.h"

#include "drivers/vissr/nbVissr.h"
#include "sat/nbSat.h"
#include "sat/nbSatAnalSatId.h"
#include "sat/nbSatElem.h"
#include "util/nbFile.h"

#include <cstdio>

void AdjNavPara(NbSatObject* object, const NbSettings& settings)
{
    const int channel = nbSatGetChannel(object, 0);
    if (object->fileFormatId == NB_FORMAT_VISSR && channel > 1)
        nbpVissrAlignCentreLine(object->privateData, channel);
    const std::int16_t linked = object->objectNum;
    if (linked > 1) object->objectNum = 1; // this record alone, not its list
    nbSatSetDiffPixLin(object, 0, 0);
    const bool meant = settings.offsetChannel < 0 || settings.offsetChannel == channel;
    if (meant && (settings.offsetX != 0 || settings.offsetY != 0)) {
        std::fprintf(stderr, "shift : chno=%d, pixel=%f, line=%f\n", channel,
                     static_cast<double>(settings.offsetX), static_cast<double>(settings.offsetY));
        nbSatSetDiffPixLin(object, -settings.offsetX, -settings.offsetY);
    }
    object->objectNum = linked;
}

NbLandmarkResult adjustByLandmark(NbSettings&)
{
    return NbLandmarkResult::Skipped;
}

void writeShiftFile(const NbSettings& settings)
{
    if (!settings.shiftName) return;
    const NbFilePtr file(std::fopen(settings.shiftName->c_str(), "we"));
    if (!file) return;
    std::fprintf(file.get(), "%f,%f\n", static_cast<double>(settings.offsetX),
                 static_cast<double>(settings.offsetY));
}
