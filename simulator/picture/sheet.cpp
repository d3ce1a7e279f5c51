// Sheets of pictures with their titles and captions.
#include "picture/canvas.h"

#include <algorithm>

namespace sim::picture
{

namespace
{

// In pixels.
constexpr int kGap = 12;
constexpr int kTitleHeight = 30;
constexpr double kTitleSize = 17.0;
constexpr int kLineHeight = 17; // of a caption
constexpr double kCaptionSize = 12.5;

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
