#include "tools/view/szdd.h"

#include "util/nbCursor.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace nbView {
namespace {

constexpr std::array<unsigned char, 9> magic = {'S', 'Z', 'D', 'D', 0x88, 0xF0, 0x27, 0x33, 'A'};
constexpr std::size_t ringSize = 4096;
constexpr std::size_t ringStart = ringSize - 16; // where writing begins; all before is blanks

} // namespace

bool isSzdd(std::span<const std::byte> file)
{
    return file.size() >= 8 &&
           std::equal(magic.begin(), magic.begin() + 8, file.begin(),
                      [](unsigned char a, std::byte b) { return std::byte{a} == b; });
}

std::vector<std::byte> expandSzdd(std::span<const std::byte> file)
{
    NbCursor in(file, NbByteOrder::Little);
    in.skip(8);
    const auto method = in.get<std::uint8_t>();
    in.skip(1); // last character of the file's name
    const std::uint64_t size = in.get<std::uint32_t>();
    if (!in.ok() || method != magic[8]) throw std::runtime_error("unknown SZDD header");
    // A group of 17 bytes holds eight matches of at most 18 bytes.
    if (size > (in.remaining() / 17 + 1) * 8 * 18)
        throw std::runtime_error("the SZDD header says " + std::to_string(size) + " bytes, " +
                                 std::to_string(in.remaining()) + " bytes cannot hold them");

    std::vector<std::byte> out;
    out.reserve(size);
    std::array<std::byte, ringSize> ring;
    ring.fill(std::byte{' '});
    std::size_t at = ringStart;
    const auto put = [&](std::byte byte) {
        out.push_back(byte);
        ring[at] = byte;
        at = (at + 1) % ringSize;
    };
    unsigned flags = 1; // the bit above the last flag marks the end of a group
    while (out.size() < size) {
        if (flags == 1) flags = in.get<std::uint8_t>() | 0x100U;
        const bool literal = (flags & 1) != 0;
        flags >>= 1;
        if (literal) {
            put(std::byte{in.get<std::uint8_t>()});
        } else {
            const unsigned low = in.get<std::uint8_t>();
            const unsigned high = in.get<std::uint8_t>();
            std::size_t from = low | (high & 0xF0) << 4;
            for (unsigned n = (high & 0x0F) + 3; n > 0 && out.size() < size; --n) {
                put(ring[from]);
                from = (from + 1) % ringSize;
            }
        }
        if (!in.ok())
            throw std::runtime_error("the SZDD stream ends after " + std::to_string(out.size()) +
                                     " of " + std::to_string(size) + " bytes");
    }
    return out;
}

} // namespace nbView
