// A record of what cameras and lens do over time: live lines, a CSV file, how exposure settled.
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

/// Ends the recording, if there is one. Returns a table, a line per mark and camera: how long the luma took to settle
/// and how far it overshot. Throws BadInput when rows could not be written.
std::string stop_recording_run();

/// Adds the row of the present frame, if a run is being recorded. Rows reach the file within a second.
void record_frame();

/// Marks the present moment of a recorded run with words.
void mark_run(const std::string& words);

} // namespace app
