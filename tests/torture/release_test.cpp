// Engines are released while calls use them: no context goes before the calls that use it have returned, and nothing
// waits forever. Real threads in real time, engine calls that take time. ISP_RELEASES sets how many releases there are
// beside everything else; 300 by default.
#include "isp_ctrl/core/engine_use.h"
#include "support/bench.h"
#include "support/threads.h"

#include <csignal>
#include <future>
#include <random>

namespace
{

using bench::eventually;
using sim::engine::Life;

constexpr int kCamera = 1;
int members[] = {4, 5}; // of a group
int group_of_one[] = {0};

template <typename Context>
void count_a_late_call()
{
    isp::EngineCalls calls;
    Context* slot = nullptr;
    for (const std::uint32_t waiting : {0U, isp::kReleaseWaits}) {
        calls.word = waiting;
        EXPECT_EQ(isp::count_in(slot, calls), nullptr);
        EXPECT_EQ(calls.word, waiting);
    }
    slot = reinterpret_cast<Context*>(&calls);
    EXPECT_EQ(isp::count_in(slot, calls), slot);
    EXPECT_EQ(calls.word, isp::kReleaseWaits + 1);
}

// Only a race gets there: the slot was emptied after the caller's first look.
TEST(EngineUse, ACallThatComesTooLateIsNotCounted)
{
    count_a_late_call<rk_aiq_sys_ctx_t>();
    count_a_late_call<rk_aiq_camgroup_ctx_t>();
}

/// The library's three threads can run; waits take a tenth of a millisecond at the most.
class Release : public bench::Bench
{
protected:
    Release()
    {
        bench::write_bytes(shading_file, std::string(6936, 1));
        isp::seam.sleep = [](unsigned) { return 0U; };
        isp::seam.usleep = [](useconds_t) {
            sim::engine::run_frame(0.034);
            std::this_thread::sleep_for(std::chrono::microseconds(100));
            return 0;
        };
        for (int camera = 0; camera < 4; ++camera) {
            bench::start_camera(camera);
        }
    }

    static bool each_thread_runs(int times)
    {
        const char* const kNames[] = {"cam_ae_follow_p", "auto_iris_contr", "awb_follow_pano"};
        return std::ranges::all_of(kNames, [=](const char* name) { return bench::threads_named(name) == times; });
    }

    static void start_threads()
    {
        sim::engine::set_illuminant(3, 3000.0);
        EXPECT_EQ(KIV_Set_exposure_mode(0, SMART_EXPOSURE), 0);
        EXPECT_EQ(init_auto_iris_control([](iris_ctrl_param_t*) { return 0; }), 0);
        set_awb_follow_pano(1);
        EXPECT_EQ(cam_awb_follow_pano_thread(), 0);
        EXPECT_TRUE(eventually([] { return each_thread_runs(1); }));
    }

    static void end_threads()
    {
        KIV_Set_exposure_mode(0, AUTO_EXPOSURE);
        sim::host::set_lens_calibration_flag(4);
        set_awb_follow_pano(0);
        EXPECT_TRUE(eventually([] { return each_thread_runs(0); }));
        sim::engine::set_call_time(0);
        for (int slot = 0; slot < 8; ++slot) {
            rk_isp_deinit_group(slot);
            rk_isp_deinit(slot);
        }
        EXPECT_EQ(sim::engine::live_contexts(), 0);
    }
};

struct Way {
    const char* name;
    int (*release)();
    bool of_group = false;
    const char* fails = nullptr; // call of the release that fails, during which the setting begins
};

constexpr Way kWays[] = {
    {"rk_isp_deinit", [] { return rk_isp_deinit(kCamera); }},
    {"a start on an occupied slot", [] { return rk_isp_init(kCamera, nullptr); }},
    {"a failed prepare", [] { return rk_isp_init(kCamera, nullptr); }, false, "rk_aiq_uapi2_sysctl_prepare"},
    {"rk_isp_deinit_group", [] { return rk_isp_deinit_group(kCamera); }, true},
    {"a group on an occupied slot", [] { return rk_isp_init_group(kCamera, members, 2, nullptr); }, true},
};

/// Of this thread, in seconds.
double processor_time()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// The engine is stopped and the slot emptied at once, the engine is released when the call has returned. Another
// setting meanwhile finds no engine and does not wait.
TEST_F(Release, WaitsForTheCallUnderWay)
{
    for (const Way& way : kWays) {
        SCOPED_TRACE(way.name);
        if (way.of_group) {
            ASSERT_EQ(rk_isp_init_group(kCamera, members, 2, nullptr), 0);
        } else {
            bench::start_camera(kCamera);
        }
        std::promise<void> inside;
        std::thread setting;
        sim::at_call("rk_aiq_user_api2_acp_GetAttrib", 1, [&] {
            const void* const context = rkipc_aiq_get_ctx(kCamera);
            inside.set_value();
            EXPECT_TRUE(eventually([&] { return way.fails || sim::engine::life(context) == Life::stopped; }));
            EXPECT_TRUE(eventually([] { return rkipc_aiq_get_ctx(kCamera) == nullptr; }));
            EXPECT_EQ(KIV_Set_contrast(kCamera, Contrast_E{3}), 0);
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            EXPECT_EQ(sim::engine::life(context), way.fails ? Life::initialised : Life::stopped);
        });
        const auto begin = [&] {
            setting = std::thread([] { EXPECT_EQ(KIV_Set_hue(kCamera, HUE_E{9}), 0); });
            inside.get_future().wait();
        };
        if (way.fails != nullptr) {
            sim::inject_fault(way.fails, 1, -1);
            sim::at_call(way.fails, 1, begin);
        } else {
            begin();
        }
        const double before = processor_time();
        EXPECT_EQ(way.release(), way.fails ? -1 : 0);
        EXPECT_LT(processor_time() - before, 0.015) << "it sleeps while it waits";
        setting.join();
    }
    end_threads();
}

// What the engine lends out is read before the engine can go.
TEST_F(Release, TheSetPointIsReadInTime)
{
    std::thread release;
    const void* const context = g_aiq_ctx[0];
    sim::at_call("rk_aiq_user_api2_ae_getLinExpAttr", 1, [&] {
        release = std::thread([] { rk_isp_deinit(0); });
        EXPECT_TRUE(eventually([] { return rkipc_aiq_get_ctx(0) == nullptr; }));
    });
    const float wanted =
        sim::engine::peek<Uapi_LinExpAttrV2_t>(context).Params.DySetpoint.DySetpoint[0]; // -1 once it is released
    float figures[6] = {};
    EXPECT_EQ(kiv_rkisp_cl_getAeinfo(&figures[0], &figures[1], &figures[2], &figures[3], &figures[4], &figures[5]), 0);
    release.join();
    EXPECT_EQ(figures[5], wanted);
}

/// How many signals this thread takes.
int open_signals()
{
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    int open = 0;
    for (int signal = 1; signal <= SIGSYS; ++signal) {
        open += sigismember(&blocked, signal) == 0 && signal != SIGKILL && signal != SIGSTOP ? 1 : 0;
    }
    return open;
}

// Signals are for the host's threads, whose masks stay as they are.
TEST_F(Release, TheThreadsTakeNoSignals)
{
    const int open = open_signals();
    std::atomic<int> asked{0}, taken{0};
    for (const char* function :
         {"Uvc_Query_Zoom_Position", "rk_aiq_user_api2_awb_QueryWBInfo", "rk_aiq_uapi2_getExpGainRange"}) {
        sim::at_call(function, 1, [&] {
            taken += open_signals();
            ++asked;
        });
    }
    start_threads();
    EXPECT_TRUE(eventually([&] { return asked == 3; }));
    EXPECT_EQ(taken, 0);
    EXPECT_EQ(open_signals(), open);
    end_threads();
}

constexpr int (*kLifecycle[])() = {
    [] { return rk_isp_init(0, nullptr); },
    [] {
        sim::inject_fault("rk_aiq_uapi2_sysctl_prepare", 1, -1);
        return rk_isp_init(0, nullptr);
    },
    [] { return rk_isp_init(0, nullptr); },
    [] { return rk_isp_update(0); },
    [] { return rk_isp_stop(0); },
    [] { return rk_isp_resume(0); },
    [] { return rk_isp_deinit(0); },
    [] { return rk_isp_init_group(0, group_of_one, 1, nullptr); },
    [] { return rk_isp_init_group(0, group_of_one, 1, nullptr); },
    [] { return rk_isp_init_group_stop(0); },
    [] { return rk_isp_init_group_start(0); },
    [] { return rk_isp_deinit_group(0); },
    [] { return rk_isp_init(0, nullptr); },
};

std::atomic<bool> steps_taken; // of the lifecycle

/// An engine call that returns only when its engine is stopped, as one that waits for a frame.
void call_until_the_stop()
{
    sim::at_call("rk_aiq_user_api2_acp_SetAttrib", 1, [] {
        const void* const context = rkipc_aiq_get_ctx(0);
        while (sim::engine::life(context) == Life::running && !steps_taken) {
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
    });
    KIV_Set_hue(0, HUE_E{3});
    sim::clear_faults();
}

float figure[6];
constexpr void (*kCalls[])() = {
    call_until_the_stop,
    [] { KIV_Set_hue(0, HUE_E{3}); },
    [] { KIV_Set_wb_mode(0, TEMPERATURE); },
    [] { KIV_Set_nr2d(0, NR2D_AUTO); },
    [] { KIV_Set_wb_mode_onepush(0); },
    [] { KIV_Set_exposure_mode(0, AUTO_EXPOSURE), KIV_Set_exposure_mode(0, SMART_EXPOSURE); },
    [] { KIV_load_isp_para(0); },
    [] { KIV_Set_style(0, style_norm); },
    [] { kiv_rkisp_cl_getAeinfo(&figure[0], &figure[1], &figure[2], &figure[3], &figure[4], &figure[5]); },
    [] { init_auto_iris_control([](iris_ctrl_param_t*) { return 0; }); },
    [] { Awb_Calibration(1); }, // ends white-balance following, so it comes last
};

// Every lifecycle function beside every kind of call, the host holding the engine lock around the call or not, while
// the three threads run.
TEST_F(Release, NothingWaitsForever)
{
    start_threads();
    sim::engine::set_call_time(50);
    alarm(100); // a hang ends the process
    for (void (*call)() : kCalls) {
        for (const bool locked : {false, true}) {
            if (locked && call == call_until_the_stop) {
                continue; // no stop comes then
            }
            steps_taken = false;
            std::thread caller([&] {
                while (!steps_taken) {
                    if (locked) {
                        pthread_mutex_lock(rkipc_get_ctx_mtx());
                    }
                    call();
                    if (locked) {
                        pthread_mutex_unlock(rkipc_get_ctx_mtx());
                    }
                    std::this_thread::sleep_for(std::chrono::microseconds(50)); // the lock is not fair
                }
            });
            for (int (*step)() : kLifecycle) {
                step();
            }
            steps_taken = true;
            caller.join();
        }
    }
    alarm(0);
    end_threads();
}

/// Settings of one camera until the end; camera 0 stays in SMART_EXPOSURE, so that it is followed.
void change_settings(int camera, const std::atomic<bool>& ended)
{
    std::minstd_rand random(static_cast<unsigned>(camera) + 1);
    while (!ended) {
        const bench::NamedSetter& setter = bench::kSetters[random() % std::size(bench::kSetters)];
        const int level = static_cast<int>(random() % static_cast<unsigned>(bench::setting(setter.name).highest + 1));
        if (setter.name != "style") { // which changes the exposure mode
            setter.set(camera, setter.name == "exposure_mode" ? SMART_EXPOSURE : level);
        }
    }
}

TEST_F(Release, NoCallLosesItsEngine)
{
    const char* wanted = std::getenv("ISP_RELEASES");
    const int releases = wanted != nullptr ? std::atoi(wanted) : 300;
    start_threads();
    sim::engine::set_call_time(300);
    for (const int threads : {0, 4}) {
        std::atomic<bool> ended = false;
        std::vector<std::thread> setters;
        for (int camera = 0; camera < threads; ++camera) {
            setters.emplace_back([camera, &ended] { change_settings(camera, ended); });
        }
        int released = 0;
        for (int round = 0; released < releases; ++round, ++released) {
            const int camera = round % 4;
            if (round % 10 == 9) {
                rk_isp_init_group(camera, members, 2, nullptr);
                rk_isp_init_group(camera, members, 2, nullptr); // releases the first
                rk_isp_deinit_group(camera);
                released += 2;
            } else if (round % 2 == 0) {
                rk_isp_deinit(camera);
            }
            ASSERT_EQ(rk_isp_init(camera, nullptr), 0); // releases the engine that is still there
        }
        ended = true;
        for (std::thread& thread : setters) {
            thread.join();
        }
        std::printf("%d releases beside %d threads that set: %zu misuses\n", released, threads,
                    sim::engine::misuses().size());
        EXPECT_THAT(sim::engine::misuses(), testing::IsEmpty());
        EXPECT_TRUE(each_thread_runs(1));
    }
    end_threads();
}

} // namespace
