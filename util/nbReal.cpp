#include "util/nbReal.h"

#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace {
template <class Word>
Word load(const void* p)
{
    Word word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

// The exponent of 16, unbiased, of a word's top byte.
int exponentOf16(unsigned topByte)
{
    return static_cast<int>(topByte & 0x7FU) - 64;
}

double signedLike(unsigned topByte, double size)
{
    return (topByte & 0x80U) != 0 ? -size : size;
}
} // namespace

float nbReal4IbmToIeee(const void* src)
{
    const auto word = load<std::uint32_t>(src);
    const unsigned top = word >> 24;
    const double fraction = word & 0x00FFFFFFU; // in units of 2^-24
    return nbpToFloat(signedLike(top, std::ldexp(fraction, 4 * exponentOf16(top) - 24)));
}

double nbReal8IbmToIeee(const void* src)
{
    const auto word = load<std::uint64_t>(src);
    const auto top = static_cast<unsigned>(word >> 56);
    // In units of 2^-56; the conversion rounds 56 bits to a double's 53.
    const auto fraction = static_cast<double>(word & 0x00FFFFFFFFFFFFFFU);
    return signedLike(top, std::ldexp(fraction, 4 * exponentOf16(top) - 56));
}

void nbReal4IbmToIeeeN(float* data, int n)
{
    for (int i = 0; i < n; ++i)
        data[i] = nbReal4IbmToIeee(data + i);
}

void nbReal8IbmToIeeeN(double* data, int n)
{
    for (int i = 0; i < n; ++i)
        data[i] = nbReal8IbmToIeee(data + i);
}

void nbReal4IeeeToIbm(void* data)
{
    auto word = load<std::uint32_t>(data);
    const std::uint32_t sign = word & 0x80000000U;
    const std::uint32_t biased = (word >> 23) & 0xFFU;
    std::uint32_t fraction = word & 0x007FFFFFU;
    int e = -126; // of a denormal, which has no hidden bit
    if (biased == 0) {
        if (fraction == 0) {
            std::memset(data, 0, sizeof word);
            return;
        }
    } else if (biased == 255) {
        nbpLogError("%s : Not a Number\n", "nbReal4IeeeToIbm()");
        return;
    } else {
        fraction |= 0x00800000U;
        e = static_cast<int>(biased) - 127;
    }
    // The 24 bits are a fraction with 2^(e + 1); the exponent goes up to the next multiple of 4.
    const int rest = e % 4;
    const int shift = rest < 0 ? -rest : 4 - rest;
    const auto exponent = static_cast<std::uint32_t>((e + shift) / 4 + 64);
    word = sign | exponent << 24 | fraction >> (shift - 1);
    std::memcpy(data, &word, sizeof word);
}

void nbReal8IeeeToIbm(void* data)
{
    auto word = load<std::uint64_t>(data);
    const std::uint64_t sign = word & 0x8000000000000000U;
    const std::uint64_t biased = (word >> 52) & 0x7FFU;
    std::uint64_t fraction = word & 0x000FFFFFFFFFFFFFU;
    int e = -1022; // of a denormal, which has no hidden bit
    if (biased == 0) {
        if (fraction == 0) {
            std::memset(data, 0, sizeof word);
            return;
        }
    } else if (biased == 2047) {
        // Deliberate: nothing is logged, unlike the 4-byte form. With a message, arrays of doubles
        // that carry not-a-numbers as marks would flood the log.
        return;
    } else {
        fraction |= 0x0010000000000000U;
        e = static_cast<int>(biased) - 1023;
    }
    // The 53 bits stand 4 bits below the top of the 56, so every shift goes left.
    const int rest = e % 4;
    const int shift = rest < 0 ? rest + 4 : rest;
    const int exponent = e / 4 + (rest < 0 ? 64 : 65);
    word = sign | static_cast<std::uint64_t>(exponent & 0xFF) << 56 | fraction << shift;
    std::memcpy(data, &word, sizeof word);
}
