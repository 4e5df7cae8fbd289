#include "geo/nbVector.h"

#include "geo/nbVec3.h"

#include <cmath>

void nbVectorUnit(const double* a, double* out)
{
    nbpPut(nbpUnit(nbpVec3(a)), out);
}

void nbVectorOuterProduct(const double* a, const double* b, double* out)
{
    nbpPut(nbpOuter(nbpVec3(a), nbpVec3(b)), out);
}

void nbVectorOuterProductUnit(const double* a, const double* b, double* out)
{
    nbpPut(nbpUnit(nbpOuter(nbpVec3(a), nbpVec3(b))), out);
}

double nbVectorInnerProduct(const double* a, const double* b)
{
    return nbpInner(nbpVec3(a), nbpVec3(b));
}

double nbVectorMag(const double* a)
{
    return std::sqrt(nbVectorMag2(a));
}

double nbVectorMag2(const double* a)
{
    return nbpInner(nbpVec3(a), nbpVec3(a));
}

double nbVectorAngle(const double* a, const double* b)
{
    return nbpAngleOfCosine(nbpCosine(nbpVec3(a), nbpVec3(b)));
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
