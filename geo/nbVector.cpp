#include "geo/nbVector.h"

#include <cmath>

void nbVectorUnit(const double* a, double* out)
{
    const double length = nbVectorMag(a);
    out[0] = a[0] / length;
    out[1] = a[1] / length;
    out[2] = a[2] / length;
}

void nbVectorOuterProduct(const double* a, const double* b, double* out)
{
    out[0] = a[1] * b[2] - a[2] * b[1];
    out[1] = a[2] * b[0] - a[0] * b[2];
    out[2] = a[0] * b[1] - a[1] * b[0];
}

void nbVectorOuterProductUnit(const double* a, const double* b, double* out)
{
    nbVectorOuterProduct(a, b, out);
    nbVectorUnit(out, out);
}

double nbVectorInnerProduct(const double* a, const double* b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

double nbVectorMag(const double* a)
{
    return std::sqrt(nbVectorMag2(a));
}

double nbVectorMag2(const double* a)
{
    return a[0] * a[0] + a[1] * a[1] + a[2] * a[2];
}

double nbVectorAngle(const double* a, const double* b)
{
    const double product = nbVectorInnerProduct(a, b);
    const double lengths = std::sqrt(nbVectorMag2(a) * nbVectorMag2(b));
    const double cosine = product / lengths;
    // Deliberate: only the upper side is limited. Opposite vectors whose quotient is rounded below
    // -1 give not-a-number, and zero vectors 0; limited on both sides they would give pi and, in
    // the navigation, a position where there is none.
    return cosine <= 1 ? std::acos(cosine) : 0.0;
}

double nbVectorAzimuthAngle(const double* a, const double* axis, const double* ref)
{
    constexpr double twoPi = 6.283185307179586;
    double p[3];
    nbVectorOuterProduct(ref, axis, p);
    if (nbVectorMag2(p) == 0) return 0.0;
    double q[3];
    nbVectorOuterProduct(a, axis, q);
    if (nbVectorMag(q) == 0) return 0.0;
    nbVectorUnit(q, q);
    double w[3];
    nbVectorOuterProduct(p, q, w);
    const double angle = nbVectorAngle(p, q);
    return nbVectorInnerProduct(w, axis) > 0 ? twoPi - angle : angle;
}
