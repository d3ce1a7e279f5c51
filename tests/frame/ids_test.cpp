// Ids that name no camera: refused before anything is read or written, with one trace line that names them.
#include "support/setters.h"

using namespace bench;

namespace
{

class Ids : public Bench
{
};

constexpr int kBad[] = {-1, 8, INT_MIN, INT_MAX};

// What a call with a bad id may do.
enum class Trace { one, none };

struct Case {
    std::string_view function;
    int (*call)(int id);
    int result = -1;
    Trace trace = Trace::one;
};

template <typename Function, typename... Arguments>
int without_result(Function function, Arguments... arguments)
{
    function(arguments...);
    return 0;
}

constexpr Case kCases[] = {
    {"rk_isp_update", rk_isp_update},
    {"rk_isp_stop", rk_isp_stop},
    {"rk_isp_resume", rk_isp_resume},
    {"rk_isp_deinit", rk_isp_deinit},
    {"rk_isp_init_group",
     [](int id) {
         int sensors[] = {0, 1};
         return rk_isp_init_group(id, sensors, 2, nullptr);
     }},
    {"rk_isp_init_group_start", rk_isp_init_group_start},
    {"rk_isp_init_group_stop", rk_isp_init_group_stop},
    {"rk_isp_deinit_group", rk_isp_deinit_group},
    {"set_PanoramaIspId", set_PanoramaIspId},
    {"set_FeaturesIspId", set_FeaturesIspId},
    {"get_onepush_rgain", get_onepush_rgain},
    {"get_onepush_bgain", get_onepush_bgain},
    {"set_onepush_rgain", [](int id) { return without_result(set_onepush_rgain, id, 1500); }, 0},
    {"set_onepush_bgain", [](int id) { return without_result(set_onepush_bgain, id, 1500); }, 0},
    {"get_colortemp_rgain", [](int id) { return get_colortemp_rgain(id) == 0.0F ? 0 : 1; }, 0},
    {"get_colortemp_ggain", [](int id) { return get_colortemp_ggain(id) == 0.0F ? 0 : 1; }, 0},
    {"get_colortemp_bgain", [](int id) { return get_colortemp_bgain(id) == 0.0F ? 0 : 1; }, 0},
    {"set_colortemp_rgain", [](int id) { return without_result(set_colortemp_rgain, id, 1.5F); }, 0},
    {"set_colortemp_ggain", [](int id) { return without_result(set_colortemp_ggain, id, 1.5F); }, 0},
    {"set_colortemp_bgain", [](int id) { return without_result(set_colortemp_bgain, id, 1.5F); }, 0},
    {"KIV_load_isp_para", [](int id) { return without_result(KIV_load_isp_para, id); }, 0},
    // Functions that do not use the id, or answer without a trace.
    {"KIV_Get_csc_mode", KIV_Get_csc_mode, -1, Trace::none},
    {"get_onepush_ggain", get_onepush_ggain, 1, Trace::none},
    {"set_onepush_ggain", [](int id) { return without_result(set_onepush_ggain, id, 1); }, 0, Trace::none},
};

void expect_refused(std::string_view function, int (*call)(int id, int value), int id, int result, Trace trace)
{
    SCOPED_TRACE(std::string(function) + ", id " + std::to_string(id));
    int answer = 0;
    std::vector<std::string> traces;
    const std::vector<sim::Call> calls =
        calls_of([&] { traces = traces_of([&] { answer = call(id, 1); }); });
    EXPECT_EQ(answer, result);
    EXPECT_THAT(calls, testing::IsEmpty());
    if (trace == Trace::none) {
        EXPECT_THAT(traces, testing::IsEmpty());
    } else {
        EXPECT_THAT(traces, testing::ElementsAre(testing::AllOf(testing::StartsWith(std::string(function) + ": "),
                                                                testing::HasSubstr(std::to_string(id)))));
    }
}

TEST_F(Ids, FunctionsRefuseThem)
{
    start_camera(0);
    for (const Case& c : kCases) {
        static int (*call)(int);
        call = c.call;
        for (const int id : kBad) {
            expect_refused(c.function, [](int bad, int) { return call(bad); }, id, c.result, c.trace);
        }
    }
    EXPECT_EQ(get_PanoramaIspId(), 1);
    EXPECT_EQ(sim::engine::live_contexts(), 1);
}

TEST_F(Ids, SettersRefuseThem)
{
    start_camera(0);
    for (const NamedSetter& setter : kSetters) {
        const bool ignores_id = setter.name == "len_type" || setter.name == "ccm_style" ||
                                setter.name == "hotpixel" || setter.name == "exposure_mode_priority";
        for (const int id : kBad) {
            expect_refused("KIV_Set_" + std::string(setter.name), setter.set, id,
                           ignores_id || setter.name == "csc_mode" ? 0 : -1, ignores_id ? Trace::none : Trace::one);
        }
    }
}

TEST_F(Ids, TheSwitchReturnsAnyId)
{
    for (const int id : {INT_MIN, -1, 0, 5, 7, 8, INT_MAX}) {
        EXPECT_EQ(get_isp_switch(id), id);
    }
}

} // namespace
