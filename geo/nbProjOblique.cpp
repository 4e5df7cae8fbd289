/**
 * The oblique conformal conic: the ellipsoid is mapped conformally to a sphere, the sphere seen
 * from an oblique pole, and a cone laid about that pole.
 */
#include "geo/nbProjTypes.h"

namespace nbpProj {
namespace {

constexpr double coneScale = 11656.4038; // km
constexpr double coneConstant = 0.74737619;
constexpr double inverseConstant = 1.3380142602616227; // 1 / coneConstant, rounded apart
constexpr double sphereExponent = 1.0013655;
constexpr double inverseExponent = 0.9986363620476241; // 1 / sphereExponent, rounded apart
constexpr double sphereFactor = 1.0017906;
constexpr double geodeticFactor = 0.9933070113844521;

struct RadPoint {
    double lon, lat; // radians
};
constexpr RadPoint obliquePole = {1.4440534835747967, 0.980735762346504};
constexpr RadPoint coneCentre = {2.421305743267246, 0.6170999033519895};

bool isLongitude(double degree)
{
    return degree >= -360 && degree <= 360;
}

double sphereLon(double lon, double stdLon)
{
    return (lon - toRad(stdLon)) * sphereExponent;
}

// Geodetic to conformal latitude by its series in seconds of arc, then to the sphere.
double sphereLat(double lat)
{
    const double a = lat - toRad((690.264 * std::sin(2 * lat) - 0.963 * std::sin(4 * lat)) / 3600);
    const double g = std::atan(sphereFactor * std::pow(std::tan(a / 2 + pi / 4), sphereExponent));
    return 2 * (g - pi / 4);
}

double ellipseLon(double lon, double stdLon)
{
    return toRad(stdLon) + lon / sphereExponent;
}

// Deliberate: back from the sphere the conformal latitude is taken for the geocentric one, so
// there and back again misses by up to three seconds of arc. An exact inverse would shift every
// ellipsoidal map of this kind by up to 80 m.
double ellipseLat(double lat)
{
    const double g =
        std::atan(std::pow(std::tan(lat / 2 + pi / 4) / sphereFactor, inverseExponent));
    return std::atan(std::tan(2 * (g - pi / 4)) / geodeticFactor);
}

// A fixed point of the frame, on the sphere that the record's points are mapped to.
RadPoint onSphere(RadPoint point, const NbProjPara& para)
{
    if (para.ellipsoid == 0) return {point.lon - toRad(para.stdLon), point.lat};
    return {sphereLon(point.lon, para.stdLon), sphereLat(point.lat)};
}

double positiveAngle(double rad)
{
    return rad < 0 ? rad + pi : rad;
}

// The sphere seen from the oblique pole: theta is the angle at the pole, 0 to pi, rho the
// distance from it. Places on the other side of the pole's meridian get the theta of their
// mirrored half; the map is made for the near side.
class ObliqueFrame {
public:
    explicit ObliqueFrame(const NbProjPara& para)
        : pole_(onSphere(obliquePole, para)), sinPole_(std::sin(pole_.lat)),
          cosPole_(std::cos(pole_.lat))
    {
    }

    // Sine, cosine and tangent of a latitude.
    struct Lat {
        explicit Lat(double lat = 0)
            : sine(std::sin(lat)), cosine(std::cos(lat)), tangent(std::tan(lat))
        {
        }
        double sine, cosine, tangent;
    };

    void toOblique(double lon, const Lat& lat, double& theta, double& rho) const
    {
        const double dl = lon - pole_.lon;
        const double cosDl = std::cos(dl);
        theta = positiveAngle(
            std::atan(1 / ((lat.tangent * cosPole_) / std::sin(dl) - sinPole_ / std::tan(dl))));
        rho = acosUnit(cosDl * lat.cosine * cosPole_ + lat.sine * sinPole_);
    }

    RadPoint fromOblique(double theta, double rho) const
    {
        const double angle = std::atan(
            1 / ((cosPole_ / std::tan(rho)) / std::sin(theta) - sinPole_ / std::tan(theta)));
        return {positiveAngle(angle) + pole_.lon,
                asinUnit(std::cos(theta) * std::sin(rho) * cosPole_ + std::cos(rho) * sinPole_)};
    }

private:
    RadPoint pole_;
    double sinPole_, cosPole_;
};

class Oblique {
public:
    explicit Oblique(const NbProjPara& para)
        : frame_(para), stdLon_(para.stdLon), ellipsoid_(para.ellipsoid != 0)
    {
        const RadPoint centre = onSphere(coneCentre, para);
        double rho;
        frame_.toOblique(centre.lon, ObliqueFrame::Lat(centre.lat), centreTheta_, rho);
        centreRadius_ = radius(rho);
        toPlane(para.baseLon, para.baseLat, base_);
    }
    PlanePoint base() const { return base_; }

    bool toPlane(double lon, double lat, PlanePoint& out)
    {
        if (!last_.isAgain(lat)) {
            lat_ = ObliqueFrame::Lat(ellipsoid_ ? sphereLat(toRad(lat)) : toRad(lat));
        }
        const double lonRad =
            ellipsoid_ ? sphereLon(toRad(lon), stdLon_) : toRad(lon) - toRad(stdLon_);
        double theta;
        double rho;
        frame_.toOblique(lonRad, lat_, theta, rho);
        const double t = radius(rho);
        const double a = (centreTheta_ - theta) * coneConstant;
        out = {t * std::sin(a), centreRadius_ - t * std::cos(a)};
        return true;
    }

    bool toEarth(PlanePoint p, EarthPoint& out) const
    {
        const double u = p.x;
        const double v = centreRadius_ - p.y;
        const double theta = centreTheta_ - std::atan2(u, v) / coneConstant;
        const double rho =
            2 * std::atan(std::pow(std::sqrt(u * u + v * v) / coneScale, inverseConstant));
        const RadPoint s = frame_.fromOblique(theta, rho);
        const double lon = ellipsoid_ ? ellipseLon(s.lon, stdLon_) : s.lon + toRad(stdLon_);
        const double lat = ellipsoid_ ? ellipseLat(s.lat) : s.lat;
        out = {wrapOnce(toDegree(lon)), toDegree(lat)};
        return true;
    }

private:
    // On the cone, km, of a distance from the oblique pole.
    static double radius(double rho)
    {
        return coneScale * std::pow(std::tan(rho / 2), coneConstant);
    }

    ObliqueFrame frame_;
    double stdLon_; // degrees
    bool ellipsoid_;
    double centreTheta_ = 0, centreRadius_ = 0;
    PlanePoint base_{};
    LastValue last_;
    ObliqueFrame::Lat lat_;
};
} // namespace

void mapOblique(const NbProjPara& para, const ToMap& points)
{
    mapPlain(Oblique(para), para, points);
}
void mapOblique(const NbProjPara& para, const ToEarth& points)
{
    mapPlain(Oblique(para), para, points);
}
} // namespace nbpProj

int nbpProjEllipseToSphere(double* lon, double* lat, double stdLon)
{
    if (!nbpProj::isLongitude(stdLon)) return -1;
    *lon = nbpProj::sphereLon(*lon, stdLon);
    *lat = nbpProj::sphereLat(*lat);
    return 0;
}

int nbpProjSphereToEllipse(double* lon, double* lat, double stdLon)
{
    if (!nbpProj::isLongitude(stdLon)) return -1;
    *lon = nbpProj::ellipseLon(*lon, stdLon);
    *lat = nbpProj::ellipseLat(*lat);
    return 0;
}

int nbpProjLonLatToOblique(double lon, double lat, double* theta, double* rho, NbProjPara* para)
{
    if (!nbpProj::isLongitude(para->stdLon)) return -1;
    const nbpProj::ObliqueFrame frame(*para);
    frame.toOblique(lon, nbpProj::ObliqueFrame::Lat(lat), *theta, *rho);
    return 0;
}

int nbpProjObliqueToLonLat(double theta, double rho, double* lon, double* lat, NbProjPara* para)
{
    if (!nbpProj::isLongitude(para->stdLon)) return -1;
    const nbpProj::RadPoint point = nbpProj::ObliqueFrame(*para).fromOblique(theta, rho);
    *lon = point.lon;
    *lat = point.lat;
    return 0;
}
