// Values per sensitivity (ISO) step of an engine block.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace isp
{

inline constexpr std::size_t kIsoSteps = 13;

/// Fills the steps with the automatic curve, or with one manual level's value at every step.
template <std::size_t Levels>
void fill_iso_steps(float (&steps)[kIsoSteps], bool automatic, const float (&curve)[kIsoSteps],
                    const float (&manual)[Levels], int level)
{
    if (automatic) {
        std::copy(std::begin(curve), std::end(curve), std::begin(steps));
    } else {
        std::fill(std::begin(steps), std::end(steps), manual[level]);
    }
}

} // namespace isp
