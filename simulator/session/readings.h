// What a camera does at the moment.
#pragma once

#include "engine/engine.h"

#include <string>

namespace session
{

/// Where a camera is: "running", "stopped", "group" for a camera id that names a running group, "group, stopped".
std::string state_of(int camera);

/// The sensor whose values stand for a camera: its own, or the first member of its group.
int sensor_of(int camera);
sim::engine::Readings readings_of(int camera);

/// The stored exposure mode by name.
std::string mode_name(int camera);

} // namespace session
