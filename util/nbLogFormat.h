#pragma once
/**
 * Formatted messages for the library itself. Each formats into a buffer of 256 bytes, cut at a
 * whole UTF-8 character, and hands the text to nbLogPrint. The text brings its own newline,
 * which a cut keeps. A path or a name from outside is always an argument, never the format.
 */
#ifdef __cplusplus
extern "C" {
#endif

void nbpLogDebug(const char* format, ...) __attribute__((format(printf, 1, 2)));
void nbpLogInfo(const char* format, ...) __attribute__((format(printf, 1, 2)));
void nbpLogWarn(const char* format, ...) __attribute__((format(printf, 1, 2)));
void nbpLogError(const char* format, ...) __attribute__((format(printf, 1, 2)));
void nbpLogFatal(const char* format, ...) __attribute__((format(printf, 1, 2)));

/** Lowest level that is shown: 2, or 0 while no message has come yet. */
unsigned nbpLogLevel(void);

#ifdef __cplusplus
}
#endif
