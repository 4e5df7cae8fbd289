#ifndef NB_VECTOR_H
#define NB_VECTOR_H
/**
 * Three-dimensional vectors: arrays of three doubles, owned by the caller.
 */
#ifdef __cplusplus
extern "C" {
#endif

/** `a` divided by its length; `out` may be `a`. A zero vector gives not-a-numbers. */
void nbVectorUnit(const double* a, double* out);
/** a x b; `out` must be neither input. */
void nbVectorOuterProduct(const double* a, const double* b, double* out);
/** a x b divided by its length; `out` must be neither input. */
void nbVectorOuterProductUnit(const double* a, const double* b, double* out);

double nbVectorInnerProduct(const double* a, const double* b);
double nbVectorMag(const double* a);
/** Squared length. */
double nbVectorMag2(const double* a);
/** Angle between two vectors in radians, 0 to pi. */
double nbVectorAngle(const double* a, const double* b);
/**
 * Angle of `a` around `axis`, counted from `ref`, in radians, 0 to 2 pi. 0 when `a` or `ref` is
 * parallel to `axis`.
 */
double nbVectorAzimuthAngle(const double* a, const double* axis, const double* ref);

#ifdef __cplusplus
}
#endif
#endif
