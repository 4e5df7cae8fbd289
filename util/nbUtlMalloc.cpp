#include "util/nbUtlMalloc.h"

#include "util/nbGuard.h"
#include "util/nbLogFormat.h"

#include <cstdint>
#include <cstdlib>

// Every attempt is traced as a debug message while the log shows debug messages. It stops
// showing them with its first message, so in practice the trace of the first allocation of a run
// is what sets up the log, and nothing of it is seen.
//
// Deliberate: the texts of nbUtlRealloc name nbUtlMalloc, its trace says malloc, and the failure
// of nbUtlCalloc says malloc. Scripts that search logs know them so; mended, they miss failures.

namespace {
// Widths of the log's %lu and %lx.
unsigned long logSize(std::size_t size)
{
    return static_cast<unsigned long>(size);
}

unsigned long logPointer(const void* p)
{
    return static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(p));
}

bool tracing()
{
    return nbpLogLevel() < 2;
}

void* counted(void* p)
{
    if (p == nullptr) ++nbpMemoryFailures;
    return p;
}
} // namespace

void* nbUtlMalloc(std::size_t size, const char* caller)
{
    if (tracing())
        nbpLogDebug("%s : %s : malloc( %lu byte )\n", "nbUtlMalloc()", caller, logSize(size));
    void* p = counted(std::malloc(size));
    if (p == nullptr)
        nbpLogFatal("%s : %s : malloc( %lu byte ) is failed\n", "nbUtlMalloc()", caller,
                    logSize(size));
    return p;
}

void* nbUtlCalloc(std::size_t count, std::size_t size, const char* caller)
{
    if (tracing())
        nbpLogDebug("%s : %s : calloc( %lu byte )\n", "nbUtlCalloc()", caller,
                    logSize(count * size));
    void* p = counted(std::calloc(count, size)); // refuses a product that does not fit
    if (p == nullptr)
        nbpLogFatal("%s : %s : malloc( %lu byte ) is failed\n", "nbUtlCalloc()", caller,
                    logSize(count * size));
    return p;
}

void* nbUtlRealloc(void* old, std::size_t size, const char* caller)
{
    if (tracing())
        nbpLogDebug("%s : %s : malloc( %lu byte )\n", "nbUtlMalloc()", caller, logSize(size));
    const unsigned long oldAddress = logPointer(old);
    void* p = counted(std::realloc(old, size));
    if (p == nullptr)
        nbpLogFatal("%s : %s : realloc( %lu byte at %lx ) is failed\n", "nbUtlMalloc()", caller,
                    logSize(size), oldAddress);
    return p;
}

void nbUtlFree(void* p)
{
    if (p == nullptr) return;
    if (tracing()) nbpLogDebug("%s : free( %lx )\n", "nbUtlFree()", logPointer(p));
    std::free(p);
}
