#pragma once
/**
 * Terms of the normalised geostationary view that points in a row share: rows of a map have one
 * latitude and its columns one longitude, and so with lines and pixels of an image. The terms of
 * the last point are kept and used again for the same bits.
 */
#include "drivers/common/nbGeos.h"
#include "drivers/common/nbSameBits.h"
#include "drivers/common/nbWrapLon.h"

#include <cmath>
#include <limits>

// Of places on earth.
class NbGeosPlace {
public:
    // What a satellite at longitude `subLon` sees of a place. False for what is no position.
    // Degrees, height in metres; meridian(latRad, heightKm) is the place in its meridian plane.
    template <class Meridian>
    bool see(const NbGeosPara& geos, double subLon, double lon, double lat, double height,
             Meridian meridian, NbGeosSight* sight)
    {
        if (!nbpSameBits(lat, lat_) || !nbpSameBits(height, height_)) {
            lat_ = lat;
            height_ = height;
            goodLat_ = lat >= -90 && lat <= 90;
            if (goodLat_) meridian_ = meridian(lat * radPerDeg, height / 1000);
        }
        if (!nbpSameBits(lon, lon_)) {
            lon_ = lon;
            goodLon_ = lon != -9999.0 && std::isfinite(lon);
            if (goodLon_) {
                const double d = (nbpWrapLon(lon) - subLon) * radPerDeg;
                cosD_ = std::cos(d);
                sinD_ = std::sin(d);
            }
        }
        if (!goodLat_ || !goodLon_) return false;
        *sight = nbpGeosSight(geos, meridian_, cosD_, sinD_);
        return true;
    }

private:
    static constexpr double radPerDeg = 0.017453292519943295;
    static constexpr double none = std::numeric_limits<double>::quiet_NaN();
    double lat_ = none; // a NaN of other bits than this one is looked at like any number
    double height_ = none;
    double lon_ = none;
    bool goodLat_ = false;
    bool goodLon_ = false;
    NbGeosMeridian meridian_{};
    double cosD_ = 0;
    double sinD_ = 0;
};

// Of pixels, or of lines.
class NbGeosScan {
public:
    // angle(position) is the scan angle, radians.
    template <class Angle>
    void turn(float position, Angle angle)
    {
        if (nbpSameBits(position, position_)) return;
        position_ = position;
        const double radian = angle(static_cast<double>(position));
        cosine_ = std::cos(radian);
        sine_ = std::sin(radian);
    }
    double cosine() const { return cosine_; }
    double sine() const { return sine_; }

private:
    float position_ = std::numeric_limits<float>::quiet_NaN();
    // Not numbers, like the position that they belong to.
    double cosine_ = std::numeric_limits<double>::quiet_NaN();
    double sine_ = cosine_;
};
