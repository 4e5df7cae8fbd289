/**
 * The map forms of LRIT files. A projection gives intermediate coordinates (a, b), and four
 * process-wide factors make columns and lines of them (CGMS 03, LRIT/HRIT Global Specification,
 * section 4.4). The factors are fitted once, to a plain projection.
 */
#include "geo/nbProjTypes.h"

#include <array>

double nb_ProjLrit_coff = 0;
double nb_ProjLrit_loff = 0;
double nb_ProjLrit_cfac = 0;
double nb_ProjLrit_lfac = 0;
std::int16_t nb_ProjLrit_Wgs84 = 0;

namespace nbpProj {
namespace {

constexpr double unit = 1.52587890625e-05;    // 2^-16
constexpr double satelliteDistance = 42164.0; // from the earth's centre, km

// The earth of the normalised geostationary projection. The figures were rounded apart.
struct LritEarth {
    double equatorRadius; // km
    double polarRadius;   // km
    double ecc2;          // (equatorial^2 - polar^2) / equatorial^2
    double ratio2;        // polar^2 / equatorial^2
    double inverseRatio2; // equatorial^2 / polar^2
    double slant;         // distance^2 - equatorial^2, km^2
};
constexpr LritEarth lritEarth = {6378.169, 6356.5838, 0.00675701, 0.993243, 1.006803, 1737121856.0};
constexpr LritEarth wgs84Earth = {6378.137, 6356.7523, 0.00669438,
                                  0.993306, 1.006739,  1737122264.0};

const LritEarth& setLritParam()
{
    return nb_ProjLrit_Wgs84 == 1 ? wgs84Earth : lritEarth;
}

// A longitude taken into a range by full turns. Beyond a million the turns are taken at once; an
// infinite one becomes not a number.
double fewTurns(double degree)
{
    return std::abs(degree) > 1e6 ? std::fmod(degree, 360.0) : degree;
}
// Above -180 up to 180.
double normalLon(double degree)
{
    degree = fewTurns(degree);
    while (degree > 180)
        degree -= 360;
    while (degree <= -180)
        degree += 360;
    return degree;
}
double reduceHigh(double degree)
{
    degree = fewTurns(degree);
    while (degree > 180)
        degree -= 360;
    return degree;
}
// -360 to 360.
double withinTurn(double degree)
{
    degree = fewTurns(degree);
    while (degree > 360)
        degree -= 360;
    while (degree < -360)
        degree += 360;
    return degree;
}

// Radians from the standard meridian; both longitudes normal.
double lritDeltaLon(double lon, double stdLon)
{
    return ((lon + (180 - stdLon)) - (stdLon + (180 - stdLon))) / 180 * pi;
}

class LritPolar {
public:
    explicit LritPolar(const NbProjPara& para)
        : stdLon_(normalLon(para.stdLon)), sign_(para.stdLat1 < 0 ? -1 : 1)
    {
    }

    bool toPlane(double lon, double lat, PlanePoint& out)
    {
        if (!last_.isAgain(lat)) t_ = std::tan((pi / 2 - sign_ * toRad(lat)) * 0.5);
        const double dl = lritDeltaLon(normalLon(lon), stdLon_);
        out = {std::sin(dl) * t_, std::cos(dl) * t_};
        return true;
    }

    bool toEarth(PlanePoint p, EarthPoint& out) const
    {
        const double w = p.y != 0  ? toDegree(std::atan(p.x / p.y))
                         : p.x > 0 ? 90
                         : p.x < 0 ? -90
                                   : 0;
        const double g = p.y < 0 ? -1 : 1;
        // Deliberate: not raised at the low end, so longitudes down to -450 come back. Raised
        // ones would be the same places under other numbers.
        const double lon = reduceHigh((1 - g) * sign_ * 90 + w + stdLon_);
        out = {lon, (90 - toDegree(2 * std::atan(std::sqrt(p.x * p.x + p.y * p.y)))) * sign_};
        return true;
    }

private:
    double stdLon_; // degrees, normal
    double sign_;   // -1 about the south pole
    LastValue last_;
    double t_ = 0; // of the last latitude
};

class LritDisk {
public:
    explicit LritDisk(const NbProjPara& para)
        : lon0_(para.stdLon), stdLon_(normalLon(para.stdLon)), earth_(setLritParam())
    {
    }

    bool toPlane(double lon, double lat, PlanePoint& out)
    {
        if (!last_.isAgain(lat)) {
            const double c = std::atan(std::tan(toRad(lat)) * earth_.ratio2);
            const double cosC = std::cos(c);
            const double r = earth_.polarRadius / std::sqrt(1 - earth_.ecc2 * (cosC * cosC));
            axis_ = r * cosC;
            north_ = r * std::sin(c);
        }
        const double dl = lritDeltaLon(normalLon(lon), stdLon_);
        const double p = axis_ * std::cos(dl);
        const double q = axis_ * std::sin(dl);
        const double r1 = satelliteDistance - p;
        const double r2 = -q;
        const double r3 = north_;
        if (-r1 * p - r2 * q + north_ * north_ > 0) return false; // behind the limb
        out = {degreePerRad * std::atan2(-r2, r1),
               degreePerRad * std::asin(-r3 / std::sqrt(r1 * r1 + r2 * r2 + r3 * r3))};
        return true;
    }

    bool toEarth(PlanePoint in, EarthPoint& out)
    {
        if (!last_.isAgain(in.y)) {
            const double b = toRad(in.y);
            sinB_ = std::sin(b);
            cosB_ = std::cos(b);
            e_ = sinB_ * sinB_ * earth_.inverseRatio2 + cosB_ * cosB_;
        }
        const double a = toRad(in.x);
        const double sinA = std::sin(a);
        const double cosA = std::cos(a);
        const double half = satelliteDistance * cosA * cosB_;
        const double root = half * half - e_ * earth_.slant;
        if (root < 0) return false;
        const double sn = (half - std::sqrt(root)) / e_;
        const double p = sn * cosA * cosB_;
        const double q = -sn * sinA * cosB_;
        const double r = sn * sinB_;
        const double s1 = satelliteDistance - p;
        const double s2 = -q;
        const double s3 = -r;
        if (-(r * r) + q * s2 + p * s1 < 0) return false; // on the far side
        // Deliberate: the factor of the latitude is that of the first earth model, whatever the
        // flag says. The second model's factor would move latitudes by up to 7 seconds of arc.
        const double lat =
            std::atan(s3 * lritEarth.inverseRatio2 / std::sqrt(s2 * s2 + s1 * s1)) * degreePerRad;
        out = {normalLon(std::atan2(s2, s1) * degreePerRad + lon0_), lat};
        return true;
    }

private:
    double lon0_, stdLon_; // degrees, as given and normal
    LritEarth earth_;
    LastValue last_;                     // latitude forward, b back
    double axis_ = 0, north_ = 0;        // km
    double sinB_ = 0, cosB_ = 1, e_ = 1; // of the last b
};

// Longitudes count from Greenwich, not from the standard longitude.
class LritMercator {
public:
    bool toPlane(double lon, double lat, PlanePoint& out)
    {
        if (!last_.isAgain(lat)) {
            value_ = std::log(std::tan((pi / 2 - toRad(lat)) * 0.5)) / pi;
        }
        out = {withinTurn(lon) / 180, value_};
        return true;
    }

    bool toEarth(PlanePoint p, EarthPoint& out)
    {
        if (!last_.isAgain(p.y)) {
            value_ = 90 - 2 * std::atan(std::pow(2.718281828459045, p.y * pi)) * degreePerRad;
        }
        out = {p.x * 180, value_};
        return true;
    }

private:
    LastValue last_;
    double value_ = 0; // b forward, latitude in degrees back
};

// Columns and lines of intermediate coordinates.
//
// Deliberate: 1 is taken off here and not in the fit below, so every LRIT position lies one pixel
// lower in column and line than that of the plain projection it was fitted to. With 1 in both
// or in neither, all LRIT maps would move by a pixel.
class LritFrame {
public:
    PlanePoint toPixel(PlanePoint p) const
    {
        return {p.x * unit * cfac_ + coff_ - 1, p.y * unit * lfac_ + loff_ - 1};
    }
    PlanePoint toPlane(double x, double y) const
    {
        return {((x + 1) - coff_) / (cfac_ * unit), ((y + 1) - loff_) / (lfac_ * unit)};
    }

private:
    double coff_ = nb_ProjLrit_coff, loff_ = nb_ProjLrit_loff;
    double cfac_ = nb_ProjLrit_cfac, lfac_ = nb_ProjLrit_lfac;
};

// A pixel of the plain map and its intermediate coordinates.
struct Sample {
    double x, y;
    PlanePoint p;
};

void setFactors(const Sample& one, const Sample& two)
{
    const PlanePoint p1 = one.p;
    const PlanePoint p2 = two.p;
    nb_ProjLrit_lfac = (one.y - two.y) / ((p1.y - p2.y) * unit);
    nb_ProjLrit_cfac = (one.x - two.x) / ((p1.x - p2.x) * unit);
    nb_ProjLrit_loff = (one.y * p2.y - two.y * p1.y) / (p2.y - p1.y);
    nb_ProjLrit_coff = (one.x * p2.x - two.x * p1.x) / (p2.x - p1.x);
}

// Offsets of the sample points from the base point, degrees.
struct Offset {
    double lon, lat;
};
constexpr std::array<Offset, 5> offsets = {{{0, 0}, {3, 3}, {-3, -3}, {3, -3}, {-3, 3}}};

// Fits to the first two sample points that differ in both coordinates. `place` makes a sample's
// longitude and latitude of an offset.
template <class Projection, class Place>
int fitFactors(NbProjPara& plain, Projection lrit, Place&& place)
{
    Sample first{};
    bool haveFirst = false;
    for (const Offset& offset : offsets) {
        const EarthPoint point = place(offset);
        float x;
        float y;
        if (nbProjLonLatToXY(&point.lon, &point.lat, &x, &y, 1, &plain) != 0) continue;
        if (x == nbpToFloat(noPosition) && y == nbpToFloat(noPosition)) continue;
        Sample sample{x, y, {}};
        if (!lrit.toPlane(point.lon, point.lat, sample.p)) continue;
        if (!haveFirst) {
            first = sample;
            haveFirst = true;
        } else if (sample.p.x != first.p.x && sample.p.y != first.p.y) {
            setFactors(first, sample);
            return 0;
        }
    }
    return -1;
}

template <PointArrays Points>
void lrit(const NbProjPara& para, const Points& points)
{
    // Deliberate: disk and Mercator convert -9999.0 like any other value, both ways. The disk
    // makes a place of it, or none, as it falls; with the check the mark would pass through.
    switch (para.prjType) {
    case NB_PROJ_LRIT_PS:
        mapPoints<true>(LritPolar(para), LritFrame(), points);
        break;
    case NB_PROJ_LRIT_DISK:
        mapPoints<false>(LritDisk(para), LritFrame(), points);
        break;
    default:
        mapPoints<false>(LritMercator(), LritFrame(), points);
        break;
    }
}
} // namespace

void mapLrit(const NbProjPara& para, const ToMap& points)
{
    lrit(para, points);
}
void mapLrit(const NbProjPara& para, const ToEarth& points)
{
    lrit(para, points);
}

int setLritPolarParam(const NbProjPara& para)
{
    constexpr int maxFailures = 10;
    NbProjPara plain = para;
    plain.prjType = NB_PROJ_PS;
    plain.stdLon = normalLon(para.stdLon);
    const double sign = para.stdLat1 < 0 ? -1 : 1;

    Sample first{};
    bool haveFirst = false;
    int failures = 0;
    for (int pass = 0; failures <= maxFailures; ++pass) {
        const double shift = pass == 0 ? -50.0 : 50.0 * pass;
        const float x = nbpToFloat(plain.baseX + shift);
        const float y = nbpToFloat(plain.baseY + shift);
        EarthPoint point;
        if (nbProjXYToLonLat(&x, &y, &point.lon, &point.lat, 1, &plain) != 0 ||
            (point.lon == noPosition && point.lat == noPosition)) {
            ++failures;
            continue;
        }
        const double dl = toRad(normalLon(point.lon - plain.stdLon));
        const double t = std::tan(toRad((90 - sign * point.lat) * 0.5));
        const Sample sample{x, y, {std::sin(dl) * t, std::cos(dl) * t}};
        if (!haveFirst) {
            first = sample;
            haveFirst = true;
        } else if (sample.p.y == first.p.y) {
            ++failures;
        } else {
            setFactors(first, sample);
            return 0;
        }
    }
    return 1;
}

int setLritDiskParam(const NbProjPara& para)
{
    NbProjPara plain = para;
    plain.prjType = NB_PROJ_DISK;
    if (plain.height == 0) plain.height = satelliteDistance - setLritParam().equatorRadius;
    return fitFactors(plain, LritDisk(plain), [&](const Offset& offset) {
        return EarthPoint{normalLon(para.baseLon + offset.lon), para.baseLat + offset.lat};
    });
}

// Deliberate: the sample latitudes lie about the equator, whatever the base latitude. On the sphere
// the map is linear in (a, b) and nothing follows; on the ellipsoid samples about the base
// latitude would change the line factor and move every line away from the equator.
int setLritMercParam(const NbProjPara& para)
{
    NbProjPara plain = para;
    plain.prjType = NB_PROJ_MERC;
    return fitFactors(plain, LritMercator(), [&](const Offset& offset) {
        return EarthPoint{withinTurn(para.baseLon + offset.lon), offset.lat};
    });
}
} // namespace nbpProj
