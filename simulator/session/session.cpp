#include "session/session.h"

#include "af/lens_ctrl.h"
#include "base/clock.h"
#include "engine/engine.h"
#include "host/lens.h"
#include "host/lens_service.h"
#include "host/store.h"
#include "isp_auto_iris.h"
#include "isp_ctrl/core/seam.h"
#include "session/bad_input.h"
#include "session/calibration_check.h"
#include "session/cameras.h"
#include "session/files.h"
#include "session/look.h"
#include "session/recording.h"

#include <atomic>

namespace session
{

namespace
{

struct Session {
    sim::host::LensService lens_service;
    bool iris_loop_started = false;
    bool stays_paced = false;
    std::atomic<bool> iris_on = false; ///< read by any thread
} state;

void run_frame()
{
    constexpr double kSeconds = kFramePeriod / 1e6;
    if (state.iris_loop_started) {
        state.lens_service.poll();
    }
    sim::host::step_lens(kSeconds);
    if (state.iris_loop_started) {
        state.lens_service.publish();
    }
    sim::engine::set_aperture(kZoomCamera, sim::host::lens_transmission());
    meter_scenes();
    sim::engine::run_frame(kSeconds);
    record_frame();
}

} // namespace

void open_session(const std::string& folder, bool look_only)
{
    sim::install_clock();
    sim::engine::reset();
    sim::host::reset_store();
    reset_scenes();
    enter_files(folder, look_only);
    load_settings();
    for (int camera = 0; camera < kCameras; ++camera) {
        set_illuminant(camera, "D50");
    }
    report_changed_calibration();
    sim::every(kFramePeriod, run_frame);
    sim::wait(1); // from here on simulated time waits for this thread
}

void close_session()
{
    leave_folder();
    stop_recording();
    if (settings_are_lost()) {
        throw BadInput("the settings were changed in a copy and are not kept");
    }
}

void set_auto_iris_on(bool on)
{
    if (on && !state.iris_loop_started) {
        throw_if(state.lens_service.open(paths().iris, 0));
        isp::seam.lens_service_port = static_cast<unsigned short>(state.lens_service.port());
        state.lens_service.publish();
        if (init_auto_iris_control(set_auto_iris) != 0) {
            throw BadInput("the iris loop does not start");
        }
        state.iris_loop_started = true;
    }
    state.iris_on = on;
    iris_mode(on ? 1 : 0);
}

bool auto_iris_on()
{
    return state.iris_on;
}

void keep_time_paced()
{
    state.stays_paced = true;
    sim::use_paced_time(1.0);
}

bool time_stays_paced()
{
    return state.stays_paced;
}

} // namespace session
