#pragma once
/**
 * Colours of physical values.
 */
#include "tools/view/quantity.h"

#include <cstdint>
#include <optional>
#include <string>

namespace nbView {

struct Colour {
    double red, green, blue; // 0 to 1
};

struct Range {
    double low, high; // values at the ends of the palette
};

struct Palette;

// By its name, or the usual one of the quantity: temperatures white when cold, dark when warm.
// Throws UsageError, with the names there are.
const Palette& findPalette(const std::optional<std::string>& name, Quantity quantity);

// Colour at 0 (the low end) to 1.
Colour colourAt(const Palette& palette, double part, Quantity quantity);

} // namespace nbView
