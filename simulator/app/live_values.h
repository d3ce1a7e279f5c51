// What a camera does at the moment.
#pragma once

#include "app/json.h"
#include "engine/engine.h"

#include <string>

namespace app
{

/// Where a camera is: "running", "stopped", "group" for a camera id that names a running group, "group, stopped".
std::string state_of(int camera);

/// The sensor whose values stand for a camera: its own, or the first member of its group.
int sensor_of(int camera);
sim::engine::Readings live_of(int camera);

/// The stored exposure mode by name.
std::string mode_name(int camera);

/// One line: mode, exposure time, gain, luma, iris, white-balance gains; without what does not fit into `width`.
std::string live_line(int camera, std::size_t width = 120);

/// The same for programs.
Json live_json(int camera);

} // namespace app
