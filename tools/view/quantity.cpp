#include "tools/view/quantity.h"

#include <optional>

namespace nbView {
namespace {

constexpr Meaning window{Quantity::Temperature, "brightness temperature", "K", 190, 310};
constexpr Meaning vapour{Quantity::Temperature, "brightness temperature", "K", 190, 275};
constexpr Meaning shortWave{Quantity::Temperature, "brightness temperature", "K", 190, 330};
constexpr Meaning visible{Quantity::Reflectance, "reflectance", "", 0, 1};
constexpr Meaning difference{Quantity::Difference, "temperature difference", "K", 0, 0};

// The words of the converter: three columns of channel names, and those of difference images.
struct Word {
    std::string_view word;
    const Meaning& meaning;
};
constexpr Word words[] = {
    {"V1", visible},    {"VIS1", visible},   {"B01", visible},   //
    {"V2", visible},    {"VIS2", visible},   {"B02", visible},   //
    {"VS", visible},    {"VIS3", visible},   {"B03", visible},   //
    {"N1", visible},    {"NIR1", visible},   {"B04", visible},   //
    {"N2", visible},    {"NIR2", visible},   {"B05", visible},   //
    {"N3", visible},    {"NIR3", visible},   {"B06", visible},   //
    {"I4", shortWave},  {"SWIR", shortWave}, {"B07", shortWave}, //
    {"WV", vapour},     {"WV1", vapour},     {"B08", vapour},    //
    {"W2", vapour},     {"WV2", vapour},     {"B09", vapour},    //
    {"W3", vapour},     {"WV3", vapour},     {"B10", vapour},    //
    {"MI", window},     {"MWIR", window},    {"B11", window},    //
    {"O3", window},     {"B12", window},                         //
    {"IR", window},     {"LWIR1", window},   {"B13", window},    //
    {"L2", window},     {"LWIR2", window},   {"B14", window},    //
    {"I2", window},     {"LWIR3", window},   {"B15", window},    //
    {"CO", window},     {"CO2", window},     {"B16", window},    //
    {"V3", visible},                                             // 3A of an AVHRR
    {"SP", difference}, {"S2", difference},  {"S3", difference}, //
};

} // namespace

Meaning meaningOf(std::string_view label)
{
    const std::size_t dash = label.rfind('-');
    const std::string_view word = dash == std::string_view::npos ? label : label.substr(dash + 1);
    // A full label may have lost the end of its word: it means what all words mean that begin so.
    const bool cut = label.size() == 8;
    std::optional<Meaning> found;
    for (const Word& row : words) {
        if (row.word == word) return row.meaning;
        if (!cut || word.empty() || !row.word.starts_with(word)) continue;
        if (found && found->quantity != row.meaning.quantity) return {};
        if (!found) found = row.meaning;
    }
    return found.value_or(Meaning{});
}

} // namespace nbView
