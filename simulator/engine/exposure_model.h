// Automatic and manual exposure of one sensor, one step per frame.
//
//   cell luma = min(255, k * luminance * cell factor * transmission * time * total gain), k = 30 per cd/m2 and second
//   mean luma = cell lumas of 15 x 15 cells, weighted with the metering grid; all weights 0: equally weighted
//   target    = first dynamic set-point * 2 ^ (Evbias / 100), within 1 to 250
//   automatic : exposure (time * gain) *= clamp(target / mean luma, 1/8, 8) ^ AeSpeed, until luma is within 0.5 % of
//               the target; first a longer time, then analogue gain up to 16, then digital gain
//   manual    : what the manual block enables, at once
//
// 100 cd/m2 through an open lens thus reads 60 with 20 ms at gain 1.
#pragma once

#include "engine/blocks.h"

namespace sim::engine
{

/// Target luma of an exposure block.
double target_luma(const Blocks& blocks);

/// Mean luma of the scene with an exposure of `exposure` seconds at gain 1.
double mean_luma(const Cam15x15UCharMatrix_t& weights, double light, double exposure);

/// One frame: chooses the exposure, measures it under `light` (luminance in cd/m2 times the lens's transmission) and
/// leaves both in the block's result.
void run_exposure(Blocks& blocks, double light);

} // namespace sim::engine
