#ifndef NB_UTL_STRING_H
#define NB_UTL_STRING_H
/**
 * Tokens, and small text files of keys and values.
 *
 * The readers take the whole file from its start at every call. Results: 0 the key occurred once,
 * 1 more than once, 2 not at all, 3 failure (a null argument, no memory, a bad type).
 * `mode` 1: the first occurrence wins; any other: the last.
 *
 * Lines come in pieces as long as the longest line that ends in a newline, its newline not
 * counted. So a last line without a newline that is longer than all others reads as several
 * lines, and a file whose only line has no newline holds no key.
 */
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Next token of a string, which it cuts up with NULs.
 *
 * @param s       the string at the first call, then null to go on from `*save`
 * @param delims  characters that stand between tokens; leading ones are skipped
 * @param save    where to go on; null in it when the string is used up
 * @return the token, or null when there is none
 */
char* nbUtlStrtok_r(char* s, const char* delims, char** save);

/**
 * Text of a key: the second of the words that "=", blanks, commas and newlines separate, on a line
 * whose first word is `key`. The rest of the line is ignored.
 *
 * @param value  a copy that goes back through nbUtlFree; null when no line gave one, which is the
 *               case also for a key without a value
 */
int getCharParam(FILE* f, const char* key, int mode, char** value);

/** Kinds of value of nbUtlGetParam, with what `dest` points to. */
enum {
    NB_PARAM_TEXT = 0,  /* char array with room for the longest line of the file */
    NB_PARAM_INT8 = 1,  /* int8_t, the low bits of the number */
    NB_PARAM_INT16 = 2, /* int16_t, likewise */
    NB_PARAM_INT32 = 3, /* int32_t; beyond its range the nearest end */
    NB_PARAM_LONG = 4,  /* int32_t, likewise */
    NB_PARAM_INT64 = 5, /* int64_t, likewise */
    NB_PARAM_FLOAT = 6, /* float */
    NB_PARAM_DOUBLE = 7 /* double */
};

/**
 * Value of a key, as found by getCharParam. What is no number reads as 0.
 *
 * `dest` stays as it was on 2 and 3, so a default survives. A key without a value counts as not
 * there (2).
 *
 * @param retType  one of NB_PARAM_...; another is told on standard error and gives 3
 */
int nbUtlGetParam(FILE* f, const char* key, void* dest, int retType, int mode);

/**
 * Further fields of the line whose first field is `item`. A line with nothing behind `item` is
 * logged as a warning and does not count.
 *
 * @param delims  characters between fields; several in a row count as one
 * @param values  buffers of the caller, as many and as long as a line of the file can fill
 * @param count   fields on the last line of `item`. In mode 1 a line after the first copies
 *                nothing and sets it to 0, while `values` keeps the first line's fields
 */
int nbUtlGetCsvItem(FILE* f, const char* item, const char* delims, char** values, int* count,
                    int mode);

#ifdef __cplusplus
}
#endif
#endif
