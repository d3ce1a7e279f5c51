// The cameras and their engines.
#pragma once

#include "base/clock.h"
#include "engine/engine.h"
#include "host/store.h"

#include <optional>
#include <string>
#include <vector>

namespace session
{

using sim::host::kCameras;
inline constexpr int kZoomCamera = 0; // the feature camera's lens is the one with motors
inline constexpr sim::Microseconds kFramePeriod = 33333;

// Each holds the camera's lane (session/lanes.h) and may throw Busy.

/// Starts a camera's engine and restores its settings from the store, and the colour-space mode, which no store keeps;
/// false when the engine did not start.
bool start_camera(int camera);

/// Stops an engine, has it read its tuning again, or stops and releases it; the library's result.
int stop_camera(int camera);
int reload_camera(int camera);
int release_camera(int camera);

/// Whether settings of a camera reach an engine, and what that engine is; the lowest sensor of a group stands for it.
bool has_engine(int camera);
const void* engine_of(int camera);
std::vector<int> cameras_with_engine();

/// The colour-space mode as last set; nothing before. Any thread.
std::optional<int> csc_mode_of(int camera);

/// Changes the light on a camera: a colour temperature in kelvin or a named lamp. Throws BadInput for any other.
void set_illuminant(int camera, const std::string& name);

/// Simulated seconds since the session was opened.
double seconds_now();

/// Where a camera is: "running", "stopped", "group" for a camera id that names a running group, "group, stopped".
std::string state_of(int camera);

/// The values of a camera's sensor, or of the first member of its group.
sim::engine::Readings readings_of(int camera);

/// The stored exposure mode by name.
std::string mode_name(int camera);

} // namespace session
