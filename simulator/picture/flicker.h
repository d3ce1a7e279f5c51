// Light of lamps on the mains, seen by a sensor that is read row by row (rolling shutter).
//
//   lamp   = 1 + m * cos(2 pi * 2f * t)          f: mains frequency; m: 0 for daylight
//   row    = mean of the lamp over the exposure time T that ends when the row is read, at t = frame + readout * place
//          = 1 + m * sinc(2f * T) * cos(2 pi * 2f * (t - T / 2)),   sinc(x) = sin(pi x) / (pi x)
//
// A time that is a whole number of half mains periods has no bands. At 30 frames a second those of 50 Hz roll by a
// third of their distance a frame, those of 60 Hz stand.
#pragma once

#include "picture/picture.h"

namespace sim::picture
{

inline constexpr double kReadoutSeconds = 0.9 * kFrameSeconds; // from the first row to the last

/// Light on a row of a frame, relative to its mean over time; `place` is 0 at the top and 1 at the bottom.
float row_light(const Lamp& lamp, double exposure_seconds, std::int64_t frame, double place);

} // namespace sim::picture
