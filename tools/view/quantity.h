#pragma once
/**
 * What the values of a nimbex file are. The format holds no unit: the word at the end of the label
 * tells.
 */
#include <string_view>

namespace nbView {

enum class Quantity { Unknown, Temperature, Reflectance, Difference };

struct Meaning {
    Quantity quantity = Quantity::Unknown;
    const char* name = "value"; // "brightness temperature"
    const char* unit = "";      // "K"; empty for a pure number and when nothing is known
    double low = 0, high = 0;   // usual range of a picture; equal: none
};

// Of a label such as "IR", "MTSAT-WV" or "GOES-VIS", which may be cut off at 8 characters.
Meaning meaningOf(std::string_view label);

} // namespace nbView
