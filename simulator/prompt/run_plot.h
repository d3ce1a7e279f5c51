// The plot of a recorded run.
#pragma once

#include <string>

namespace prompt
{

/// Draws a recorded run as an SVG or PNG picture, by the name's ending, with gnuplot. Throws BadInput when the file is
/// no recorded run or gnuplot fails.
void plot_run(const std::string& csv, const std::string& picture);

} // namespace prompt
