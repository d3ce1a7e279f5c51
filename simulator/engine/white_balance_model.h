// White balance of one sensor, one step per frame.
//
//   ideal red  = (2.128 - 3255 / T) / red response       T in kelvin, 1500 to 20000
//   ideal blue = (0.018 + 9736 / T) / blue response
//   automatic : the gains move a quarter of the way to ideal + enabled offset per frame and end exactly there
//   manual    : given gains, or the ideal gains of a given temperature, at once
//
// A named lamp may lie off the curve by a factor.
#pragma once

#include "engine/blocks.h"

#include <string_view>

namespace sim::engine
{

struct Illuminant {
    double kelvin = 6504.0;
    double red = 1.0; // factors of the ideal gains
    double blue = 1.0;
    double flicker = 0.0; // swing of a lamp on the mains, a part of its mean
};

/// One of "A", "TL84", "D50", "D65", null for any other name.
const Illuminant* find_illuminant(std::string_view name);

struct Response {
    double red = 1.0;
    double blue = 1.0;
};

/// The gains that make a grey neutral under a light on a sensor.
rk_aiq_wb_gain_t ideal_gains(const Illuminant& light, const Response& response);

/// One frame; leaves the gains in the blocks' result.
void run_white_balance(Blocks& blocks, const Illuminant& light, const Response& response);

} // namespace sim::engine
