#ifndef NB_UTL_BYTE_ORDER_H
#define NB_UTL_BYTE_ORDER_H
/**
 * The machine's byte order, and the reversal of bytes of whole arrays.
 */
#ifdef __cplusplus
extern "C" {
#endif

/** 0 on a little-endian machine, 1 on a big-endian one, -1 on any other layout. */
int nbUtlGetCpuByteOrder(void);

/**
 * Reverses the bytes of each of `itemCount` consecutive items of `itemSize` bytes, in place.
 * Needs no alignment. Nothing happens for an itemSize below 2 or an itemCount below 1.
 */
void nbUtlSwapBytes(void* data, int itemSize, int itemCount);

#ifdef __cplusplus
}
#endif
#endif
