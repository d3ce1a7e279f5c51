// The flicker of lamps; flicker.h states its formula.
#include "picture/flicker.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace sim::picture
{

float row_light(const Lamp& lamp, double exposure_seconds, std::int64_t frame, double place)
{
    const double rate = 2.0 * lamp.mains;
    if (!(lamp.flicker > 0.0 && rate > 0.0)) {
        return 1.0F;
    }
    const double periods = std::numbers::pi * rate * std::max(exposure_seconds, 0.0);
    const double sinc = periods > 1.0e-6 ? std::sin(periods) / periods : 1.0;
    const double seconds = static_cast<double>(frame) * kFrameSeconds + place * kReadoutSeconds;
    const double phase = std::fmod(rate * (seconds - 0.5 * exposure_seconds), 1.0);
    return static_cast<float>(1.0 + lamp.flicker * sinc * std::cos(2.0 * std::numbers::pi * phase));
}

} // namespace sim::picture
