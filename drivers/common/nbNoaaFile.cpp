#include "drivers/common/nbNoaaFile.h"

#include "drivers/common/nbDateFields.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

bool nbpNoaaOpenStream(NbNoaaRecords* records, const char* path, const char* caller)
{
    records->stream = nbpFileOpenRead(path, false);
    if (!records->stream) nbpLogError("%s: Can not open '%s'.\n", caller, path);
    return records->stream != nullptr;
}

bool nbpNoaaCheckLines(const NbNoaaRecords& records, const char* path, const char* caller)
{
    if (records.lines >= 1 && records.lines <= noaaLongest) return true;
    nbpLogError("%s : %s: %d lines, expected 1 to %d\n", caller, path, records.lines, noaaLongest);
    return false;
}

void nbpNoaaFillObject(NbSatObject* object, const NbNoaaImage& image, double startMjd,
                       double endMjd)
{
    object->pixelNum = noaaPixels;
    object->lineNum = nbpWrap16(image.records.lines);
    nbpDateFields(startMjd, object->startTime);
    nbpDateFields(endMjd, object->endTime);
}

// Deliberate: the width is stored, as with the other formats, and the answer is -1 all the same:
// nothing is filled. With 0 a caller would believe that the gaps are closed.
int nbpNoaaSetStopGap(NbNoaaImage* image, int gap, const char* caller)
{
    image->stopGap = gap;
    nbpLogWarn("%s : NOAA GAC はエラーライン補完処理に対応していません\n", caller);
    return -1;
}

int nbpNoaaSetShift(NbNoaaPass* pass, const float* dPixel, const float* dLine)
{
    pass->shiftPixel = *dPixel;
    pass->shiftLine = *dLine;
    return 0;
}
