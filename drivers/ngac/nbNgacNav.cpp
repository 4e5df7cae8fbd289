#include "drivers/common/nbNoaaNav.h"
#include "drivers/ngac/nbNgacFile.h"
#include "util/nbGuard.h"

#include <array>
#include <cstdio>

namespace {

constexpr const char* sourceName = "nbNgacLLtoPL";

// The pass, its lines in memory.
NbNoaaPass* loadedPass(void* p)
{
    NbNgacFile* file = nbpNgacFile(p);
    nbpNoaaLoadPass(&file->image, nbpNgacDecodeLine);
    return &file->image.pass;
}

} // namespace

int nbNgacPixLinToLonLatInfo(void* p, const float* pixel, const float* line, double* lon,
                             double* lat, NbPointInfo* info, int n)
{
    nbpNoaaNoPosition(lon, lat, n);
    return nbpGuard("nbNgacPixLinToLonLatInfo()", -1, [&] {
        return nbpNoaaPixLinToLonLat(*loadedPass(p), pixel, line, lon, lat, info, n);
    });
}

int nbNgacLonLatHgtToPixLinInfo(void* p, const double* lon, const double* lat, const double* height,
                                float* pixel, float* line, NbPointInfo* info, int n)
{
    constexpr const char* caller = "nbNgacLonLatHgtToPixLinInfo()";
    nbpNoaaNoPosition(pixel, line, n);
    return nbpGuard(caller, -1, [&] {
        return nbpNoaaLonLatToPixLin(loadedPass(p), lon, lat, height, pixel, line, info, n, caller,
                                     sourceName);
    });
}

double nbpNgacGetScanTime(void* p, float pixel, float line)
{
    return nbpGuard("nbpNgacGetScanTime()", -1.0,
                    [&] { return nbpNoaaScanTime(*loadedPass(p), pixel, line); });
}

void nbpNgacGetNavPointInfo(void* p, float pixel, float line, double lon, double lat,
                            NbPointInfo* info)
{
    nbpGuard("nbpNgacGetNavPointInfo()", -1, [&] {
        nbpNoaaPointInfo(*loadedPass(p), pixel, line, lon, lat, info);
        return 0;
    });
}

int nbNgacGetSatPosEf(void* p, double, double* position)
{
    return nbpGuard("nbNgacGetSatPosEf()", -1, [&] {
        return nbpNoaaFirstSatPosition(nbpNgacFile(p)->image.records, nbpNgacDecodeLine, 1000,
                                       position);
    });
}

int nbNgacGetSatAtt(void* p, double, double* attitude)
{
    constexpr double radPerDeg = 0.017453292;
    const NbNgacFile& file = *nbpNgacFile(p);
    std::array<std::byte, 326> info;
    if (!file.image.records.read(0, info)) return -1;
    NbCursor angles(info, NbByteOrder::Big);
    angles.seek(320);
    for (std::size_t i = 0; i < 3; ++i)
        attitude[i] = (angles.get<std::int16_t>() + file.attitude[i]) / 1000.0 * radPerDeg;
    return 0;
}

int nbNgacResetAtt(void*, double, const double*, int)
{
    std::fprintf(stderr, "%s : このデータには対応していません。\n", "nbNgacResetAtt()");
    return 0;
}
