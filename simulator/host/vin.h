// The host's video input: the frame rate of each camera.
#pragma once

namespace sim::host
{

inline constexpr int kDefaultFps = 30;

/// What get_vin_fps() returns for a camera, 0 to 7; it returns 0 for other ids. Any thread.
void set_vin_fps(int camera, int fps);

/// kDefaultFps for all.
void reset_vin();

} // namespace sim::host
