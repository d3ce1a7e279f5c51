// A camera's engine from start to release, with every engine call made to fail.
#include "frame/debug_lines.h"

#include <algorithm>
#include <cstring>
#include <thread>

using namespace bench;
using sim::engine::Life;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr int kCamera = 2;
char kDirectory[] = "/data/iq";

class Lifecycle : public Bench
{
protected:
    ~Lifecycle() override
    {
        EXPECT_THAT(sim::engine::misuses(), IsEmpty());
        EXPECT_TRUE(engine_lock_is_free());
    }

    static Life life()
    {
        return sim::engine::life(rkipc_aiq_get_ctx(kCamera));
    }
};

TEST_F(Lifecycle, AStartWalksTheEngineToRunning)
{
    setenv("HDR_MODE", "junk", 1);
    g_WDRMode[kCamera] = RK_AIQ_WORKING_MODE_ISP_HDR2;
    rkipc_aiq_use_group = 1;
    EXPECT_THAT(traces_of([] { EXPECT_EQ(rk_isp_init(kCamera, kDirectory), 0); }),
                ElementsAre("rk_isp_init: cam_id is 2, iqfiles:/data/iq\n\n",
                            "rk_isp_init: g_iq_file_dir_ is /data/iq iqfile path:/data/iq\n\n",
                            "rk_isp_init: cam_id is 2, hdr_mode is norm\n\n", "sample_common_isp_init: enter\n",
                            "sample_common_isp_init: ID: 2, sensor_name is sim_sensor_2, iqfiles is /data/iq\n\n",
                            "sample_common_isp_init: sample_common_isp_init success\n\n",
                            "sample_common_isp_run: rk_aiq_uapi2_sysctl_init/prepare succeed\n\n",
                            "sample_common_isp_run: rk_aiq_uapi2_sysctl_start succeed\n\n"));
    EXPECT_EQ(life(), Life::running);
    EXPECT_STREQ(getenv("HDR_MODE"), "0");
    EXPECT_EQ(g_WDRMode[kCamera], RK_AIQ_WORKING_MODE_NORMAL);
    EXPECT_EQ(rkipc_aiq_use_group, 0);
    const sim::engine::Configuration set_up = sim::engine::configuration(rkipc_aiq_get_ctx(kCamera));
    EXPECT_THAT(set_up.sensors, ElementsAre(kCamera));
    EXPECT_EQ(set_up.iq_directory, kDirectory);
    EXPECT_EQ(set_up.main_scene + " " + set_up.sub_scene, "normal day");
    EXPECT_EQ(set_up.mode, RK_AIQ_WORKING_MODE_NORMAL);
}

// An engine that the camera still has is stopped and released before anything else.
TEST_F(Lifecycle, ARestartReleasesTheOldEngineFirst)
{
    start_camera(kCamera);
    const void* old = rkipc_aiq_get_ctx(kCamera);
    EXPECT_THAT(names_of_calls([] { rk_isp_init(kCamera, nullptr); }),
                ElementsAre("rk_aiq_uapi2_sysctl_stop", "rk_aiq_uapi2_sysctl_deinit",
                            "rk_aiq_uapi2_sysctl_enumStaticMetas", "rk_aiq_uapi2_sysctl_preInit_scene",
                            "rk_aiq_uapi2_sysctl_init", "rk_aiq_uapi2_sysctl_prepare", "rk_aiq_uapi2_sysctl_start"));
    EXPECT_EQ(sim::engine::life(old), Life::released);
    EXPECT_EQ(sim::engine::live_contexts(), 1);
}

// Every call of a start fails, on a camera that has no engine yet and on one that has.
TEST_F(Lifecycle, AFailingCallOfAStart)
{
    static constexpr char kNotInit[] = "sample_common_isp_run: camera_id is over 3 or not init\n\n";
    constexpr struct {
        const char* function;
        int result;
        Life life;
        const char* trace;
        const char* debug_line;
    } kCases[] = {
        // Without information there is no name to make an engine with.
        {"rk_aiq_uapi2_sysctl_enumStaticMetas", -1, Life::unknown,
         "sample_common_isp_init: rkaiq engine rk_aiq_uapi2_sysctl_init dir: /data/iq sensor_name:  failed !\n\n",
         kNotInit},
        {"rk_aiq_uapi2_sysctl_preInit_scene", 0, Life::running,
         "sample_common_isp_init: sim_sensor_2: failed to set scene\n\n", nullptr},
        {"rk_aiq_uapi2_sysctl_init", -1, Life::unknown,
         "sample_common_isp_init: rkaiq engine rk_aiq_uapi2_sysctl_init dir: /data/iq sensor_name: sim_sensor_2 failed "
         "!\n\n",
         kNotInit},
        {"rk_aiq_uapi2_sysctl_prepare", -1, Life::unknown, "sample_common_isp_run: rkaiq engine prepare failed !\n\n",
         nullptr},
        {"rk_aiq_uapi2_sysctl_start", -1, Life::prepared,
         "sample_common_isp_run: rk_aiq_uapi2_sysctl_start  failed\n\n", nullptr},
    };
    for (const auto& c : kCases) {
        for (const bool had_engine : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.function << (had_engine ? ", restarted" : ", first start"));
            if (had_engine) {
                start_camera(kCamera);
            } else {
                rk_isp_deinit(kCamera);
            }
            int result = 1;
            sim::inject_fault(c.function, 1, -1);
            EXPECT_THAT(traces_of([&] { result = rk_isp_init(kCamera, kDirectory); }), testing::Contains(c.trace));
            EXPECT_EQ(debug_lines(),
                      c.debug_line == nullptr ? std::vector<std::string>{} : std::vector<std::string>{c.debug_line});
            EXPECT_EQ(result, c.result);
            EXPECT_EQ(life(), c.life);
            EXPECT_EQ(rkipc_aiq_get_ctx(kCamera) == nullptr, c.life == Life::unknown);
            EXPECT_EQ(sim::engine::live_contexts(), c.life == Life::unknown ? 0 : 1);
            EXPECT_TRUE(engine_lock_is_free());
        }
    }
}

TEST_F(Lifecycle, AMissingSensorIsTracedAndTried)
{
    sim::engine::set_sensor_present(kCamera, false);
    EXPECT_THAT(traces_of([] { EXPECT_EQ(rk_isp_init(kCamera, nullptr), -1); }),
                testing::Contains("sample_common_isp_init: WARN: aiq_static_info.sensor_info.phyId is -1\n\n"));
    EXPECT_EQ(rk_isp_init(kCamera, nullptr), -1);
    EXPECT_EQ(rkipc_aiq_get_ctx(kCamera), nullptr);
    sim::engine::set_sensor_present(kCamera, true);
}

TEST_F(Lifecycle, TheDirectoryIsReplacedWhole)
{
    std::string longest(255, 'd');
    char data[] = "/data";
    ASSERT_EQ(rk_isp_init(kCamera, longest.data()), 0);
    EXPECT_EQ(g_iq_file_dir_, longest);
    EXPECT_EQ(sim::engine::configuration(rkipc_aiq_get_ctx(kCamera)).iq_directory, longest);
    ASSERT_EQ(rk_isp_init(kCamera, data), 0);
    EXPECT_STREQ(g_iq_file_dir_, "/data");
    EXPECT_TRUE(std::all_of(g_iq_file_dir_ + 5, std::end(g_iq_file_dir_), [](char c) { return c == '\0'; }));
    ASSERT_EQ(rk_isp_init(kCamera, nullptr), 0);
    EXPECT_STREQ(g_iq_file_dir_, "/etc/iqfiles");

    // Too long: refused before anything changes.
    rkipc_aiq_use_group = 1;
    std::string too_long(256, 'd');
    EXPECT_THAT(calls_of([&] { EXPECT_EQ(rk_isp_init(kCamera, too_long.data()), -1); }), IsEmpty());
    EXPECT_STREQ(g_iq_file_dir_, "/etc/iqfiles");
    EXPECT_EQ(rkipc_aiq_use_group, 1);
    rkipc_aiq_use_group = 0;
    EXPECT_EQ(life(), Life::running);
}

// A start is refused for a bad id only after the group mode has been left and the directory replaced.
TEST_F(Lifecycle, ABadIdStillReplacesTheDirectory)
{
    for (const int id : {8, -1, INT_MAX, INT_MIN}) {
        rkipc_aiq_use_group = 1;
        g_iq_file_dir_[0] = '\0';
        std::vector<std::string> traces;
        EXPECT_THAT(calls_of([&] { traces = traces_of([&] { EXPECT_EQ(rk_isp_init(id, kDirectory), -1); }); }),
                    IsEmpty());
        EXPECT_THAT(traces, testing::Contains("sample_common_isp_init: sample_common_isp_init : cam_id is over 3\n\n"));
        EXPECT_THAT(debug_lines(), ElementsAre("sample_common_isp_run: camera_id is over 3 or not init\n\n"));
        EXPECT_EQ(rkipc_aiq_use_group, 0);
        EXPECT_STREQ(g_iq_file_dir_, kDirectory);
    }
    EXPECT_EQ(std::ranges::count(g_aiq_ctx, nullptr), 8);
}

TEST_F(Lifecycle, StopAndResumeBothStop)
{
    for (int (*stop)(int) : {rk_isp_stop, rk_isp_resume}) {
        EXPECT_THAT(calls_of([&] { EXPECT_EQ(stop(kCamera), 0); }), IsEmpty()); // no engine
        start_camera(kCamera);
        for (const int code : {0, 0, -1}) { // whatever the engine answers
            if (code != 0) {
                sim::inject_fault("rk_aiq_uapi2_sysctl_stop", 1, code);
            }
            EXPECT_THAT(calls_of([&] { EXPECT_EQ(stop(kCamera), 0); }),
                        ElementsAre(sim::Call{"rk_aiq_uapi2_sysctl_stop", kCamera, 0}));
            EXPECT_EQ(life(), Life::stopped);
        }
        KIV_Set_hue(kCamera, HUE_E{0}); // settings still reach it
        EXPECT_EQ(held<acp_attrib_t>(kCamera).hue, 100);

        const void* context = rkipc_aiq_get_ctx(kCamera);
        EXPECT_THAT(names_of_calls([] { EXPECT_EQ(rk_isp_deinit(kCamera), 0); }),
                    ElementsAre("rk_aiq_uapi2_sysctl_stop", "rk_aiq_uapi2_sysctl_deinit"));
        EXPECT_EQ(sim::engine::life(context), Life::released);
        EXPECT_EQ(rkipc_aiq_get_ctx(kCamera), nullptr);
        EXPECT_THAT(calls_of([] { EXPECT_EQ(rk_isp_deinit(kCamera), 0); }), IsEmpty());
    }
}

TEST_F(Lifecycle, AnUpdateReloadsFromTheLastDirectory)
{
    EXPECT_THAT(traces_of([] { EXPECT_EQ(rk_isp_update(kCamera), -1); }),
                ElementsAre("rk_isp_update: aiq ctx error\n\n"));
    start_camera(kCamera);
    ASSERT_EQ(rk_isp_init(3, kDirectory), 0); // another camera's start replaces the directory
    EXPECT_THAT(names_of_calls([] { EXPECT_EQ(rk_isp_update(kCamera), 0); }),
                ElementsAre("rk_aiq_uapi2_sysctl_updateIq"));
    EXPECT_EQ(sim::engine::configuration(rkipc_aiq_get_ctx(kCamera)).iq_directory, kDirectory);
    sim::inject_fault("rk_aiq_uapi2_sysctl_updateIq", 1, -1);
    EXPECT_EQ(rk_isp_update(kCamera), 0);
}

// Cameras started, used and stopped from threads of their own at the same time.
TEST_F(Lifecycle, EightCamerasStartAndStopAtOnce)
{
    std::vector<std::thread> cameras;
    std::atomic<int> wrong{0};
    for (int camera = 0; camera < 8; ++camera) {
        cameras.emplace_back([camera, &wrong] {
            std::string directory = "/iq/" + std::to_string(camera);
            for (int round = 0; round < 25; ++round) {
                bool good = rk_isp_init(camera, directory.data()) == 0;
                good &= sim::engine::configuration(rkipc_aiq_get_ctx(camera)).iq_directory == directory;
                good &= KIV_Set_hue(camera, HUE_E{camera}) == 0;
                good &= held<acp_attrib_t>(camera).hue == 100 + 4 * camera;
                good &= rk_isp_update(camera) == 0 && rk_isp_stop(camera) == 0;
                good &= set_PanoramaIspId(camera) == 0 && get_PanoramaIspId() >= 0;
                good &= round % 2 == 1 || rk_isp_deinit(camera) == 0; // else the next start releases it
                wrong += good ? 0 : 1;
            }
        });
    }
    std::ranges::for_each(cameras, &std::thread::join);
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(sim::engine::live_contexts(), 0);
    set_PanoramaIspId(1);
}

} // namespace
