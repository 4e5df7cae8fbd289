#include "tests/support/landmarkScene.h"

#include "sat/nbSat.h"
#include "sat/nbSatNav.h"
#include "tests/synth/synthHisd.h"
#include "tests/synth/synthHrit.h"
#include "tests/synth/synthVissr.h"
#include "tools/landMask.h"
#include "tools/map/shoreSource.h"

#include <cmath>
#include <stdexcept>

namespace {

constexpr double satHeight = 35786; // km
constexpr double subLon = 140;
constexpr double noPlace = -9999;
constexpr const char* shoreFile = TOOLS_DATA "/land.txt";

float ramp(float low, float high, float x)
{
    const float t = std::clamp((x - low) / (high - low), 0.0F, 1.0F);
    return t * t * (3 - 2 * t);
}

// Writes an image whose brightness (0 dark or warm, 1 white or cold) is a function of column and
// line, from 0. Gives its channel.
template <class Brightness>
int writeImage(const LandmarkScene& s, const std::string& path, Brightness brightness)
{
    const auto count = [&](int column, int line, int levels) {
        const double b = std::clamp(static_cast<double>(brightness(column, line)), 0.0, 1.0);
        return static_cast<int>(std::lround(b * (levels - 1)));
    };
    const double middle = s.size / 2 + 0.5;
    switch (s.format) {
    case LandmarkScene::Format::Hisd: {
        SynthHisd file;
        file.band = s.night ? 13 : 3;
        file.subLon = file.actualSubLon = file.nadirLon = subLon;
        file.columns = file.diskLines = s.size;
        file.cfac = file.lfac = static_cast<std::int32_t>(std::lround(20466275 * 2 / s.km));
        file.coff = static_cast<float>(middle - s.offPixel);
        file.loff = static_cast<float>(middle - s.offLine);
        file.fill = [&](int line, std::span<std::uint16_t> counts) {
            for (int i = 0; i < s.size; ++i)
                counts[static_cast<std::size_t>(i)] =
                    static_cast<std::uint16_t>(count(i, line - 1, s.night ? 4000 : 2000));
        };
        file.write(path);
        return file.band;
    }
    case LandmarkScene::Format::Hrit: {
        SynthHrit file;
        if (!s.night) file.annotation = "IMG_DK01VIS_200608010300_001 MTSAT1";
        file.columns = file.imageLines = s.size;
        file.cfac = file.lfac = static_cast<std::int32_t>(std::lround(20466275 * 2 / s.km));
        file.coff = static_cast<std::int32_t>(std::lround(middle - s.offPixel));
        file.loff = static_cast<std::int32_t>(std::lround(middle - s.offLine));
        file.fill = [&](int line, std::span<std::uint16_t> counts) {
            for (int i = 0; i < s.size; ++i)
                counts[static_cast<std::size_t>(i)] =
                    static_cast<std::uint16_t>(count(i, line - 1, 1000));
        };
        file.write(path);
        return s.night ? 1 : 0;
    }
    default:
        break;
    }
    SynthVissr file;
    file.channel = s.night ? 1 : 0;
    file.columns = file.lines = s.size;
    file.lineStep = file.pixStep = static_cast<float>(s.km / satHeight);
    file.centreLine = static_cast<float>(middle - s.offLine);
    file.centrePixel = static_cast<float>(middle - s.offPixel);
    // The visible sensor's 64 counts are spread like the square root of the brightness.
    file.fill = [&](int column, int line) {
        const int linear = count(column - 1, line - 1, 256);
        return s.night ? linear : static_cast<int>(std::lround(63 * std::sqrt(linear / 255.0)));
    };
    writeFile(path, file.bytes());
    return file.channel;
}

// Where the corners of the displaced pixels lie on earth, by the file's own navigation.
struct Corners {
    std::vector<double> lon, lat;
};
Corners cornersOf(const LandmarkScene& s, const std::string& path)
{
    NbSatObject object{};
    if (nbSatOpenObject(&object, path.c_str()) != 0) throw std::runtime_error("no image " + path);
    const auto side = static_cast<std::size_t>(s.size) + 1;
    Corners c{std::vector<double>(side * side), std::vector<double>(side * side)};
    std::vector<float> pixel(side * side), line(side * side);
    for (std::size_t i = 0; i < side * side; ++i) {
        pixel[i] = static_cast<float>(static_cast<double>(i % side) - 0.5 - s.dx);
        line[i] = static_cast<float>(static_cast<double>(i / side) - 0.5 - s.dy);
    }
    nbSatPixLinToLonLat(&object, pixel.data(), line.data(), c.lon.data(), c.lat.data(),
                        static_cast<int>(side * side));
    nbSatCloseObject(&object);
    return c;
}

} // namespace

LandmarkMap::LandmarkMap()
{
    makeShoreMap(shoreFile, path_);
}

int LandmarkScene::write(const std::string& path) const
{
    writeImage(*this, path, [](int, int) { return 0.0F; });
    const Corners corners = cornersOf(*this, path);
    static const LandMask mask(readLandRings(shoreFile), subLon);

    // Share of land of each pixel, from 3 x 3 places in it; negative in space.
    const auto n = static_cast<std::size_t>(size);
    std::vector<float> landShare(n * n);
    for (std::size_t i = 0; i < n * n; ++i) {
        const std::size_t a = i / n * (n + 1) + i % n;
        const std::size_t b = a + n + 1;
        float sum = 0;
        for (const std::size_t at : {a, a + 1, b, b + 1})
            if (corners.lon[at] == noPlace) sum = -1;
        for (int k = 0; k < 9 && sum >= 0; ++k) {
            const double x = (k % 3 + 0.5) / 3;
            const double y = (k / 3 + 0.5) / 3;
            const auto mean = [&](const auto& of) {
                return (of(a) * (1 - x) + of(a + 1) * x) * (1 - y) +
                       (of(b) * (1 - x) + of(b + 1) * x) * y;
            };
            const double lon =
                mean([&](std::size_t at) { return std::remainder(corners.lon[at] - subLon, 360); });
            const double lat = mean([&](std::size_t at) { return corners.lat[at]; });
            sum += mask.at(static_cast<float>(lon), static_cast<float>(lat)) / 9;
        }
        landShare[i] = sum;
    }

    // Clouds of all sizes: the highest parts of a rough field, as much of it as is wanted. The
    // lowest of them are hardly brighter than land, the thinnest let it shine through.
    const Noise sheets(seed * 5 + 1), tops(seed * 5 + 2), veils(seed * 5 + 3), soil(seed * 5 + 4);
    std::uint32_t random = seed * 2654435761U + 12345;
    for (int i = 0; i < 8; ++i)
        nextRandom(random);
    const auto uniform = [&] { return static_cast<float>(nextRandom(random)) / 4294967296.0F; };
    const float x0 = uniform() * 200;
    const float y0 = uniform() * 200;
    std::vector<float> sheet(n * n);
    for (std::size_t i = 0; i < n * n; ++i) {
        const auto x = static_cast<float>(i % n);
        const auto y = static_cast<float>(i / n);
        sheet[i] = sheets.octaves(x0 + x / 60, y0 + y / 45, 6, 0.62F);
    }
    std::vector<float> sorted = sheet;
    const auto cut = static_cast<std::ptrdiff_t>((1 - cloud) * static_cast<double>(n * n - 1));
    std::ranges::nth_element(sorted, sorted.begin() + cut);
    const float threshold = cloud >= 1  ? -9.0F // thick all over
                            : cloud > 0 ? sorted[static_cast<std::size_t>(cut)]
                                        : 9.0F;

    const float tiltX = uniform() - 0.5F;
    const float tiltY = uniform() - 0.5F;
    std::vector<float> bright(n * n);
    for (std::size_t i = 0; i < n * n; ++i) {
        const auto x = static_cast<float>(i % n);
        const auto y = static_cast<float>(i / n);
        const float noisy = (uniform() + uniform() + uniform() + uniform() - 2) * 1.732F *
                            static_cast<float>(noise) / 100;
        if (landShare[i] < 0) {
            bright[i] = noisy;
            continue;
        }
        const auto wide = static_cast<float>(size);
        const float slope = 0.04F * (tiltX * x + tiltY * y) / wide;
        const float rough = soil.octaves(x / 14, y / 14, 4, 0.6F);
        const float sea = (night ? 0.24F : 0.06F) + slope + 0.004F * rough;
        const float step = static_cast<float>(contrast) * (night ? 0.08F : 0.14F);
        const float ground =
            sea + landShare[i] * (step + slope + static_cast<float>(contrast) * 0.02F * rough);
        const float thick = ramp(0, 0.5F, sheet[i] - threshold);
        const float height = tops.octaves(x / 50 + 7, y / 50 + 3, 4);
        // Above both land and sea, and with nothing of the coast in it.
        const float top = sea + step + 0.04F + (0.45F + 0.35F * height) * (0.3F + 0.7F * thick);
        const float cover = std::min(2.2F * ramp(0, 0.35F, sheet[i] - threshold), 1.0F);
        const float veil =
            cloud > 0
                ? 0.25F * ramp(0.1F, 0.9F,
                               veils.octaves(x / 40, y / 25, 4) + static_cast<float>(cloud) - 0.6F)
                : 0;
        float value = ground + cover * (top - ground);
        value += veil * (0.6F - value);
        bright[i] = value + noisy;
    }
    return writeImage(*this, path, [&](int column, int line) {
        return bright[static_cast<std::size_t>(line) * n + static_cast<std::size_t>(column)];
    });
}
