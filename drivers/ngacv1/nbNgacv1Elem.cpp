#include "drivers/common/nbNoaaElem.h"
#include "drivers/ngacv1/nbNgacv1Calib.h"
#include "drivers/ngacv1/nbNgacv1File.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// Planck's law in wavenumbers, as the Polar Orbiter Data User's Guide has it, section 3.3.
constexpr double planckC1 = 1.1910659e-05; // mW m^-2 sr^-1 cm^4
constexpr double planckC2 = 1.438833;      // K cm

constexpr double noTemperature = -9999.0;

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
        if (!(ratio > 0)) return noTemperature;
        const double t = planckC2 * v / std::log(ratio);
        const auto end = std::ranges::find_if(ngacv1RangeEnds, [t](double e) { return t < e; });
        const auto next = static_cast<std::size_t>(end - ngacv1RangeEnds.begin());
        if (next == range) return t;
        range = next;
    }
    return -1.0;
}

// The coefficients from which a table is made: those of the first line that has them.
bool findCalibration(const NbNgacv1File& file, int channel, NbNgacv1Calibration* out)
{
    const NbNoaaRecords& records = file.image.records;
    std::vector<std::byte> info(records.infoLength);
    for (int n = 0; records.read(n, info); ++n) {
        *out = nbpNgacv1DecodeCalibration(NbCursor(info, NbByteOrder::Big));
        if (channel != 2 || out->slope[2] != 0) return true;
    }
    return false;
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
        NbNoaaElement element;
        const int code = nbpNoaaCheckElem(nbpNgacv1File(p)->image, name, caller, &element);
        if (code == noaaNoElement) return code;
        *channel = element.channel;
        *physics = element.physics;
        return code;
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
    if (name == nullptr || n == nullptr || *n < 0 || (table == nullptr && *n > 0)) return -1;
    return nbpGuard(caller, -1, [&] {
        const NbNgacv1File& file = *nbpNgacv1File(p);
        NbNoaaElement element;
        const int physics = nbpNoaaCheckElem(file.image, name, caller, &element);
        if (physics == noaaNoElement) return -1;
        if (physics == noaaCounts) {
            nbpLogError("%s : bad element name '%s'\n", caller, name);
            return -1;
        }
        const int room = std::min(*n, noaaLevels);
        *n = noaaLevels;
        NbNgacv1Calibration calibration;
        if (!findCalibration(file, element.channel, &calibration)) return -1;
        if (!nbpNgacv1HasValues(file, physics)) { // said once, not for each count
            std::fill_n(table, room, -1.0F);
            return 0;
        }
        for (int i = 0; i < room; ++i) {
            const double value =
                nbpNgacv1PhysicalValue(file, calibration, i, element.channel, physics);
            table[i] = value == noTemperature && i > 0 ? table[i - 1] : nbpToFloat(value);
        }
        return 0;
    });
}

int nbNgacv1GetChannel(void* p, int style)
{
    return nbpNoaaGetChannel(nbpNgacv1File(p)->image, style);
}
