#ifndef NB_CHAR_H
#define NB_CHAR_H
/**
 * One character between EBCDIC and ASCII. Only the low 8 bits of `c` count.
 *
 * Control codes below 0x20 stay as they are. What has no partner becomes "^" in ASCII and a blank
 * (0x40) in EBCDIC; ASCII codes from 0x80 become 0x4A.
 */
#ifdef __cplusplus
extern "C" {
#endif

int nbCharEbcdicToAscii(int c);
int nbCharAsciiToEbcdic(int c);

#ifdef __cplusplus
}
#endif
#endif
