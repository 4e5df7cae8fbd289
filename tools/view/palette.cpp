#include "tools/view/palette.h"

#include "tools/view/commandLine.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <span>

namespace nbView {

struct Stop {
    double part;
    std::uint8_t red, green, blue;
};

struct Palette {
    const char* name;
    Quantity usualFor; // Unknown: for none
    double gamma;      // exponent of the part before the stops
    bool coldIsFirst;  // the stops run from warm to cold for a temperature
    std::span<const Stop> stops;
};

namespace {

constexpr Stop greyStops[] = {{0, 0, 0, 0}, {1, 255, 255, 255}};
// Grey up to the warm side of 240 K of the usual range, then a colour every 10 K.
constexpr Stop enhancedStops[] = {
    {0, 0, 0, 0},         {0.15, 60, 60, 60}, {0.58, 215, 215, 215}, {0.5801, 20, 40, 130},
    {0.667, 0, 140, 220}, {0.75, 0, 190, 90}, {0.833, 250, 230, 30}, {0.917, 225, 30, 20},
    {0.958, 110, 0, 60},  {1, 255, 255, 255}};
constexpr Stop rainbowStops[] = {{0, 70, 10, 110},   {0.17, 30, 70, 200},  {0.34, 0, 170, 210},
                                 {0.5, 40, 180, 70}, {0.67, 240, 225, 40}, {0.84, 240, 120, 20},
                                 {1, 180, 10, 20}};
constexpr Stop diffStops[] = {{0, 15, 45, 120},
                              {0.25, 70, 140, 205},
                              {0.5, 247, 247, 247},
                              {0.75, 225, 120, 85},
                              {1, 125, 10, 35}};

constexpr Palette palettes[] = {
    {"grey", Quantity::Temperature, 0.8, true, greyStops},
    {"enhanced", Quantity::Unknown, 1, true, enhancedStops},
    {"visible", Quantity::Reflectance, 0.6, false, greyStops},
    {"rainbow", Quantity::Unknown, 1, false, rainbowStops},
    {"diff", Quantity::Difference, 1, false, diffStops},
};

} // namespace

const Palette& findPalette(const std::optional<std::string>& name, Quantity quantity)
{
    std::string names;
    for (const Palette& palette : palettes) {
        if (name ? *name == palette.name
                 : quantity == palette.usualFor && quantity != Quantity::Unknown)
            return palette;
        names += std::string(names.empty() ? "" : ", ") + palette.name;
    }
    if (name) throw UsageError("--palette " + *name + " : " + names + " expected");
    return palettes[0];
}

Colour colourAt(const Palette& palette, double part, Quantity quantity)
{
    if (palette.coldIsFirst && quantity == Quantity::Temperature) part = 1 - part;
    part = std::pow(std::clamp(part, 0.0, 1.0), palette.gamma);
    const auto above =
        std::ranges::find_if(palette.stops, [part](const Stop& stop) { return stop.part >= part; });
    const Stop& b = above == palette.stops.end() ? palette.stops.back() : *above;
    const Stop& a = above == palette.stops.begin() ? b : *std::prev(above);
    const double share = b.part > a.part ? (part - a.part) / (b.part - a.part) : 0;
    const auto mix = [share](int from, int to) { return (from + share * (to - from)) / 255; };
    return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue)};
}

} // namespace nbView
