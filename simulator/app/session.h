// The simulated camera at work: its files, the frame clock that drives engine and lens, and the lens service.
#pragma once

#include "base/clock.h"

#include <functional>
#include <string>
#include <vector>

namespace app
{

inline constexpr int kCameras = 8;
inline constexpr int kZoomCamera = 0; // the feature camera's lens is the one with motors
inline constexpr sim::Microseconds kFramePeriod = 33333;

/// Sets everything up in a folder, which is made if it is not there, and loads the parameter store from it. Where
/// nothing is to be written there, or cannot be, it works in a copy, and says so. Throws BadInput when the folder
/// cannot be used or the store is damaged.
void open_session(const std::string& folder, bool look_only = false);

/// Ends a recording and leaves the folder. Throws BadInput when rows of the recording were lost.
void close_session();

/// Writes the store if it changed. Throws BadInput when it cannot be written.
void save_session();

std::string session_folder();
std::string store_path();
std::string shading_path();
std::string calibration_path();

/// Starts a camera's engine and restores its settings from the store; false when the engine did not start.
bool start_camera(int camera);

/// Whether settings of a camera reach an engine, and what that engine is; the lowest sensor of a group stands for it.
bool has_engine(int camera);
const void* engine_of(int camera);
std::vector<int> cameras_with_engine();

/// Chooses the lens that vendor storage names; "none" for no entry.
void fit_lens(const std::string& model);

/// Starts automatic iris (once per program): the lens service and the library's loop; or switches it off and on.
void set_auto_iris_on(bool on);
bool auto_iris_on();

/// Changes the light on a camera: a colour temperature in kelvin or a named lamp. Throws BadInput for any other.
void set_illuminant(int camera, const std::string& name);

/// Is called after every frame.
void on_frame(std::function<void()> callback);

/// From here on time follows the real clock: people watch.
void keep_time_paced();
bool time_stays_paced();

/// Simulated seconds since the session was opened.
double seconds_now();

} // namespace app
