#include "drivers/common/nbNoaaElem.h"
#include "drivers/ngac/nbNgacFile.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// Planck's law in wavenumbers: 2 h c^2 in mW m^-2 sr^-1 cm^4, h c / k in K cm. NOAA KLM User's
// Guide, section 7.1.2.4.
constexpr double planckC1 = 1.1910427e-05;
constexpr double planckC2 = 1.4387752;

double temperature(const NbNgacThermal& channel, std::size_t index, double radiance)
{
    double v = channel.wavenumber / 1000.0;
    if (index == 0) v = v * 10.0;
    const double ratio = planckC1 * (v * v * v) / radiance + 1.0;
    if (!(ratio > 0)) return noaaNoTemperature;
    return channel.constant2 / 1e+06 * (planckC2 * v / std::log(ratio)) +
           channel.constant1 / 100000.0;
}

// True when a line's coefficients of channel 3 are those of 3A or 3B, and not empty.
bool fits(const NbNgacCalibration& calibration, int channel)
{
    const std::size_t i = nbpNgacTableIndex(channel);
    if (channel == -2) return calibration.selection == 1 && calibration.visible[i].slope1 != 0;
    const auto isSet = [](double a) { return a != 0; };
    return calibration.selection == 0 && std::ranges::any_of(calibration.infrared[i], isSet);
}

} // namespace

std::size_t nbpNgacTableIndex(int channel)
{
    if (channel == 0 || channel == 2) return 0;
    return channel == 1 || channel == 3 ? 1 : 2;
}

double nbpNgacPhysicalValue(const NbNgacFile& file, const NbNgacCalibration& calibration, int count,
                            int channel, int physics)
{
    constexpr const char* name = "nbNgacGetPhysicalValue()";
    if (count < 0 || count >= noaaLevels) {
        nbpLogError("%s : level=%d > 1023. channel=%d physics=%d\n", name, count, channel, physics);
        return -1.0;
    }
    const std::size_t i = nbpNgacTableIndex(channel);
    if (physics == noaaAlbedo) {
        const auto& c = calibration.visible[i];
        const bool low = count < c.intersection;
        const double slope = low ? c.slope1 : c.slope2;
        const double intercept = low ? c.intercept1 : c.intercept2;
        return (intercept / 1e+06 + count * slope / 1e+07) / 100.0;
    }
    if (physics == noaaRadiance || physics == noaaTemperature) {
        const auto& a = calibration.infrared[i];
        const double radiance =
            a[0] / 1e+06 + a[1] / 1e+06 * count + a[2] / 1e+06 * (count * count);
        return physics == noaaRadiance ? radiance : temperature(file.thermal[i], i, radiance);
    }
    nbpLogFatal("%s : INTERNAL ERROR ( physics = %d ).\n", name, physics);
    return -1.0;
}

double nbNgacGetPhysicalValue(void* p, int line, int count, int channel, int physics)
{
    return nbpGuard("nbNgacGetPhysicalValue()", -1.0, [&] {
        const NbNgacFile& file = *nbpNgacFile(p);
        std::vector<std::byte> info(file.image.records.infoLength);
        if (!file.image.records.read(line, info)) return -1.0;
        return nbpNgacPhysicalValue(
            file, nbpNgacDecodeCalibration(file, NbCursor(info, NbByteOrder::Big)), count, channel,
            physics);
    });
}

int nbNgacGetChNum(void*)
{
    return 6;
}

int nbNgacGetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name)
{
    return nbpNoaaGetChInfo(nbpNgacFile(p)->image, channel, pixels, lines, levels, name,
                            "nbNgacGetChInfo()");
}

int nbpNgacCheckElem(void* p, const char* name, const char* caller, int* channel, int* physics)
{
    return nbpGuard(caller, static_cast<int>(noaaNoElement), [&] {
        return nbpNoaaCheckElem(nbpNgacFile(p)->image, name, caller, channel, physics);
    });
}

int nbNgacSetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                      float* errorValue)
{
    constexpr const char* caller = "nbNgacSetElements()";
    return nbpGuard(caller, -1, [&] {
        return nbpNoaaSetElements(&nbpNgacFile(p)->image, name, pixels, lines, levels, errorValue,
                                  caller);
    });
}

int nbNgacGetCalTable(void* p, const char* name, float* table, int* n)
{
    constexpr const char* caller = "nbNgacGetCalTable()";
    return nbpGuard(caller, -1, [&] {
        const NbNgacFile& file = *nbpNgacFile(p);
        NbNoaaElement element;
        const int room = nbpNoaaTableRoom(file.image, name, table, n, caller, &element);
        if (room < 0) return -1;
        NbNgacCalibration calibration;
        const auto decode = [&](NbCursor info) { return nbpNgacDecodeCalibration(file, info); };
        const auto usable = [&](const NbNgacCalibration& c) {
            return (element.channel != 2 && element.channel != -2) || fits(c, element.channel);
        };
        if (!nbpNoaaFindCalibration(file.image.records, &calibration, decode, usable)) return -1;
        nbpNoaaFillTable({table, static_cast<std::size_t>(room)}, [&](int count) {
            return nbpNgacPhysicalValue(file, calibration, count, element.channel, element.physics);
        });
        return 0;
    });
}

int nbNgacGetChannel(void* p, int style)
{
    return nbpNoaaGetChannel(nbpNgacFile(p)->image, style);
}
