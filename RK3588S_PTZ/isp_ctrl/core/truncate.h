// Conversion of measured figures to integers.
#pragma once

#include <climits>

namespace isp
{

/// Truncates toward zero; what does not fit an int becomes the nearest one, no number becomes 0.
inline int truncated(float value)
{
    if (!(value > -2147483648.0F)) {
        return value <= -2147483648.0F ? INT_MIN : 0;
    }
    return value >= 2147483648.0F ? INT_MAX : static_cast<int>(value);
}

} // namespace isp
