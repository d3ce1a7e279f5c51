#include "control/act.h"

#include "engine/engine.h"
#include "host/lens.h"
#include "host/store.h"
#include "isp_ctrl.h"
#include "session/cameras.h"
#include "session/change.h"

#include <cmath>
#include <exception>

namespace control
{

namespace
{

constexpr int kTele = 0x4000; // the protocol's zoom position at the longest

bool runs(int camera)
{
    return sim::engine::life(session::engine_of(camera)) == sim::engine::Life::running;
}

Outcome set_power(int camera, bool on)
{
    if (on == runs(camera)) {
        return {true, "it was so"};
    }
    const bool done = on ? session::start_camera(camera) : session::stop_camera(camera) == 0;
    return {done, done ? "" : "the engine failed"};
}

/// Tele, wide or stop; the motor has one speed.
Outcome drive_zoom(int command)
{
    const int direction = command < 0x10 ? command : command >> 4;
    sim::host::move_zoom_to(direction == 2   ? sim::host::kZoomLongest
                            : direction == 3 ? 0
                                             : static_cast<int>(std::lround(sim::host::lens_state().zoom)));
    return {};
}

Outcome change(int camera, const sim::host::Setting& setting, int value)
{
    const session::Outcome outcome = session::change_setting(camera, setting, value, session::Origin::control);
    const bool done = outcome.result == ISP_SUCCESS || outcome.result == ISP_EXCUTE_BYARM;
    return {done, done ? "" : outcome.text};
}

} // namespace

int value_of(int camera, std::string_view name)
{
    if (name == "camera_id") {
        return camera;
    }
    if (name == "power") {
        return runs(camera) ? 1 : 0;
    }
    if (name == "zoom") {
        const double zoom = camera == session::kZoomCamera ? sim::host::lens_state().zoom : 0.0;
        return static_cast<int>(std::lround(zoom * kTele / sim::host::kZoomLongest));
    }
    return sim::host::stored(camera, *sim::host::find_setting(name));
}

Outcome act(int camera, std::string_view name, int value)
try {
    if (name == "power") {
        return set_power(camera, value == 1);
    }
    if (name == "zoom" || name == "zoom_drive") {
        if (camera != session::kZoomCamera) {
            return {false, "its lens has no motors"};
        }
        if (name == "zoom_drive") {
            return drive_zoom(value);
        }
        sim::host::move_zoom_to((value * sim::host::kZoomLongest + kTele / 2) / kTele);
        return {};
    }
    return change(camera, *sim::host::find_setting(name), value);
} catch (const std::exception& error) {
    return {false, error.what()};
}

} // namespace control
