// Camera groups: the order of engine calls, refusals, failures, and which engine settings reach.
#include "frame/debug_lines.h"

using namespace bench;
using sim::engine::Life;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr int kGroup = 5;
char kDirectory[] = "/data/iq";
int kSensors[] = {3, 0, 6};

int start_group(std::size_t members, char* directory = nullptr)
{
    return rk_isp_init_group(kGroup, kSensors, members, directory);
}

class Groups : public Bench
{
protected:
    ~Groups() override
    {
        EXPECT_THAT(sim::engine::misuses(), IsEmpty());
        EXPECT_TRUE(engine_lock_is_free());
    }

    static const void* slot()
    {
        return g_camera_group_ctx[kGroup];
    }
};

TEST_F(Groups, AStartBuildsTheGroupInOrder)
{
    std::vector<std::string> calls;
    traces_of([&] { calls = names_of_calls([] { EXPECT_EQ(start_group(3, kDirectory), 0); }); });
    const char* const query = "rk_aiq_uapi2_sysctl_enumStaticMetas";
    EXPECT_THAT(calls, ElementsAre(query, query, query, "rk_aiq_uapi2_camgroup_create", "rk_aiq_uapi2_camgroup_prepare",
                                   "rk_aiq_uapi2_camgroup_start"));
    const auto names = [](int sensor) {
        return testing::MatchesRegex("rk_isp_init_group: line [0-9]+ name sim_sensor_" + std::to_string(sensor) +
                                     "\n\n");
    };
    EXPECT_THAT(debug_lines(), ElementsAre(names(3), names(0), names(6)));
    EXPECT_EQ(sim::engine::life(slot()), Life::running);
    const sim::engine::Configuration set_up = sim::engine::configuration(slot());
    EXPECT_THAT(set_up.sensors, ElementsAre(3, 0, 6));
    EXPECT_EQ(set_up.iq_directory, kDirectory);
    EXPECT_EQ(set_up.mode, RK_AIQ_WORKING_MODE_NORMAL);

    // On an occupied slot the old group is stopped and destroyed first.
    const void* old = slot();
    int seven[] = {0, 1, 2, 3, 4, 5, 6};
    calls = names_of_calls([&] { EXPECT_EQ(rk_isp_init_group(kGroup, seven, 7, nullptr), 0); });
    calls.resize(3);
    EXPECT_THAT(calls, ElementsAre("rk_aiq_uapi2_camgroup_stop", "rk_aiq_uapi2_camgroup_destroy", query));
    EXPECT_EQ(sim::engine::life(old), Life::released);
    EXPECT_EQ(sim::engine::live_contexts(), 1);
    EXPECT_EQ(sim::engine::configuration(slot()).iq_directory, "/etc/iqfiles");
}

// Settings reach the group from its start on, and cameras again from the next camera's start on.
TEST_F(Groups, TheLastStartDecidesWhatSettingsReach)
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
    EXPECT_THAT(traces_of([] { EXPECT_EQ(KIV_Set_hue(kGroup, HUE_E{1}), 0); }),
                testing::Contains("KIV_Set_hue: aiq ctx error\n\n"));
    EXPECT_EQ(hue(camera), before);
    start_camera(0);
    KIV_Set_hue(kGroup, HUE_E{2});
    EXPECT_EQ(hue(camera), 108);
}

TEST_F(Groups, ABadListIsRefusedBeforeAnythingHappens)
{
    ASSERT_EQ(start_group(2), 0);
    int eight[] = {0, 1, 2, 3, 4, 5, 6, 7};
    const struct {
        int* sensors;
        std::size_t count;
    } kCases[] = {{eight, 0}, {eight, 8}, {eight, SIZE_MAX}, {nullptr, 2}, {nullptr, 0}};
    for (const auto& c : kCases) {
        EXPECT_THAT(calls_of([&] { EXPECT_EQ(rk_isp_init_group(kGroup, c.sensors, c.count, nullptr), -1); }),
                    IsEmpty());
        EXPECT_TRUE(engine_lock_is_free());
    }
    EXPECT_EQ(sim::engine::life(slot()), Life::running);
}

TEST_F(Groups, AMissingSensorEndsTheStart)
{
    sim::engine::set_sensor_present(kSensors[1], false);
    std::vector<std::string> calls;
    traces_of([&] { calls = names_of_calls([] { EXPECT_EQ(start_group(3), -1); }); });
    EXPECT_EQ(calls.size(), 2); // the third sensor is not asked for
    EXPECT_THAT(debug_lines(), ElementsAre("rk_isp_init_group: !!!!!!![] RK_MPI_CAL_TDE_GetPicBufferSize failed\n\n"));
    EXPECT_EQ(slot(), nullptr);
    EXPECT_EQ(rkipc_aiq_use_group, 0);
    sim::engine::set_sensor_present(kSensors[1], true);
}

TEST_F(Groups, AFailingCallOfAStartLeavesNothing)
{
    constexpr struct {
        const char* function;
        const char* named; // in the debug line
    } kCases[] = {
        {"rk_aiq_uapi2_camgroup_create", "RK_MPI_CAL_TDE_GetPicBufferSize"},
        {"rk_aiq_uapi2_camgroup_prepare", "rk_aiq_uapi2_camgroup_prepare"},
        {"rk_aiq_uapi2_camgroup_start", "rk_aiq_uapi2_camgroup_start"},
    };
    for (const auto& c : kCases) {
        for (const bool occupied : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.function << (occupied ? ", occupied slot" : ", empty slot"));
            if (occupied) {
                ASSERT_EQ(start_group(2), 0);
            }
            rkipc_aiq_use_group = 0;
            sim::inject_fault(c.function, 1, -1);
            traces_of([] { EXPECT_EQ(start_group(2), -1); });
            EXPECT_EQ(debug_lines().back(), "rk_isp_init_group: !!!!!!![] " + std::string(c.named) + " failed\n\n");
            EXPECT_EQ(slot(), nullptr);
            EXPECT_EQ(sim::engine::live_contexts(), 0);
            EXPECT_EQ(rkipc_aiq_use_group, 0);
            EXPECT_TRUE(engine_lock_is_free());
        }
    }
}

TEST_F(Groups, StopStartAndRelease)
{
    constexpr struct {
        int (*call)(int);
        const char* name;
        const char* function;
        Life life;
    } kCases[] = {
        {rk_isp_init_group_stop, "rk_isp_init_group_stop", "rk_aiq_uapi2_camgroup_stop", Life::stopped},
        {rk_isp_init_group_start, "rk_isp_init_group_start", "rk_aiq_uapi2_camgroup_start", Life::running},
    };
    ASSERT_EQ(start_group(2), 0);
    const void* group = slot();
    for (const auto& c : kCases) {
        EXPECT_EQ(c.call(kGroup), 0);
        EXPECT_EQ(sim::engine::life(group), c.life);
        sim::inject_fault(c.function, 1, -1);
        traces_of([&] { EXPECT_EQ(c.call(kGroup), -1); });
        EXPECT_THAT(debug_lines(), ElementsAre(std::string(c.name) + ": !!!!!!![] " + c.function + " failed\n\n"));
        EXPECT_EQ(slot(), group);
        EXPECT_TRUE(engine_lock_is_free());
    }
    EXPECT_THAT(names_of_calls([] { EXPECT_EQ(rk_isp_deinit_group(kGroup), 0); }),
                ElementsAre("rk_aiq_uapi2_camgroup_stop", "rk_aiq_uapi2_camgroup_destroy"));
    EXPECT_EQ(sim::engine::life(group), Life::released);
    EXPECT_EQ(slot(), nullptr);
    for (int (*call)(int) : {rk_isp_init_group_start, rk_isp_init_group_stop, rk_isp_deinit_group}) {
        EXPECT_THAT(calls_of([&] { EXPECT_EQ(call(kGroup), -1); }), IsEmpty()); // an empty slot
        EXPECT_TRUE(engine_lock_is_free());
    }
}

} // namespace
