// A record of what cameras and lens do over time: live lines, a CSV file, a plot of it.
#pragma once

#include <string>
#include <vector>

namespace app
{

/// One line: mode, exposure time, gain, luma, iris, white-balance gains.
std::string live_line(int camera);

/// Writes one row per frame for these cameras, until stop_recording_run(). Throws BadInput when the file cannot be
/// written.
void record_run(const std::string& path, const std::vector<int>& cameras);
void stop_recording_run();

/// Adds the row of the present frame, if a run is being recorded.
void record_frame();

/// Draws a recorded run as an SVG or PNG picture, by the name's ending, with gnuplot. Throws BadInput when the file is
/// no recorded run or gnuplot fails.
void plot_run(const std::string& csv, const std::string& picture);

} // namespace app
