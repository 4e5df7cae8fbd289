#ifndef NB_REAL_H
#define NB_REAL_H
/**
 * IBM hexadecimal floating point to IEEE and back.
 *
 * A word is in the machine's own byte order: who reads one from a big-endian file has swapped it
 * already. Top byte: sign, then an exponent of 16 biased by 64; the other 3 or 7 bytes are a
 * fraction below 1. Buffers need no alignment.
 */
#ifdef __cplusplus
extern "C" {
#endif

/** Value of the word at `src`, rounded to float; infinite beyond a float's range. */
float nbReal4IbmToIeee(const void* src);
double nbReal8IbmToIeee(const void* src);

/** `n` words to values, in place. */
void nbReal4IbmToIeeeN(float* data, int n);
void nbReal8IbmToIeeeN(double* data, int n);

/**
 * One value to an IBM word, in place; bits that do not fit are cut off. A negative zero loses its
 * sign. Infinities and not-a-numbers stay as they are; the 4-byte form logs them as an error, the
 * 8-byte form is silent. A double beyond the IBM range (about 5.4e-79 to 7.2e75) comes out with a
 * wrong exponent.
 */
void nbReal4IeeeToIbm(void* data);
void nbReal8IeeeToIbm(void* data);

#ifdef __cplusplus
}
#endif
#endif
