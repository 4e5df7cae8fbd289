#include "geo/nbProj.h"

#include "geo/nbProjTypes.h"

#include <iterator>
#include <type_traits>

double nb_ProjEquatRadius = 6378.14;
double nb_ProjPolarRadius = 6356.755;

namespace nbpProj {
namespace {

// Fields of the record that a projection needs in range.
enum Check : unsigned {
    StdLon = 1,        // -360 to 360
    StdLat1 = 2,       // -90 to 90
    StdLat2 = 4,       // likewise
    BaseLon = 8,       // -360 to 360
    BaseLat = 16,      // -90 to 90
    Steps = 32,        // above 0
    Height = 64,       // above 0
    NorthStdLat = 128, // stdLat1 0 to 90
    NorthBaseLat = 256 // baseLat likewise
};

// By projection number from 1. The LRIT types are checked as the plain projection from which
// their factors are derived.
constexpr unsigned checks[] = {
    /* 1 disk */ StdLon | BaseLon | BaseLat | Steps | Height,
    /* 2 stereographic */ StdLon | StdLat1 | BaseLon | BaseLat | Steps,
    /* 3 Lambert */ StdLon | StdLat1 | StdLat2 | BaseLon | BaseLat | Steps,
    /* 4 Mercator */ StdLon | BaseLon | BaseLat | Steps,
    /* 5 grid */ BaseLon | BaseLat | Steps,
    /* 6 LRIT polar */ StdLon | StdLat1 | BaseLon | BaseLat | Steps,
    /* 7 LRIT disk */ StdLon | BaseLon | BaseLat | Steps | Height,
    /* 8 LRIT Mercator */ StdLon | BaseLon | BaseLat | Steps,
    /* 9 oblique conic */ StdLon | NorthStdLat | BaseLon | NorthBaseLat | Steps,
};
static_assert(std::size(checks) == NB_PROJ_OBLIQUE);

// Not a number is in no range.
bool within(double value, double low, double high)
{
    return value >= low && value <= high;
}

bool passesChecks(const NbProjPara& para)
{
    const unsigned need = checks[para.prjType - 1];
    const auto fails = [need](unsigned check, bool good) { return (need & check) != 0 && !good; };
    return !(fails(StdLon, within(para.stdLon, -360, 360)) ||
             fails(StdLat1, within(para.stdLat1, -90, 90)) ||
             fails(StdLat2, within(para.stdLat2, -90, 90)) ||
             fails(BaseLon, within(para.baseLon, -360, 360)) ||
             fails(BaseLat, within(para.baseLat, -90, 90)) ||
             fails(Steps, para.stepX > 0 && para.stepY > 0) || fails(Height, para.height > 0) ||
             fails(NorthStdLat, within(para.stdLat1, 0, 90)) ||
             fails(NorthBaseLat, within(para.baseLat, 0, 90)));
}

int setLritFactors(const NbProjPara& para)
{
    switch (para.prjType) {
    case NB_PROJ_LRIT_PS:
        return setLritPolarParam(para);
    case NB_PROJ_LRIT_DISK:
        return setLritDiskParam(para);
    default:
        return setLritMercParam(para);
    }
}

// True when the factors of the LRIT types are there. The first call of the process derives them
// from its record; later records, even of another LRIT type, keep them unexamined. The inverse of
// the Mercator type takes the column factor alone as the sign that nothing is derived yet.
bool haveLritFactors(const NbProjPara& para, bool inverse)
{
    const bool columnAlone = inverse && para.prjType == NB_PROJ_LRIT_MERC;
    if (nb_ProjLrit_cfac == 0 && (columnAlone || nb_ProjLrit_lfac == 0)) {
        if (!passesChecks(para)) return false;
        if (setLritFactors(para) != 0) return false;
    }
    return nb_ProjLrit_cfac != 0 && nb_ProjLrit_lfac != 0;
}

template <PointArrays Points>
int transform(const NbProjPara& para, const Points& points)
{
    const int type = para.prjType;
    if (type < NB_PROJ_DISK || type > NB_PROJ_OBLIQUE) return -1;
    if (type == NB_PROJ_LRIT_PS || type == NB_PROJ_LRIT_DISK || type == NB_PROJ_LRIT_MERC) {
        if (!haveLritFactors(para, std::is_same_v<Points, ToEarth>)) return -1;
        mapLrit(para, points);
        return 0;
    }
    if (!passesChecks(para)) return -1;
    switch (type) {
    case NB_PROJ_DISK:
        mapDisk(para, points);
        break;
    case NB_PROJ_PS:
        mapStereographic(para, points);
        break;
    case NB_PROJ_LAMB:
        mapLambert(para, points);
        break;
    case NB_PROJ_MERC:
        mapMercator(para, points);
        break;
    case NB_PROJ_GRID:
        mapGrid(para, points);
        break;
    default:
        mapOblique(para, points);
        break;
    }
    return 0;
}

bool isSupplied(const NbProjPara& para)
{
    return para.prjType == NB_PROJ_USER || para.prjType == NB_PROJ_ZOOM;
}
} // namespace
} // namespace nbpProj

int nbProjLonLatToXY(const double* lon, const double* lat, float* x, float* y, int n,
                     NbProjPara* para)
{
    if (n < 1) return -1;
    if (nbpProj::isSupplied(*para)) {
        return para->lonLatToXY != nullptr ? para->lonLatToXY(lon, lat, x, y, n, para) : -1;
    }
    return nbpProj::transform(*para, nbpProj::ToMap{lon, lat, x, y, n});
}

int nbProjXYToLonLat(const float* x, const float* y, double* lon, double* lat, int n,
                     NbProjPara* para)
{
    if (n < 1) return -1;
    if (nbpProj::isSupplied(*para)) {
        return para->xyToLonLat != nullptr ? para->xyToLonLat(x, y, lon, lat, n, para) : -1;
    }
    return nbpProj::transform(*para, nbpProj::ToEarth{x, y, lon, lat, n});
}
