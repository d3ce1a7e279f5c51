// Figures from an image.
#include "picture/colour.h"

#include <lcms2.h>

#include <algorithm>
#include <array>
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

cmsCIELab lab_of(Colour light)
{
    constexpr cmsCIEXYZ kWhite{0.95047, 1.0, 1.08883}; // D65, of sRGB
    const double r = light.red;
    const double g = light.green;
    const double b = light.blue;
    const cmsCIEXYZ xyz{0.4124564 * r + 0.3575761 * g + 0.1804375 * b, 0.2126729 * r + 0.7151522 * g + 0.0721750 * b,
                        0.0193339 * r + 0.1191920 * g + 0.9503041 * b};
    cmsCIELab result;
    cmsXYZ2Lab(&kWhite, &result, &xyz);
    return result;
}

cmsCIELab lab_of_shown(Colour shown)
{
    return lab_of({srgb_light(shown.red), srgb_light(shown.green), srgb_light(shown.blue)});
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

Histogram histogram(const Image& image, Area area)
{
    Histogram result;
    const auto level = [](float value) { return static_cast<std::size_t>(to_byte(value)); };
    const Area a = inside(image, area);
    int black = 0;
    int clipped = 0;
    for (int y = a.y0; y < a.y1; ++y) {
        for (int x = a.x0; x < a.x1; ++x) {
            const Colour& c = pixel(image, x, y);
            const std::array levels = {level(c.red), level(c.green), level(c.blue), level(luma(c))};
            for (std::size_t i = 0; i < levels.size(); ++i) {
                ++result.count[i][levels[i]];
            }
            const auto [least, most] = std::minmax({levels[0], levels[1], levels[2]});
            black += most == 0 ? 1 : 0;
            clipped += most == 255 ? 1 : 0;
        }
    }
    const double pixels = std::max(static_cast<double>(a.x1 - a.x0) * (a.y1 - a.y0), 1.0);
    result.black = black / pixels;
    result.clipped = clipped / pixels;
    return result;
}

Histogram histogram(const Image& image)
{
    return histogram(image, {0, 0, image.width, image.height});
}

double colour_difference(Colour shown, Colour linear)
{
    const cmsCIELab a = lab_of_shown(shown);
    const cmsCIELab b = lab_of(linear);
    return cmsCIE2000DeltaE(&a, &b, 1.0, 1.0, 1.0);
}

double chroma(Colour shown)
{
    const cmsCIELab lab = lab_of_shown(shown);
    return std::hypot(lab.a, lab.b);
}

} // namespace sim::picture
