// The simulated engine as tests and the host program see it: what each context holds, what was misused, the scene in
// front of each sensor. Apart from the engine's own interface, which the library calls.
#pragma once

#include "aiq/rk_aiq.h"

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace sim::engine
{

inline constexpr int kSensors = 8; // engine indices 0 to 7, entity names "sim_sensor_0" to "sim_sensor_7"

/// Forgets all contexts, misuses and scenes.
void reset();

// ---- Contexts -----------------------------------------------------------------------------------------------------

enum class Life { unknown, initialised, prepared, running, stopped, released };

/// Where a context is in its life; `unknown` for a pointer that never was one. Takes group contexts too.
Life life(const void* context);

int live_contexts(); ///< of cameras and of groups, those not released

/// How a context was set up.
struct Configuration {
    std::vector<int> sensors; // one for a camera, the members in order for a group
    std::string iq_directory;
    const char* iq_directory_at = nullptr; // what the last start or update passed
    std::string main_scene;                // names given before the context was made, empty for a group
    std::string sub_scene;
    rk_aiq_working_mode_t mode = RK_AIQ_WORKING_MODE_NORMAL; // of the last prepare
};

Configuration configuration(const void* context); ///< empty for a pointer that never was a context

/// Wrong uses so far, oldest first, at most 256 different lines ("FUNCTION: use after release, sensor 0 (N times)"):
/// use after release, release during a call that takes time, double release, unknown context, a call out of order, a
/// null block, a second context of a sensor.
std::vector<std::string> misuses();

/// Every call with a context takes this much real time from now on, which is what a call and a release need to meet.
void set_call_time(int microseconds);

/// Whether the engine finds a sensor (phyId is -1 when it does not). All are there at first.
void set_sensor_present(int index, bool present);

// ---- Attribute blocks ---------------------------------------------------------------------------------------------

/// What a context holds, without a call of the engine's interface, for each block of modules.def. A poked live result
/// is what the engine reports until the next frame.
template <typename Block>
Block peek(const void* context);
template <typename Block>
void poke(const void* context, const Block& block);

/// What every new context's block holds at first: each field a value of its own, so that an untouched one shows.
template <typename Block>
Block initial();

std::vector<std::string> block_names(); ///< of those that can be set

using Value = std::variant<bool, int, float, std::string>;
std::string text_of(const Value& value);

/// A field "stManual.LinearAE.TimeValue" with its value, or an array "sharp_ratio[0..12]" with its elements; of a
/// change, those that differ, and what they were.
struct Field {
    std::string name;
    std::vector<Value> values;
    std::vector<Value> before;
};

std::vector<Field> describe(const void* context, std::string_view block); ///< all fields; empty when unknown

/// The blocks of a context at one moment, and the fields in which a later moment differs, named "block.field": all of
/// them if there was no context before. Empty for an unknown context.
using Snapshot = std::vector<unsigned char>;
Snapshot snapshot(const void* context);
std::vector<Field> changes(const Snapshot& before, const Snapshot& after);

// ---- Scene and live results ---------------------------------------------------------------------------------------

/// Scene luminance in front of a sensor, in cd/m2. Moves there evenly over `seconds` of simulated time.
void set_luminance(int sensor, double luminance, double seconds = 0.0);

/// What metering sees of a scene of luminance 1, row by row from the top: kMeteringSide x kMeteringSide samples of the
/// picture behind lens and shading correction. A scene is even, all samples 1, at first and where there are none.
inline constexpr int kMeteringSide = 60; // 4 x 4 samples make one of the 15 x 15 cells
void set_metering(int sensor, std::vector<float> samples);

/// Illuminant in front of a sensor: correlated colour temperature in kelvin, or a named one ("A", "TL84", "D50",
/// "D65"); false for an unknown name.
void set_illuminant(int sensor, double kelvin);
bool set_illuminant(int sensor, std::string_view name);

/// Mains frequency of the lamps "A" and "TL84", 50 Hz at first; 0: they do not flicker. Exposure measures their mean.
void set_mains(int sensor, double hertz);

/// A sensor's red and blue response relative to the reference sensor (1.0 each at first).
void set_response(int sensor, double red, double blue);

/// Relative light through the lens onto a sensor, 1.0 fully open; read at every frame. All open at first.
void set_aperture(int sensor, double transmission);

/// Readings::exposure of a scene that has the luma of the first AE target, without any bias.
inline constexpr double kReferenceLuma = 60.0;

/// What a sensor's exposure and white balance have reached.
struct Readings {
    bool automatic = true; // exposure
    double time = 0.0;     // seconds
    double analog_gain = 1.0;
    double isp_dgain = 1.0;
    double exposure = 0.0;  // the luma of a sample of 1, were there no limit: light times time times gain
    double mean_luma = 0.0; // 0 to 255
    double target_luma = 0.0;
    bool converged = false; // on the target, or at a limit
    bool at_limit = false;  // which keeps an automatic exposure from its target
    rk_aiq_wb_gain_t wb_gain{};
    double luminance = 0.0;          // of the scene, cd/m2
    double kelvin = 0.0;             // the illuminant's
    rk_aiq_wb_gain_t neutral_gain{}; // the gains that would make a grey neutral
    bool wb_converged = false;
    double flicker = 0.0; // of the lamp, a part of its mean
    double mains = 0.0;   // Hz, 0: none
};
Readings readings(int sensor);

/// Runs one frame of `seconds` in every running context. Called by the clock's frame tick.
void run_frame(double seconds);

} // namespace sim::engine
