#pragma once
/**
 * The line of sight of a pixel: from its detector's ray over the two mirrors and through the
 * corrections. For loops over columns, which the compiler turns into vector code: what the file
 * has for a column comes as anything with [i].
 */
#include "drivers/rdat/nbRdatFile.h"
#include "geo/nbVec3.h"

#include <cmath>

// Two angles of a line of sight, radians.
struct NbRdatAngles {
    double east = 0;
    double north = 0;
};

// The ray of a line's detector before the mirrors.
inline NbVec3 nbpRdatRay(const NbRdatLine& line)
{
    const double a = line.rayEast;
    const double b = line.rayNorth;
    return {-std::cos(a) * std::cos(b), -std::sin(a) * std::cos(b), std::sin(-b)};
}

// The ray thrown back by the two mirrors of a column.
template <class Normal>
NbVec3 nbpRdatThrownBack(const Normal& n1, const Normal& n2, NbVec3 v)
{
    const double d1 = 2 * (-v.x * n1[0] - v.y * n1[1]);
    v.x += d1 * n1[0];
    v.y += d1 * n1[1];
    const double d2 = 2 * (-v.y * n2[0] - v.z * n2[1]);
    v.y += d2 * n2[0];
    v.z += d2 * n2[1];
    return v;
}

// How far a small misalignment moves a line of sight: p[0] to p[2] turn it about x, y and z,
// p[3] and p[4] stretch the north and east angle, p[5] leans the mirrors' axes, p[6] and p[7]
// are keystones, p[8] and p[9] shift north and east.
template <class Parameters>
NbRdatAngles nbpRdatMisalignment(const Parameters& p, const NbRdatAngles& los)
{
    const double e = los.east;
    const double n = los.north;
    return {.east = p[1] + p[2] * n + p[4] * e + p[7] * n * e + p[9],
            .north = p[0] - p[2] * e + p[3] * n + p[5] * e + p[6] * n * e + p[8]};
}

// A distortion of second order in the angles.
template <class Parameters>
NbRdatAngles nbpRdatPolynomial(const Parameters& c, double x, double y)
{
    return {.east = c[9] * x * y + c[8] * x + c[7] * y + c[6] + c[10] * (y * y) + c[11] * (x * x),
            .north = c[5] * (x * x) + c[4] * (y * y) + c[3] * x * y + c[2] * x + c[1] * y + c[0]};
}
