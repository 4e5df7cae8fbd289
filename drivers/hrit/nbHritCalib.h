#pragma once
/**
 * Radiances at the two ends of ten-bit files, W m^-2 sr^-1 um^-1: count 0 and the highest count of
 * channels 0 to 4 (VIS, IR1 to IR4). The infrared ends belong to 330 and 130 K (IR1, IR2), 300 and
 * 130 K (IR3), 320 and 130 K (IR4). The high end of channel 0 is also the radiance of an albedo of
 * 1, for files with a table of albedo.
 */
#include <array>

struct NbHritRadianceEnds {
    double low;
    double high;
};

inline constexpr std::array<std::array<NbHritRadianceEnds, 5>, 2> hritRadianceEnds = {{
    // generation 1, MTSAT-1R
    {{{-0.43555903, 435.55905},
      {14.53283, 0.029055},
      {12.963168, 0.047632},
      {6.98509, 0.000661},
      {1.082384, 0.0}}},
    // generation 2, MTSAT-2
    {{{-0.47690356, 476.90356},
      {14.541536, 0.028997},
      {13.013632, 0.047068},
      {7.0410504, 0.0006891},
      {1.0005364, 3.3e-08}}},
}};
