// Figures from an image.
#include "picture/colour.h"

#include <algorithm>
#include <cmath>

namespace sim::picture
{

namespace
{

/// The part of an area that lies in the image.
Area inside(const Image& image, const Area& area)
{
    return {std::max(area.x0, 0), std::max(area.y0, 0), std::min(area.x1, image.width),
            std::min(area.y1, image.height)};
}

const Colour& pixel(const Image& image, int x, int y)
{
    return image.pixels[index_of(x, y, image.width)];
}

/// Mean of `value` over the area's pixels, 0 without any.
template <typename Value>
double mean(const Image& image, const Area& area, Value value)
{
    const Area a = inside(image, area);
    double sum = 0.0;
    for (int y = a.y0; y < a.y1; ++y) {
        for (int x = a.x0; x < a.x1; ++x) {
            sum += static_cast<double>(value(pixel(image, x, y)));
        }
    }
    return a.x1 > a.x0 && a.y1 > a.y0 ? sum / (static_cast<double>(a.x1 - a.x0) * (a.y1 - a.y0)) : 0.0;
}

} // namespace

Colour mean_colour(const Image& image, Area area)
{
    return {static_cast<float>(mean(image, area, [](const Colour& c) { return c.red; })),
            static_cast<float>(mean(image, area, [](const Colour& c) { return c.green; })),
            static_cast<float>(mean(image, area, [](const Colour& c) { return c.blue; }))};
}

double mean_luma(const Image& image, Area area)
{
    return mean(image, area, luma);
}

double luma_deviation(const Image& image, Area area)
{
    const double centre = mean_luma(image, area);
    return std::sqrt(mean(image, area, [=](const Colour& c) {
        const double d = static_cast<double>(luma(c)) - centre;
        return d * d;
    }));
}

double steepest_edge(const Image& image, Area area)
{
    const Area a = inside(image, area);
    float steepest = 0.0F;
    for (int y = a.y0; y < a.y1; ++y) {
        for (int x = a.x0 + 1; x < a.x1; ++x) {
            steepest = std::max(steepest, std::abs(luma(pixel(image, x, y)) - luma(pixel(image, x - 1, y))));
        }
    }
    return static_cast<double>(steepest);
}

} // namespace sim::picture
