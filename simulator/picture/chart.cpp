// The chart: where its parts lie and what light they reflect.
#include "picture/colour.h"
#include "picture/stages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace sim::picture
{

namespace
{

struct Patch {
    const char* name;
    Colour reflectance; // linear, with sRGB's primaries
};

constexpr std::array<Patch, kPatches> kPatchTable = {{
    {"dark skin", {0.170F, 0.085F, 0.055F}}, {"fair skin", {0.560F, 0.320F, 0.235F}},
    {"sky", {0.120F, 0.205F, 0.350F}},       {"foliage", {0.100F, 0.155F, 0.050F}},
    {"lavender", {0.235F, 0.215F, 0.440F}},  {"mint", {0.140F, 0.510F, 0.400F}},
    {"orange", {0.680F, 0.210F, 0.025F}},    {"cobalt", {0.070F, 0.105F, 0.380F}},
    {"coral", {0.530F, 0.095F, 0.120F}},     {"plum", {0.110F, 0.042F, 0.140F}},
    {"lime", {0.340F, 0.500F, 0.050F}},      {"amber", {0.750F, 0.360F, 0.030F}},
    {"blue", {0.030F, 0.050F, 0.290F}},      {"green", {0.060F, 0.300F, 0.065F}},
    {"red", {0.430F, 0.032F, 0.040F}},       {"yellow", {0.800F, 0.570F, 0.022F}},
    {"magenta", {0.500F, 0.090F, 0.300F}},   {"cyan", {0.022F, 0.240F, 0.380F}},
    {"white", {0.900F, 0.900F, 0.900F}},     {"light grey", {0.580F, 0.580F, 0.580F}},
    {"silver", {0.360F, 0.360F, 0.360F}},    {"mid grey", {0.190F, 0.190F, 0.190F}},
    {"dark grey", {0.090F, 0.090F, 0.090F}}, {"black", {0.030F, 0.030F, 0.030F}},
}};

// Reflectance around the patches: brings the chart's mean to kReferenceLevel.
constexpr float kFrame = 0.124F;
constexpr float kFlat = 0.18F;
constexpr float kDark = 0.06F; // of the detail regions
constexpr float kBright = 0.60F;

/// Part of the picture, 0 to 1 both ways.
struct Part {
    float x0;
    float y0;
    float width;
    float height;
};

constexpr Part patch_place(int patch)
{
    return {0.035F + 0.157F * static_cast<float>(patch % 6), 0.040F + 0.140F * static_cast<float>(patch / 6), 0.145F,
            0.125F};
}

constexpr Part region_place(Region region)
{
    if (region == Region::ramp) {
        return {0.035F, 0.610F, 0.930F, 0.055F};
    }
    const int column = static_cast<int>(region) - static_cast<int>(Region::star);
    return {0.035F + 0.3165F * static_cast<float>(column), 0.690F, 0.297F, 0.270F};
}

/// The pixels of a place, leaving out `border` (part of its sides) all round. A magnified place may lie outside.
Area pixels_of(const Part& place, int width, int height, float magnification, float border)
{
    const auto pixel = [magnification](float position, int side) {
        return static_cast<int>(std::lround(((position - 0.5F) * magnification + 0.5F) * static_cast<float>(side)));
    };
    const float dx = border * place.width;
    const float dy = border * place.height;
    return {pixel(place.x0 + dx, width), pixel(place.y0 + dy, height), pixel(place.x0 + place.width - dx, width),
            pixel(place.y0 + place.height - dy, height)};
}

/// Paints what an image shows of an area; `reflectance` gets the pixel's centre, in pixels from the area's corner.
template <typename Reflectance>
void paint(Image& image, const Area& area, Reflectance reflectance)
{
    for (int y = std::max(area.y0, 0); y < std::min(area.y1, image.height); ++y) {
        for (int x = std::max(area.x0, 0); x < std::min(area.x1, image.width); ++x) {
            image.pixels[index_of(x, y, image.width)] =
                reflectance(static_cast<float>(x - area.x0) + 0.5F, static_cast<float>(y - area.y0) + 0.5F);
        }
    }
}

/// Dark to bright; `bright` from 0 to 1.
Colour shade(float bright)
{
    return grey(std::lerp(kDark, kBright, unit(bright)));
}

/// 36 bright sectors; towards the centre they get finer than a pixel and fade to grey.
void paint_star(Image& image, const Area& area)
{
    constexpr float kSectors = 36.0F;
    const float cx = 0.5F * static_cast<float>(area.x1 - area.x0);
    const float cy = 0.5F * static_cast<float>(area.y1 - area.y0);
    const float radius = std::min(cx, cy);
    paint(image, area, [=](float x, float y) {
        const float r = std::hypot(x - cx, y - cy);
        const float inside = unit(radius - r);
        const float sector = 0.5F + std::cos(kSectors * std::atan2(y - cy, x - cx)) * r / kSectors;
        return shade(std::lerp(0.5F, unit(sector), inside));
    });
}

/// A dark and a bright half, their border 5 degrees off the vertical.
void paint_edge(Image& image, const Area& area)
{
    const float cx = 0.5F * static_cast<float>(area.x1 - area.x0);
    const float cy = 0.5F * static_cast<float>(area.y1 - area.y0);
    const float slope = std::tan(std::numbers::pi_v<float> / 36.0F);
    paint(image, area, [=](float x, float y) { return shade(0.5F + x - cx + slope * (y - cy)); });
}

} // namespace

const char* patch_name(int patch)
{
    return patch >= 0 && patch < kPatches ? kPatchTable[static_cast<std::size_t>(patch)].name : "";
}

Area patch_area(const Image& image, int patch, float magnification)
{
    return patch >= 0 && patch < kPatches
               ? pixels_of(patch_place(patch), image.width, image.height, magnification, 0.15F)
               : Area{};
}

Area region_area(const Image& image, Region region, float magnification)
{
    return pixels_of(region_place(region), image.width, image.height, magnification, 0.05F);
}

Colour patch_reflectance(int patch)
{
    return patch >= 0 && patch < kPatches ? kPatchTable[static_cast<std::size_t>(patch)].reflectance : Colour{};
}

void draw_chart(Image& image, float magnification)
{
    const auto area = [&](const Part& place) {
        return pixels_of(place, image.width, image.height, magnification, 0.0F);
    };
    std::ranges::fill(image.pixels, grey(kFrame));
    for (int i = 0; i < kPatches; ++i) {
        paint(image, area(patch_place(i)), [=](float, float) { return patch_reflectance(i); });
    }
    const Area ramp = area(region_place(Region::ramp));
    const float length = static_cast<float>(std::max(ramp.x1 - ramp.x0, 1));
    paint(image, ramp, [=](float x, float) { return grey(std::pow(x / length, 2.2F)); }); // even to the eye
    paint_star(image, area(region_place(Region::star)));
    paint_edge(image, area(region_place(Region::edge)));
    paint(image, area(region_place(Region::flat)), [](float, float) { return grey(kFlat); });
}

} // namespace sim::picture
