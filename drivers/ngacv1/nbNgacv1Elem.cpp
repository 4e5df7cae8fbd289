#include "drivers/common/nbNoaaElem.h"
#include "drivers/ngacv1/nbNgacv1Calib.h"
#include "drivers/ngacv1/nbNgacv1File.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// Planck's law in wavenumbers, as the Polar Orbiter Data User's Guide has it, section 3.3.
constexpr double planckC1 = 1.1910659e-05; // mW m^-2 sr^-1 cm^4
constexpr double planckC2 = 1.438833;      // K cm

const NbNgacv1Thermal* thermalOf(int channel)
{
    const auto row = std::ranges::find(ngacv1Thermal, channel, &NbNgacv1Thermal::channel);
    return row == ngacv1Thermal.end() ? nullptr : &*row;
}

// The wavenumber belongs to a range of temperatures, and the temperature takes the wavenumber:
// until the range stays.
double temperature(const NbNgacv1Thermal& channel, double radiance)
{
    constexpr int mostTries = 5;
    std::size_t range = 2;
    for (int i = 0; i < mostTries; ++i) {
        const double v = channel.wavenumber[range];
        const double ratio = planckC1 * (v * v * v) / radiance + 1.0;
        if (!(ratio > 0)) return noaaNoTemperature;
        const double t = planckC2 * v / std::log(ratio);
        const auto end = std::ranges::find_if(ngacv1RangeEnds, [t](double e) { return t < e; });
        const auto next = static_cast<std::size_t>(end - ngacv1RangeEnds.begin());
        if (next == range) return t;
        range = next;
    }
    return -1.0;
}

} // namespace

bool nbpNgacv1HasValues(const NbNgacv1File& file, int physics)
{
    if (physics != noaaTemperature || file.image.satNumber == ngacv1ThermalSatellite) return true;
    nbpLogFatal("Sorry, TBB output is supported only for NOAA-14 and successor.");
    return false;
}

double nbpNgacv1PhysicalValue(const NbNgacv1File& file, const NbNgacv1Calibration& calibration,
                              int count, int channel, int physics)
{
    constexpr const char* name = "nbNgacv1GetPhysicalValue()";
    if (count < 0 || count >= noaaLevels) {
        nbpLogError("%s : level=%d > 1023. channel=%d physics=%d\n", name, count, channel, physics);
        return -1.0;
    }
    const bool known = channel >= 0 && channel < noaaSlots;
    if (!known || physics < noaaAlbedo || physics > noaaTemperature) {
        nbpLogFatal("%s : INTERNAL ERROR ( physics = %d ).\n", name, physics);
        return -1.0;
    }
    const auto i = static_cast<std::size_t>(channel);
    const double s = static_cast<double>(count) * calibration.slope[i] * 9.313226e-10 +
                     calibration.intercept[i] * 2.3841858e-07;
    if (physics == noaaAlbedo) return s / 100.0;
    const bool corrected = file.image.satNumber == ngacv1ThermalSatellite;
    const NbNgacv1Thermal* thermal = corrected ? thermalOf(channel) : nullptr;
    const double radiance =
        thermal != nullptr ? thermal->a * (s * s) + thermal->b * s + thermal->c : s;
    if (physics == noaaRadiance) return radiance;
    if (!nbpNgacv1HasValues(file, physics) || thermal == nullptr) return -1.0;
    return temperature(*thermal, radiance);
}

double nbNgacv1GetPhysicalValue(void* p, int line, int count, int channel, int physics)
{
    return nbpGuard("nbNgacv1GetPhysicalValue()", -1.0, [&] {
        const NbNgacv1File& file = *nbpNgacv1File(p);
        std::vector<std::byte> info(file.image.records.infoLength);
        if (!file.image.records.read(line, info)) return -1.0;
        return nbpNgacv1PhysicalValue(file,
                                      nbpNgacv1DecodeCalibration(NbCursor(info, NbByteOrder::Big)),
                                      count, channel, physics);
    });
}

int nbNgacv1GetChNum(void*)
{
    return 5;
}

int nbNgacv1GetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name)
{
    return nbpNoaaGetChInfo(nbpNgacv1File(p)->image, channel, pixels, lines, levels, name,
                            "nbNgacv1GetChInfo()");
}

int nbpNgacv1CheckElem(void* p, const char* name, const char* caller, int* channel, int* physics)
{
    return nbpGuard(caller, static_cast<int>(noaaNoElement), [&] {
        return nbpNoaaCheckElem(nbpNgacv1File(p)->image, name, caller, channel, physics);
    });
}

int nbNgacv1SetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                        float* errorValue)
{
    constexpr const char* caller = "nbNgacv1SetElements()";
    return nbpGuard(caller, -1, [&] {
        return nbpNoaaSetElements(&nbpNgacv1File(p)->image, name, pixels, lines, levels, errorValue,
                                  caller);
    });
}

int nbNgacv1GetCalTable(void* p, const char* name, float* table, int* n)
{
    constexpr const char* caller = "nbNgacv1GetCalTable()";
    return nbpGuard(caller, -1, [&] {
        const NbNgacv1File& file = *nbpNgacv1File(p);
        NbNoaaElement element;
        const int room = nbpNoaaTableRoom(file.image, name, table, n, caller, &element);
        if (room < 0) return -1;
        NbNgacv1Calibration calibration;
        const auto usable = [&](const NbNgacv1Calibration& c) {
            return element.channel != 2 || c.slope[2] != 0;
        };
        if (!nbpNoaaFindCalibration(file.image.records, &calibration, nbpNgacv1DecodeCalibration,
                                    usable))
            return -1;
        if (!nbpNgacv1HasValues(file, element.physics)) { // said once, not for each count
            std::fill_n(table, room, -1.0F);
            return 0;
        }
        nbpNoaaFillTable({table, static_cast<std::size_t>(room)}, [&](int count) {
            return nbpNgacv1PhysicalValue(file, calibration, count, element.channel,
                                          element.physics);
        });
        return 0;
    });
}

int nbNgacv1GetChannel(void* p, int style)
{
    return nbpNoaaGetChannel(nbpNgacv1File(p)->image, style);
}
