// Sheets of pictures with their titles and captions; cairo draws the text.
#include "picture/colour.h"

#include <algorithm>
#include <cairo.h>
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

/// A line with its baseline start at (x, y), so dark; one that is wider than `width` is cut with an ellipsis.
void draw_text(cairo_t* context, const std::string& text, double x, double y, double size, double width, double dark)
{
    const auto width_of = [context](const std::string& line) {
        cairo_text_extents_t extents;
        cairo_text_extents(context, line.c_str(), &extents);
        return extents.x_advance;
    };
    cairo_select_font_face(context, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context, size);
    cairo_set_source_rgba(context, 0.0, 0.0, 0.0, dark);
    std::string shown = text;
    for (std::size_t length = text.size(); length > 0 && width_of(shown) > width;) {
        do { // a character is several bytes long
            --length;
        } while ((static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80);
        shown = text.substr(0, length) + "\u2026";
    }
    cairo_move_to(context, x, y);
    cairo_show_text(context, shown.c_str());
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
    Image sheet{columns * step_x + kGap, rows * step_y + kGap, {}};
    sheet.pixels.assign(index_of(0, sheet.height, sheet.width), grey(0.96F));
    const Surface text(cairo_image_surface_create(CAIRO_FORMAT_A8, sheet.width, sheet.height), cairo_surface_destroy);
    const Context context(cairo_create(text.get()), cairo_destroy);
    for (int i = 0; i < count; ++i) {
        const Panel& panel = panels[static_cast<std::size_t>(i)];
        const int x = kGap + i % columns * step_x;
        int y = i / columns * step_y + title_height;
        draw_text(context.get(), panel.title, x, y - 9, kTitleSize, width, 0.92);
        for (int row = 0; row < panel.image.height; ++row, ++y) {
            std::copy_n(panel.image.pixels.data() + index_of(0, row, panel.image.width), panel.image.width,
                        sheet.pixels.data() + index_of(x, y, sheet.width));
        }
        for (const std::string& line : panel.caption) {
            y += kLineHeight;
            draw_text(context.get(), line, x, y - 1, kCaptionSize, width, 0.74);
        }
    }
    if (cairo_status(context.get()) != CAIRO_STATUS_SUCCESS) {
        return {};
    }
    cairo_surface_flush(text.get());
    const unsigned char* row = cairo_image_surface_get_data(text.get());
    for (int y = 0; y < sheet.height; ++y, row += cairo_image_surface_get_stride(text.get())) {
        for (int x = 0; x < sheet.width; ++x) {
            Colour& pixel = sheet.pixels[index_of(x, y, sheet.width)];
            pixel = pixel * (1.0F - static_cast<float>(row[x]) / 255.0F);
        }
    }
    return sheet;
}

} // namespace sim::picture
