// Automatic and manual exposure of one sensor, one step per frame.
//
//   exposure  = k * luminance * transmission * time * total gain, k = 30 per cd/m2 and second
//   cell luma = mean of min(255, exposure * sample) over the scene's 4 x 4 samples in the cell
//   mean luma = lumas of 15 x 15 cells, weighted with the metering grid; all weights 0: equally weighted
//   target    = first AE target luma (DySetpoint) * 2 ^ (Evbias / 100), within 1 to 250
//   automatic : exposure (time * gain) *= clamp(target / mean luma, 1/8, 8) ^ AeSpeed, until luma is within 0.5 % of
//               the target; first a longer time, then analogue gain up to 16, then digital gain
//   manual    : what the manual block enables, at once
//
// 100 cd/m2 through an open lens thus reads 60 with 20 ms at gain 1.
#pragma once

#include "engine/blocks.h"

#include <span>

namespace sim::engine
{

double target_luma(const Blocks& blocks);

/// The exposure that a result holds under `light`, luminance in cd/m2 times the lens's transmission.
double exposure_of(const Uapi_LinearExp_t& exposure, double light);

/// One frame: chooses the exposure, measures it on the samples (see set_metering) and leaves both in the block's
/// result.
void run_exposure(Blocks& blocks, double light, std::span<const float> samples);

} // namespace sim::engine
