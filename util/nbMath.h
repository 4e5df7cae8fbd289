#ifndef NB_MATH_H
#define NB_MATH_H
/**
 * Rounding to a decimal place.
 */
#ifdef __cplusplus
extern "C" {
#endif

/**
 * Rounds `x` to a multiple of 10 to the power `digits` + 1: -1 gives whole numbers, 1 hundreds,
 * -3 hundredths.
 *
 * An exact half goes up, to the greater neighbour. A negative `x` goes up also a little below the
 * half: down only where it is 0.6 of a step or more from the greater neighbour.
 */
double nbMathRound(double x, int digits);

#ifdef __cplusplus
}
#endif
#endif
