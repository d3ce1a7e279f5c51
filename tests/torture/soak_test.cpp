// Everything at once for as long as wanted: the three threads, settings from four threads, starts and stops of cameras
// and groups, failing engine calls. ISP_SOAK_MINUTES sets how many simulated minutes; 5, the default, have more than
// 10,000 starts.
#include "support/bench.h"
#include "support/threads.h"

#include "host/lens_service.h"
#include "host/shading_file.h"

#include <cmath>
#include <map>
#include <random>
#include <thread>

namespace
{

// Thread t sets camera t. It starts and stops camera t + 4 and the group in that slot, every fourth time the camera
// that the next thread sets and follows.
constexpr int kThreads = 4;
constexpr int kSteps = 8; // of a life

double minutes()
{
    const char* wanted = std::getenv("ISP_SOAK_MINUTES");
    return wanted != nullptr ? std::atof(wanted) : 5.0;
}

void any_setting(int camera, std::minstd_rand& random)
{
    const bench::NamedSetter& setter = bench::kSetters[random() % std::size(bench::kSetters)];
    const sim::host::Setting& setting = bench::setting(setter.name);
    if (setter.name == "wb_mode_onepush" && random() % 50 != 0) {
        return; // takes four seconds
    }
    setter.set(camera, static_cast<int>(random() % static_cast<unsigned>(setting.highest + 3)) - 1);
}

/// One step in the life of a camera and then of a group with the same sensor.
void step_of_life(int slot, int step)
{
    static constexpr void (*kLife[])(int s) = {
        [](int s) { rk_isp_init(s, nullptr); },
        [](int s) { KIV_load_isp_para(s); },
        [](int s) { rk_isp_update(s); },
        [](int s) { KIV_Set_exposure_mode(s, AUTO_EXPOSURE), rk_isp_stop(s), rk_isp_deinit(s); },
        [](int s) { rk_isp_init_group(s, &s, 1, nullptr); },
        [](int s) { rk_isp_init_group_stop(s), rk_isp_init_group_start(s); },
        [](int s) { KIV_Set_saturation(s, Saturation_MAX); },
        [](int s) { rk_isp_deinit_group(s); },
    };
    static_assert(std::size(kLife) == kSteps);
    kLife[step % kSteps](slot);
}

void fail_something(std::minstd_rand& random)
{
    static constexpr const char* kFunctions[] = {
        "rk_aiq_user_api2_ae_getExpSwAttr",     "rk_aiq_user_api2_ae_setExpSwAttr",
        "rk_aiq_user_api2_ae_queryExpResInfo",  "rk_aiq_uapi2_getExpGainRange",
        "rk_aiq_user_api2_awb_GetWpModeAttrib", "rk_aiq_user_api2_awb_SetMwbAttrib",
        "rk_aiq_user_api2_awb_QueryWBInfo",     "rk_aiq_uapi2_sysctl_init",
        "rk_aiq_uapi2_sysctl_prepare",          "rk_aiq_uapi2_sysctl_start",
        "rk_aiq_uapi2_camgroup_create",         "rk_aiq_uapi2_camgroup_prepare",
        "rk_aiq_uapi2_camgroup_start",          "rk_aiq_user_api2_alsc_SetAttrib",
    };
    sim::inject_fault(kFunctions[random() % std::size(kFunctions)], static_cast<int>(random() % 3) + 1, -1);
}

void user(int t, sim::Microseconds end, std::atomic<long>& lives)
{
    std::minstd_rand random(static_cast<unsigned>(t) + 1);
    sim::wait(1000);
    for (int step = 0; sim::now() < end; ++step) {
        any_setting(t, random);
        if (step % 2 == 0) {
            const bool shared = step / 2 / kSteps % 4 == 3;
            step_of_life(shared ? (t + 1) % kThreads : t + kThreads, step / 2);
            lives += step / 2 % kSteps == 0 || step / 2 % kSteps == 4 ? 1 : 0;
        }
        if (random() % 8 == 0) {
            fail_something(random);
        }
        sim::wait(static_cast<sim::Microseconds>(random() % 20000));
    }
}

using Soak = bench::Bench;

TEST_F(Soak, EverythingAtOnce)
{
    ASSERT_EQ(sim::host::write_shading_file(shading_file), "");
    sim::host::LensService service;
    ASSERT_EQ(service.open(iris_device, 0), "");
    const long files = bench::entries("/proc/self/fd");
    const long threads = bench::threads();
    const int frames = sim::every(33333, [&] {
        sim::engine::set_luminance(1, 100.0 + 90.0 * std::sin(static_cast<double>(sim::now()) * 1e-6));
        sim::engine::run_frame(0.033333);
        sim::host::step_lens(0.033333);
        service.publish();
    });
    sim::wait(1); // holds time until everything has begun
    for (int camera = 0; camera < kThreads; ++camera) {
        bench::start_camera(camera);
    }
    ASSERT_EQ(init_auto_iris_control([](iris_ctrl_param_t* command) {
                  command->toDst == 1 ? sim::host::move_iris_to(command->dstIris)
                                      : sim::host::move_iris_by(command->steps);
                  return 0;
              }),
              0);
    set_awb_follow_pano(1);
    ASSERT_EQ(cam_awb_follow_pano_thread(), 0);

    std::atomic<long> lives{0};
    const auto end = static_cast<sim::Microseconds>(minutes() * 60e6);
    std::vector<std::thread> users;
    for (int t = 0; t < kThreads; ++t) {
        users.emplace_back(user, t, end, std::ref(lives));
    }
    sim::await_waiting(kThreads + 2);
    sim::step_aside();
    for (std::thread& thread : users) {
        thread.join();
    }
    std::printf("%ld starts, %d faults in %g minutes\n", lives.load(), sim::faults_struck(), minutes());
    sim::clear_faults();

    // The threads end when they are asked to.
    for (int slot = 0; slot < 2 * kThreads; ++slot) {
        rk_isp_deinit_group(slot);
        if (slot >= kThreads || g_aiq_ctx[slot] == nullptr) {
            bench::start_camera(slot); // settings reach cameras again, not groups
        }
    }
    for (int camera = 0; camera < kThreads; ++camera) {
        KIV_Set_exposure_mode(camera, AUTO_EXPOSURE);
    }
    sim::wait(1'000'000);
    sim::host::set_lens_calibration_flag(4);
    set_awb_follow_pano(0);
    sim::wait(1'000'000);
    EXPECT_TRUE(bench::eventually([&] { return bench::threads() == threads; })) << bench::threads() << " threads";

    EXPECT_EQ(sim::engine::live_contexts(), 2 * kThreads);
    for (int camera = 0; camera < 2 * kThreads; ++camera) {
        EXPECT_EQ(rk_isp_deinit(camera), 0);
    }
    sim::cancel(frames);
    EXPECT_EQ(sim::engine::live_contexts(), 0);
    EXPECT_LE(bench::entries("/proc/self/fd"), files + 1) << "beside the iris device";
}

} // namespace
