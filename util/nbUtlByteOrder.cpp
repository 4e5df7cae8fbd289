#include "util/nbUtlByteOrder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {
// Image lines are 16-bit items: four of them are swapped at a time.
void swap16(unsigned char* data, std::size_t count)
{
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        std::uint64_t four;
        std::memcpy(&four, data + 2 * i, sizeof four);
        four = ((four & 0x00FF00FF00FF00FFU) << 8) | ((four >> 8) & 0x00FF00FF00FF00FFU);
        std::memcpy(data + 2 * i, &four, sizeof four);
    }
    for (; i < count; ++i)
        std::swap(data[2 * i], data[2 * i + 1]);
}

void swap32(unsigned char* data, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t item;
        std::memcpy(&item, data + 4 * i, sizeof item);
        item = __builtin_bswap32(item);
        std::memcpy(data + 4 * i, &item, sizeof item);
    }
}
} // namespace

int nbUtlGetCpuByteOrder()
{
    const std::uint32_t one = 1;
    unsigned char bytes[4];
    std::memcpy(bytes, &one, sizeof bytes);
    if (bytes[0] == 1) return 0;
    return bytes[3] == 1 ? 1 : -1;
}

void nbUtlSwapBytes(void* data, int itemSize, int itemCount)
{
    if (itemSize < 2 || itemCount < 1) return;
    auto* bytes = static_cast<unsigned char*>(data);
    const auto size = static_cast<std::size_t>(itemSize);
    const auto count = static_cast<std::size_t>(itemCount);
    if (size == 2) return swap16(bytes, count);
    if (size == 4) return swap32(bytes, count);
    for (std::size_t i = 0; i < count; ++i)
        std::reverse(bytes + i * size, bytes + (i + 1) * size);
}
