#ifndef NB_LOG_H
#define NB_LOG_H
/**
 * The library's log: five levels, each with a prefix and a stream.
 *
 * Level 1 debug, 2 info, 3 warning, 4 error, 5 fatal. The prefixes are "NB_Debug: ", "NB_Info: ",
 * "NB_Warn: ", "NB_Error: " and "NB_Fatal: ". Info goes to standard output, the others to
 * standard error. Debug messages are never shown. No level ends the process.
 */
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Writes one message.
 *
 * @param level  1 to 5; others are ignored
 * @param text   the message with its own newline; it is not a format
 */
void nbLogPrint(unsigned level, const char* text);

void nbLogPrintDebug(const char* text);
void nbLogPrintInfo(const char* text);
void nbLogPrintWarn(const char* text);
void nbLogPrintError(const char* text);
void nbLogPrintFatal(const char* text);

/**
 * Sends one level's messages to `stream`, which stays the caller's. May be called before the
 * first message. A level outside 1 to 5 is ignored.
 */
void nbLogSetStream(int level, FILE* stream);

#ifdef __cplusplus
}
#endif
#endif
