#include "drivers/common/nbNoaaNav.h"
#include "drivers/ngacv1/nbNgacv1File.h"
#include "util/nbGuard.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr const char* sourceName = "nbNgacv1LLtoPL";

// The pass, its lines in memory.
NbNoaaPass* loadedPass(void* p)
{
    NbNgacv1File* file = nbpNgacv1File(p);
    nbpNoaaLoadPass(&file->image, nbpNgacv1DecodeLine);
    return &file->image.pass;
}

} // namespace

int nbNgacv1PixLinToLonLatInfo(void* p, const float* pixel, const float* line, double* lon,
                               double* lat, NbPointInfo* info, int n)
{
    nbpNoaaNoPosition(lon, lat, n);
    return nbpGuard("nbNgacv1PixLinToLonLatInfo()", -1, [&] {
        return nbpNoaaPixLinToLonLat(*loadedPass(p), pixel, line, lon, lat, info, n);
    });
}

int nbNgacv1LonLatHgtToPixLinInfo(void* p, const double* lon, const double* lat,
                                  const double* height, float* pixel, float* line,
                                  NbPointInfo* info, int n)
{
    constexpr const char* caller = "nbNgacv1LonLatHgtToPixLinInfo()";
    nbpNoaaNoPosition(pixel, line, n);
    return nbpGuard(caller, -1, [&] {
        return nbpNoaaLonLatToPixLin(loadedPass(p), lon, lat, height, pixel, line, info, n, caller,
                                     sourceName);
    });
}

double nbpNgacv1GetScanTime(void* p, float pixel, float line)
{
    return nbpGuard("nbpNgacv1GetScanTime()", -1.0,
                    [&] { return nbpNoaaScanTime(*loadedPass(p), pixel, line); });
}

void nbpNgacv1GetNavPointInfo(void* p, float pixel, float line, double lon, double lat,
                              NbPointInfo* info)
{
    nbpGuard("nbpNgacv1GetNavPointInfo()", -1, [&] {
        nbpNoaaPointInfo(*loadedPass(p), pixel, line, lon, lat, info);
        return 0;
    });
}

int nbNgacv1GetSatPosEf(void* p, double, double* position)
{
    return nbpGuard("nbNgacv1GetSatPosEf()", -1, [&] {
        return nbpNoaaFirstSatPosition(nbpNgacv1File(p)->image.records, nbpNgacv1DecodeLine, 1000,
                                       position);
    });
}

int nbNgacv1GetSatAtt(void*, double, double* attitude)
{
    std::fill_n(attitude, 3, 0.0);
    return 0;
}

int nbNgacv1ResetAtt(void*, double, const double*, int)
{
    std::fprintf(stderr, "%s : このデータには対応していません。\n", "nbNgacv1ResetAtt()");
    return 0;
}
