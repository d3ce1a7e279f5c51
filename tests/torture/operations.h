// Every exported function as an operation: one table of calls that can be repeated under faults.
#pragma once

#include "support/bench.h"
#include "support/threads.h"

#include <functional>

namespace torture
{

struct Operation {
    std::string name;
    std::function<int(int variant)> run;
    std::vector<int> results = {0, -1, ISP_UNFIT};
    bool once = false;  // leaves state for the life of the process
    bool stores = true; // what the store holds afterwards does not depend on the engine
    int kept_files = 0; // files that stay open: the iris device, when its thread has ended
};

inline void PrintTo(const Operation& operation, std::ostream* out)
{
    *out << operation.name;
}

/// Calls of camera 0, whose settings the modes `variant` decide too, while cameras 0 to 3 run.
inline std::vector<Operation> operations()
{
    static int sensors[] = {4, 5};
    static awb_calibration_s calibration{};
    static char shading[64];
    static float figure[6];
    static iris_ctrl_param_t command{};
    const std::vector<int> any_code = {0, -1};
#define OP(function, ...) {#function, [](int) { return function(__VA_ARGS__); }}
#define VOID_OP(function, ...) {#function, [](int) { return static_cast<void>(function(__VA_ARGS__)), 0; }}
#define WITH_GROUP(function, ...)                                                                                      \
    {#function, [](int) { return rk_isp_init_group(4, sensors, 2, nullptr), function(__VA_ARGS__); }}
    std::vector<Operation> list = {
        OP(rk_isp_init, 0, nullptr),
        OP(rk_isp_update, 0),
        OP(rk_isp_stop, 0),
        OP(rk_isp_resume, 0),
        OP(rk_isp_deinit, 0),
        WITH_GROUP(rk_isp_init_group, 4, sensors, 2, nullptr),
        {"rk_isp_init_group_start",
         [](int) {
             rk_isp_init_group(4, sensors, 2, nullptr);
             rk_isp_init_group_stop(4);
             return rk_isp_init_group_start(4);
         }},
        WITH_GROUP(rk_isp_init_group_stop, 4),
        WITH_GROUP(rk_isp_deinit_group, 4),
        {"getreadotp", [](int) { return getreadotp(); }, {0, 1}},
        VOID_OP(rkipc_get_ctx_mtx),
        OP(set_PanoramaIspId, 1),
        {"get_PanoramaIspId", [](int) { return get_PanoramaIspId(); }, {1}},
        OP(set_FeaturesIspId, 0),
        OP(get_FeaturesIspId),
        OP(get_isp_switch, 0),
        OP(isp_wdr_config, 0),
        OP(set_sensor_vpss_group, 0, sensor_vpss_group),
        VOID_OP(set_onepush_ggain, 0, 1),
        VOID_OP(get_onepush_rgain, 0),
        VOID_OP(get_onepush_ggain, 0),
        VOID_OP(get_onepush_bgain, 0),
        VOID_OP(set_colortemp_rgain, 0, 2.0F),
        VOID_OP(set_colortemp_ggain, 0, 1.0F),
        VOID_OP(set_colortemp_bgain, 0, 2.0F),
        VOID_OP(get_colortemp_rgain, 0),
        VOID_OP(get_colortemp_ggain, 0),
        VOID_OP(get_colortemp_bgain, 0),
        OP(user_load_shading_file, shading, sizeof shading),
        VOID_OP(KIV_Get_csc_mode, 0),
        VOID_OP(KIV_load_isp_para, 0),
        {"KIV_Get_Len_Types", [](int) { return KIV_Get_Len_Types(); }, {KIV_LEN_IR0147, KIV_LEN_SR1053}},
        OP(kiv_rkisp_cl_getAeinfo, &figure[0], &figure[1], &figure[2], &figure[3], &figure[4], &figure[5]),
        OP(cam_ae_follow_pano_thread),
        {"cam_ae_follow_pano_function", [](int) { return bench::on_thread<cam_ae_follow_pano_function>(true); }},
        {"cam_awb_follow_pano_thread", [](int) { return cam_awb_follow_pano_thread(); }, any_code, true},
        {"Awb_Calibration", [](int variant) { return Awb_Calibration(variant % 2 + 1); }, any_code, true},
        OP(user_save_wb_calibration_file, &calibration, sizeof calibration),
        OP(user_load_wb_calibration_file, &calibration, sizeof calibration),
        OP(set_awb_follow_pano, 1),
        {"init_auto_iris_control", [](int) { return init_auto_iris_control(set_auto_iris); }, any_code, true, true, 1},
        OP(set_auto_iris, &command),
        VOID_OP(set_flag_exp_lock, 1),
        VOID_OP(get_flag_exp_lock),
        VOID_OP(set_iris_manu, 1),
        VOID_OP(get_iris_manu),
        {"auto_iris_control_main", [](int) { return bench::on_thread<auto_iris_control_main>(false); }, any_code, true,
         true, 1},
        VOID_OP(get_cur_zoom_array, 1000),
        VOID_OP(get_max_iris, 3),
    };
#undef OP
#undef VOID_OP
#undef WITH_GROUP
    for (const bench::NamedSetter& setter : bench::kSetters) {
        const sim::host::Setting& setting = bench::setting(setter.name);
        const auto values = sim::host::names_of(setting); // of a mode or style: one for each variant
        std::vector<int> results = {0, -1, ISP_UNFIT};
        if (setter.name == "style") {
            results = {0, -1, ISP_EXCUTE_BYARM};
        }
        list.push_back({.name = std::string(setter.function),
                        .run =
                            [=, &setting](int variant) {
                                const auto i = static_cast<std::size_t>(variant);
                                const bool named = !values.empty() && values[0].value >= 0; // -1 stores nothing
                                return setter.set(0, named ? values[i % values.size()].value : setting.highest);
                            },
                        .results = results,
                        .stores = setter.name != "wb_mode_onepush"});
    }
    return list;
}

/// Calls that are refused: ids that name no camera and no group, which `run` takes, and other arguments that cannot be.
inline std::vector<Operation> refused()
{
    static int sensors[] = {0, 1};
    static awb_calibration_s record;
    static float figure;
    static std::string too_long(256, 'd');
#define ID(function, ...) {#function, [](int id) { return static_cast<int>(function(id __VA_OPT__(, ) __VA_ARGS__)); }}
#define VOID_ID(function, ...) {#function, [](int id) { return function(id __VA_OPT__(, ) __VA_ARGS__), 0; }}
#define BAD(function, ...) {#function "(" #__VA_ARGS__ ")", [](int) { return function(__VA_ARGS__); }}
    std::vector<Operation> list = {
        ID(rk_isp_init, nullptr),
        ID(rk_isp_update),
        ID(rk_isp_stop),
        ID(rk_isp_resume),
        ID(rk_isp_deinit),
        ID(rk_isp_init_group, sensors, 2, nullptr),
        ID(rk_isp_init_group_start),
        ID(rk_isp_init_group_stop),
        ID(rk_isp_deinit_group),
        ID(set_PanoramaIspId),
        ID(set_FeaturesIspId),
        ID(get_onepush_rgain),
        ID(get_onepush_bgain),
        ID(get_onepush_ggain),
        ID(get_colortemp_rgain),
        ID(get_colortemp_ggain),
        ID(get_colortemp_bgain),
        VOID_ID(set_colortemp_rgain, 1.5F),
        VOID_ID(set_colortemp_ggain, 1.5F),
        VOID_ID(set_colortemp_bgain, 1.5F),
        VOID_ID(KIV_load_isp_para),
        ID(KIV_Get_csc_mode),
        BAD(rk_isp_init, 1, too_long.data()),
        BAD(rk_isp_init_group, 1, nullptr, 2, nullptr),
        BAD(rk_isp_init_group, 1, sensors, 0, nullptr),
        BAD(rk_isp_init_group, 1, sensors, 8, nullptr),
        BAD(rk_isp_init_group_start, 1),
        BAD(rk_isp_init_group_stop, 1),
        BAD(rk_isp_deinit_group, 1),
        BAD(set_sensor_vpss_group, 0, nullptr),
        BAD(kiv_rkisp_cl_getAeinfo, &figure, &figure, nullptr, &figure, &figure, &figure),
        BAD(user_load_shading_file, nullptr, 1),
        BAD(user_load_wb_calibration_file, &record, -1),
        BAD(user_save_wb_calibration_file, &record, -1),
        BAD(init_auto_iris_control, nullptr),
        BAD(set_auto_iris, nullptr),
        BAD(Awb_Calibration, 0),
        BAD(Awb_Calibration, 3),
    };
#undef ID
#undef VOID_ID
#undef BAD
    for (const bench::NamedSetter& setter : bench::kSetters) {
        list.push_back(
            {.name = "KIV_Set_" + std::string(setter.name), .run = [set = setter.set](int id) { return set(id, 1); }});
    }
    return list;
}

} // namespace torture
