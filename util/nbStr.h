#ifndef NB_STR_H
#define NB_STR_H
/**
 * Character fields: EBCDIC, Fortran and C strings.
 *
 * The caller owns all buffers but the result of nbStrFortranToC. A length below 0 counts as 0. The
 * two for Fortran fields take a null pointer for a field of length 0.
 */
#ifdef __cplusplus
extern "C" {
#endif

/** Convert at most `n` bytes in place; they stop behind a byte that becomes NUL. */
void nbStrEbcdicToAscii(char* s, int n);
void nbStrAsciiToEbcdic(char* s, int n);

/**
 * Copies `src`, at most `n` bytes of it, and ends the copy with NUL: `dst` needs n + 1 bytes.
 *
 * @return `dst`
 */
char* nbStrncpy(char* dst, const char* src, int n);

/**
 * The `n` bytes of a blank-padded field as a string without its trailing blanks.
 *
 * @return a new string that goes back through nbUtlFree; null without memory (logged)
 */
char* nbStrFortranToC(const char* s, int n);

/**
 * Fills a field of `n` bytes with blanks behind its NUL. The NUL itself stays, so the field still
 * reads as the C string it was; a field without NUL stays as it is.
 *
 * @return `s`
 */
char* nbStrCToFortran(char* s, int n);

/** Change the case of the ASCII letters of `s` in place, and return it. */
char* nbStrToUpper(char* s);
char* nbStrToLower(char* s);

/**
 * Copies at most `len` bytes of `src` from index `start`, which must lie in the string, and fills
 * up with NUL: `dst` needs len + 1 bytes.
 *
 * @return `dst`
 */
char* nbStrSubStr(const char* src, int start, int len, char* dst);

#ifdef __cplusplus
}
#endif
#endif
