#pragma once
/**
 * Counts of ten bits, most significant first: four counts in five bytes.
 */
#include <cstddef>
#include <cstdint>
#include <span>

// Fills `counts`. Where the bytes end in the middle of a count its missing bits are 0, and so are
// the counts behind it.
inline void nbpUnpack10(std::span<const std::byte> packed, std::span<std::uint16_t> counts)
{
    const auto word = [](std::byte b) { return std::to_integer<unsigned>(b); };
    const std::size_t groups =
        packed.size() / 5 < counts.size() / 4 ? packed.size() / 5 : counts.size() / 4;
    const std::byte* b = packed.data();
    std::uint16_t* p = counts.data();
    for (std::size_t i = 0; i < groups; ++i, b += 5, p += 4) {
        p[0] = static_cast<std::uint16_t>(word(b[0]) << 2 | word(b[1]) >> 6);
        p[1] = static_cast<std::uint16_t>((word(b[1]) & 63) << 4 | word(b[2]) >> 4);
        p[2] = static_cast<std::uint16_t>((word(b[2]) & 15) << 6 | word(b[3]) >> 2);
        p[3] = static_cast<std::uint16_t>((word(b[3]) & 3) << 8 | word(b[4]));
    }
    // A last group that is not whole.
    const auto at = [&](std::size_t i) { return i < packed.size() ? word(packed[i]) : 0U; };
    for (std::size_t k = groups * 4; k < counts.size(); ++k) {
        const std::size_t first = k * 10 / 8;
        const unsigned pair = at(first) << 8 | at(first + 1);
        counts[k] = static_cast<std::uint16_t>(pair >> (6 - k * 10 % 8) & 1023);
    }
}
