// Noise of the sensor and what the temporal filter leaves of it.
//
//   variance = gain * 5e-5 * signal + (gain * 8e-4)^2       photon and read noise, a full white being 1; deviations
//                                                           are those of a normal distribution, new in each frame
//   filter   : h += a * (x - h) in each frame, a = 2 / (2 + s), s the mean strength of its two bands
//   detector : h = x where the light moved away from h by more than 2 + s deviations of the noise
//
// What is still thus keeps 1 / (1 + s) of the variance. What moves less than the detector sees leaves a ghost; behind
// what moves more the noise is new. The detector compares light without its noise, as one does that looks at a
// neighbourhood, and exposure is taken as that of the present frame.
#pragma once

#include "picture/stages.h"

namespace sim::picture
{

struct Noise {
    float shot = 0.0F; // variance per unit of signal
    float read = 0.0F;

    float variance(float signal) const
    {
        return shot * (signal > 0.0F ? signal : 0.0F) + read;
    }
};

/// Before the temporal filter.
Noise noise_of(const Look& look);

/// The temporal filter over the last frames, the present one first; older ones are left in the weight of the last.
struct TemporalFilter {
    static constexpr std::size_t kFrames = 9;

    float a = 1.0F;                                // 1: off
    float rest = 0.0F;                             // deviation that is left of the noise after endlessly many frames
    float reset = 0.0F;                            // deviations beyond which light counts as moved
    std::array<float, kFrames> weight = {1.0F, 0}; // of each frame's noise on what is still
    bool on() const
    {
        return a < 1.0F;
    }
};

TemporalFilter temporal_filter_of(const Look& look);

/// Adds the noise that the filter leaves where nothing moves. `scratch` holds a row.
void add_noise(const Look& look, const Noise& noise, const TemporalFilter& filter, int y, int width, Row row,
               float* scratch);

/// The filter's output where something moves: `light` holds the rows of the last frames from `x0` to `x1`, the present
/// one first, of one channel; `out` begins at `x0` too, `scratch` holds a row.
void filter_moving(const Look& look, const Noise& noise, const TemporalFilter& filter, int y, std::size_t channel,
                   int x0, int x1, const std::array<const float*, TemporalFilter::kFrames>& light, float* out,
                   float* scratch);

} // namespace sim::picture
