#pragma once
/**
 * Calibration of the GOES-8 to GOES-12 imagers: NOAA's operational figures (NESDIS, GOES
 * calibration pages, M. Weinreb et al., Applied Optics 36, 6895, 1997).
 */
#include <iterator>

// Visible: albedo = (count m - m b) k, one row a satellite for all its detectors.
struct NbGvarVisible {
    int satellite;
    double m, k;
};
inline constexpr double gvarVisibleB = 29;
inline constexpr NbGvarVisible gvarVisible[] = {
    {8, 0.5501873, 0.00192979},  {9, 0.5492361, 0.0019418},  {10, 0.5605602, 0.00198808},
    {11, 0.5561568, 0.00201524}, {12, 0.577103, 0.00197658},
};
static_assert(std::size(gvarVisible) == 5);

// Infrared: radiance = (count - offset) / gain, mW m^-2 sr^-1 cm.
struct NbGvarScale {
    double gain, offset;
};
inline constexpr NbGvarScale gvarScales[] = {
    {227.3889, 68.2167}, // channel 1, 3.9 um
    {38.8383, 29.1287},  // channel 2, 6.75 um, GOES-12 6.48 um
    {5.2285, 15.6854},   // channel 3, 10.7 um
    {5.0273, 15.3332},   // channel 4, 12 um
};
static_assert(std::size(gvarScales) == 4);
inline constexpr NbGvarScale gvarScale13 = {5.5297, 16.5892}; // GOES-12 channel 4, 13.3 um

// Planck's law in wavenumber: T = c2 v / ln(c1 v^3 / R + 1), then bc2 T + bc1.
inline constexpr double gvarC1 = 1.191066e-05;
inline constexpr double gvarC2 = 1.438833;
struct NbGvarInfrared {
    int key;   // satellite x 100 + channel x 10 + detector
    double nu; // wavenumber, 1/cm
    double bc1, bc2;
};
inline constexpr NbGvarInfrared gvarInfrared[] = {
    {811, 2556.71, -0.578526, 1.001512},       {812, 2558.62, -0.581853, 1.001532},
    {821, 1481.91, -0.593903, 1.001418},       {831, 934.3, -0.322585, 1.001271},
    {832, 935.38, -0.351889, 1.001293},        {841, 837.06, -0.422571, 1.00117},
    {842, 837, -0.466954, 1.001257},           {911, 2555.18, -0.579908, 1.000942},
    {912, 2555.18, -0.579908, 1.000942},       {921, 1481.82, -0.493016, 1.001076},
    {931, 934.59, -0.384798, 1.001293},        {932, 934.28, -0.363703, 1.001272},
    {941, 834.02, -0.302995, 1.000941},        {942, 834.09, -0.306838, 1.000948},
    {1011, 2552.9845, -0.60584483, 1.0011017}, {1012, 2552.9845, -0.60584483, 1.0011017},
    {1021, 1486.2212, -0.61653805, 1.0014011}, {1031, 936.1026, -0.27128884, 1.0009674},
    {1032, 935.98981, -0.27064036, 1.0009687}, {1041, 830.88473, -0.26505411, 1.0009087},
    {1042, 830.89691, -0.26056452, 1.0008962}, {1111, 2562.07, -0.64479, 1.000775},
    {1112, 2562.07, -0.64479, 1.000775},       {1121, 1481.53, -0.543401, 1.001495},
    {1131, 931.76, -0.306809, 1.001274},       {1132, 931.76, -0.306809, 1.001274},
    {1141, 833.67, -0.333216, 1.001},          {1142, 833.04, -0.31511, 1.000967},
    {1211, 2562.45, -0.650731, 1.00152},       {1212, 2562.45, -0.650731, 1.00152},
    {1221, 1536.43, -4.764728, 1.01242},       {1231, 933.21, -0.360331, 1.001306},
    {1232, 933.21, -0.360331, 1.001306},       {1241, 751.91, -0.253449, 1.000743},
};
static_assert(std::size(gvarInfrared) == 34); // seven a satellite, six of GOES-12
