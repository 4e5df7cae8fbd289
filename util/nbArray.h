#pragma once
/**
 * std::vector whose memory comes from nbUtlMalloc, for containers whose size comes from a file
 * or a grid: a failure then logs its caller and its byte count before it becomes bad_alloc.
 */
#include "util/nbUtlMalloc.h"

#include <cstddef>
#include <limits>
#include <new>
#include <vector>

template <class T>
struct NbAllocator {
    using value_type = T;
    const char* caller; // operation named in the failure message; a literal

    explicit NbAllocator(const char* name) noexcept : caller(name) {}
    template <class U>
    NbAllocator(const NbAllocator<U>& other) noexcept // NOLINT: rebinding is implicit
        : caller(other.caller)
    {
    }
    T* allocate(std::size_t n)
    {
        if (n > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_alloc();
        void* p = nbUtlMalloc(n * sizeof(T), caller);
        if (p == nullptr) throw std::bad_alloc();
        return static_cast<T*>(p);
    }
    void deallocate(T* p, std::size_t) noexcept { nbUtlFree(p); }
    template <class U>
    bool operator==(const NbAllocator<U>&) const noexcept
    {
        return true; // all memory goes back through nbUtlFree
    }
};

// Made with the caller's name: NbArray<float> table(n, 0.0F, NbAllocator<float>("nbXxx()")).
template <class T>
using NbArray = std::vector<T, NbAllocator<T>>;
