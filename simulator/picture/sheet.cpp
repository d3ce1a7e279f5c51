// Sheets of pictures with their titles and captions, drawn with cairo, 8 bits per channel.
#include "picture/colour.h"

#include <algorithm>
#include <cairo.h>
#include <cstdint>
#include <cstring>
#include <memory>

namespace sim::picture
{

namespace
{

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

// In pixels.
constexpr int kGap = 12;
constexpr int kTitleHeight = 30;
constexpr double kTitleSize = 17.0;
constexpr int kLineHeight = 17; // of a caption
constexpr double kCaptionSize = 12.5;

/// cairo's error surface when it has no memory.
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

/// A line with its baseline start at (x, y); one that is wider than `width` is cut with an ellipsis.
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

void draw_panel(cairo_t* context, const Panel& panel, int x, int y, int width, int title_height)
{
    cairo_set_source_rgb(context, 0.08, 0.08, 0.08);
    draw_text(context, panel.title, x, y + title_height - 9, kTitleSize, width);
    y += title_height;
    if (!panel.image.pixels.empty()) {
        const Surface picture = to_surface(panel.image);
        cairo_set_source_surface(context, picture.get(), x, y);
        cairo_paint(context);
    }
    y += panel.image.height;
    cairo_set_source_rgb(context, 0.25, 0.25, 0.25);
    for (const std::string& line : panel.caption) {
        y += kLineHeight;
        draw_text(context, line, x, y - 1, kCaptionSize, width);
    }
}

} // namespace

Image contact_sheet(const std::vector<Panel>& panels, int columns)
{
    int width = 0;
    int height = 0;
    int title_height = kGap;
    for (const Panel& panel : panels) {
        width = std::max(width, panel.image.width);
        const int lines = static_cast<int>(std::min<std::size_t>(panel.caption.size(), kMaxSide / kLineHeight));
        height = std::max(height, panel.image.height + kLineHeight * lines);
        title_height = panel.title.empty() ? title_height : kTitleHeight;
    }
    const auto count = static_cast<int>(std::min<std::size_t>(panels.size(), kMaxSide));
    columns = std::clamp(columns, 1, std::max(count, 1));
    const int rows = (count + columns - 1) / columns;
    const int step_x = width + kGap;
    const int step_y = title_height + height + kGap / 2;
    if (width < 1 || columns > kMaxSide / step_x || rows > kMaxSide / step_y) {
        return {};
    }
    const Surface sheet(cairo_image_surface_create(CAIRO_FORMAT_RGB24, columns * step_x + kGap, rows * step_y + kGap),
                        cairo_surface_destroy);
    const Context context(cairo_create(sheet.get()), cairo_destroy);
    cairo_set_source_rgb(context.get(), 0.96, 0.96, 0.96);
    cairo_paint(context.get());
    for (int i = 0; i < count; ++i) {
        draw_panel(context.get(), panels[static_cast<std::size_t>(i)], kGap + i % columns * step_x,
                   i / columns * step_y, width, title_height);
    }
    return cairo_status(context.get()) == CAIRO_STATUS_SUCCESS ? from_surface(sheet.get()) : Image{};
}

} // namespace sim::picture
