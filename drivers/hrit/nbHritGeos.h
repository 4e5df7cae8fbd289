#pragma once
/**
 * The earth of the HRIT projections.
 */
#include "drivers/common/nbGeos.h"

// The normalised geostationary view. The five figures were rounded apart.
inline constexpr NbGeosPara hritGeos = {
    .distance = 42164.0,      // earth centre to satellite, km
    .polarRadius = 6356.5838, // km
    .e2 = 0.00675701,         // (equatorial^2 - polar^2) / equatorial^2
    .flattening2 = 1.006803,  // equatorial^2 / polar^2
    .slant = 1737121856.0,    // distance^2 - equatorial^2, km^2
};
inline constexpr double hritFlattening = 0.0033842314306816723; // of the ellipsoid

// A point in its meridian plane. The cosine comes from the sine and not from the angle: near the
// poles its last digits are others than those of nbpGeosMeridian.
inline NbGeosMeridian nbpHritMeridian(double latRad, double heightKm)
{
    constexpr double ratio = (1 - hritFlattening) * (1 - hritFlattening);
    const double u = std::sin(std::atan(ratio * std::tan(latRad)));
    const double w = std::sqrt(1.0 - u * u);
    const double r = heightKm + hritGeos.polarRadius / std::sqrt(1.0 - hritGeos.e2 * (w * w));
    return {.axis = r * w, .north = r * u};
}
