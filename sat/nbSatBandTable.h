#pragma once
/**
 * Numbers of sensor bands: Planck constants, band corrections, solar irradiance.
 *
 * Rows are numbered from 1. The rows of the Planck table and those of the irradiance table belong
 * to different sensors: they only share the numbering. A driver adds its own offset to its channel
 * number to find its row.
 */
#include <array>
#include <cstddef>

// Radiance of a temperature T (kelvin): c1 / (exp(c2 / Te) - 1), Te = bandC[0] + bandC[1] T +
// bandC[2] T^2 being the temperature that a monochromatic sensor would see. Back: T = bandD[0] +
// bandD[1] Te + bandD[2] Te^2.
struct NbPlanckSet {
    double c1 = 0; // radiance; 0: a row without a sensor
    double c2 = 0; // kelvin
    std::array<double, 3> bandC = {0, 1, 0};
    std::array<double, 3> bandD = {0, 1, 0};
};

struct NbPlanckBand {
    NbPlanckSet wavelength; // W m^-2 sr^-1 um^-1
    NbPlanckSet wavenumber; // mW m^-2 sr^-1 (cm^-1)^-1
};

// 2 h c^2 and h c / k from the defining constants of the SI (2019): h = 6.62607015e-34 J s,
// c = 299792458 m/s, k = 1.380649e-23 J/K.
inline constexpr double planckC1WaveLen = 1.191042972397188e8;  // W um^4 m^-2 sr^-1
inline constexpr double planckC1WaveNum = 1.191042972397188e-5; // mW m^-2 sr^-1 cm^4
inline constexpr double planckC2WaveLen = 14387.768775039336;   // um K

// A band that is known by its wavelength alone: monochromatic, no band correction.
constexpr NbPlanckBand nbpPlanckAt(double wavelength) // um
{
    const double square = wavelength * wavelength;
    const double wavenumber = 10000 / wavelength; // cm^-1
    NbPlanckBand band;
    band.wavelength.c1 = planckC1WaveLen / (square * square * wavelength);
    band.wavelength.c2 = planckC2WaveLen / wavelength;
    band.wavenumber.c1 = planckC1WaveNum * wavenumber * wavenumber * wavenumber;
    band.wavenumber.c2 = band.wavelength.c2; // h c / k per wavenumber is the same temperature
    return band;
}

// A band with its own wavelength set. The wavenumber set stands at the wavelength that c2 implies,
// with the same band correction: the width of the band weighs on both sets alike.
constexpr NbPlanckBand nbpPlanckOf(const NbPlanckSet& wavelength)
{
    NbPlanckBand band = nbpPlanckAt(planckC2WaveLen / wavelength.c2);
    band.wavelength = wavelength;
    band.wavenumber.bandC = wavelength.bandC;
    band.wavenumber.bandD = wavelength.bandD;
    return band;
}

inline constexpr int planckBandLast = 33; // the highest row that operations accept
inline constexpr NbPlanckBand noSensor = {};

// A split window, 11.42 and 10.98 um. No published sensor has just these figures.
inline constexpr NbPlanckSet splitWindow1 = {
    .c1 = 613.56523,
    .c2 = 1260.0262,
    .bandC = {2.173949, 0.97911719, 4.1759692e-05},
    .bandD = {-2.1817683, 1.0209681, -4.1969539e-05},
};
inline constexpr NbPlanckSet splitWindow2 = {
    .c1 = 747.70708,
    .c2 = 1310.8522,
    .bandC = {1.6798319, 0.98430338, 3.0608365e-05},
    .bandD = {-1.6860172, 1.0157599, -3.0757067e-05},
};

// The wavelengths of rows 8 to 11 (HRIT of the first generation, channel + 7) and 16 to 19 (second
// generation, channel + 15) are effective ones: a monochromatic sensor there has the radiances that
// the satellite's own ten-bit calibration gives for 130 K and for 300 (water vapour), 320 (3.8 um)
// or 330 K (window) within 0.2 K; only row 19 is 1.3 K off at 130 K, where its radiance has two
// digits. Rows 20 to 22 are the last three bands of Himawari in first generation HRIT (channels 13
// to 15), at their published central wavelengths (JMA, spectral response functions). Its channels
// 10 to 12 would stand at 17 to 19, which are taken: asked for there, they get another sensor's.
// Channels 5 to 9 are its solar bands B01, B02, B04, B05, B06, at rows of no sensor and at 16.
inline constexpr std::array<NbPlanckBand, 36> planckBandTable = {{
    /*  1 */ nbpPlanckOf(splitWindow1),
    /*  2 */ nbpPlanckOf(splitWindow2),
    /*  3 */ noSensor,
    /*  4 */ noSensor,
    /*  5 */ noSensor,
    /*  6 */ noSensor,
    /*  7 */ noSensor,
    /*  8 MTSAT-1R IR1 */ nbpPlanckAt(10.826),
    /*  9 MTSAT-1R IR2 */ nbpPlanckAt(12.022),
    /* 10 MTSAT-1R IR3 */ nbpPlanckAt(6.765),
    /* 11 MTSAT-1R IR4 */ nbpPlanckAt(3.795),
    /* 12 */ noSensor,
    /* 13 */ noSensor,
    /* 14 */ noSensor,
    /* 15 */ noSensor,
    /* 16 MTSAT-2 IR1 */ nbpPlanckAt(10.819),
    /* 17 MTSAT-2 IR2 */ nbpPlanckAt(11.986),
    /* 18 MTSAT-2 IR3 */ nbpPlanckAt(6.790),
    /* 19 MTSAT-2 IR4 */ nbpPlanckAt(3.752),
    /* 20 Himawari-8 band 12 */ nbpPlanckAt(9.6372),
    /* 21 Himawari-8 band 14 */ nbpPlanckAt(11.2395),
    /* 22 Himawari-8 band 16 */ nbpPlanckAt(13.2807),
    /* 23 */ noSensor,
    /* 24 */ noSensor,
    /* 25 */ noSensor,
    /* 26 */ noSensor,
    /* 27 */ noSensor,
    /* 28 */ noSensor,
    /* 29 */ noSensor,
    /* 30 */ noSensor,
    /* 31 */ noSensor,
    /* 32 */ noSensor,
    /* 33 */ noSensor,
    /* 34 */ noSensor,
    /* 35 */ noSensor,
    /* 36 */ noSensor,
}};
static_assert(planckBandTable[35 - 1].wavelength.c1 == 0 &&
              planckBandTable[22 - 1].wavelength.c1 > 0 &&
              planckBandTable[19 - 1].wavelength.c1 > 0);

// Solar irradiance of the band at one astronomical unit, in the unit that its radiance comes in.
// Rows 8 to 17 are divided by pi.
inline constexpr std::array<double, 17> irradianceTable = {
    1669.049248, 1656.610993, 1609.956067, 1661.183613, // 1 to 4, W m^-2 um^-1
    1304.930149, 1362.715046, 1495.696011,              // 5 to 7
    20.76, 23.24, 19.85, 25.11,                         // 8 to 11, MSG: 0.6, 0.8, 1.6 um, HRV;
                                                        // mW m^-2 sr^-1 (cm^-1)^-1
    641.5092, 601.9766, 519.3457, 309.3583,             // 12 to 17, Himawari bands 1 to 6;
    77.1412, 23.9163,                                   // W m^-2 sr^-1 um^-1
};
