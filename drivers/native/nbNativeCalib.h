#pragma once
/**
 * Constants of the imager SEVIRI by satellite: central wavenumbers of the thermal channels and
 * solar irradiances of the others.
 */
#include <array>
#include <iterator>

struct NbNativeSatellite {
    int id;
    const char* name;
    std::array<double, 12> wavenumber; // 1/m; 0: no thermal channel
    std::array<double, 12> irradiance; // at 1 astronomical unit, mW m^-2 (cm^-1)^-1; 0: thermal
};

// The rows of Meteosat-10 and -11 are those of EUMETSAT, "The Conversion from Effective Radiances
// to Equivalent Brightness Temperatures", EUM/MET/TEN/11/0569 (1/cm there), and "Conversion from
// radiances to reflectances for SEVIRI warm channels", EUM/MET/TEN/12/0332. Those of Meteosat-8
// and -9 are older figures and differ in the last digits of a few channels.
inline constexpr NbNativeSatellite nativeSatellites[] = {
    {321,
     "METEOSAT-8",
     {0, 0, 0, 256733.4, 159810.3, 136208.1, 114906.9, 103434.3, 93064.7, 83966.0, 75238.7, 0},
     {65.2296, 73.0127, 62.3715, 0, 0, 0, 0, 0, 0, 0, 0, 78.8952}},
    {322,
     "METEOSAT-9",
     {0, 0, 0, 256883.2, 160054.8, 136033.0, 114862.0, 103528.9, 93170.0, 83644.5, 75179.2, 0},
     {65.2065, 73.1869, 61.9923, 0, 0, 0, 0, 0, 0, 0, 0, 79.0113}},
    {323,
     "METEOSAT-10",
     {0, 0, 0, 254777.1, 159562.1, 136033.7, 114813.0, 103471.5, 92984.2, 83865.9, 75065.3, 0},
     {65.5148, 73.1807, 62.0208, 0, 0, 0, 0, 0, 0, 0, 0, 78.9416}},
    {324,
     "METEOSAT-11",
     {0, 0, 0, 255528.0, 159608.0, 136174.8, 114743.3, 103485.1, 93112.2, 83911.3, 74858.5, 0},
     {65.2656, 73.1692, 61.9416, 0, 0, 0, 0, 0, 0, 0, 0, 79.0035}},
};
static_assert(std::size(nativeSatellites) == 4);

// Null for another id.
inline const NbNativeSatellite* nbpNativeSatellite(int id)
{
    for (const NbNativeSatellite& satellite : nativeSatellites)
        if (satellite.id == id) return &satellite;
    return nullptr;
}
