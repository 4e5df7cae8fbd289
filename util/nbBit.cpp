#include "util/nbBit.h"

#include "util/nbNumber.h"
#include "util/nbUtlByteOrder.h"

#include <cstddef>

namespace {
struct Place {
    std::ptrdiff_t byte;
    unsigned mask;
};

Place plainPlace(int bit)
{
    return {bit / 8, 0x80U >> (static_cast<unsigned>(bit) % 8U)};
}

Place wordPlace(int bit, short wordBits)
{
    if (nbUtlGetCpuByteOrder() != 0) {
        Place place = plainPlace(bit);
        place.byte = nbpWrap16(place.byte);
        return place;
    }
    const int word = nbpWrap16(bit / wordBits);
    const int k = nbpWrap16(bit % wordBits);
    return {word * wordBits / 8 + (wordBits - k - 1) / 8, 0x80U >> (static_cast<unsigned>(k) % 8U)};
}

int get(const void* base, Place place)
{
    return (static_cast<const unsigned char*>(base)[place.byte] & place.mask) != 0 ? 1 : 0;
}

void set(void* base, Place place, int value)
{
    unsigned char& byte = static_cast<unsigned char*>(base)[place.byte];
    byte = static_cast<unsigned char>(value == 0 ? byte & ~place.mask : byte | place.mask);
}
} // namespace

int nbBitGet(const void* base, int bit)
{
    return get(base, plainPlace(bit));
}

void nbBitSet(void* base, int bit, int value)
{
    set(base, plainPlace(bit), value);
}

void nbBitCopy(const void* src, int srcBit, void* dst, int dstBit, int nBits)
{
    for (int i = 0; i < nBits; ++i)
        nbBitSet(dst, dstBit + i, nbBitGet(src, srcBit + i));
}

int nbBitGetWord(const void* base, int bit, short wordBits)
{
    if (wordBits < 1) return 0;
    return get(base, wordPlace(bit, wordBits));
}

void nbBitSetWord(void* base, int bit, int value, short wordBits)
{
    if (wordBits < 1) return;
    set(base, wordPlace(bit, wordBits), value);
}

void nbBitCopyWord(const void* src, int srcBit, void* dst, int dstBit, int nBits, short wordBits)
{
    for (int i = 0; i < nBits; ++i)
        nbBitSetWord(dst, dstBit + i, nbBitGetWord(src, srcBit + i, wordBits), wordBits);
}
