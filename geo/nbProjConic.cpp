/**
 * The maps whose meridians and parallels are straight lines or arcs about one centre: Lambert's
 * conformal cone, Mercator's cylinder, and the grid of longitude and latitude.
 */
#include "geo/nbProjTypes.h"

namespace nbpProj {
namespace {

// Lambert's radius of a parallel on the sphere, and back. phi1, phi2: standard latitudes, radians.
class ConeSphere {
public:
    ConeSphere(double phi1, double phi2, bool twoParallels)
        : n(twoParallels ? std::log(std::cos(phi1) / std::cos(phi2)) /
                               std::log(stretch(phi2) / stretch(phi1))
                         : std::sin(phi1)),
          f_(std::cos(phi1) * nb_ProjEquatRadius * std::pow(stretch(phi1), n) / n)
    {
    }
    double radius(double phi) const { return f_ / std::pow(stretch(phi), n); }

    // rho: not negative; sign: -1 for a southern cone, whose radii are negative.
    bool latitude(double rho, double sign, double& phi) const
    {
        if (std::abs(rho) >= 1e-6) {
            phi = 2 * std::atan(std::pow(f_ / (rho * sign), 1 / n)) - pi / 2;
        } else {
            // Deliberate: the apex is the north pole, for a southern cone too. The right pole
            // would change the latitude of that single point.
            phi = pi / 2;
        }
        return true;
    }

    double n; // cone constant

private:
    static double stretch(double phi) { return std::tan(phi / 2 + pi / 4); }
    double f_; // radius of the equator, km
};

// The same on the ellipsoid.
class ConeEllipsoid {
public:
    ConeEllipsoid(double phi1, double phi2, bool twoParallels)
        : n(twoParallels
                ? std::log(parallel(phi1) / parallel(phi2)) / std::log(shrink(phi1) / shrink(phi2))
                : std::sin(phi1)),
          f_(nb_ProjEquatRadius * parallel(phi1) / (std::pow(shrink(phi1), n) * n))
    {
    }
    double radius(double phi) const { return f_ * std::pow(shrink(phi), n); }

    bool latitude(double rho, double sign, double& phi) const
    {
        const double t = std::pow(rho * sign / f_, 1 / n);
        phi = pi / 2 - 2 * std::atan(t);
        return latOfConformal(t, phi);
    }

    double n;

private:
    // Radius of a parallel in equatorial radii.
    static double parallel(double phi)
    {
        const double part = ecc * std::sin(phi);
        return std::cos(phi) / std::sqrt((1 - part) * (1 + part));
    }
    static double shrink(double phi)
    {
        return std::tan(pi / 4 - phi / 2) / eccRatio(std::sin(phi));
    }
    double f_;
};

template <class Cone>
class Lambert {
public:
    explicit Lambert(const NbProjPara& para)
        : stdLon_(para.stdLon), lonRad_(toRad(para.stdLon)), sign_(para.stdLat1 >= 0 ? 1 : -1),
          cone_(toRad(para.stdLat1), toRad(para.stdLat2), para.stdLat1 != para.stdLat2),
          baseRho_(cone_.radius(toRad(para.baseLat)))
    {
        toPlane(para.baseLon, para.baseLat, base_);
    }
    PlanePoint base() const { return base_; }

    bool toPlane(double lon, double lat, PlanePoint& out)
    {
        if (!last_.isAgain(lat)) rho_ = cone_.radius(toRad(lat));
        const double theta = cone_.n * toRad(wrapOnce(lon - stdLon_));
        out = {rho_ * std::sin(theta), baseRho_ - rho_ * std::cos(theta)};
        return true;
    }

    bool toEarth(PlanePoint p, EarthPoint& out) const
    {
        const double down = baseRho_ - p.y;
        const double rho = std::sqrt(p.x * p.x + down * down);
        const double theta = std::atan2(sign_ * p.x, sign_ * down);
        double phi;
        if (!cone_.latitude(rho, sign_, phi)) return false;
        out = {lonFrom(lonRad_, theta / cone_.n), toDegree(phi)};
        return true;
    }

private:
    double stdLon_, lonRad_;
    double sign_; // -1 for a southern first standard latitude
    Cone cone_;
    double baseRho_; // km
    PlanePoint base_{};
    LastValue last_;
    double rho_ = 0; // of the last latitude, km
};

class MercatorSphere {
public:
    explicit MercatorSphere(const NbProjPara& para)
        : stdLon_(para.stdLon), lonRad_(toRad(para.stdLon)), radius_(nb_ProjEquatRadius)
    {
        toPlane(para.baseLon, para.baseLat, base_);
        last_.forget();
    }
    PlanePoint base() const { return base_; }

    bool toPlane(double lon, double lat, PlanePoint& out)
    {
        if (!last_.isAgain(lat)) value_ = radius_ * std::log(std::tan(toRad(lat) / 2 + pi / 4));
        out = {radius_ * toRad(wrapOnce(lon - stdLon_)), value_};
        return true;
    }

    bool toEarth(PlanePoint p, EarthPoint& out)
    {
        if (!last_.isAgain(p.y)) {
            value_ = toDegree(pi / 2 - 2 * std::atan(std::exp(-p.y / radius_)));
        }
        out = {lonFrom(lonRad_, p.x / radius_), value_};
        return true;
    }

private:
    double stdLon_, lonRad_;
    double radius_; // km
    PlanePoint base_{};
    LastValue last_;   // latitude forward, plane's y back
    double value_ = 0; // plane's y forward, latitude in degrees back
};

class MercatorEllipsoid {
public:
    explicit MercatorEllipsoid(const NbProjPara& para)
        : stdLon_(para.stdLon), lonRad_(toRad(para.stdLon)), radius_(nb_ProjEquatRadius),
          product_(stretch(toRad(para.baseLat)))
    {
        toPlane(para.baseLon, para.baseLat, base_);
        last_.forget();
    }
    PlanePoint base() const { return base_; }

    bool toPlane(double lon, double lat, PlanePoint& out)
    {
        if (!last_.isAgain(lat)) value_ = radius_ * std::log(stretch(toRad(lat)));
        out = {radius_ * toRad(wrapOnce(lon - stdLon_)), value_};
        return true;
    }

    bool toEarth(PlanePoint p, EarthPoint& out)
    {
        if (!last_.isAgain(p.y) && !setLatitude(std::exp(-p.y / radius_))) return false;
        out = {lonFrom(lonRad_, p.x / radius_), value_};
        return true;
    }

private:
    static double stretch(double phi)
    {
        return eccRatio(std::sin(phi)) * std::tan(phi / 2 + pi / 4);
    }

    // Iterates from the product of the point before, for the first point from the base point's
    // stretch. Another point of the same line starts where this one ended, so the latitude is
    // kept only when a further round would not change it by a bit.
    bool setLatitude(double t)
    {
        double product = product_;
        double before = 0;
        double phi = pi / 2 - 2 * std::atan(product);
        const bool found = iterate(phi, [&](double last) {
            before = last;
            product = eccRatio(std::sin(last)) * t;
            return pi / 2 - 2 * std::atan(product);
        });
        if (!found || before != phi) last_.forget();
        if (!found) return false; // the product stays that of the last good point
        product_ = product;
        value_ = toDegree(phi);
        return true;
    }

    double stdLon_, lonRad_;
    double radius_; // equatorial, km
    PlanePoint base_{};
    LastValue last_;
    double value_ = 0;
    double product_; // ratio times tangent last formed
};

// Longitude and latitude as they are; the plane is degrees. On the ellipsoid the rows stand at
// equal steps of the reduced latitude, atan(sqrt(1 - e^2) tan phi).
class Grid {
public:
    Grid(const NbProjPara& para, bool ellipsoid)
        : baseLon_(para.baseLon), baseLat_(para.baseLat), ellipsoid_(ellipsoid),
          axisRatio_(std::sqrt(oneMinusEcc2))
    {
    }
    // The base latitude is taken for a row's latitude as it stands, on the ellipsoid too.
    PlanePoint base() const { return {0, baseLat_}; }

    bool toPlane(double lon, double lat, PlanePoint& out)
    {
        if (ellipsoid_ && !last_.isAgain(lat)) {
            row_ = toDegree(std::atan(axisRatio_ * std::tan(toRad(lat))));
        }
        out = {wrapOnce(lon - baseLon_), ellipsoid_ ? row_ : lat};
        return true;
    }

    bool toEarth(PlanePoint p, EarthPoint& out)
    {
        if (ellipsoid_ && !last_.isAgain(p.y)) {
            row_ = toDegree(std::atan(std::tan(toRad(p.y)) / axisRatio_));
        }
        out = {wrapOnce(p.x + baseLon_), ellipsoid_ ? row_ : p.y};
        return true;
    }

private:
    double baseLon_, baseLat_; // degrees
    bool ellipsoid_;
    double axisRatio_; // polar to equatorial
    LastValue last_;
    double row_ = 0; // of the last latitude, or the latitude of the last row, degrees
};

template <PointArrays Points>
void lambert(const NbProjPara& para, const Points& points)
{
    if (para.ellipsoid != 0) {
        mapPlain(Lambert<ConeEllipsoid>(para), para, points);
    } else {
        mapPlain(Lambert<ConeSphere>(para), para, points);
    }
}
} // namespace

void mapLambert(const NbProjPara& para, const ToMap& points)
{
    lambert(para, points);
}
void mapLambert(const NbProjPara& para, const ToEarth& points)
{
    lambert(para, points);
}

void mapMercator(const NbProjPara& para, const ToMap& points)
{
    if (para.ellipsoid != 0) {
        mapPlain(MercatorEllipsoid(para), para, points);
    } else {
        mapPlain(MercatorSphere(para), para, points);
    }
}
void mapMercator(const NbProjPara& para, const ToEarth& points)
{
    if (para.ellipsoid != 0) {
        mapPlain(MercatorEllipsoid(para), para, points);
        return;
    }
    // Deliberate: pixels of -9999.0 are converted like any other, here and nowhere else among the
    // plain maps. With the check, that far pixel would be a point without a position.
    const MercatorSphere mercator(para);
    mapPoints<false>(mercator, BaseFrame(para, mercator.base()), points);
}

void mapGrid(const NbProjPara& para, const ToMap& points)
{
    mapPlain(Grid(para, para.ellipsoid != 0), para, points);
}
void mapGrid(const NbProjPara& para, const ToEarth& points)
{
    mapPlain(Grid(para, para.ellipsoid != 0), para, points);
}
} // namespace nbpProj
