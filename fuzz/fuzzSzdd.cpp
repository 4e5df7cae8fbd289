// Any bytes through the compressor and back through an expander of this file's own.
#include "frontend/comp.h"

#include <array>
#include <cstdlib>
#include <span>
#include <string_view>
#include <vector>

namespace {

// The bytes of a container; a bad one ends the run.
std::vector<std::uint8_t> expand(std::span<const std::uint8_t> in)
{
    constexpr std::size_t headerSize = 14;
    constexpr std::string_view mark = "SZDD\x88\xF0\x27\x33"
                                      "A";
    if (in.size() < headerSize) std::abort();
    for (std::size_t i = 0; i < mark.size(); ++i)
        if (in[i] != static_cast<std::uint8_t>(mark[i])) std::abort();
    const std::size_t size = in[10] + in[11] * 0x100U + in[12] * 0x10000U + in[13] * 0x1000000U;

    std::array<std::uint8_t, 4096> ring{};
    ring.fill(' ');
    std::size_t at = ring.size() - 16;
    std::vector<std::uint8_t> out;
    const auto put = [&](std::uint8_t byte) {
        out.push_back(byte);
        ring[at] = byte;
        at = (at + 1) % ring.size();
    };
    std::size_t next = headerSize;
    const auto take = [&]() -> unsigned {
        if (next >= in.size()) std::abort(); // cut in the middle of a group
        return in[next++];
    };
    while (next < in.size()) {
        const unsigned flags = take();
        for (unsigned item = 0; item < 8 && next < in.size(); ++item) {
            if ((flags >> item & 1U) != 0) {
                put(static_cast<std::uint8_t>(take()));
                continue;
            }
            const unsigned low = take();
            const unsigned high = take();
            for (std::size_t i = 0; i < (high & 15U) + 3; ++i)
                put(ring[(low + (high >> 4) * 256 + i) % ring.size()]);
        }
    }
    if (out.size() != size) std::abort();
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    char* text = nullptr;
    std::size_t length = 0;
    std::FILE* const file = open_memstream(&text, &length);
    if (file == nullptr) return 0;
    const int result = compress(data, static_cast<std::uint32_t>(size), file);
    std::fclose(file);
    const std::vector<std::uint8_t> packed(text, text + length);
    std::free(text);
    const std::vector<std::uint8_t> expected(data, data + size);
    if (result != 0 || expand(packed) != expected) std::abort();
    return 0;
}
