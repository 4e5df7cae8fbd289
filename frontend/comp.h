#pragma once
/**
 * The SZDD container: a 14-byte header and an LZSS stream over a ring of 4096 bytes.
 *
 * Groups of one flag byte and up to eight items, flags from the lowest bit: set, a literal byte;
 * clear, a match of two bytes: low 8 bits of the ring position, then its high 4 bits above the
 * length less 3. The ring starts as blanks; matches are 3 to 16 bytes long.
 */
#include <cstdint>
#include <cstdio>

/**
 * Writes `size` bytes compressed to an open file.
 *
 * @return 0, or 1 when a write came back short
 */
int compress(const std::uint8_t* data, std::uint32_t size, std::FILE* out);

/** Reverses bytes in place. */
void RevMem(void* data, int length);
