#pragma once
/**
 * Vectors by value, for loops that the compiler turns into vector code. nbVector.h has the same
 * operations on arrays, with the same bits.
 */
#include <cmath>

struct NbVec3 {
    double x = 0;
    double y = 0;
    double z = 0;
};

inline NbVec3 operator-(const NbVec3& a, const NbVec3& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline double nbpInner(const NbVec3& a, const NbVec3& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline NbVec3 nbpOuter(const NbVec3& a, const NbVec3& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline NbVec3 nbpUnit(const NbVec3& a)
{
    const double length = std::sqrt(nbpInner(a, a));
    return {a.x / length, a.y / length, a.z / length};
}

// Cosine of the angle between two vectors.
inline double nbpCosine(const NbVec3& a, const NbVec3& b)
{
    return nbpInner(a, b) / std::sqrt(nbpInner(a, a) * nbpInner(b, b));
}

// The angle of a cosine, radians.
inline double nbpAngleOfCosine(double cosine)
{
    // Deliberate: only the upper side is limited. Opposite vectors whose quotient is rounded below
    // -1 give not-a-number, and zero vectors 0; limited on both sides they would give pi and, in
    // the navigation, a position where there is none.
    return cosine <= 1 ? std::acos(cosine) : 0.0;
}

inline NbVec3 nbpVec3(const double* a)
{
    return {a[0], a[1], a[2]};
}

inline void nbpPut(const NbVec3& a, double* out)
{
    out[0] = a.x;
    out[1] = a.y;
    out[2] = a.z;
}

// n vectors, component by component.
template <int n>
struct NbVec3s {
    double x[n];
    double y[n];
    double z[n];

    NbVec3 at(int k) const { return {x[k], y[k], z[k]}; }
    void put(int k, const NbVec3& v)
    {
        x[k] = v.x;
        y[k] = v.y;
        z[k] = v.z;
    }
};
