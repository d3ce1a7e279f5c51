// Sheets of labelled images. Cairo draws.
#include "picture/colour.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>

namespace sim::picture
{

namespace
{

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

// Of a sheet, in pixels.
constexpr int kGap = 12;
constexpr int kLabelHeight = 30;
constexpr double kFontSize = 17.0;

std::uint32_t to_byte(float level)
{
    return static_cast<std::uint32_t>(std::lround(255.0F * unit(level)));
}

/// An image as cairo holds it; cairo's error surface when it has no memory.
Surface to_surface(const Image& image)
{
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, image.width, image.height), cairo_surface_destroy);
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
        return surface;
    }
    cairo_surface_flush(surface.get());
    unsigned char* row = cairo_image_surface_get_data(surface.get());
    const int stride = cairo_image_surface_get_stride(surface.get());
    auto pixel = image.pixels.begin();
    for (int y = 0; y < image.height; ++y, row += stride) {
        for (int x = 0; x < image.width; ++x, ++pixel) {
            const std::uint32_t word =
                (to_byte(pixel->red) << 16U) | (to_byte(pixel->green) << 8U) | to_byte(pixel->blue);
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

/// Draws a label with its baseline start at (x, y), narrowed when it is wider than `width`.
void draw_label(cairo_t* context, const std::string& label, double x, double y, double width)
{
    cairo_text_extents_t extents;
    cairo_set_font_size(context, kFontSize);
    cairo_text_extents(context, label.c_str(), &extents);
    if (extents.x_advance > width) {
        cairo_set_font_size(context, 0.97 * kFontSize * width / extents.x_advance); // small type runs wider
    }
    cairo_move_to(context, x, y);
    cairo_show_text(context, label.c_str());
}

} // namespace

Image contact_sheet(const std::vector<Labelled>& images, int columns)
{
    int cell_width = 0;
    int cell_height = 0;
    for (const auto& [label, image] : images) {
        cell_width = std::max(cell_width, image.width);
        cell_height = std::max(cell_height, image.height);
    }
    const auto count = static_cast<int>(std::min<std::size_t>(images.size(), kMaxSide));
    columns = std::clamp(columns, 1, std::max(count, 1));
    const int rows = (count + columns - 1) / columns;
    const int step_x = cell_width + kGap;
    const int step_y = kLabelHeight + cell_height + kGap;
    if (cell_width < 1 || columns > kMaxSide / step_x || rows > kMaxSide / step_y) {
        return {};
    }

    const Surface sheet(cairo_image_surface_create(CAIRO_FORMAT_RGB24, columns * step_x + kGap, rows * step_y),
                        cairo_surface_destroy);
    const Context context(cairo_create(sheet.get()), cairo_destroy);
    cairo_t* const c = context.get();
    cairo_set_source_rgb(c, 0.96, 0.96, 0.96);
    cairo_paint(c);
    cairo_select_font_face(c, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    for (int i = 0; i < count; ++i) {
        const auto& [label, image] = images[static_cast<std::size_t>(i)];
        const int x = kGap + i % columns * step_x;
        const int y = i / columns * step_y;
        cairo_set_source_rgb(c, 0.1, 0.1, 0.1);
        draw_label(c, label, x, y + kLabelHeight - 9, cell_width);
        if (!image.pixels.empty()) {
            const Surface picture = to_surface(image);
            cairo_set_source_surface(c, picture.get(), x, y + kLabelHeight);
            cairo_paint(c);
        }
    }
    return cairo_status(c) == CAIRO_STATUS_SUCCESS ? from_surface(sheet.get()) : Image{};
}

Image side_by_side(const std::vector<Labelled>& images)
{
    return contact_sheet(images, static_cast<int>(std::min<std::size_t>(images.size(), kMaxSide)));
}

} // namespace sim::picture
