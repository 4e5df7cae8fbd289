/**
 * landmarkPicture: an image with the landmarks that were sought in it, and where they were found.
 */
#include "sat/nbLm.h"
#include "sat/nbLmMatch.h"
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetZoomData.h"
#include "tools/arguments.h"
#include "tools/wholeFile.h"

#include <png.h>

#include <cmath>
#include <cstdio>
#include <exception>

namespace {

constexpr char usage[] =
    "Usage : landmarkPicture [options] image-file element map-file png-file\n"
    "  --pixel=X --line=Y  start of the search: the image's displacement is taken for this (0)\n"
    "  --width=N           at most N pixels wide, by averaging (900)\n"
    "  --stretch=X         pixels of the picture per pixel of a displacement (4)\n"
    "  --low=N --high=N    counts that are black and white (those of the image)\n"
    "Matched landmarks are green, those that agree but are too poor yellow, those found elsewhere\n"
    "red, those not found grey.\n";

struct Colour {
    std::uint8_t r, g, b;
};
constexpr Colour matched = {90, 240, 90};
constexpr Colour poor = {250, 210, 60};
constexpr Colour elsewhere = {255, 90, 70};
constexpr Colour notFound = {120, 130, 150};

class Picture {
public:
    Picture(int width, int height)
        : width_(width), height_(height),
          pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
    {
    }
    void set(int x, int y, Colour colour)
    {
        if (x < 0 || y < 0 || x >= width_ || y >= height_) return;
        pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                static_cast<std::size_t>(x)] = colour;
    }
    // A thick line: two pixels.
    void stroke(double x0, double y0, double x1, double y1, Colour colour)
    {
        const long steps = std::lround(2 * std::max(std::fabs(x1 - x0), std::fabs(y1 - y0))) + 1;
        for (long i = 0; i <= steps; ++i) {
            const double part = static_cast<double>(i) / static_cast<double>(steps);
            const auto x = static_cast<int>(std::lround(x0 + part * (x1 - x0)));
            const auto y = static_cast<int>(std::lround(y0 + part * (y1 - y0)));
            set(x, y, colour);
            set(x + 1, y, colour);
            set(x, y + 1, colour);
        }
    }
    void write(const std::string& path) const
    {
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        image.width = static_cast<png_uint_32>(width_);
        image.height = static_cast<png_uint_32>(height_);
        image.format = PNG_FORMAT_RGB;
        writeWholeFile(path, [&](const NbWholeFile& file) {
            return png_image_write_to_stdio(&image, file.stream(), 0, pixels_.data(), 0, nullptr) !=
                   0;
        });
    }
    int width() const { return width_; }
    int height() const { return height_; }

private:
    int width_, height_;
    std::vector<Colour> pixels_;
};

// Greys of the image, each the mean of a square of it; missing samples are dark blue.
Picture greys(NbSatObject* object, int reduction, const Arguments& arguments)
{
    Picture picture(object->pixelNum / reduction, object->lineNum / reduction);
    const int low = arguments.number("low", 0, 0, 65535);
    const int high = arguments.number("high", int{object->levelNum}, 1, 65535);
    const auto columns = static_cast<std::size_t>(object->pixelNum);
    std::vector<std::int16_t> counts(columns * static_cast<std::size_t>(reduction));
    for (int y = 0; y < picture.height(); ++y) {
        const NbZoomRect rect = {.startPixel = 0,
                                 .startLine = static_cast<std::int16_t>(y * reduction),
                                 .width = object->pixelNum,
                                 .height = reduction,
                                 .outWidth = object->pixelNum,
                                 .outHeight = static_cast<std::int16_t>(reduction)};
        if (nbSatGetI2ZoomData(object, &rect, counts.data()) < 0)
            throw std::runtime_error("the image cannot be read");
        for (int x = 0; x < picture.width(); ++x) {
            double sum = 0;
            int good = 0;
            for (int i = 0; i < reduction * reduction; ++i) {
                const std::int16_t count =
                    counts[static_cast<std::size_t>(i / reduction) * columns +
                           static_cast<std::size_t>(x * reduction + i % reduction)];
                if (count < 0) continue;
                sum += count;
                ++good;
            }
            if (good == 0) {
                picture.set(x, y, {14, 20, 52});
                continue;
            }
            const double part = std::clamp((sum / good - low) / (high - low), 0.0, 1.0);
            const auto grey = static_cast<std::uint8_t>(std::lround(255 * part));
            picture.set(x, y, {grey, grey, grey});
        }
    }
    return picture;
}

void run(const Arguments& arguments)
{
    const std::string& path = arguments.positional()[0];
    requireOther(arguments.positional()[3], {path, arguments.positional()[2]});
    NbSatObject object{};
    if (nbSatOpenObject(&object, path.c_str()) != 0 ||
        nbSatSetElems(&object, arguments.positional()[1].c_str()) < 1)
        throw std::runtime_error(path + " : no such image or element");
    std::string problem;
    const auto map = NbShoreMap::open(arguments.positional()[2], problem);
    if (!map) throw std::runtime_error(arguments.positional()[2] + " : " + problem);
    std::int16_t params[4];
    if (nbLmSetParam(path.c_str(), nbSatGetChannel(&object, 0), params) != 0)
        throw std::runtime_error(path + " : no search parameters");

    const NbLmSearch search = {.halfWindow = params[NB_LM_HALF_WINDOW],
                               .halfTemplate = params[NB_LM_HALF_TEMPLATE],
                               .spacing = params[NB_LM_SPACING],
                               .leastMatches = params[NB_LM_LEAST_MATCHES],
                               .startPixel = arguments.number("pixel", 0.0, -1000.0, 1000.0),
                               .startLine = arguments.number("line", 0.0, -1000.0, 1000.0)};
    const auto places = nbpLmPlaces(&object, *map, search, problem);
    if (!problem.empty()) throw std::runtime_error(problem);
    const NbLmResult result = nbpLmMatch(&object, places, search);

    const int width = arguments.number("width", 900, 16, 32767);
    const int reduction = (object.pixelNum + width - 1) / width;
    Picture picture = greys(&object, reduction, arguments);
    const double stretch = arguments.number("stretch", 4.0, 0.0, 1000.0);
    constexpr Colour colours[] = {notFound, elsewhere, poor, matched}; // of NbLmVerdict
    int counts[4] = {};
    for (const NbLmMatch& match : result.places) {
        const double x = static_cast<double>(match.pixel) / reduction;
        const double y = static_cast<double>(match.line) / reduction;
        const auto verdict = static_cast<std::size_t>(match.verdict);
        const Colour colour = colours[verdict];
        ++counts[verdict];
        for (int i = 0; i < 9; ++i) // where the navigation puts it
            picture.set(static_cast<int>(x) + i % 3 - 1, static_cast<int>(y) + i / 3 - 1, colour);
        if (match.verdict != NbLmVerdict::NoPeak)
            picture.stroke(x, y, x + stretch * match.shift.x, y + stretch * match.shift.y, colour);
    }
    picture.write(arguments.positional()[3]);
    std::printf("%zu landmarks: %d matched, %d too poor, %d elsewhere, %d not found; displacement "
                "%.3f, %.3f\n",
                result.places.size(), counts[3], counts[2], counts[1], counts[0], result.shift.x,
                result.shift.y);
    nbSatCloseObject(&object);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const Arguments arguments(argc, argv, {"pixel", "line", "width", "stretch", "low", "high"});
        if (arguments.positional().size() != 4) {
            std::fputs(usage, stderr);
            return 1;
        }
        run(arguments);
        return 0;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "landmarkPicture : %s\n", e.what());
        return 1;
    }
}
