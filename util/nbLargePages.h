#pragma once
/**
 * Pages of the larger kind, in which nbUtlMalloc and nbUtlCalloc ask for large blocks. What begins
 * and ends with such pages has none of the small ones at its ends.
 */
#include <cstddef>
#include <cstdint>

inline constexpr std::size_t nbpLargePage = std::size_t{2} << 20; // bytes

// The address from which on a block can have large pages.
inline std::uintptr_t nbpFirstLargePage(const void* block)
{
    return (reinterpret_cast<std::uintptr_t>(block) + nbpLargePage - 1) / nbpLargePage *
           nbpLargePage;
}
