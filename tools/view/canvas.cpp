#include "tools/view/canvas.h"

#include "tools/wholeFile.h"

#include <algorithm>
#include <new>
#include <stdexcept>

namespace nbView {
namespace {

constexpr int mostSide = 32767;

std::size_t pixelCount(int width, int height)
{
    if (width > mostSide || height > mostSide)
        throw std::runtime_error("a picture of " + std::to_string(width) + " x " +
                                 std::to_string(height) + " pixels is too large; give --scale");
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

// Rows are whole words, so that the stride is what cairo wants.
unsigned char* bytesOf(std::vector<std::uint32_t>& pixels)
{
    return reinterpret_cast<unsigned char*>(pixels.data());
}

} // namespace

Canvas::Canvas(int width, int height)
    : width_(width), height_(height), pixels_(pixelCount(width, height)),
      surface_(cairo_image_surface_create_for_data(bytesOf(pixels_), CAIRO_FORMAT_ARGB32, width,
                                                   height, 4 * width)),
      cairo_(cairo_create(surface_.get()))
{
    if (const auto status = cairo_status(cairo_.get()); status != CAIRO_STATUS_SUCCESS)
        throw std::runtime_error(cairo_status_to_string(status));
}

void Canvas::writePng(const std::string& path)
{
    cairo_surface_flush(surface_.get());
    // Without a transparent pixel the file has three bytes a pixel.
    const bool opaque =
        std::ranges::all_of(pixels_, [](std::uint32_t pixel) { return pixel >> 24 == 0xFF; });
    const std::unique_ptr<cairo_surface_t, Free> whole(cairo_image_surface_create_for_data(
        bytesOf(pixels_), opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32, width_, height_,
        4 * width_));
    writeWholeFile(path, [&](const NbWholeFile& file) {
        const auto put = [](void* to, const unsigned char* bytes, unsigned size) {
            return std::fwrite(bytes, 1, size, static_cast<std::FILE*>(to)) == size
                       ? CAIRO_STATUS_SUCCESS
                       : CAIRO_STATUS_WRITE_ERROR;
        };
        const auto status = cairo_surface_write_to_png_stream(whole.get(), put, file.stream());
        if (status == CAIRO_STATUS_NO_MEMORY) throw std::bad_alloc();
        return status == CAIRO_STATUS_SUCCESS;
    });
}

} // namespace nbView
