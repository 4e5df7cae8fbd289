#pragma once
/**
 * The compressed form of the finished output.
 */
#include <string>

/**
 * Puts the SZDD form of a file in its place and says the new size on standard error.
 *
 * The compressed file is written beside it and takes its name when it is complete, so on any
 * failure (said on standard error) the file is still as it was. Only a regular file can be
 * compressed: anything else cannot be read back.
 *
 * @return an NbRunCode: NB_RUN_INPUT not readable, NB_RUN_SHORT_READ, NB_RUN_OUTPUT_OPEN no room
 *         for a file beside it, or no renaming; NB_RUN_FAILED short write or too large for the
 *         container; NB_RUN_CLOSE
 */
int compressFile(const std::string& path);
