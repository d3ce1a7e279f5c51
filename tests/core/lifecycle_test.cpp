// The engines of cameras and groups from start to release, and which of them settings reach. The field log has their
// calls in order, with every engine call made to fail.
#include "support/bench.h"

#include <algorithm>
#include <thread>

using namespace bench;
using sim::engine::Life;
using testing::ElementsAre;

namespace
{

constexpr int kCamera = 2;
constexpr int kGroup = 5;
char kDirectory[] = "/data/iq";
int kSensors[] = {3, 0, 6};

int start_group(std::size_t members, char* directory = nullptr)
{
    return rk_isp_init_group(kGroup, kSensors, members, directory);
}

using Lifecycle = Bench;

Life life()
{
    return sim::engine::life(rkipc_aiq_get_ctx(kCamera));
}

const void* slot()
{
    return g_camera_group_ctx[kGroup];
}

TEST_F(Lifecycle, AStartWalksTheEngineToRunning)
{
    setenv("HDR_MODE", "junk", 1);
    g_WDRMode[kCamera] = RK_AIQ_WORKING_MODE_ISP_HDR2;
    rkipc_aiq_use_group = 1;
    EXPECT_EQ(rk_isp_init(kCamera, kDirectory), 0);
    EXPECT_EQ(life(), Life::running);
    EXPECT_STREQ(getenv("HDR_MODE"), "0");
    EXPECT_EQ(g_WDRMode[kCamera], RK_AIQ_WORKING_MODE_NORMAL);
    EXPECT_EQ(rkipc_aiq_use_group, 0);
    const sim::engine::Configuration set_up = sim::engine::configuration(rkipc_aiq_get_ctx(kCamera));
    EXPECT_THAT(set_up.sensors, ElementsAre(kCamera));
    EXPECT_EQ(set_up.iq_directory, kDirectory);
    EXPECT_EQ(set_up.iq_directory_at, g_iq_file_dir_); // it may read it later
    EXPECT_EQ(set_up.main_scene + " " + set_up.sub_scene, "normal day");
    EXPECT_EQ(set_up.mode, RK_AIQ_WORKING_MODE_NORMAL);
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
    ASSERT_EQ(rk_isp_init(3, kDirectory), 0);
    EXPECT_EQ(rk_isp_update(kCamera), 0) << "from the last directory, another camera's";
    EXPECT_EQ(sim::engine::configuration(rkipc_aiq_get_ctx(kCamera)).iq_directory, kDirectory);

    rkipc_aiq_use_group = 1;
    std::string too_long(256, 'd');
    EXPECT_EQ(rk_isp_init(kCamera, too_long.data()), -1);
    EXPECT_STREQ(g_iq_file_dir_, kDirectory) << "refused before anything changes";
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
        EXPECT_EQ(rk_isp_init(id, kDirectory), -1);
        EXPECT_EQ(rkipc_aiq_use_group, 0);
        EXPECT_STREQ(g_iq_file_dir_, kDirectory);
    }
    EXPECT_EQ(std::ranges::count(g_aiq_ctx, nullptr), 8);
}

TEST_F(Lifecycle, StopAndResumeBothStop)
{
    for (int (*stop)(int) : {rk_isp_stop, rk_isp_resume}) {
        start_camera(kCamera);
        for (const int code : {0, 0, -1}) { // whatever the engine returns
            sim::inject_fault(code != 0 ? "rk_aiq_uapi2_sysctl_stop" : "none", 1, code);
            EXPECT_THAT(calls_of([&] { EXPECT_EQ(stop(kCamera), 0); }),
                        ElementsAre(sim::Call{"rk_aiq_uapi2_sysctl_stop", kCamera, 0}));
            EXPECT_EQ(life(), Life::stopped);
        }
        KIV_Set_hue(kCamera, HUE_E{0}); // settings still reach it
        EXPECT_EQ(held<acp_attrib_t>(kCamera).hue, 100);
        const void* context = rkipc_aiq_get_ctx(kCamera);
        EXPECT_EQ(rk_isp_deinit(kCamera), 0);
        EXPECT_EQ(sim::engine::life(context), Life::released);
        EXPECT_EQ(rkipc_aiq_get_ctx(kCamera), nullptr);
    }
}

// Cameras started, used and stopped from threads of their own at the same time, all with one directory.
TEST_F(Lifecycle, EightCamerasStartAndStopAtOnce)
{
    std::vector<std::thread> cameras;
    std::atomic<int> wrong{0};
    for (int camera = 0; camera < 8; ++camera) {
        cameras.emplace_back([camera, &wrong] {
            for (int round = 0; round < 25; ++round) {
                bool good = rk_isp_init(camera, kDirectory) == 0;
                good &= sim::engine::configuration(rkipc_aiq_get_ctx(camera)).iq_directory == kDirectory;
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

TEST_F(Lifecycle, AGroupStartReplacesTheOldGroup)
{
    EXPECT_EQ(start_group(3, kDirectory), 0);
    EXPECT_EQ(sim::engine::life(slot()), Life::running);
    const sim::engine::Configuration set_up = sim::engine::configuration(slot());
    EXPECT_THAT(set_up.sensors, ElementsAre(3, 0, 6));
    EXPECT_EQ(set_up.iq_directory, kDirectory);
    EXPECT_EQ(set_up.mode, RK_AIQ_WORKING_MODE_NORMAL);
    EXPECT_EQ(rkipc_aiq_use_group, 1);

    const void* old = slot();
    int seven[] = {0, 1, 2, 3, 4, 5, 6};
    EXPECT_EQ(rk_isp_init_group(kGroup, seven, 7, nullptr), 0);
    EXPECT_EQ(sim::engine::life(old), Life::released);
    EXPECT_EQ(sim::engine::live_contexts(), 1);
    EXPECT_EQ(sim::engine::configuration(slot()).iq_directory, "/etc/iqfiles");
    EXPECT_EQ(rk_isp_init_group(kGroup, seven, SIZE_MAX, nullptr), -1);
    EXPECT_EQ(sim::engine::life(slot()), Life::running) << "refused before anything happens";
}

// Settings reach the group from its start on, and cameras again from the next camera's start on.
TEST_F(Lifecycle, TheLastStartDecidesWhatSettingsReach)
{
    start_camera(kGroup);
    const void* camera = rkipc_aiq_get_ctx(kGroup);
    const auto hue = [](const void* context) { return int{sim::engine::peek<acp_attrib_t>(context).hue}; };
    const int before = hue(camera);
    ASSERT_EQ(start_group(2), 0);
    EXPECT_EQ(rkipc_aiq_get_ctx(kGroup), slot());
    KIV_Set_hue(kGroup, HUE_E{14});
    EXPECT_EQ(hue(slot()), 156);

    EXPECT_EQ(rk_isp_deinit_group(kGroup), 0); // the mode stays
    EXPECT_EQ(KIV_Set_hue(kGroup, HUE_E{1}), 0);
    EXPECT_EQ(hue(camera), before);
    start_camera(0);
    KIV_Set_hue(kGroup, HUE_E{2});
    EXPECT_EQ(hue(camera), 108);
}

TEST_F(Lifecycle, AMissingSensorIsTracedAndTriedButEndsAGroupStart)
{
    sim::engine::set_sensor_present(kSensors[1], false);
    EXPECT_THAT(traces_of([] { EXPECT_EQ(rk_isp_init(kSensors[1], nullptr), -1); }),
                testing::Contains("sample_common_isp_init: WARN: aiq_static_info.sensor_info.phyId is -1\n\n"));
    EXPECT_EQ(rk_isp_init(kSensors[1], nullptr), -1) << "not traced";
    EXPECT_EQ(rkipc_aiq_get_ctx(kSensors[1]), nullptr);
    EXPECT_EQ(names_of_calls([] { EXPECT_EQ(start_group(3), -1); }, "rk_aiq").size(), 2); // the third is not asked for
    EXPECT_EQ(slot(), nullptr);
    EXPECT_EQ(rkipc_aiq_use_group, 0);
    sim::engine::set_sensor_present(kSensors[1], true);
}

} // namespace
