// The sensors, what is in front of them, and the frames that they deliver.
#include "engine/contexts.h"
#include "engine/exposure_model.h"
#include "engine/white_balance_model.h"

#include <algorithm>

namespace sim::engine
{
namespace
{

struct Sensor {
    bool present = true;
    double luminance = 100.0; // cd/m2
    double luminance_to = 100.0;
    double seconds_left = 0.0; // of the way there
    Illuminant illuminant;
    double mains = 50.0; // Hz
    Response response;
    double transmission = 1.0;
    std::vector<float> samples; // what metering sees; empty: an even scene
};

std::mutex mutex; // taken before a context's lock
std::array<Sensor, kSensors> all_sensors;

// Calls `change` with the sensor of a valid index.
template <typename Change>
void with_sensor(int index, Change change)
{
    if (index >= 0 && index < kSensors) {
        const std::lock_guard lock(mutex);
        change(all_sensors[static_cast<std::size_t>(index)]);
    }
}

void advance(Sensor& sensor, double seconds)
{
    if (sensor.seconds_left <= seconds) {
        sensor.luminance = sensor.luminance_to;
        sensor.seconds_left = 0.0;
    } else {
        sensor.luminance += (sensor.luminance_to - sensor.luminance) * seconds / sensor.seconds_left;
        sensor.seconds_left -= seconds;
    }
}

} // namespace

std::string sensor_name(int index)
{
    return "sim_sensor_" + std::to_string(index);
}

bool sensor_present(int index)
{
    bool present = false;
    with_sensor(index, [&](const Sensor& sensor) { present = sensor.present; });
    return present;
}

void reset_sensors()
{
    const std::lock_guard lock(mutex);
    all_sensors.fill({});
}

void set_sensor_present(int index, bool present)
{
    with_sensor(index, [&](Sensor& sensor) { sensor.present = present; });
}

void set_luminance(int index, double luminance, double seconds)
{
    with_sensor(index, [&](Sensor& sensor) {
        sensor.luminance_to = std::max(luminance, 0.0);
        sensor.seconds_left = std::max(seconds, 0.0);
        advance(sensor, 0.0);
    });
}

void set_metering(int index, std::vector<float> samples)
{
    with_sensor(index, [&](Sensor& sensor) { sensor.samples = std::move(samples); });
}

void set_illuminant(int index, double kelvin)
{
    with_sensor(index, [&](Sensor& sensor) { sensor.illuminant = {.kelvin = kelvin}; });
}

bool set_illuminant(int index, std::string_view name)
{
    const Illuminant* const found = find_illuminant(name);
    if (found) {
        with_sensor(index, [&](Sensor& sensor) { sensor.illuminant = *found; });
    }
    return found != nullptr;
}

void set_mains(int index, double hertz)
{
    with_sensor(index, [&](Sensor& sensor) { sensor.mains = std::max(hertz, 0.0); });
}

void set_response(int index, double red, double blue)
{
    with_sensor(index, [&](Sensor& sensor) { sensor.response = {std::max(red, 1e-3), std::max(blue, 1e-3)}; });
}

void set_aperture(int index, double transmission)
{
    with_sensor(index, [&](Sensor& sensor) { sensor.transmission = std::clamp(transmission, 0.0, 1.0); });
}

// A group's first sensor leads.
void run_frame(double seconds)
{
    const std::lock_guard sensors_lock(mutex);
    for (Sensor& sensor : all_sensors) {
        advance(sensor, seconds);
    }
    for (Context& context : contexts) {
        const std::lock_guard lock(context.lock);
        if (context.life == Life::running) {
            const Sensor& sensor = all_sensors[static_cast<std::size_t>(context.sensors[0])];
            run_exposure(context.blocks, sensor.luminance * sensor.transmission, sensor.samples);
            run_white_balance(context.blocks, sensor.illuminant, sensor.response);
        }
    }
}

// Of several contexts the one that runs counts, of several running ones the one started last.
Readings readings(int index)
{
    Readings result;
    double light = 0.0;
    with_sensor(index, [&](const Sensor& sensor) {
        light = sensor.luminance * sensor.transmission;
        result.luminance = sensor.luminance;
        result.kelvin = sensor.illuminant.kelvin;
        result.flicker = sensor.illuminant.flicker;
        result.mains = sensor.mains;
        result.neutral_gain = ideal_gains(sensor.illuminant, sensor.response);
    });
    std::pair<bool, std::uint64_t> best{false, 0};
    bool found = false;
    for (Context& context : contexts) {
        const std::lock_guard lock(context.lock);
        const std::pair rank(context.life == Life::running, context.started);
        const auto end = context.sensors.begin() + context.sensor_count;
        if (!is_alive(context.life) || std::find(context.sensors.begin(), end, index) == end ||
            (found && rank < best)) {
            continue;
        }
        found = true;
        best = rank;
        const Uapi_ExpQueryInfo_t& exposure = context.blocks.exposure_result;
        const rk_aiq_wb_querry_info_t& balance = context.blocks.wb_result;
        result.automatic = context.blocks.ae.AecOpType != RK_AIQ_OP_MODE_MANUAL;
        result.time = exposure.LinAeInfo.LinearExp.integration_time;
        result.analog_gain = exposure.LinAeInfo.LinearExp.analog_gain;
        result.isp_dgain = exposure.LinAeInfo.LinearExp.isp_dgain;
        result.exposure = exposure_of(exposure.LinAeInfo.LinearExp, light);
        result.mean_luma = exposure.LinAeInfo.MeanLuma;
        result.target_luma = target_luma(context.blocks);
        result.converged = exposure.IsConverged;
        result.at_limit = result.automatic && result.converged &&
                          std::abs(exposure.LinAeInfo.LumaDeviation) >
                              result.target_luma * context.blocks.lin_ae.Params.ToleranceIn / 100.0;
        result.wb_gain = balance.gain;
        result.wb_converged = balance.awbConverged;
    }
    return result;
}

} // namespace sim::engine
