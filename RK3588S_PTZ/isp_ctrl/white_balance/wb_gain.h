// Gain of a manual red or blue gain level.
#pragma once

namespace isp
{

/// level / 64 + 0.0035.
constexpr float manual_gain(int level)
{
    const double doubled = static_cast<double>(level) + static_cast<double>(level);
    return static_cast<float>(doubled / 128.0 + 0.0035);
}

} // namespace isp
