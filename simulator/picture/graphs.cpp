// Graphs of an image's levels.
#include "picture/canvas.h"
#include "picture/colour.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace sim::picture
{

namespace
{

// In pixels: the area of the graph and what is around it for its scales.
constexpr int kWidth = 768;
constexpr int kHeight = 384;
constexpr int kMargin = 40;

/// A dark sheet; draw inside (0, 0) to (kWidth, kHeight), levels upwards.
class Graph
{
public:
    Graph()
        : surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, kWidth + 2 * kMargin, kHeight + 2 * kMargin),
                   cairo_surface_destroy),
          context_(cairo_create(surface_.get()), cairo_destroy)
    {
        cairo_set_source_rgb(context(), 0.09, 0.09, 0.10);
        cairo_paint(context());
        cairo_translate(context(), kMargin, kMargin);
        cairo_set_line_width(context(), 1.0);
    }

    cairo_t* context()
    {
        return context_.get();
    }

    void text(const std::string& words, double x, double y)
    {
        cairo_set_source_rgb(context(), 0.75, 0.75, 0.75);
        draw_text(context(), words, x, y, 12.5, kWidth);
    }

    void line(double x0, double y0, double x1, double y1)
    {
        cairo_set_source_rgb(context(), 0.25, 0.25, 0.27);
        cairo_move_to(context(), x0, y0);
        cairo_line_to(context(), x1, y1);
        cairo_stroke(context());
    }

    Image image()
    {
        return from_surface(surface_.get());
    }

private:
    Surface surface_;
    Context context_;
};

std::string per_cent(const char* what, double share)
{
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%s %.1f %%", what, 100.0 * share);
    return text.data();
}

} // namespace

Image histogram_graph(const Image& image)
{
    const Histogram levels = histogram(image);
    Graph graph;
    cairo_t* const c = graph.context();
    for (int i = 0; i <= 4; ++i) {
        const int x = i * kWidth / 4;
        graph.line(x, 0, x, kHeight);
        graph.text(std::to_string(i * 255 / 4), x - 10, kHeight + 18);
    }
    // The highest of the levels between black and white fills the height; a root keeps rare levels visible.
    int most = 1;
    for (const auto& count : levels.count) {
        most = std::max(most, *std::max_element(count.begin() + 1, count.end() - 1));
    }
    constexpr Colour kInk[] = {{0.95F, 0.25F, 0.20F}, {0.20F, 0.85F, 0.30F}, {0.30F, 0.45F, 1.0F}, {0.9F, 0.9F, 0.9F}};
    for (std::size_t channel = 0; channel < levels.count.size(); ++channel) {
        const bool is_luma = channel == 3;
        const double step = kWidth / 256.0;
        cairo_move_to(c, 0, kHeight);
        for (std::size_t level = 0; level < 256; ++level) {
            const double share = std::min(std::sqrt(levels.count[channel][level] / static_cast<double>(most)), 1.0);
            cairo_line_to(c, step * (static_cast<double>(level) + 0.5), kHeight * (1.0 - share));
        }
        cairo_line_to(c, kWidth, kHeight);
        const Colour& ink = kInk[channel];
        cairo_set_source_rgba(c, static_cast<double>(ink.red), static_cast<double>(ink.green),
                              static_cast<double>(ink.blue), is_luma ? 1.0 : 0.45);
        is_luma ? cairo_stroke(c) : cairo_fill(c);
    }
    graph.text(per_cent("black", levels.black), 0, -12);
    graph.text(per_cent("clipped", levels.clipped), kWidth - 110, -12);
    return graph.image();
}

Image waveform_graph(const Image& image)
{
    Graph graph;
    cairo_t* const c = graph.context();
    for (int i = 0; i <= 4; ++i) {
        const int y = kHeight - i * kHeight / 4;
        graph.line(0, y, kWidth, y);
        graph.text(std::to_string(25 * i) + " %", -kMargin + 2, y + 4);
    }
    // How often each level occurs in a column of the graph, shown by a point's strength.
    std::vector<float> count(static_cast<std::size_t>(kWidth) * 256U);
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            const int level = to_byte(luma(image.pixels[index_of(x, y, image.width)]));
            const int first = x * kWidth / image.width;
            const int end = std::max((x + 1) * kWidth / image.width, first + 1);
            for (int column = first; column < end; ++column) {
                count[index_of(column, level, kWidth)] += 1.0F;
            }
        }
    }
    const float usual = 0.04F * static_cast<float>(std::max(image.height, 1));
    for (int level = 0; level < 256; ++level) {
        for (int column = 0; column < kWidth; ++column) {
            const float n = count[index_of(column, level, kWidth)];
            if (n > 0.0F) {
                const auto strength = static_cast<double>(std::min(0.15F + n / usual, 1.0F));
                cairo_set_source_rgba(c, 0.55, 0.95, 0.60, strength);
                cairo_rectangle(c, column, kHeight - (level + 1) * kHeight / 256.0, 1.0, kHeight / 256.0);
                cairo_fill(c);
            }
        }
    }
    return graph.image();
}

} // namespace sim::picture
