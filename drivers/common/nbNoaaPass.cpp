#include "drivers/common/nbNoaaPass.h"

#include <algorithm>
#include <cstdio>

void NbNoaaRecords::countPresent(std::int64_t fileSize)
{
    const std::int64_t rest = fileSize - first - static_cast<std::int64_t>(infoLength);
    const std::int64_t whole = rest < 0 ? 0 : rest / length + 1;
    present = static_cast<int>(std::min<std::int64_t>(whole, lines));
}

bool NbNoaaRecords::read(int n, std::span<std::byte> out) const
{
    if (n < 0 || n >= present) return false;
    if (!nbpFileSeek(stream.get(), first + n * length)) return false;
    return std::fread(out.data(), 1, out.size(), stream.get()) == out.size();
}

void nbpNoaaUnpack(std::span<const std::byte> packed, std::span<std::uint16_t> counts)
{
    std::size_t n = 0;
    for (std::size_t at = 0; at + 4 <= packed.size() && n < counts.size(); at += 4) {
        const auto byte = [&](std::size_t i) {
            return std::to_integer<std::uint32_t>(packed[at + i]);
        };
        const std::uint32_t word = byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
        for (int shift = 20; shift >= 0 && n < counts.size(); shift -= 10)
            counts[n++] = static_cast<std::uint16_t>(word >> shift & 0x3FFU);
    }
}
