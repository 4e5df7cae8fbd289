#include "tests/support/allocFailure.h"

#include <cstddef>
#include <cstdlib>
#include <new>

// The linker turns each call of malloc into one of __wrap_malloc, and __real_malloc into the
// function proper.
extern "C" {
void* __real_malloc(std::size_t size);                    // NOLINT: the linker's names
void* __real_calloc(std::size_t count, std::size_t size); // NOLINT
void* __real_realloc(void* old, std::size_t size);        // NOLINT
void* __wrap_malloc(std::size_t size);                    // NOLINT
void* __wrap_calloc(std::size_t count, std::size_t size); // NOLINT
void* __wrap_realloc(void* old, std::size_t size);        // NOLINT
}

namespace {

bool counting = false;
int failAt = 0;
int counted = 0;

// Counts one allocation; true for the one that fails.
bool fails()
{
    return counting && ++counted == failAt;
}

void* allocate(std::size_t size, std::size_t alignment = 0)
{
    if (fails()) return nullptr;
    if (size == 0) size = 1;
    if (alignment == 0) return __real_malloc(size);
    return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void* allocateOrThrow(std::size_t size, std::size_t alignment = 0)
{
    void* p = allocate(size, alignment);
    if (p == nullptr) throw std::bad_alloc();
    return p;
}

} // namespace

AllocFailure::AllocFailure(int k)
{
    failAt = k;
    counted = 0;
    counting = true;
}

AllocFailure::~AllocFailure()
{
    stop();
}

void AllocFailure::stop()
{
    counting = false;
}

bool AllocFailure::fired() const
{
    return failAt > 0 && counted >= failAt;
}

int AllocFailure::count() const
{
    return counted;
}

void* __wrap_malloc(std::size_t size)
{
    return fails() ? nullptr : __real_malloc(size);
}

void* __wrap_calloc(std::size_t count, std::size_t size)
{
    return fails() ? nullptr : __real_calloc(count, size);
}

void* __wrap_realloc(void* old, std::size_t size)
{
    return fails() ? nullptr : __real_realloc(old, size);
}

// Every form is here, so that none pairs with the sanitizer's own.
void* operator new(std::size_t size)
{
    return allocateOrThrow(size);
}

void* operator new[](std::size_t size)
{
    return allocateOrThrow(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size);
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}

void* operator new[](std::size_t size, std::align_val_t alignment)
{
    return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}

void operator delete(void* p, const std::nothrow_t&) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::align_val_t) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t, std::align_val_t) noexcept
{
    std::free(p);
}

void operator delete[](void* p) noexcept
{
    std::free(p);
}

void operator delete[](void* p, std::size_t) noexcept
{
    std::free(p);
}

void operator delete[](void* p, const std::nothrow_t&) noexcept
{
    std::free(p);
}

void operator delete[](void* p, std::align_val_t) noexcept
{
    std::free(p);
}

void operator delete[](void* p, std::size_t, std::align_val_t) noexcept
{
    std::free(p);
}
