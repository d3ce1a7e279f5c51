// What render() is made of beside its own stages: the chart before the lens, and the shading gains in force.
#pragma once

#include "picture/picture.h"

#include <array>
#include <optional>

namespace sim::picture
{

/// The chart's linear reflectances. The sides must be positive.
Image draw_chart(int width, int height);

/// Gains at 17 x 17 nodes that share the picture evenly, row by row.
using ShadingGains = std::array<Colour, RK_AIQ_LSC_GRID_POINTS>;

/// Nothing when the block corrects nothing.
std::optional<ShadingGains> shading_gains(const rk_aiq_lsc_attrib_t& lsc, const rk_aiq_wb_gain_t& wb);

} // namespace sim::picture
