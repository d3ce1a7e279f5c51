// A host's own test: ten minutes of exposure following in simulated time, and a setter whose engine call fails.
#include <base/calls.h>
#include <base/clock.h>
#include <core/seam.h>
#include <cstdio>
#include <engine/engine.h>
#include <host/store.h>
#include <isp_ctrl.h>
#include <vector>

int main()
{
    constexpr int kFeature = 0;
    constexpr int kPanorama = 1;
    static_assert(ISP_CTRL_VERSION_MAJOR == 1);
    isp::seam.lens_command = ""; // no process is started
    sim::install_clock();
    sim::every(40'000, [] { sim::engine::run_frame(0.04); });
    sim::wait(1);
    if (rk_isp_init(kFeature, nullptr) != 0 || rk_isp_init(kPanorama, nullptr) != 0) {
        return 1;
    }

    KIV_Set_exposure_mode(kFeature, SMART_EXPOSURE);
    sim::await_waiting(1); // the new thread takes part in simulated time once it waits
    sim::engine::set_luminance(kPanorama, 4.0, 60.0);
    sim::start_recording();
    sim::wait(600'000'000);
    const double panorama = sim::engine::readings(kPanorama).time;
    const double feature = sim::engine::readings(kFeature).time;
    const std::vector<sim::Call> calls = sim::recorded_calls();
    std::printf("exposure time %g s, followed with %g s, in %zu calls\n", panorama, feature, calls.size());
    if (feature != panorama || panorama <= 0.02 || calls.size() < 600'000 / 34) {
        return 1;
    }

    sim::inject_fault("rk_aiq_user_api2_agamma_SetAttrib", 1, XCAM_RETURN_ERROR_FAILED);
    if (KIV_Set_gamma(kFeature, ISP_GAMMA_0_63) != -1 || sim::faults_struck() != 1) {
        return 1;
    }
    KIV_Set_exposure_mode(kFeature, AUTO_EXPOSURE);
    sim::wait(100'000);
    rk_isp_deinit(kFeature);
    rk_isp_deinit(kPanorama);
    return sim::engine::misuses().empty() && sim::host::misuses().empty() ? 0 : 1;
}
