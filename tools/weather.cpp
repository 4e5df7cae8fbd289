#include "tools/weather.h"

namespace {

constexpr float typhoonLon = 135; // degree east
constexpr float typhoonLat = 20;

float square(float x)
{
    return x * x;
}

// 1 at 0, falling to 0 at 3 widths like a bell.
float bell(float x, float width)
{
    const float t = square(x / width);
    return t > 9 ? 0 : std::exp(-t);
}

float ramp(float low, float high, float x)
{
    const float t = std::clamp((x - low) / (high - low), 0.0F, 1.0F);
    return t * t * (3 - 2 * t);
}

float mix(float a, float b, float part)
{
    return a + part * (b - a);
}

// Ellipse of country with soft edges.
using Region = SoftMap::Region;

// Desert: 1 is bare sand.
constexpr Region deserts[] = {
    {133, -25, 10, 6, 1.0F}, {121, -26, 6, 5, 0.8F}, {103, 42, 11, 4, 1.0F}, {83, 39, 7, 3, 1.1F},
    {72, 27, 6, 5, 0.9F},    {60, 33, 9, 7, 0.9F},   {66, 44, 9, 5, 0.7F},
};
// Cooling by height above the sea, K.
constexpr Region highlands[] = {
    {88, 33, 11, 4.5F, 24}, {72, 38, 5, 3, 16},  {99, 48, 8, 4, 7},    {102, 29, 4, 4, 9},
    {141, -5, 5, 1.3F, 12}, {138, 36, 2, 1, 6},  {114, 1.5F, 3, 2, 4}, {148, -36.5F, 1.5F, 1, 8},
    {170, -44, 2, 1.2F, 9}, {125, 65, 14, 6, 6},
};
// Where the tropics rain: strength of deep convection.
constexpr Region rains[] = {
    {92, 17, 13, 7, 0.62F}, {115, 3, 20, 7, 0.30F},  {150, 7, 40, 4.5F, 0.40F},
    {122, 14, 9, 6, 0.42F}, {163, -8, 12, 4, 0.32F}, {178, -15, 10, 5, 0.30F},
    {75, -3, 10, 6, 0.25F}, {160, 4, 22, 3, 0.30F},  {185, 8, 20, 4, 0.35F},
    {143, -4, 6, 4, 0.25F},
};
// Where the air sinks and skies clear.
constexpr Region highs[] = {
    {133, -24, 16, 8, 0.45F}, {165, 27, 22, 7, 0.50F}, {130, 30, 12, 4, 0.22F},
    {95, -22, 16, 8, 0.35F},  {72, 30, 12, 9, 0.35F},  {165, -27, 10, 5, 0.30F},
};
// Sheets of low cloud over cool water.
constexpr Region sheets[] = {
    {98, -26, 13, 9, 0.55F}, {158, -33, 9, 6, 0.40F},  {165, 44, 20, 7, 0.50F},
    {145, 46, 9, 5, 0.35F},  {120, -45, 30, 9, 0.30F}, {112, -33, 8, 6, 0.30F},
    {195, 30, 12, 8, 0.35F},
};

} // namespace

SoftMap::SoftMap(std::span<const Region> regions, float centreLon)
    : cells_(std::size_t{columns} * rows)
{
    for (int row = 0; row < rows; ++row) {
        const float lat = halfHeight - static_cast<float>(row) / perDegree;
        for (int column = 0; column < columns; ++column) {
            const float lon = centreLon - halfWidth + static_cast<float>(column) / perDegree;
            float& cell = cells_[static_cast<std::size_t>(row * columns + column)];
            for (const Region& r : regions)
                cell +=
                    r.strength * bell(lon - r.lon, r.halfWidth) * bell(lat - r.lat, r.halfHeight);
        }
    }
}

float SoftMap::at(float dLon, float lat) const
{
    const float x = std::clamp((dLon + halfWidth) * perDegree, 0.0F, columns - 1.01F);
    const float y = std::clamp((halfHeight - lat) * perDegree, 0.0F, rows - 1.01F);
    const std::int32_t column = wholeBelow(x);
    const std::int32_t row = wholeBelow(y);
    const float fx = x - static_cast<float>(column);
    const float fy = y - static_cast<float>(row);
    const float* cell = cells_.data() + row * columns + column;
    return mix(mix(cell[0], cell[1], fx), mix(cell[columns], cell[columns + 1], fx), fy);
}

Weather::Weather(double subLon)
    : subLon_(static_cast<float>(subLon)), deserts_(deserts, subLon_),
      highlands_(highlands, subLon_), rains_(rains, subLon_), highs_(highs, subLon_),
      sheets_(sheets, subLon_)
{
    // Cyclonic: counterclockwise in the north, clockwise in the south.
    constexpr Whirl list[] = {
        {typhoonLon, typhoonLat, 5.5F, 2.6F, 0, -1},
        {163, 51, 8, 2.4F, -1.5F, 1.0F},
        {124, 53, 7, 2.0F, -1.3F, 0.7F},
        {188, 47, 7, 2.0F, -1.6F, 0.7F},
        {92, -47, 8, -2.4F, 1.3F, 1.0F},
        {128, -44, 8, -2.6F, 1.5F, 1.1F},
        {158, -50, 9, -2.4F, 1.4F, 1.0F},
        {183, -41, 7, -2.0F, 1.4F, 0.8F},
        {112, -60, 8, -2.2F, 1.2F, 0.9F},
        {147, -63, 8, -2.2F, 1.4F, 0.9F},
        {75, -38, 7, -2.0F, 1.3F, 0.8F},
        {152, 9, 4, 1.2F, 0, -1},
    };
    for (Whirl w : list) {
        w.dLon -= subLon_;
        whirls_.push_back(w);
    }
}

// Position as the noise sees it: bent at large and turned by the whirls. The lows' own clouds,
// comma and cold front, come out beside it.
void Weather::wind(float x, float y, float cosLat, Flow* flow, float* comma) const
{
    const float bendU = bend_.octaves(x / 13, y / 13, 2);
    const float bendV = bend_.octaves(x / 13 + 71, y / 13 + 43, 2);
    float u = x + 2.6F * bendU;
    float v = y + 2.0F * bendV;
    *comma = 0;
    for (const Whirl& w : whirls_) {
        if (std::fabs(y - w.lat) > 3.2F * w.radius) continue;
        // Distances east shrink with the latitude, so the whirl is round on the ground.
        const float centre = w.dLon * cosLat;
        const float dx = x - centre;
        const float dy = y - w.lat;
        const float r2 = (dx * dx + dy * dy) / square(w.radius);
        if (r2 > 10) continue;
        const float turn = -w.turn * std::exp(-r2 * 0.9F);
        const float c = std::cos(turn);
        const float s = std::sin(turn);
        const float du = u - centre;
        const float dv = v - w.lat;
        u = centre + c * du - s * dv;
        v = w.lat + s * du + c * dv;
        if (w.comma <= 0) continue;
        // One arm of a logarithmic spiral, wound the way of the turning.
        const float side = w.turn > 0 ? 1.0F : -1.0F;
        const float wound = std::atan2(dy, dx) + side * 0.62F * std::log(r2 + 0.02F);
        const float arm = 0.5F + 0.5F * std::cos(wound - w.tail);
        *comma += w.comma * arm * arm * arm * std::exp(-0.42F * r2) * ramp(0.01F, 0.12F, r2);
        // The front trails toward the equator and bends back west.
        const float out = -side * dy / w.radius;
        if (out < -0.2F || out > 2.6F) continue;
        const float line = w.radius * (0.85F - 0.42F * out * out) + 1.4F * bendU;
        *comma += w.comma * bell(dx - line, w.radius * (0.16F + 0.07F * out)) *
                  ramp(-0.2F, 0.3F, out) * (1 - ramp(0.9F, 2.6F, out));
    }
    *flow = {u, v};
}

// The tropical cyclone: 1 under its thickest cloud; *eye is 1 in the clear eye.
float Weather::typhoon(float x, float y, float* eye) const
{
    *eye = 0;
    const float centre = (typhoonLon - subLon_) * std::cos(typhoonLat * 0.0174533F);
    const float dx = x - centre;
    const float dy = y - typhoonLat;
    const float r = std::sqrt(dx * dx + dy * dy) + 1e-3F;
    if (r > 12) return 0;
    const float angle = std::atan2(dy, dx);
    const float winding = std::log(r + 0.3F);
    // Grain drawn out along the arms: sampled in turned coordinates.
    const float back = -1.5F * winding;
    const float c = std::cos(back);
    const float s = std::sin(back);
    const float grain =
        fine_.octaves((c * dx + s * dy) * 0.75F, (c * dy - s * dx) * 0.75F, 5, 0.62F);
    *eye = 1 - ramp(0.18F, 0.42F, r + 0.03F * grain);
    const float core = 1 - ramp(1.3F, 3.6F, r + 0.7F * grain);
    const float arms = std::cos(2 * angle + 3.6F * winding + 0.5F * grain);
    const float bands = std::cos(angle + 7.5F * winding + 1.0F * grain + 2);
    const float outer =
        ramp(-0.35F, 1.5F, 0.75F * arms + 0.45F * bands + 0.95F * grain - 0.085F * r + 0.25F) *
        (1 - ramp(5.0F, 12.0F, r));
    return std::clamp(std::max(core, 1.05F * outer), 0.0F, 1.0F);
}

void Weather::ground(const Place& p, float* temperature, float* reflectance) const
{
    const float warmest = std::fabs(p.lat - 9);
    const float water = std::max(303.0F - 0.0088F * warmest * warmest, 271.5F) +
                        0.7F * large_.octaves(p.dLon / 6, p.lat / 4, 3);
    *temperature = water;
    *reflectance = 0.035F;
    if (p.lat < -58) { // pack ice
        const float ice = ramp(-58, -64, p.lat + 1.5F * soil_.octaves(p.dLon / 5, p.lat / 3, 4));
        *temperature = mix(water, 258, ice);
        *reflectance = mix(0.035F, 0.6F, ice);
    }
    if (p.land <= 0) return;
    const float patch = soil_.octaves(p.dLon / 2.5F, p.lat / 2.5F, 5, 0.6F);
    const float desert = std::clamp(deserts_.at(p.dLon, p.lat) + 0.12F * patch, 0.0F, 1.0F);
    const float heating = std::max(p.cosSun, 0.0F);
    const float summer = p.lat > -15 ? 0.0F : -0.35F * (-15 - p.lat); // the south has winter
    float soil = water - 4 + summer + (12 + 16 * desert) * heating + 1.6F * patch;
    if (p.lat > 25) soil += std::min(0.0070F * square(p.lat - 9), 11.0F); // continents in summer
    soil -= highlands_.at(p.dLon, p.lat) * (1 + 0.35F * patch);
    float bright = mix(0.11F + 0.02F * patch, 0.30F + 0.04F * patch, desert);
    if (p.lat < -65) {
        soil = 238 + 5 * patch;
        bright = 0.75F;
    }
    *temperature = mix(water, soil, p.land);
    *reflectance = mix(*reflectance, bright, p.land);
}

Cover Weather::at(const Place& p) const
{
    Cover cover;
    ground(p, &cover.temperature, &cover.reflectance);
    const float surface = cover.temperature;

    const float cosLat = std::cos(p.lat * 0.0174533F);
    const float x = p.dLon * cosLat;
    const float y = p.lat;
    Flow f{};
    float comma = 0;
    wind(x, y, cosLat, &f, &comma);

    const float wide = large_.octaves(f.u / 12, f.v / 8.5F, 4);
    const float grain = fine_.octaves(f.u / 2.1F, f.v / 2.1F, 6, 0.58F);
    const float clear = highs_.at(p.dLon, y);
    const float storms = std::max(bell(y - 50, 13) * 0.75F, bell(y + 52, 15));
    const auto lay = [&cover](float opacity, float temperature, float reflectance, float height) {
        cover.temperature = mix(cover.temperature, temperature, opacity);
        cover.reflectance = mix(cover.reflectance, reflectance, opacity);
        cover.height = mix(cover.height, height, opacity);
    };
    // Tops lie no warmer than the air over the surface, also above cold ground.
    const auto top = [surface](float warmest, float below) {
        return std::min(warmest, surface - below);
    };

    // Low: sheets of cells over cool water, scattered heaps over the rest.
    const float sheet = sheets_.at(p.dLon, y) + 0.45F * storms;
    const float edge = sheet + 0.55F * wide - 0.5F * clear * (1 - sheet);
    float low = 0;
    if (edge > -0.1F) {
        const float cells = 2.2F * cell_.heaps(f.u * 2.1F, f.v * 2.1F, 2) - 0.9F;
        low = ramp(0.15F, 0.80F, edge + 0.24F * cells) * (0.82F + 0.18F * cells) *
              (1 - 0.65F * p.land);
    }
    const float heaps = ramp(0.30F, 0.85F, 0.95F * grain + 0.30F * wide + 0.05F - 0.15F * clear) *
                        (1 - 0.8F * ramp(30, 50, std::fabs(y)));
    const float lowest = std::clamp(std::max(low, 0.8F * heaps), 0.0F, 1.0F);
    lay(lowest, top(289, 6 + 6 * low), 0.40F + 0.18F * low + 0.08F * grain, 0.18F);

    // Fronts: long ridges of the bent flow, and the clouds of the lows.
    float sky = 1.15F * comma * (0.8F + 0.5F * grain);
    if (storms > 0.05F) {
        const float ridge =
            1 - 2.6F * std::fabs(large_.octaves(f.u / 30 + 9, f.v / 15 + 3, 3, 0.42F));
        sky += 0.85F * storms * ramp(0.10F, 1.0F, ridge + 0.40F * wide + 0.28F * grain - 0.20F);
    }
    sky = std::clamp(sky, 0.0F, 1.0F);
    lay(ramp(0.08F, 0.60F, sky), top(mix(266, 220, ramp(0.2F, 1, sky)) - 6 * grain, 9),
        0.50F + 0.26F * sky + 0.08F * grain, 0.4F + 0.4F * sky);

    // Deep convection: clusters of heaps under spreading anvils.
    const float shun = bell(std::hypot(x - (typhoonLon - subLon_) * 0.94F, y - typhoonLat), 5.0F);
    const float rain =
        rains_.at(p.dLon, y) - 0.8F * clear + 0.12F * p.land * bell(y - 3, 12) - 0.5F * shun;
    const float cluster = rain + 0.58F * wide + 0.42F * grain;
    const float anvil = ramp(0.34F, 0.80F, cluster);
    if (anvil > 0) {
        const float heap = cell_.heaps(f.u * 0.8F, f.v * 0.8F, 4);
        const float tower = ramp(0.50F, 1.15F, cluster + 0.35F * (heap - 0.4F));
        lay(0.94F * anvil, top(mix(244, 195, tower) - 5 * grain, 10),
            0.46F + 0.38F * tower + 0.06F * grain, 0.6F + 0.4F * tower);
    }

    // Thin ice cloud drawn out along the flow, far from dry air.
    const float streaks = streak_.octaves(f.u / 11, f.v / 3, 5, 0.62F);
    const float thin = ramp(0.35F, 1.5F,
                            0.8F * streaks + 1.0F * anvil + 0.8F * wide + 0.40F * sky +
                                0.25F * rain - 0.4F * clear);
    lay(0.65F * thin, top(226, 10), cover.reflectance + 0.12F, std::max(cover.height, 0.5F));

    float eye = 0;
    const float storm = typhoon(x, y, &eye);
    if (storm > 0) {
        const float cold = ramp(0.30F, 1.0F, storm);
        lay(ramp(0.03F, 0.60F, storm), mix(254, 199, cold) - 7 * grain,
            0.46F + 0.36F * cold + 0.06F * grain, 0.5F + 0.5F * cold);
        lay(eye, 288, 0.12F, 0.05F);
    }
    return cover;
}
