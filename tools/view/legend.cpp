#include "tools/view/legend.h"

#include "tools/view/gridFile.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>

namespace nbView {
namespace {

double fontSize(int width)
{
    return std::clamp(width / 55.0, 9.0, 40.0);
}

void setFont(cairo_t* cairo, double size)
{
    cairo_select_font_face(cairo, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cairo, size);
}

double widthOf(cairo_t* cairo, const std::string& text)
{
    cairo_text_extents_t extents;
    cairo_text_extents(cairo, text.c_str(), &extents);
    return extents.x_advance;
}

// `anchor`: the share of the text that lies left of x.
void drawText(cairo_t* cairo, const std::string& text, double x, double y, double anchor)
{
    cairo_move_to(cairo, x - anchor * widthOf(cairo, text), y);
    cairo_show_text(cairo, text.c_str());
}

} // namespace

int legendHeight(int width)
{
    return static_cast<int>(std::lround(5.2 * fontSize(width)));
}

std::vector<double> roundNumbers(Range range, double count)
{
    const double rough = (range.high - range.low) / std::max(count, 1.0);
    const double power = std::pow(10, std::floor(std::log10(rough)));
    const double digit = rough / power <= 1   ? 1
                         : rough / power <= 2 ? 2
                         : rough / power <= 5 ? 5
                                              : 10;
    const double step = digit * power;
    std::vector<double> numbers;
    const double first = std::ceil(range.low / step - 1e-9);
    for (int i = 0; i < 100; ++i) {
        const double value = (first + i) * step;
        if (!(value <= range.high + step * 1e-9)) break;
        numbers.push_back(value);
    }
    return numbers;
}

void drawLegend(const Legend& legend, int top, Canvas& canvas)
{
    cairo_t* const cairo = canvas.cairo();
    const double width = canvas.width();
    const double size = fontSize(canvas.width());
    cairo_set_source_rgb(cairo, 0.09, 0.1, 0.13);
    cairo_rectangle(cairo, 0, top, width, canvas.height() - top);
    cairo_fill(cairo);

    // The bar, one column of pixels at a time.
    const double left = std::round(1.6 * size), right = std::round(width - 1.6 * size);
    const double barTop = std::round(top + 1.9 * size), barHeight = std::round(size);
    for (int i = 0; i < right - left; ++i) {
        const double x = left + i;
        const Colour c =
            colourAt(legend.palette, (x + 0.5 - left) / (right - left), legend.quantity);
        cairo_set_source_rgb(cairo, c.red, c.green, c.blue);
        cairo_rectangle(cairo, x, barTop, 1, barHeight);
        cairo_fill(cairo);
    }
    cairo_set_source_rgb(cairo, 0.85, 0.86, 0.88);
    cairo_set_line_width(cairo, 1);
    cairo_rectangle(cairo, left - 0.5, barTop - 0.5, right - left + 1, barHeight + 1);
    cairo_stroke(cairo);

    setFont(cairo, size);
    const Range range = legend.range;
    for (const double value : roundNumbers(range, std::min(12.0, width / (4.5 * size)))) {
        const double part = (value - range.low) / (range.high - range.low);
        const double x = std::floor(left + part * (right - left)) + 0.5;
        cairo_move_to(cairo, x, barTop + barHeight);
        cairo_line_to(cairo, x, barTop + barHeight + 0.35 * size);
        cairo_stroke(cairo);
        // As many digits as a float has: 0.3, not 0.30000000000000004.
        drawText(cairo, text(nbpToFloat(value)), x, barTop + barHeight + 1.4 * size, 0.5);
    }

    // Title and scale share a line, smaller where they would meet; a narrow strip has the scale
    // alone.
    const double room = right - left;
    const double gap = 1.5 * size;
    const double both = widthOf(cairo, legend.title) + gap + widthOf(cairo, legend.scale);
    const bool fits = both * 0.75 <= room;
    const double needed = fits ? both : widthOf(cairo, legend.scale);
    if (needed > room) cairo_set_font_size(cairo, size * std::max(0.4, room / needed));
    const double base = top + 1.35 * size;
    if (fits) drawText(cairo, legend.title, left, base, 0);
    drawText(cairo, legend.scale, right, base, 1);
}

} // namespace nbView
