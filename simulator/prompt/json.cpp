#include "prompt/json.h"

#include <cmath>

namespace prompt
{

Json rounded(double value, int digits)
{
    if (value == 0.0 || !std::isfinite(value)) {
        return value;
    }
    const double scale = std::pow(10.0, digits - 1 - static_cast<int>(std::floor(std::log10(std::abs(value)))));
    return std::round(value * scale) / scale;
}

} // namespace prompt
