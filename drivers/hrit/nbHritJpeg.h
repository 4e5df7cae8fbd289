#pragma once
/**
 * Lossless JPEG images by way of an external decoder.
 *
 * The decoder is called as "TOOL -d STEM": it reads STEM.jpg and writes STEM.jpg.0, two bytes a
 * sample, the high one first, and its exit status says whether it could.
 */
#include "util/nbFile.h"

#include <cstdint>
#include <cstdio>
#include <string>

// The first decoder that exists: NB_HRIT_JPEG_DECODER in the environment, then the list that the
// library was built with. Empty when there is none.
std::string nbpHritJpegTool();

// Decodes what is left of a stream and gives the image as a file that goes with its stream; null
// when the decoder fails or leaves fewer than `size` bytes. No file stays behind, whatever the
// decoder does, and when the program is interrupted meanwhile.
NbFilePtr nbpHritJpegDecode(const std::string& tool, std::FILE* in, std::int64_t size);
