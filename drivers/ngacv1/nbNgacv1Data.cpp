#include "drivers/common/nbNoaaData.h"
#include "drivers/common/nbNoaaElem.h"
#include "drivers/ngacv1/nbNgacv1File.h"
#include "sat/nbSatGetZoomDataSub.h"
#include "util/nbGuard.h"

namespace {

// Keeps the calibration of a line that is read.
auto keeper(NbNgacv1File* file)
{
    return [file](NbCursor info, int n) {
        file->calibration[static_cast<std::size_t>(n)] = nbpNgacv1DecodeCalibration(info);
    };
}

} // namespace

int nbNgacv1GetI2DataByPixLin(void* p, const float* pixel, const float* line, int16_t* out, int n)
{
    constexpr const char* caller = "nbNgacv1GetI2DataByPixLin()";
    NbNgacv1File* file = nbpNgacv1File(p);
    if (file->image.elements.empty()) return -1;
    const auto count = [](int, const NbNoaaElement&, std::uint16_t v) {
        return static_cast<std::int16_t>(v);
    };
    return nbpGuard(caller, -1, [&] {
        return nbpNoaaGetData(&file->image, pixel, line, out, n, noaaMissingI2, caller,
                              keeper(file), count);
    });
}

int nbNgacv1GetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n)
{
    constexpr const char* caller = "nbNgacv1GetR4DataByPixLin()";
    NbNgacv1File* file = nbpNgacv1File(p);
    if (file->image.elements.empty()) return -1;
    nbpNoaaReportCounts(file->image, "nbNgacv1GetPhysicalValue()");
    const auto lacksTemperature = [file](const NbNoaaElement& element) {
        return !nbpNgacv1HasValues(*file, element.physics);
    };
    const bool lacking = std::ranges::any_of(file->image.elements, lacksTemperature); // said once
    const auto value = [file, lacking](int l, const NbNoaaElement& element, std::uint16_t v) {
        const auto& calibration = file->calibration[static_cast<std::size_t>(l)];
        if (element.physics == noaaCounts) return noaaMissingR4;
        if (lacking && element.physics == noaaTemperature) return noaaMissingR4;
        const double physical =
            nbpNgacv1PhysicalValue(*file, calibration, v, element.channel, element.physics);
        return physical == noaaNoTemperature ? noaaMissingR4 : nbpToFloat(physical);
    };
    return nbpGuard(caller, -1, [&] {
        return nbpNoaaGetData(&file->image, pixel, line, out, n, noaaMissingR4, caller,
                              keeper(file), value);
    });
}

int nbNgacv1GetI2ZoomData(void* p, const NbZoomRect* rect, int16_t* out)
{
    NbSatObject object = nbpNoaaZoomObject(nbpNgacv1File(p)->image, p);
    object.GetI2DataByPixLin = nbNgacv1GetI2DataByPixLin;
    return nbSatGetI2ZoomDataSub(&object, rect, out);
}

int nbNgacv1GetR4ZoomData(void* p, const NbZoomRect* rect, float* out)
{
    NbSatObject object = nbpNoaaZoomObject(nbpNgacv1File(p)->image, p);
    object.GetR4DataByPixLin = nbNgacv1GetR4DataByPixLin;
    return nbSatGetR4ZoomDataSub(&object, rect, out);
}
