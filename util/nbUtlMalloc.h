#ifndef NB_UTL_MALLOC_H
#define NB_UTL_MALLOC_H
/**
 * Allocation with a log line on failure. Memory that crosses the C interface comes from here and
 * goes back through nbUtlFree.
 *
 * `caller` names the asking operation in messages, such as "nbInvMat()". A failure logs at fatal
 * level and gives null; the process goes on.
 */
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

void* nbUtlMalloc(size_t size, const char* caller);
void* nbUtlCalloc(size_t count, size_t size, const char* caller);
void* nbUtlRealloc(void* old, size_t size, const char* caller);
/** Null is ignored. */
void nbUtlFree(void* p);

#ifdef __cplusplus
}
#endif
#endif
