#include "picture/canvas.h"

#include "picture/colour.h"

#include <cstdint>
#include <cstring>

namespace sim::picture
{

Surface to_surface(const Image& image)
{
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, image.width, image.height), cairo_surface_destroy);
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
        return surface;
    }
    const auto byte = [](float level) { return static_cast<std::uint32_t>(to_byte(level)); };
    cairo_surface_flush(surface.get());
    unsigned char* row = cairo_image_surface_get_data(surface.get());
    const int stride = cairo_image_surface_get_stride(surface.get());
    auto pixel = image.pixels.begin();
    for (int y = 0; y < image.height; ++y, row += stride) {
        for (int x = 0; x < image.width; ++x, ++pixel) {
            const std::uint32_t word = (byte(pixel->red) << 16U) | (byte(pixel->green) << 8U) | byte(pixel->blue);
            std::memcpy(row + 4 * x, &word, sizeof word);
        }
    }
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

Image from_surface(cairo_surface_t* surface)
{
    cairo_surface_flush(surface);
    Image image{cairo_image_surface_get_width(surface), cairo_image_surface_get_height(surface), {}};
    const unsigned char* row = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    const auto level = [](std::uint32_t word, unsigned shift) {
        return static_cast<float>((word >> shift) & 0xFFU) / 255.0F;
    };
    image.pixels.reserve(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height));
    for (int y = 0; y < image.height; ++y, row += stride) {
        for (int x = 0; x < image.width; ++x) {
            std::uint32_t word = 0;
            std::memcpy(&word, row + 4 * x, sizeof word);
            image.pixels.push_back({level(word, 16), level(word, 8), level(word, 0)});
        }
    }
    return image;
}

void draw_text(cairo_t* context, const std::string& text, double x, double y, double size, double width)
{
    const auto width_of = [context](const std::string& line) {
        cairo_text_extents_t extents;
        cairo_text_extents(context, line.c_str(), &extents);
        return extents.x_advance;
    };
    cairo_select_font_face(context, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context, size);
    std::string shown = text;
    for (std::size_t length = text.size(); length > 0 && width_of(shown) > width; --length) {
        shown = text.substr(0, length - 1) + "\u2026";
    }
    cairo_move_to(context, x, y);
    cairo_show_text(context, shown.c_str());
}

} // namespace sim::picture
