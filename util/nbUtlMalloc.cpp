#include "util/nbUtlMalloc.h"

#include "util/nbGuard.h"
#include "util/nbLargePages.h"
#include "util/nbLogFormat.h"

#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>

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

// Asks for large pages where a block holds some. Taking memory page by page costs more than what
// most conversions compute; a system that has none ignores the wish. Not for the largest blocks: a
// virtual machine may have to get so many large pages back from its host first.
void* inLargePages(void* p, std::size_t size)
{
    constexpr std::size_t most = std::size_t{48} << 20;
    if (p == nullptr || size < 2 * nbpLargePage || size > most) return p;
#ifdef MADV_HUGEPAGE // Linux alone has it
    const auto start = reinterpret_cast<std::uintptr_t>(p);
    const std::uintptr_t first = nbpFirstLargePage(p);
    const std::uintptr_t last = (start + size) / nbpLargePage * nbpLargePage;
    madvise(static_cast<char*>(p) + (first - start), last - first, MADV_HUGEPAGE);
#endif
    return p;
}
} // namespace

void* nbUtlMalloc(std::size_t size, const char* caller)
{
    if (tracing())
        nbpLogDebug("%s : %s : malloc( %lu byte )\n", "nbUtlMalloc()", caller, logSize(size));
    void* p = inLargePages(counted(std::malloc(size)), size);
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
    // A product that does not fit is refused.
    void* p = inLargePages(counted(std::calloc(count, size)), count * size);
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
