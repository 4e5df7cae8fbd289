#include "drivers/common/nbNoaaData.h"
#include "drivers/common/nbNoaaElem.h"
#include "drivers/ngac/nbNgacFile.h"
#include "sat/nbSatGetZoomDataSub.h"
#include "util/nbGuard.h"

namespace {

// Keeps the calibration of a line that is read.
auto keeper(NbNgacFile* file)
{
    return [file](NbCursor info, int n) {
        file->calibration[static_cast<std::size_t>(n)] = nbpNgacDecodeCalibration(*file, info);
    };
}

// False where channel 3 was the other of 3A and 3B.
bool present(const NbNgacCalibration& calibration, const NbNoaaElement& element)
{
    if (element.channel == -2) return calibration.selection == 1;
    return element.channel != 2 || calibration.selection == 0;
}

} // namespace

int nbNgacGetI2DataByPixLin(void* p, const float* pixel, const float* line, int16_t* out, int n)
{
    constexpr const char* caller = "nbNgacGetI2DataByPixLin()";
    NbNgacFile* file = nbpNgacFile(p);
    if (file->image.elements.empty()) return -1;
    const auto count = [file](int l, const NbNoaaElement& element, std::uint16_t v) {
        const auto& calibration = file->calibration[static_cast<std::size_t>(l)];
        return present(calibration, element) ? static_cast<std::int16_t>(v) : noaaMissingI2;
    };
    return nbpGuard(caller, -1, [&] {
        return nbpNoaaGetData(&file->image, pixel, line, out, n, noaaMissingI2, caller,
                              keeper(file), count);
    });
}

int nbNgacGetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n)
{
    constexpr const char* caller = "nbNgacGetR4DataByPixLin()";
    NbNgacFile* file = nbpNgacFile(p);
    if (file->image.elements.empty()) return -1;
    nbpNoaaReportCounts(file->image, "nbNgacGetPhysicalValue()");
    const auto value = [file](int l, const NbNoaaElement& element, std::uint16_t v) {
        const auto& calibration = file->calibration[static_cast<std::size_t>(l)];
        if (element.physics == noaaCounts || !present(calibration, element)) return noaaMissingR4;
        const double physical =
            nbpNgacPhysicalValue(*file, calibration, v, element.channel, element.physics);
        return physical == noaaNoTemperature ? noaaMissingR4 : nbpToFloat(physical);
    };
    return nbpGuard(caller, -1, [&] {
        return nbpNoaaGetData(&file->image, pixel, line, out, n, noaaMissingR4, caller,
                              keeper(file), value);
    });
}

int nbNgacGetI2ZoomData(void* p, const NbZoomRect* rect, int16_t* out)
{
    NbSatObject object = nbpNoaaZoomObject(nbpNgacFile(p)->image, p);
    object.GetI2DataByPixLin = nbNgacGetI2DataByPixLin;
    return nbSatGetI2ZoomDataSub(&object, rect, out);
}

int nbNgacGetR4ZoomData(void* p, const NbZoomRect* rect, float* out)
{
    NbSatObject object = nbpNoaaZoomObject(nbpNgacFile(p)->image, p);
    object.GetR4DataByPixLin = nbNgacGetR4DataByPixLin;
    return nbSatGetR4ZoomDataSub(&object, rect, out);
}
