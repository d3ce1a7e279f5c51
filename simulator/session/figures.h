// Figures of what a camera shows.
#pragma once

#include "picture/picture.h"

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace session
{

/// Figures by name, in an order that depends only on what is measured. Colours, luma and noise in levels of 255, shares
/// in percent.
///   red, green, blue, luma, clipped_percent, black_percent   of the region, or of the whole picture
///   noise, snr_db          of a region that is even; of the chart as a whole: of its mid-grey patch
///   ciede2000_mean, _max   of the chart's patches
///   wb_error               mean CIELAB chroma of the chart's greys: 0 where they are neutral
///   edge_contrast          of the chart: the greatest step of luma between neighbours, in levels per pixel
///   exposure_error_ev      of the mean luma that exposure measures against its target
///   exposure_time, gain    in seconds and times
using Figures = std::vector<std::pair<std::string_view, double>>;

/// The mean of the figures of so many frames from the present one on.
Figures figures_of(int camera, const std::optional<sim::picture::Area>& region = {}, int frames = 1);

} // namespace session
