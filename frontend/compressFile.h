#pragma once
/**
 * The compressed form of the output.
 */
#include "frontend/outputFile.h"

/**
 * Puts the SZDD form of what was written in its place, before the file is finished, and says the
 * new size on standard error.
 *
 * On failure, said on standard error, the file is given up. Only a regular file can be compressed:
 * anything else cannot be read back.
 *
 * @return an NbRunCode: NB_RUN_INPUT not readable, NB_RUN_SHORT_READ, NB_RUN_OUTPUT_OPEN cannot be
 *         written anew, NB_RUN_FAILED short write or too large for the container
 */
int compressFile(NbOutputFile& out);
