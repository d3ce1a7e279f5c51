// What a light asks of the white balance.
#pragma once

namespace sim::picture
{

/// Red and blue gain that make a grey neutral under a light, green being 1.
struct NeutralGains {
    double red = 1.0;
    double blue = 1.0;
};

/// For a black-body light or daylight of 2300 to 7500 K (the nearest end beyond), on a sensor of the given response.
NeutralGains neutral_gains(double kelvin, double red_response = 1.0, double blue_response = 1.0);

} // namespace sim::picture
