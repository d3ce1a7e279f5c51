// What programs are told: JSON objects with named fields.
#pragma once

#include <cmath>
#include <nlohmann/json.hpp>

namespace prompt
{

using Json = nlohmann::ordered_json;

/// A number with so many significant digits.
inline Json rounded(double value, int digits = 6)
{
    if (value == 0.0 || !std::isfinite(value)) {
        return value;
    }
    const double scale = std::pow(10.0, digits - 1 - static_cast<int>(std::floor(std::log10(std::abs(value)))));
    return std::round(value * scale) / scale;
}

} // namespace prompt
