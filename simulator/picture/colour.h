// Arithmetic on colours, the tone curve of sRGB, and luma and colour difference as a BT.709 display reads them.
#pragma once

#include "picture/picture.h"

#include <algorithm>
#include <cmath>

namespace sim::picture
{

inline Colour operator+(Colour a, Colour b)
{
    return {a.red + b.red, a.green + b.green, a.blue + b.blue};
}

inline Colour operator-(Colour a, Colour b)
{
    return {a.red - b.red, a.green - b.green, a.blue - b.blue};
}

inline Colour operator*(Colour a, float factor)
{
    return {a.red * factor, a.green * factor, a.blue * factor};
}

inline Colour grey(float level)
{
    return {level, level, level};
}

/// Where a pixel stands in rows of `width`.
inline std::size_t index_of(int x, int y, int width)
{
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
}

/// Bounded to 0 to 1; what is not a number becomes 0.
inline float unit(float x)
{
    const float positive = std::max(0.0F, x);
    return std::min(1.0F, positive);
}

/// The nearest of the levels 0 to 255 of eight bits.
inline int to_byte(float level)
{
    constexpr float kHalf = 0.5F;
    return static_cast<int>(kHalf + 255.0F * unit(level));
}

inline float luma(Colour c)
{
    return 0.2126F * c.red + 0.7152F * c.green + 0.0722F * c.blue;
}

/// The tone curve of sRGB (IEC 61966-2-1): the level that shows linear light, and its inverse.
inline float srgb_level(float light)
{
    return light <= 0.0031308F ? 12.92F * light : 1.055F * std::pow(light, 1.0F / 2.4F) - 0.055F;
}

inline float srgb_light(float level)
{
    return level <= 0.04045F ? level / 12.92F : std::pow((level + 0.055F) / 1.055F, 2.4F);
}

struct LumaChroma {
    float y = 0.0F;
    float cb = 0.0F; // -0.5 to 0.5
    float cr = 0.0F;
};

inline LumaChroma to_luma_chroma(Colour c)
{
    const float y = luma(c);
    return {y, (c.blue - y) / 1.8556F, (c.red - y) / 1.5748F};
}

inline Colour to_rgb(LumaChroma c)
{
    return {c.y + 1.5748F * c.cr, c.y - 0.187324F * c.cb - 0.468124F * c.cr, c.y + 1.8556F * c.cb};
}

} // namespace sim::picture
