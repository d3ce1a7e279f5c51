// The light on the sensor: a grey's balance gains lie on a line between reference lights, linear in the reciprocal
// colour temperature.
#include "picture/light.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace sim::picture
{

namespace
{

struct ReferenceLight {
    double kelvin;
    NeutralGains gains;
};

// The reference sensor under horizon light, tungsten, cool white, and daylight D50, D65 and D75.
constexpr std::array<ReferenceLight, 6> kLights = {{{2300.0, {0.8316, 3.5712}},
                                                    {2856.0, {0.9908, 2.9308}},
                                                    {4000.0, {1.3640, 2.3673}},
                                                    {5000.0, {1.4530, 1.8288}},
                                                    {6500.0, {1.6188, 1.5214}},
                                                    {7500.0, {1.7445, 1.4430}}}};

} // namespace

NeutralGains neutral_gains(double kelvin, double red_response, double blue_response)
{
    const double k = std::clamp(kelvin, kLights.front().kelvin, kLights.back().kelvin);
    std::size_t i = 1;
    while (kLights[i].kelvin < k) {
        ++i;
    }
    const ReferenceLight& low = kLights[i - 1];
    const ReferenceLight& high = kLights[i];
    const double part = (1.0 / low.kelvin - 1.0 / k) / (1.0 / low.kelvin - 1.0 / high.kelvin);
    return {std::lerp(low.gains.red, high.gains.red, part) / red_response,
            std::lerp(low.gains.blue, high.gains.blue, part) / blue_response};
}

} // namespace sim::picture
