// The cameras and their engines.
#pragma once

#include "base/clock.h"
#include "host/store.h"

#include <string>
#include <vector>

namespace session
{

using sim::host::kCameras;
inline constexpr int kZoomCamera = 0; // the feature camera's lens is the one with motors
inline constexpr sim::Microseconds kFramePeriod = 33333;

/// Starts a camera's engine and restores its settings from the store; false when the engine did not start.
bool start_camera(int camera);

/// Whether settings of a camera reach an engine, and what that engine is; the lowest sensor of a group stands for it.
bool has_engine(int camera);
const void* engine_of(int camera);
std::vector<int> cameras_with_engine();

/// Changes the light on a camera: a colour temperature in kelvin or a named lamp. Throws BadInput for any other.
void set_illuminant(int camera, const std::string& name);

/// Simulated seconds since the session was opened.
double seconds_now();

} // namespace session
