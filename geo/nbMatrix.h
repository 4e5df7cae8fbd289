#ifndef NB_MATRIX_H
#define NB_MATRIX_H
/**
 * Matrices as flat row-major arrays of doubles, element (i, j) at i * columns + j, owned by the
 * caller; the dimensions go with each call. A dimension of 0 or less means nothing to do.
 */
#ifdef __cplusplus
extern "C" {
#endif

/** `rows` x `inner` times `inner` x `cols`; `out` must be neither input. */
void nbMultMat(const double* a, const double* b, int rows, int inner, int cols, double* out);
/** Sum and difference of two `rows` x `cols` matrices. */
void nbSumMat(const double* a, const double* b, int rows, int cols, double* out);
void nbSubMat(const double* a, const double* b, int rows, int cols, double* out);
/** Transpose, `cols` x `rows`; `out` must not be `a`. */
void nbTransMat(const double* a, int rows, int cols, double* out);
/** Copy of a `rows` x `cols` matrix. */
void nbCopyMat(const double* a, int rows, int cols, double* out);
/**
 * Inverse of an `n` x `n` matrix by Gauss-Jordan elimination with row pivoting.
 *
 * @return 0, or -1 when singular (`out` holds the partial elimination) or without memory
 */
int nbInvMat(const double* a, int n, double* out);

#ifdef __cplusplus
}
#endif
#endif
