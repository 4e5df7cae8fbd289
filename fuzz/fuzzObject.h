#pragma once
/**
 * Any bytes as an image file, through the object as the program uses it: channels, every element,
 * navigation both ways, samples of a line, rectangles, a map.
 */
#include <string>

/**
 * Opens a file and works on it.
 *
 * @param type     "?type=hisd" opens without looking; "" has the format detected
 * @param choices  bits 0 and 1: width of the gaps to fill; 2 and 3: interpolation; 4: the file
 * twice as a list, shifted and turned; 5 and 6: map projection; 7: room for the largest level
 * table; 0 to 3 also: how a list is merged
 */
void fuzzObject(const std::string& path, const char* type, unsigned choices);
