// The record of a run: a CSV file with one row per frame, and how exposure settled in it.
#pragma once

#include <string>
#include <vector>

namespace session
{

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

/// Writes one row per frame for these cameras, until stop_recording(). Rows reach the file at least once a second of
/// real time, whole. Throws BadInput when the file cannot be written.
void start_recording(const std::string& path, const std::vector<int>& cameras);

/// Ends the recording, if there is one, and returns how exposure settled in it. Throws BadInput when rows could not be
/// written, which was reported on standard error as it happened.
std::vector<Settling> stop_recording();

/// Adds the row of the present frame, if a run is being recorded. Any thread.
void record_frame();

/// Marks the present moment of a recorded run with words.
void mark_recording(const std::string& words);

} // namespace session
