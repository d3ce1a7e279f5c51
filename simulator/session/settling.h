// How exposure settled in a recorded run.
#pragma once

#include <string>
#include <vector>

namespace session
{

struct Mark {
    std::string words;
    std::size_t row; ///< from which it counts
};

/// What settling is measured by: the luma of each camera in each row.
struct Run {
    std::vector<int> cameras;
    std::vector<Mark> marks;
    std::vector<double> seconds;
    std::vector<std::vector<double>> lumas;
};

/// A line per mark and camera: how long the luma took to settle and how far it overshot.
std::string settling_table(const Run& run);

} // namespace session
