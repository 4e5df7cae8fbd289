/**
 * The azimuthal maps: the disk, a perspective view onto the plane that touches the globe at the
 * sub-point, and the stereographic projection.
 */
#include "geo/nbProjTypes.h"

#include <limits>

namespace nbpProj {
namespace {

// Sine and cosine of the standard latitude, and the standard longitude, of an azimuthal map.
struct Centre {
    explicit Centre(const NbProjPara& para)
        : lon(para.stdLon), lat(para.stdLat1), lonRad(toRad(lon)), phi0(toRad(lat)),
          sin0(std::sin(phi0)), cos0(std::cos(phi0))
    {
    }
    double deltaLon(double pointLon) const { return toRad(wrapOnce(pointLon - lon)); }

    double lon, lat;     // degrees
    double lonRad, phi0; // radians
    double sin0, cos0;
};

// Longitude and latitude of the plane point (u, v) at distance r from a centre, whose angle from
// the centre seen from the globe's middle is a; `sinLat`, `cosLat` are the centre's latitude.
struct FromCentre {
    FromCentre(PlanePoint p, double r, double a, double sinLat, double cosLat)
    {
        const double sinA = std::sin(a);
        const double cosA = std::cos(a);
        dl = std::atan2(sinA * p.x, cosA * r * cosLat - p.y * sinLat * sinA);
        phi = asinUnit(sinA * p.y * cosLat / r + cosA * sinLat);
    }
    double dl, phi; // radians
};

constexpr double samePlace = 1e-6; // km: nearer to the centre than this is the centre

double planeRadius(PlanePoint p)
{
    return std::sqrt(p.x * p.x + p.y * p.y);
}

class DiskSphere {
public:
    explicit DiskSphere(const NbProjPara& para)
        : centre_(para), baseLat_(para.baseLat), radius_(nb_ProjEquatRadius),
          distance_(para.height / radius_ + 1), limb_(1 / distance_)
    {
        LatSinCos lat;
        lat.set(para.baseLat);
        const double dl = centre_.deltaLon(para.baseLon);
        // Seen or not: the base point only places the image.
        base_ = project(lat, std::sin(dl), std::cos(dl), cosine(lat, std::cos(dl)));
    }
    PlanePoint base() const { return base_; }

    bool toPlane(double lon, double lat, PlanePoint& out)
    {
        lat_.set(lat);
        const double dl = centre_.deltaLon(lon);
        const double sinDl = std::sin(dl);
        const double cosDl = std::cos(dl);
        const double c = cosine(lat_, cosDl);
        if (!(c >= limb_)) return false;
        out = project(lat_, sinDl, cosDl, c);
        return true;
    }

    bool toEarth(PlanePoint p, EarthPoint& out) const
    {
        const double r = planeRadius(p);
        if (r < samePlace) {
            // Deliberate: the base point's latitude, not the sub-point's. Where the base point is
            // not the sub-point, the pixel under the satellite is given the base's latitude;
            // with stdLat1 here that one pixel would move.
            out = {lonFrom(centre_.lonRad, 0), baseLat_};
            return true;
        }
        const double h = distance_;
        const double q = 1 - (h + 1) * (r * r) / ((h - 1) * (radius_ * radius_));
        if (q < 0) return false;
        const double a =
            asinUnit((h - std::sqrt(q)) / ((h - 1) * radius_ / r + (r / radius_) / (h - 1)));
        const FromCentre point(p, r, a, centre_.sin0, centre_.cos0);
        out = {lonFrom(centre_.lonRad, point.dl), toDegree(point.phi)};
        return true;
    }

private:
    // Cosine of the angle between point and sub-point.
    double cosine(const LatSinCos& lat, double cosDl) const
    {
        return lat.cosPhi * centre_.cos0 * cosDl + lat.sinPhi * centre_.sin0;
    }
    PlanePoint project(const LatSinCos& lat, double sinDl, double cosDl, double c) const
    {
        const double k = (distance_ - 1) * radius_ / (distance_ - c);
        return {k * lat.cosPhi * sinDl,
                k * (lat.sinPhi * centre_.cos0 - lat.cosPhi * centre_.sin0 * cosDl)};
    }

    Centre centre_;
    double baseLat_;
    double radius_;   // km
    double distance_; // of the viewpoint from the globe's middle, in radii
    double limb_;     // cosine of the angle from sub-point to limb
    PlanePoint base_{};
    LatSinCos lat_;
};

class DiskEllipsoid {
public:
    explicit DiskEllipsoid(const NbProjPara& para)
        : centre_(para), radius_(nb_ProjEquatRadius), height_(para.height)
    {
        const double sin0 = centre_.sin0;
        const double cos0 = centre_.cos0;
        const double normal = radius_ / std::sqrt(1 - (ecc * sin0) * (ecc * sin0));
        // Geocentric latitude of the viewpoint.
        double psi = centre_.phi0;
        const bool found = iterate(psi, [&](double last) {
            return centre_.phi0 -
                   std::asin((normal * ecc * ecc * sin0 * cos0) /
                             (((height_ + normal) * cos0 / std::cos(last)) / radius_) / radius_);
        });
        if (!found) psi = std::numeric_limits<double>::quiet_NaN(); // no point has an image
        distance_ = (height_ + normal) * (cos0 / std::cos(psi)) / radius_;
        const double d = centre_.phi0 - psi;
        up_ = distance_ * std::cos(d);
        north_ = distance_ * std::sin(d);
        limb_ = 1 / distance_;

        const double g = 1 - (ecc * cos0) * (ecc * cos0);
        squareV_ = 1 - (ecc * sin0) * (ecc * sin0);
        mixed_ = twiceEcc2 * sin0 * cos0;
        const double eccCosPsi = ecc * std::cos(psi);
        lead_ = ecc * ecc + (1 - eccCosPsi * eccCosPsi) * (distance_ * distance_) - 1;
        linear0_ = height_ * north_ * mixed_;
        linear1_ = 2 * up_ * g * height_;
        constant_ = height_ * height_ * g;

        EarthTerms terms;
        terms.set(para.baseLat, radius_);
        const double dl = centre_.deltaLon(para.baseLon);
        base_ = project(terms, std::sin(dl), std::cos(dl), normalPart(terms, std::cos(dl)));
    }
    PlanePoint base() const { return base_; }

    bool toPlane(double lon, double lat, PlanePoint& out)
    {
        terms_.set(lat, radius_);
        const double dl = centre_.deltaLon(lon);
        const double sinDl = std::sin(dl);
        const double cosDl = std::cos(dl);
        const double c = normalPart(terms_, cosDl);
        if (!(c >= limb_)) return false;
        out = project(terms_, sinDl, cosDl, c);
        return true;
    }

    // The line of sight through (u, v) meets the ellipsoid where L w^2 + M w + R is 0.
    bool toEarth(PlanePoint p, EarthPoint& out) const
    {
        const double u = p.x;
        const double v = p.y;
        const double m = linear0_ + mixed_ * up_ * v - linear1_ - 2 * north_ * squareV_ * v;
        const double r =
            oneMinusEcc2 * (u * u) + squareV_ * (v * v) + constant_ - mixed_ * height_ * v;
        const double root = m * m - 4 * lead_ * r;
        if (root < 0) return false;
        const double w = (std::sqrt(root) - m) / 2 / lead_;
        const double upward = up_ - height_ / w;
        const double northward = v / w - north_;
        const double dl = std::atan2(u / w, upward * centre_.cos0 - northward * centre_.sin0);
        const double t = upward * centre_.sin0 + northward * centre_.cos0;
        const double equatorial = (oneMinusEcc2 - t * t) * oneMinusEcc2;
        if (equatorial < 0) return false;
        out = {lonFrom(centre_.lonRad, dl), toDegree(std::atan2(t, std::sqrt(equatorial)))};
        return true;
    }

private:
    // Distance of a latitude from the axis and from the equator's plane, in equatorial radii.
    struct EarthTerms {
        void set(double latDegree, double radius)
        {
            if (last.isAgain(latDegree)) return;
            const double phi = toRad(latDegree);
            const double sinPhi = std::sin(phi);
            const double normal = radius / std::sqrt(1 - (ecc * sinPhi) * (ecc * sinPhi));
            axis = std::cos(phi) * normal / radius;
            equator = sinPhi * normal * oneMinusEcc2 / radius;
        }
        LastValue last;
        double axis = 0, equator = 0;
    };

    // Part of the point's position along the normal of the sub-point.
    double normalPart(const EarthTerms& terms, double cosDl) const
    {
        return centre_.cos0 * terms.axis * cosDl + centre_.sin0 * terms.equator;
    }
    PlanePoint project(const EarthTerms& terms, double sinDl, double cosDl, double c) const
    {
        const double k = height_ / (up_ - c);
        return {k * terms.axis * sinDl,
                k * ((centre_.cos0 * terms.equator + north_) - centre_.sin0 * terms.axis * cosDl)};
    }

    Centre centre_;
    double radius_;                             // equatorial, km
    double height_;                             // km
    double distance_ = 0, limb_ = 0;            // as on the sphere
    double up_ = 0, north_ = 0;                 // viewpoint along and across the normal, radii
    double squareV_ = 0, mixed_ = 0, lead_ = 0; // factors of the quadratic of toEarth
    double linear0_ = 0, linear1_ = 0, constant_ = 0;
    PlanePoint base_{};
    EarthTerms terms_;
};

class StereographicSphere {
public:
    explicit StereographicSphere(const NbProjPara& para)
        : centre_(para), diameter_(2 * nb_ProjEquatRadius)
    {
        LatSinCos lat;
        lat.set(para.baseLat);
        const double dl = centre_.deltaLon(para.baseLon);
        base_ = project(lat, std::sin(dl), std::cos(dl), antipodal(lat, std::cos(dl)));
    }
    PlanePoint base() const { return base_; }

    bool toPlane(double lon, double lat, PlanePoint& out)
    {
        lat_.set(lat);
        const double dl = centre_.deltaLon(lon);
        const double sinDl = std::sin(dl);
        const double cosDl = std::cos(dl);
        const double w = antipodal(lat_, cosDl);
        if (std::abs(w) < 1e-6) return false;
        out = project(lat_, sinDl, cosDl, w);
        return true;
    }

    bool toEarth(PlanePoint p, EarthPoint& out) const
    {
        const double r = planeRadius(p);
        if (r < samePlace) {
            out = {centre_.lon, centre_.lat}; // as they stand, the longitude not wrapped
            return true;
        }
        const double a = 2 * std::atan2(r, diameter_);
        const FromCentre point(p, r, a, centre_.sin0, centre_.cos0);
        out = {lonFrom(centre_.lonRad, point.dl), toDegree(point.phi)};
        return true;
    }

private:
    // 0 at the antipode of the centre, 2 at the centre.
    double antipodal(const LatSinCos& lat, double cosDl) const
    {
        return lat.cosPhi * centre_.cos0 * cosDl + lat.sinPhi * centre_.sin0 + 1;
    }
    PlanePoint project(const LatSinCos& lat, double sinDl, double cosDl, double w) const
    {
        const double k = diameter_ / w;
        return {k * lat.cosPhi * sinDl,
                k * (lat.sinPhi * centre_.cos0 - lat.cosPhi * centre_.sin0 * cosDl)};
    }

    Centre centre_;
    double diameter_; // km
    PlanePoint base_{};
    LatSinCos lat_;
};

// -1 for a northern centre, also on the equator.
double hemisphere(const NbProjPara& para)
{
    return para.stdLat1 >= 0 ? -1 : 1;
}

// About a pole of the ellipsoid. No point is refused: the far pole lies very far away.
class StereographicPolar {
public:
    explicit StereographicPolar(const NbProjPara& para)
        : centre_(para), sign_(hemisphere(para)), diameter_(2 * nb_ProjEquatRadius),
          scale_(std::pow(onePlusEcc, onePlusEcc) * std::pow(oneMinusEcc, oneMinusEcc)),
          rootScale_(std::sqrt(scale_))
    {
        toPlane(para.baseLon, para.baseLat, base_);
    }
    PlanePoint base() const { return base_; }

    bool toPlane(double lon, double lat, PlanePoint& out)
    {
        if (!last_.isAgain(lat)) {
            const double p = sign_ * toRad(lat);
            const double sinP = std::sin(p);
            const double power = std::pow((1 + ecc * sinP) / (1 - ecc * sinP), halfEcc);
            radius_ = diameter_ * (std::tan(p / 2 + pi / 4) / power) / rootScale_;
        }
        const double dl = centre_.deltaLon(lon);
        out = {radius_ * std::sin(dl), sign_ * radius_ * std::cos(dl)};
        return true;
    }

    bool toEarth(PlanePoint in, EarthPoint& out) const
    {
        const double dl = std::atan2(in.x, sign_ * in.y);
        const double t = std::sqrt(scale_ * (in.x * in.x + in.y * in.y)) / diameter_;
        double p = pi / 2 - 2 * std::atan(t);
        if (!latOfConformal(t, p)) return false;
        out = {lonFrom(centre_.lonRad, dl), toDegree(-sign_ * p)};
        return true;
    }

private:
    Centre centre_;
    double sign_;
    double diameter_;          // km
    double scale_, rootScale_; // (1 + e)^(1 + e) (1 - e)^(1 - e), and its root
    PlanePoint base_{};
    LastValue last_;
    double radius_ = 0; // of the last latitude, km
};

// About any other point of the ellipsoid, by way of the conformal latitude chi.
//
// Deliberate: centre and base point take the ratio (1 + s e sin phi) / (1 - s e sin phi), every
// other point takes it the other way up. The base point therefore does not land exactly on
// (baseX, baseY). One ratio for all looks right and moves every map of this kind by kilometres.
class StereographicOblique {
public:
    explicit StereographicOblique(const NbProjPara& para)
        : centre_(para), signedEcc_(hemisphere(para) * ecc), diameter_(2 * nb_ProjEquatRadius)
    {
        m_ = centre_.cos0 / std::sqrt(1 - (ecc * centre_.sin0) * (ecc * centre_.sin0));
        const double chi0 = referenceChi(centre_.phi0);
        sinChi0_ = std::sin(chi0);
        cosChi0_ = std::cos(chi0);
        scale_ = diameter_ * m_ / cosChi0_;
        const double chi = referenceChi(toRad(para.baseLat));
        base_ = project(para.baseLon, std::sin(chi), std::cos(chi));
    }
    PlanePoint base() const { return base_; }

    bool toPlane(double lon, double lat, PlanePoint& out)
    {
        if (!last_.isAgain(lat)) {
            const double phi = toRad(lat);
            const double part = signedEcc_ * std::sin(phi);
            const double chi = conformal((1 - part) / (1 + part), phi);
            sinChi_ = std::sin(chi);
            cosChi_ = std::cos(chi);
        }
        out = project(lon, sinChi_, cosChi_);
        return true;
    }

    bool toEarth(PlanePoint p, EarthPoint& out) const
    {
        const double r = planeRadius(p);
        if (r < samePlace) {
            out = {centre_.lon, centre_.lat};
            return true;
        }
        const double a = 2 * std::atan2(r * cosChi0_, diameter_ * m_);
        const FromCentre point(p, r, a, sinChi0_, cosChi0_);
        const double tanChi = std::tan(point.phi / 2 + pi / 4);
        double phi = point.phi;
        const bool found = iterate(phi, [&](double last) {
            const double part = signedEcc_ * std::sin(last);
            return 2 * std::atan(std::pow((1 + part) / (1 - part), halfEcc) * tanChi) - pi / 2;
        });
        if (!found) return false;
        out = {lonFrom(centre_.lonRad, point.dl), toDegree(phi)};
        return true;
    }

private:
    static double conformal(double ratio, double phi)
    {
        return 2 * std::atan(std::pow(ratio, halfEcc) * std::tan(phi / 2 + pi / 4)) - pi / 2;
    }
    double referenceChi(double phi) const
    {
        const double part = signedEcc_ * std::sin(phi);
        return conformal((1 + part) / (1 - part), phi);
    }
    PlanePoint project(double lon, double sinChi, double cosChi) const
    {
        const double dl = centre_.deltaLon(lon);
        const double cosDl = std::cos(dl);
        const double k = scale_ / (cosChi * cosChi0_ * cosDl + 1 + sinChi * sinChi0_);
        return {k * cosChi * std::sin(dl), k * (sinChi * cosChi0_ - cosChi * sinChi0_ * cosDl)};
    }

    Centre centre_;
    double signedEcc_; // e times -1 for a northern centre
    double diameter_;  // km
    double m_ = 0;     // radius of the centre's parallel over the equatorial radius
    double sinChi0_ = 0, cosChi0_ = 1, scale_ = 0;
    PlanePoint base_{};
    LastValue last_;
    double sinChi_ = 0, cosChi_ = 1; // of the last latitude
};

template <PointArrays Points>
void disk(const NbProjPara& para, const Points& points)
{
    if (para.ellipsoid != 0) {
        mapPlain(DiskEllipsoid(para), para, points);
    } else {
        mapPlain(DiskSphere(para), para, points);
    }
}

template <PointArrays Points>
void stereographic(const NbProjPara& para, const Points& points)
{
    if (para.ellipsoid == 0) {
        mapPlain(StereographicSphere(para), para, points);
    } else if (para.stdLat1 == 90 || para.stdLat1 == -90) {
        mapPlain(StereographicPolar(para), para, points);
    } else {
        mapPlain(StereographicOblique(para), para, points);
    }
}
} // namespace

void mapDisk(const NbProjPara& para, const ToMap& points)
{
    disk(para, points);
}
void mapDisk(const NbProjPara& para, const ToEarth& points)
{
    disk(para, points);
}
void mapStereographic(const NbProjPara& para, const ToMap& points)
{
    stereographic(para, points);
}
void mapStereographic(const NbProjPara& para, const ToEarth& points)
{
    stereographic(para, points);
}
} // namespace nbpProj
