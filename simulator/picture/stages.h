// What render() is made of beside its own stages: the scene before the lens, and the shading gains in force.
#pragma once

#include "picture/picture.h"

#include <algorithm>
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

/// One row of the picture, red, green and blue.
using Row = std::array<float*, 3>;
using ConstRow = std::array<const float*, 3>;

/// The last rows that a stage made, as many as the next one reads.
template <int Rows>
class Ring
{
public:
    explicit Ring(int width) : width_(static_cast<std::size_t>(width)), floats_(width_ * 3 * Rows) {}

    Row row(int y)
    {
        float* const first = floats_.data() + static_cast<std::size_t>(y % Rows) * 3 * width_;
        return {first, first + width_, first + 2 * width_};
    }

private:
    std::size_t width_;
    std::vector<float> floats_;
};

inline constexpr double kBaseIso = 50.0;         // sensitivity at gain 1
inline constexpr float kHighestStrength = 64.0F; // of any filter

/// A filter strength bounded to what makes sense; what is not a number becomes 0.
inline float strength(float value)
{
    return value > 0.0F ? std::min(value, kHighestStrength) : 0.0F;
}

/// The last of a block's ISO steps that the sensor gain reaches.
inline std::size_t iso_step(const int (&iso)[RK_AIQ_ISO_STEPS], double sensor_gain)
{
    std::size_t step = 0;
    while (step + 1 < RK_AIQ_ISO_STEPS && static_cast<double>(iso[step + 1]) <= sensor_gain * kBaseIso) {
        ++step;
    }
    return step;
}

/// What moves, cut out: light and, between 0 and 1, how much of what is behind it hides.
struct Cutout {
    Planes light;
    std::vector<float> cover;
    const Mover* mover = nullptr;
    float scale = 1.0F; // pixels per height of the scene
    int x = 0;          // of its corner in the picture, at rest
    int y = 0;
};

/// A scene through the zoom, its light at exposure 1, and what moves in it if that is asked for. Drawings of usual
/// sizes are kept for the next picture.
struct Drawn {
    Planes planes;
    std::optional<Cutout> cutout;
};
std::shared_ptr<const Drawn> draw_scene(const SceneRef& scene, float magnification, int width, int height,
                                        bool moving = false);

struct Place {
    int x = 0;
    int y = 0;
};

/// Where the corner of what moves is in a frame.
Place place_of(const Cutout& cutout, std::int64_t frame);

/// Mean luma of a scene as it is drawn, before its scale.
float mean_level(const Scene& scene);

/// Paints the chart's linear reflectances over an image that has its size.
void draw_chart(Image& image, float magnification);

/// Gains at 17 x 17 nodes that share the picture evenly, row by row.
using ShadingGains = std::array<Colour, RK_AIQ_LSC_GRID_POINTS>;

/// Nothing when the block corrects nothing.
std::optional<ShadingGains> shading_gains(const rk_aiq_lsc_attrib_t& lsc, const rk_aiq_wb_gain_t& wb);

} // namespace sim::picture
