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

/// How a camera's luma settled after a mark.
struct Settling {
    std::string mark;
    double seconds = 0.0; ///< of the mark
    int camera = 0;
    const char* unsettled = nullptr; ///< why the rest says nothing
    double after = 0.0;              ///< seconds that it took
    double overshoot = 0.0;          ///< percent
    double luma = 0.0;               ///< at the end
};
std::vector<Settling> settling_of(const Run& run);

} // namespace session
