#pragma once
/**
 * The one place where exceptions end. An operation with C linkage that allocates runs its body
 * here; nothing inside catches.
 */
#include "util/nbLogFormat.h"

#include <atomic>
#include <exception>
#include <new>

// How often memory has run out in this process, noticed here or by nbUtlMalloc and its kin. Some
// operations go on without what they could not hold, such as a line of an image; who must know
// that nothing is missing compares before and after.
inline std::atomic<long> nbpMemoryFailures = 0;

/**
 * Runs `body` and gives its result.
 *
 * @param caller    the operation's name for messages, such as "nbSatOpenObject()"
 * @param noMemory  result when memory ran out (the allocation has been logged by its allocator)
 *                  and on any other exception, which is logged here
 */
template <class Result, class Body>
Result nbpGuard(const char* caller, Result noMemory, Body&& body) noexcept
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        ++nbpMemoryFailures;
        return noMemory;
    } catch (const std::exception& e) {
        nbpLogFatal("%s : %s\n", caller, e.what());
        return noMemory;
    }
}
