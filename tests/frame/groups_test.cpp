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
    std::vector<std::string> debug_lines;
    const std::vector<sim::Call> calls = calls_of([&] {
        debug_lines = debug_lines_of([] { EXPECT_EQ(rk_isp_init_group(kGroup, kSensors, 3, kDirectory), 0); });
    });
    std::vector<std::string> names;
    for (const sim::Call& call : calls) {
        names.push_back(text(call));
    }
    EXPECT_THAT(names, ElementsAre("rk_aiq_uapi2_sysctl_enumStaticMetas(3, 0)",
                                   "rk_aiq_uapi2_sysctl_enumStaticMetas(0, 0)",
                                   "rk_aiq_uapi2_sysctl_enumStaticMetas(6, 0)",
                                   testing::StartsWith("rk_aiq_uapi2_camgroup_create"),
                                   "rk_aiq_uapi2_camgroup_prepare(3, 0)", "rk_aiq_uapi2_camgroup_start(3, 0)"));
    ASSERT_EQ(debug_lines.size(), 3);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_THAT(debug_lines[i],
                    testing::MatchesRegex("rk_isp_init_group: line [0-9]+ name sim_sensor_" +
                                          std::to_string(kSensors[i]) + "\n\n"));
    }
    EXPECT_EQ(sim::engine::life(slot()), Life::running);
    const sim::engine::Setup setup = sim::engine::setup(slot());
    EXPECT_THAT(setup.sensors, ElementsAre(3, 0, 6));
    EXPECT_EQ(setup.iq_directory, kDirectory);
    EXPECT_EQ(setup.mode, RK_AIQ_WORKING_MODE_NORMAL);

    EXPECT_EQ(rk_isp_init_group(2, kSensors, 1, nullptr), 0);
    EXPECT_EQ(sim::engine::setup(g_camera_group_ctx[2]).iq_directory, "/etc/iqfiles");
    int seven[] = {0, 1, 2, 3, 4, 5, 6};
    EXPECT_EQ(rk_isp_init_group(2, seven, 7, nullptr), 0);
    EXPECT_EQ(rk_isp_deinit_group(2), 0);
    EXPECT_EQ(rk_isp_deinit_group(kGroup), 0);
}

// Settings reach the group from its start on, and cameras again from the next camera's start on.
TEST_F(Groups, TheLastStartDecidesWhatSettingsReach)
{
    start_camera(kGroup);
    const void* camera = rkipc_aiq_get_ctx(kGroup);
    const auto hue = [](const void* context) { return int{sim::engine::peek<acp_attrib_t>(context).hue}; };
    const int before = hue(camera);
    ASSERT_EQ(rk_isp_init_group(kGroup, kSensors, 2, nullptr), 0);
    EXPECT_EQ(rkipc_aiq_get_ctx(kGroup), slot());
    KIV_Set_hue(kGroup, HUE_E{14});
    EXPECT_EQ(hue(slot()), 156);
    EXPECT_EQ(hue(camera), before);

    EXPECT_EQ(rk_isp_deinit_group(kGroup), 0); // the mode stays
    int result = -1;
    EXPECT_THAT(traces_of([&] { result = KIV_Set_hue(kGroup, HUE_E{1}); }),
                testing::Contains("KIV_Set_hue: aiq ctx error\n\n"));
    EXPECT_EQ(result, 0);
    EXPECT_EQ(hue(camera), before);

    start_camera(0);
    KIV_Set_hue(kGroup, HUE_E{2});
    EXPECT_EQ(hue(camera), 108);
}

TEST_F(Groups, ABadListIsRefusedBeforeAnythingHappens)
{
    ASSERT_EQ(rk_isp_init_group(kGroup, kSensors, 2, nullptr), 0);
    const void* group = slot();
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
    EXPECT_EQ(slot(), group);
    EXPECT_EQ(sim::engine::life(group), Life::running);
    rk_isp_deinit_group(kGroup);
}

TEST_F(Groups, AMissingSensorEndsTheStart)
{
    rkipc_aiq_use_group = 0;
    sim::engine::set_sensor_present(kSensors[1], false);
    std::vector<std::string> debug_lines;
    EXPECT_THAT(names_of_calls([&] {
                    debug_lines =
                        debug_lines_of([] { EXPECT_EQ(rk_isp_init_group(kGroup, kSensors, 3, nullptr), -1); });
                }),
                ElementsAre("rk_aiq_uapi2_sysctl_enumStaticMetas", "rk_aiq_uapi2_sysctl_enumStaticMetas"));
    EXPECT_THAT(debug_lines, ElementsAre("rk_isp_init_group: !!!!!!![] RK_MPI_CAL_TDE_GetPicBufferSize failed\n\n"));
    EXPECT_EQ(slot(), nullptr);
    EXPECT_EQ(rkipc_aiq_use_group, 0);
    sim::engine::set_sensor_present(kSensors[1], true);
}

TEST_F(Groups, AFailingCallOfAStartLeavesNothing)
{
    constexpr struct {
        const char* function;
        const char* debug_line;
    } kCases[] = {
        {"rk_aiq_uapi2_camgroup_create",
         "rk_isp_init_group: !!!!!!![] RK_MPI_CAL_TDE_GetPicBufferSize failed\n\n"},
        {"rk_aiq_uapi2_camgroup_prepare", "rk_isp_init_group: !!!!!!![] rk_aiq_uapi2_camgroup_prepare failed\n\n"},
        {"rk_aiq_uapi2_camgroup_start", "rk_isp_init_group: !!!!!!![] rk_aiq_uapi2_camgroup_start failed\n\n"},
    };
    for (const auto& c : kCases) {
        for (const bool occupied : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.function << (occupied ? ", occupied slot" : ", empty slot"));
            if (occupied) {
                ASSERT_EQ(rk_isp_init_group(kGroup, kSensors, 2, nullptr), 0);
            }
            rkipc_aiq_use_group = 0;
            sim::inject_fault(c.function, 1, -1);
            const std::vector<std::string> debug_lines =
                debug_lines_of([] { EXPECT_EQ(rk_isp_init_group(kGroup, kSensors, 2, nullptr), -1); });
            ASSERT_EQ(debug_lines.size(), 3); // one per member's name before it
            EXPECT_EQ(debug_lines.back(), c.debug_line);
            EXPECT_EQ(slot(), nullptr);
            EXPECT_EQ(sim::engine::live_contexts(), 0);
            EXPECT_EQ(rkipc_aiq_use_group, 0);
            EXPECT_TRUE(engine_lock_is_free());
        }
    }
}

TEST_F(Groups, AStartOnAnOccupiedSlotDestroysTheOldGroupFirst)
{
    ASSERT_EQ(rk_isp_init_group(kGroup, kSensors, 2, nullptr), 0);
    const void* old = slot();
    EXPECT_THAT(names_of_calls([] { EXPECT_EQ(rk_isp_init_group(kGroup, kSensors, 1, nullptr), 0); }),
                ElementsAre("rk_aiq_uapi2_camgroup_stop", "rk_aiq_uapi2_camgroup_destroy",
                            "rk_aiq_uapi2_sysctl_enumStaticMetas", "rk_aiq_uapi2_camgroup_create",
                            "rk_aiq_uapi2_camgroup_prepare", "rk_aiq_uapi2_camgroup_start"));
    EXPECT_EQ(sim::engine::life(old), Life::released);
    EXPECT_EQ(sim::engine::live_contexts(), 1);
    rk_isp_deinit_group(kGroup);
}

TEST_F(Groups, StopAndStartKeepTheGroup)
{
    ASSERT_EQ(rk_isp_init_group(kGroup, kSensors, 2, nullptr), 0);
    const void* group = slot();
    EXPECT_EQ(rk_isp_init_group_stop(kGroup), 0);
    EXPECT_EQ(sim::engine::life(group), Life::stopped);
    EXPECT_EQ(rk_isp_init_group_start(kGroup), 0);
    EXPECT_EQ(sim::engine::life(group), Life::running);

    const struct {
        int (*call)(int);
        const char* function;
        const char* debug_line;
    } kCases[] = {
        {rk_isp_init_group_stop, "rk_aiq_uapi2_camgroup_stop",
         "rk_isp_init_group_stop: !!!!!!![] rk_aiq_uapi2_camgroup_stop failed\n\n"},
        {rk_isp_init_group_start, "rk_aiq_uapi2_camgroup_start",
         "rk_isp_init_group_start: !!!!!!![] rk_aiq_uapi2_camgroup_start failed\n\n"},
    };
    for (const auto& c : kCases) {
        sim::inject_fault(c.function, 1, -1);
        EXPECT_THAT(debug_lines_of([&] { EXPECT_EQ(c.call(kGroup), -1); }), ElementsAre(c.debug_line));
        EXPECT_EQ(slot(), group);
        EXPECT_TRUE(engine_lock_is_free());
    }
    rk_isp_deinit_group(kGroup);
}

TEST_F(Groups, AReleaseStopsDestroysAndEmptiesTheSlot)
{
    ASSERT_EQ(rk_isp_init_group(kGroup, kSensors, 2, nullptr), 0);
    EXPECT_THAT(names_of_calls([] { EXPECT_EQ(rk_isp_deinit_group(kGroup), 0); }),
                ElementsAre("rk_aiq_uapi2_camgroup_stop", "rk_aiq_uapi2_camgroup_destroy"));
    EXPECT_EQ(slot(), nullptr);
    EXPECT_EQ(sim::engine::live_contexts(), 0);
    for (int (*call)(int) : {rk_isp_init_group_start, rk_isp_init_group_stop, rk_isp_deinit_group}) {
        EXPECT_THAT(calls_of([&] { EXPECT_EQ(call(kGroup), -1); }), IsEmpty());
        EXPECT_TRUE(engine_lock_is_free());
    }
}

} // namespace
