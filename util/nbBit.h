#ifndef NB_BIT_H
#define NB_BIT_H
/**
 * Single bits of a buffer by their number.
 *
 * Bit 0 is the most significant bit of byte 0, bit 8 that of byte 1. The operations with "Word"
 * are for buffers of words of `wordBits` bits (8, 16, 32 ...) in the machine's own byte order:
 * there bit 0 is the most significant bit of word 0, whichever byte holds it. Bit numbers are not
 * below 0; the caller knows where its buffer ends.
 */
#ifdef __cplusplus
extern "C" {
#endif

/** 1 or 0. */
int nbBitGet(const void* base, int bit);
/** A `value` of 0 clears the bit, any other sets it. */
void nbBitSet(void* base, int bit, int value);
/** Copies `nBits` bits one by one, in ascending order: what an overlap means follows from that. */
void nbBitCopy(const void* src, int srcBit, void* dst, int dstBit, int nBits);

/**
 * The same for words. Words are numbered in 16 bits, so a buffer may have 32768 of them; a
 * `wordBits` below 1 reads as 0 and sets nothing.
 */
int nbBitGetWord(const void* base, int bit, short wordBits);
void nbBitSetWord(void* base, int bit, int value, short wordBits);
void nbBitCopyWord(const void* src, int srcBit, void* dst, int dstBit, int nBits, short wordBits);

#ifdef __cplusplus
}
#endif
#endif
