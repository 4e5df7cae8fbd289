#pragma once
/**
 * Infrared constants of NOAA-14: corrections for the response of the detectors, and central
 * wavenumbers for four ranges of temperature. Source: NOAA Polar Orbiter Data User's Guide,
 * November 1998 revision, the tables of NOAA-14.
 */
#include <array>

inline constexpr int ngacv1ThermalSatellite = 14;

struct NbNgacv1Thermal {
    int channel;
    // Radiance as told by the straight line to true radiance: a s^2 + b s + c.
    double b;
    double a;
    double c;
    std::array<double, 4> wavenumber; // cm^-1, by range of temperature
};

inline constexpr std::array<NbNgacv1Thermal, 3> ngacv1Thermal = {{
    {2, 1.00359, 0, -0.0031, {2638.652, 2642.807, 2645.899, 2647.169}},
    {3, 0.92378, 0.0003822, 3.72, {928.2603, 928.8284, 929.3323, 929.5878}},
    {4, 0.96194, 0.0001742, 2, {834.4496, 834.8066, 835.1647, 835.374}},
}};

// Upper ends of the first three ranges, kelvin.
inline constexpr std::array<double, 3> ngacv1RangeEnds = {230.0, 270.0, 310.0};
