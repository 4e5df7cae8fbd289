#pragma once
/**
 * What the projection units share: the earth's constants, angle arithmetic, the two frames of
 * pixel coordinates, and the loops over points.
 *
 * A projection is a small class that holds everything fixed for the call and offers
 *   bool toPlane(double lon, double lat, PlanePoint& out);  // degrees to the map plane
 *   bool toEarth(PlanePoint in, EarthPoint& out);           // and back
 * Both give false for a point without an image. They are not const: what depends on the latitude
 * alone (forward) or on the line alone (inverse) is kept from one point to the next, because
 * callers hand over whole lines of a grid.
 */
#include "geo/nbProj.h"
#include "util/nbNumber.h"

#include <bit>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <type_traits>

namespace nbpProj {

inline constexpr double noPosition = -9999.0; // in both outputs of a point without a position
inline constexpr double pi = 3.141592653589793;
inline constexpr double degreePerRad = 57.29577951308232; // where a formula has the factor

// Eccentricity of the reference ellipsoid and its derived forms. They do not follow
// nb_ProjEquatRadius.
inline constexpr double ecc = 0.0822719;
inline constexpr double halfEcc = 0.04113595;
inline constexpr double onePlusEcc = 1.0822719;
inline constexpr double oneMinusEcc = 0.9177281;
inline constexpr double oneMinusEcc2 = 0.99323133447039;  // 1 - e^2
inline constexpr double twiceEcc2 = 0.013537331059219998; // 2 e^2

struct PlanePoint {
    double x, y; // km eastward and northward; LRIT: intermediate coordinates
};
struct EarthPoint {
    double lon, lat; // degrees
};

// The points of a call.
struct ToMap {
    const double* lon;
    const double* lat;
    float* x;
    float* y;
    int n;
};
struct ToEarth {
    const float* x;
    const float* y;
    double* lon;
    double* lat;
    int n;
};
template <class T>
concept PointArrays = std::same_as<T, ToMap> || std::same_as<T, ToEarth>;

constexpr double toRad(double degree)
{
    return degree / 180 * pi;
}
constexpr double toDegree(double rad)
{
    return rad / pi * 180;
}

// One turn at most: what lies beyond -540 to 540 degrees stays outside -180 to 180.
constexpr double wrapOnce(double degree)
{
    if (degree > 180) degree -= 360;
    if (degree < -180) degree += 360;
    return degree;
}

// The longitude `dl` radians east of `stdLonRad`, in degrees.
constexpr double lonFrom(double stdLonRad, double dl)
{
    return wrapOnce(toDegree(stdLonRad + dl));
}

// asin and acos of what is a sine or cosine but for its last digit.
inline double asinUnit(double value)
{
    return std::asin(value > 1 ? 1 : value < -1 ? -1 : value);
}
inline double acosUnit(double value)
{
    return std::acos(value > 1 ? 1 : value < -1 ? -1 : value);
}

// ((1 - e sin phi) / (1 + e sin phi))^(e/2), the ellipsoid's part in conformal formulas.
inline double eccRatio(double sinPhi)
{
    return std::pow((1 - ecc * sinPhi) / (1 + ecc * sinPhi), halfEcc);
}

// Repeats value = next(value) until two successive values differ by less than 1e-6 radian. False
// when they do not come together: 1000 rounds, or not a number, which no round can mend.
template <class Next>
bool iterate(double& value, Next&& next)
{
    constexpr int maxRounds = 1000;
    for (int round = 0; round < maxRounds; ++round) {
        const double last = value;
        value = next(last);
        if (std::abs(value - last) < 1e-6) return true;
        if (std::isnan(value)) return false;
    }
    return false;
}

// Latitude of t = tan(pi / 4 - chi / 2), chi being the conformal latitude on the ellipsoid, by
// iteration from `phi`.
inline bool latOfConformal(double t, double& phi)
{
    return iterate(
        phi, [t](double last) { return pi / 2 - 2 * std::atan(eccRatio(std::sin(last)) * t); });
}

// Remembers the last value asked for, so that what follows from it need not be worked out again.
// Bits are compared: -0.0 is not 0.0.
class LastValue {
public:
    bool isAgain(double value)
    {
        const auto bits = std::bit_cast<std::uint64_t>(value);
        if (any_ && bits == bits_) return true;
        bits_ = bits;
        any_ = true;
        return false;
    }
    void forget() { any_ = false; }

private:
    std::uint64_t bits_ = 0;
    bool any_ = false;
};

// Sine and cosine of a latitude.
class LatSinCos {
public:
    void set(double latDegree)
    {
        if (last_.isAgain(latDegree)) return;
        const double phi = toRad(latDegree);
        sinPhi = std::sin(phi);
        cosPhi = std::cos(phi);
    }
    double sinPhi = 0, cosPhi = 1;

private:
    LastValue last_;
};

// Pixels of a plain map: the base point lies on (baseX, baseY), lines run southward.
class BaseFrame {
public:
    BaseFrame(const NbProjPara& para, PlanePoint base)
        : base_(base), baseX_(para.baseX), baseY_(para.baseY), stepX_(para.stepX),
          stepY_(para.stepY)
    {
    }
    PlanePoint toPixel(PlanePoint p) const
    {
        return {(p.x - base_.x) / stepX_ + baseX_, baseY_ - (p.y - base_.y) / stepY_};
    }
    PlanePoint toPlane(double x, double y) const
    {
        return {(x - baseX_) * stepX_ + base_.x, (baseY_ - y) * stepY_ + base_.y};
    }

private:
    PlanePoint base_;
    double baseX_, baseY_, stepX_, stepY_;
};

// A result that is not a number is no position either: infinite arguments, a cone without an
// opening.
inline bool isPosition(double a, double b)
{
    return !std::isunordered(a, b);
}

// Earth to map for all points; `checksMark`: -9999.0 on input gives -9999.0.
template <bool checksMark, class Projection, class Frame>
void mapPoints(Projection projection, const Frame& frame, const ToMap& points)
{
    const auto image = [&](double lon, double lat, PlanePoint& pixel) {
        if (checksMark && (lon == noPosition || lat == noPosition)) return false;
        PlanePoint plane;
        if (!projection.toPlane(lon, lat, plane)) return false;
        pixel = frame.toPixel(plane);
        return isPosition(pixel.x, pixel.y);
    };
    for (int i = 0; i < points.n; ++i) {
        PlanePoint pixel;
        if (!image(points.lon[i], points.lat[i], pixel)) pixel = {noPosition, noPosition};
        points.x[i] = nbpToFloat(pixel.x);
        points.y[i] = nbpToFloat(pixel.y);
    }
}

// Map to earth likewise.
template <bool checksMark, class Projection, class Frame>
void mapPoints(Projection projection, const Frame& frame, const ToEarth& points)
{
    const auto place = [&](double x, double y, EarthPoint& earth) {
        if (checksMark && (x == noPosition || y == noPosition)) return false;
        return projection.toEarth(frame.toPlane(x, y), earth) && isPosition(earth.lon, earth.lat);
    };
    for (int i = 0; i < points.n; ++i) {
        EarthPoint earth;
        if (!place(points.x[i], points.y[i], earth)) earth = {noPosition, noPosition};
        points.lon[i] = earth.lon;
        points.lat[i] = earth.lat;
    }
}

// The same for a projection on a plain map.
template <class Projection, PointArrays Points>
void mapPlain(const Projection& projection, const NbProjPara& para, const Points& points)
{
    mapPoints<true>(projection, BaseFrame(para, projection.base()), points);
}

} // namespace nbpProj
