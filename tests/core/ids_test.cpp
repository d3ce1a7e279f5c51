// Ids that name no camera, and other arguments that cannot be: refused before anything is read or written, with one
// trace line that names them.
#include "support/bench.h"

using namespace bench;

namespace
{

using Ids = Bench;

struct Case {
    std::string_view function;
    int (*call)(int id);
    int result = -1;
    bool traced = true;
};

#define RETURNS(result, function, ...)                                                                                 \
    {#function, [](int id) { return static_cast<int>(function(id __VA_OPT__(, ) __VA_ARGS__)); }, result}
#define NOTHING(function, ...) {#function, [](int id) { return function(id __VA_OPT__(, ) __VA_ARGS__), 0; }, 0}

int kSensors[] = {0, 1};

const Case kCases[] = {
    RETURNS(-1, rk_isp_update),
    RETURNS(-1, rk_isp_stop),
    RETURNS(-1, rk_isp_resume),
    RETURNS(-1, rk_isp_deinit),
    RETURNS(-1, rk_isp_init_group, kSensors, 2, nullptr),
    RETURNS(-1, rk_isp_init_group_start),
    RETURNS(-1, rk_isp_init_group_stop),
    RETURNS(-1, rk_isp_deinit_group),
    RETURNS(-1, set_PanoramaIspId),
    RETURNS(-1, set_FeaturesIspId),
    RETURNS(-1, get_onepush_rgain),
    RETURNS(-1, get_onepush_bgain),
    RETURNS(0, get_colortemp_rgain),
    RETURNS(0, get_colortemp_ggain),
    RETURNS(0, get_colortemp_bgain),
    NOTHING(set_colortemp_rgain, 1.5F),
    NOTHING(set_colortemp_ggain, 1.5F),
    NOTHING(set_colortemp_bgain, 1.5F),
    NOTHING(KIV_load_isp_para),
    // Without a trace.
    {"KIV_Get_csc_mode", KIV_Get_csc_mode, -1, false},
    {"get_onepush_ggain", get_onepush_ggain, 1, false},
};

template <typename Function>
void expect_refused(const std::string& name, Function call, int result, bool traced)
{
    for (const int id : {-1, 8, INT_MIN, INT_MAX}) {
        SCOPED_TRACE(name + ", id " + std::to_string(id));
        std::vector<std::string> traces;
        const std::vector<sim::Call> calls =
            calls_of([&] { traces = traces_of([&] { EXPECT_EQ(call(id), result); }); });
        EXPECT_THAT(calls, testing::IsEmpty());
        ASSERT_EQ(traces.size(), traced ? 1 : 0);
        if (traced) {
            EXPECT_THAT(traces[0], testing::StartsWith(name + ": "));
            EXPECT_THAT(traces[0], testing::HasSubstr(std::to_string(id)));
        }
    }
}

TEST_F(Ids, EveryFunctionRefusesThem)
{
    start_camera(0);
    for (const Case& c : kCases) {
        expect_refused(std::string(c.function), c.call, c.result, c.traced);
    }
    for (const NamedSetter& setter : kSetters) {
        const bool used = setter.name != "len_type" && setter.name != "ccm_style" && setter.name != "hotpixel" &&
                          setter.name != "exposure_mode_priority";
        const bool silent = setting(setter.name).setter == sim::host::Setter::silent;
        expect_refused(
            std::string(setter.function), [&](int id) { return setter.set(id, 1); }, !used || silent ? 0 : -1, used);
    }
    EXPECT_EQ(get_PanoramaIspId(), 1);
    EXPECT_EQ(get_FeaturesIspId(), 0);
    set_FeaturesIspId(3);
    EXPECT_EQ(get_PanoramaIspId(), 1);
    EXPECT_EQ(get_FeaturesIspId(), 3);
    EXPECT_EQ(get_onepush_ggain(0), 1);
    for (const int id : {INT_MIN, -1, 5, 8, INT_MAX}) {
        EXPECT_EQ(get_isp_switch(id), id);
    }
}

TEST_F(Ids, OtherBadArgumentsAreRefusedToo)
{
    static awb_calibration_s record;
    static float figure;
    const struct {
        int (*call)();
        std::vector<std::string> traces;
    } kRefused[] = {
        {[] { return rk_isp_init_group(1, nullptr, 2, nullptr); },
         {"rk_isp_init_group: group 1: the list of sensors is NULL\n\n"}},
        {[] { return rk_isp_init_group(1, kSensors, 8, nullptr); },
         {"rk_isp_init_group: group 1: a group has 1 to 7 sensors, not 8\n\n"}},
        {[] { return rk_isp_init_group_start(1); }, {"rk_isp_init_group_start: there is no group 1\n\n"}},
        {[] { return set_sensor_vpss_group(0, nullptr); }, {"set_sensor_vpss_group: value == NULL\n"}},
        {[] { return kiv_rkisp_cl_getAeinfo(&figure, &figure, nullptr, &figure, &figure, &figure); },
         {"kiv_rkisp_cl_getAeinfo: an output is NULL\n\n"}},
        {[] { return user_load_shading_file(nullptr, 1); },
         {"user_load_shading_file: Enter\n\n", "user_load_shading_file: no room for 1 bytes\n\n"}},
        {[] { return user_load_wb_calibration_file(&record, -1); },
         {"user_load_wb_calibration_file: Enter\n\n", "user_load_wb_calibration_file: no room for -1 bytes\n\n"}},
        {[] { return user_save_wb_calibration_file(&record, -1); },
         {"user_save_wb_calibration_file: no -1 bytes to write\n\n"}},
        {[] { return init_auto_iris_control(nullptr); },
         {"init_auto_iris_control: enter\n", "init_auto_iris_control: mode == NULL\n"}},
        {[] { return set_auto_iris(nullptr); }, {"set_auto_iris: param == NULL\n"}},
    };
    for (const auto& refused : kRefused) {
        EXPECT_THAT(calls_of([&] { EXPECT_EQ(refused.call(), -1); }), testing::IsEmpty());
        EXPECT_THAT(traces_of([&] { EXPECT_EQ(refused.call(), -1); }), testing::ElementsAreArray(refused.traces));
    }
    EXPECT_THAT(traces_of([] { KIV_Set_exposure_mode(1, LOW_LIGHT); }),
                testing::Contains("KIV_Set_exposure_mode: Para error\n\n"));
}

} // namespace
