#pragma once
/**
 * A picture of 32-bit pixels that cairo draws on.
 */
#include <cairo.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace nbView {

class Canvas {
public:
    // Throws std::runtime_error when the sides are more than cairo can draw on.
    Canvas(int width, int height);

    int width() const { return width_; }
    int height() const { return height_; }
    // Pixels of a row: alpha in the high byte, then red, green, blue, each times alpha.
    std::uint32_t* row(int y)
    {
        return pixels_.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width_);
    }
    cairo_t* cairo() { return cairo_.get(); }
    // Throws std::runtime_error when the file cannot be written.
    void writePng(const std::string& path);

private:
    struct Free {
        void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
        void operator()(cairo_t* context) const { cairo_destroy(context); }
    };
    int width_, height_;
    std::vector<std::uint32_t> pixels_;
    std::unique_ptr<cairo_surface_t, Free> surface_;
    std::unique_ptr<cairo_t, Free> cairo_;
};

} // namespace nbView
