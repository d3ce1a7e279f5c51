// What render() is made of beside its own stages: the scene before the lens, and the shading gains in force.
#pragma once

#include "picture/picture.h"

#include <array>
#include <memory>
#include <optional>
#include <vector>

namespace sim::picture
{

/// Linear light, a plane of rows per channel.
struct Planes {
    int width = 0;
    int height = 0;
    std::array<std::vector<float>, 3> channel; // red, green, blue
};

/// A scene through the zoom, its light at exposure 1. Drawings of usual sizes are kept for the next picture.
std::shared_ptr<const Planes> draw_scene(const SceneRef& scene, float magnification, int width, int height);

/// Mean luma of a scene as it is drawn, before its scale.
float mean_level(const Scene& scene);

/// Paints the chart's linear reflectances over an image that has its size.
void draw_chart(Image& image, float magnification);

/// Gains at 17 x 17 nodes that share the picture evenly, row by row.
using ShadingGains = std::array<Colour, RK_AIQ_LSC_GRID_POINTS>;

/// Nothing when the block corrects nothing.
std::optional<ShadingGains> shading_gains(const rk_aiq_lsc_attrib_t& lsc, const rk_aiq_wb_gain_t& wb);

} // namespace sim::picture
