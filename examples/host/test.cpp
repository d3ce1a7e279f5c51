// A test of the host in simulated time: its own store, lens, protocol and cameras with the simulated engine. Ten
// minutes pass in a fraction of a second, the same way at every run.
#include "host.h"

#include <base/calls.h>
#include <base/clock.h>
#include <core/seam.h>
#include <cstdio>
#include <cstring>
#include <engine/engine.h>
#include <isp_ctrl.h>
#include <string>

namespace
{

int failures = 0;

void expect(bool good, const std::string& what)
{
    std::printf("%s: %s\n", good ? "good" : "FAILED", what.c_str());
    failures += good ? 0 : 1;
}

void expect_reply(const char* request, const std::string& start)
{
    char reply[2048];
    protocol_answer(request, reply, sizeof reply);
    expect(std::strncmp(reply, start.c_str(), start.size()) == 0, std::string(request) + " -> " + reply);
}

bool follows()
{
    return sim::engine::readings(FEATURE).time == sim::engine::readings(PANORAMA).time;
}

// A minute as the host lives it.
void minute()
{
    for (int second = 0; second < 60; ++second) {
        sim::wait(1'000'000);
        cameras_each_second();
    }
}

} // namespace

int main()
{
    isp::seam.lens_command = ""; // no process is started to learn the lens
    sim::install_clock();
    sim::every(40'000, [] { sim::engine::run_frame(0.04); });
    sim::wait(1); // this thread takes part
    expect(store_load("/nonexistent/settings") == 0, "a first start has initial values");
    expect(cameras_start(1) == 0, "the cameras start");

    sim::engine::set_luminance(PANORAMA, 4.0, 60.0);
    for (int i = 0; i < 10; ++i) {
        minute();
    }
    expect(follows() && sim::engine::readings(FEATURE).time > 0.02, "the feature camera follows into the dark");

    // An engine call that fails ends exposure following, and nothing says so. The host brings it back.
    sim::inject_fault("rk_aiq_user_api2_ae_queryExpResInfo", 1, XCAM_RETURN_ERROR_FAILED, true);
    sim::wait(100'000);
    sim::clear_faults();
    sim::engine::set_luminance(PANORAMA, 400.0, 1.0);
    sim::wait(30'000'000);
    expect(!follows(), "a failed query ends exposure following");
    cameras_each_second();
    minute();
    expect(follows(), "a second later it follows again");

    // Replies from the library's results.
    expect_reply("set 1 hue 9", "ok");
    expect_reply("get 1 hue", "ok 9");
    expect_reply("set 1 hue 9999", "error: hue takes 0 to 14");
    expect_reply("set 1 wb_mode 9999", "error: wb_mode takes auto or indoor");
    expect_reply("set 1 temperature 40", "ok, stored: takes effect in another mode");
    expect_reply("get 1 temperature", "ok 40 = 6500 K");
    expect_reply("set 1 expcomp_level 9", "ok, stored: takes effect in another mode");
    expect_reply("set 1 rgain 99", "error: not in the present mode");
    expect_reply("set 1 exposure_mode low_light", "error: the library refuses this mode");
    expect_reply("set 1 shutter 1/200", "error: not in the present mode");
    sim::inject_fault("rk_aiq_user_api2_agamma_SetAttrib", 1, XCAM_RETURN_ERROR_FAILED);
    expect_reply("set 1 gamma 0.63", "error: stored, but the engine failed");
    expect_reply("set 1 gamma 0.63", "ok");

    // One-push measures for four seconds on a thread of its own; the camera's other settings are refused meanwhile.
    expect_reply("set 1 wb_mode onepush", "ok");
    expect_reply("set 1 wb_mode_onepush", "ok, measuring");
    while (sim::taking_part() < 4) { // which takes part once it waits; the library's threads do from their creation
    }
    expect_reply("set 1 hue 3", "error: busy");
    sim::wait(5'000'000);
    expect_reply("set 1 hue 3", "ok");

    // In manual exposure too, every thread of the library ends, and the stored mode stays.
    expect_reply("set 0 exposure_mode manual", "ok");
    store_end_manual();
    lens_end_automatic();
    sim::wait(200'000);
    expect(sim::taking_part() == 1, "the library's threads have ended");
    expect_reply("get 0 exposure_mode", "ok 3 = manual");
    for (int camera = 0; camera < CAMERAS; ++camera) {
        rk_isp_deinit(camera);
    }
    expect(sim::engine::misuses().empty(), "the engine was used properly");
    return failures == 0 ? 0 : 1;
}
