// The life of camera and group contexts: system control and camera groups.
#include "base/calls.h"
#include "engine/contexts.h"

#include <cstdio>

using namespace sim::engine;

namespace
{

template <typename Handle>
XCamReturn change_slowly(const char* function, const Handle* ctx, Request request, long value)
{
    const XCamReturn result = change_life(function, ctx, std::is_same_v<Handle, rk_aiq_camgroup_ctx_t>, request);
    if (request == Request::prepare && result == XCAM_RETURN_NO_ERROR) {
        set_working_mode(*find(ctx), static_cast<rk_aiq_working_mode_t>(value));
    }
    if (calls_take_time()) {
        take_time(nullptr); // after the change: what uses the context during its release uses it after the release
    }
    return result;
}

template <typename Handle>
XCamReturn change(const char* function, const Handle* ctx, Request request, long value = 0)
{
    const int fault = sim::note_call(function, recorded_id(find(ctx)), value);
    return fault != 0 ? static_cast<XCamReturn>(fault) : change_slowly(function, ctx, request, value);
}

// Index of a sensor that is there, -1 for any other name.
int find_sensor(const char* name)
{
    for (int i = 0; name && i < kSensors; ++i) {
        if (sensor_name(i) == name && sensor_present(i)) {
            return i;
        }
    }
    return -1;
}

} // namespace

XCamReturn rk_aiq_uapi2_sysctl_enumStaticMetas(int index, rk_aiq_static_info_t* info)
{
    if (const int fault = sim::note_call(__func__, index); fault != 0) {
        return static_cast<XCamReturn>(fault);
    }
    if (!info) {
        note_misuse(__func__, "null block");
        return XCAM_RETURN_ERROR_PARAM;
    }
    *info = {};
    info->sensor_info.phyId = sensor_present(index) ? index : -1;
    if (index < 0 || index >= kSensors) {
        return XCAM_RETURN_ERROR_PARAM;
    }
    std::snprintf(info->sensor_info.sensor_name, sizeof(info->sensor_info.sensor_name), "%s",
                  sensor_name(index).c_str());
    return XCAM_RETURN_NO_ERROR;
}

XCamReturn rk_aiq_uapi2_sysctl_preInit_scene(const char* sensor, const char* main_scene, const char* sub_scene)
{
    if (const int fault = sim::note_call(__func__); fault != 0) {
        return static_cast<XCamReturn>(fault);
    }
    const int index = find_sensor(sensor);
    if (index < 0 || !main_scene || !sub_scene) {
        return XCAM_RETURN_ERROR_PARAM;
    }
    set_scene_names(index, main_scene, sub_scene);
    return XCAM_RETURN_NO_ERROR;
}

rk_aiq_sys_ctx_t* rk_aiq_uapi2_sysctl_init(const char* sensor, const char* iq_dir, rk_aiq_error_cb, rk_aiq_metas_cb)
{
    const int index = sim::note_call(__func__) == 0 ? find_sensor(sensor) : -1;
    if (index < 0) {
        return nullptr;
    }
    return reinterpret_cast<rk_aiq_sys_ctx_t*>(create_context(__func__, {&index, 1}, false, iq_dir));
}

XCamReturn rk_aiq_uapi2_sysctl_prepare(const rk_aiq_sys_ctx_t* ctx, uint32_t, uint32_t, rk_aiq_working_mode_t mode)
{
    return change(__func__, ctx, Request::prepare, mode);
}

XCamReturn rk_aiq_uapi2_sysctl_start(const rk_aiq_sys_ctx_t* ctx)
{
    return change(__func__, ctx, Request::start);
}

XCamReturn rk_aiq_uapi2_sysctl_stop(const rk_aiq_sys_ctx_t* ctx, bool keep_ext_hw_st)
{
    return change(__func__, ctx, Request::stop, keep_ext_hw_st);
}

void rk_aiq_uapi2_sysctl_deinit(rk_aiq_sys_ctx_t* ctx)
{
    sim::note_call(__func__, recorded_id(find(ctx)));
    change_slowly(__func__, ctx, Request::release, 0);
}

XCamReturn rk_aiq_uapi2_sysctl_updateIq(rk_aiq_sys_ctx_t* ctx, char* iq_dir)
{
    const Context* const context = find(ctx);
    if (const int fault = sim::note_call(__func__, recorded_id(context)); fault != 0) {
        return static_cast<XCamReturn>(fault);
    }
    if (!is_alive(life(ctx))) {
        return refuse_context(__func__, ctx);
    }
    if (!iq_dir) {
        note_misuse(__func__, "null directory");
        return XCAM_RETURN_ERROR_PARAM;
    }
    set_iq_directory(*context, iq_dir);
    return XCAM_RETURN_NO_ERROR;
}

rk_aiq_camgroup_ctx_t* rk_aiq_uapi2_camgroup_create(rk_aiq_camgroup_instance_cfg_t* cfg)
{
    if (sim::note_call(__func__) != 0) {
        return nullptr;
    }
    if (!cfg || cfg->sns_num < 1 || cfg->sns_num >= RK_AIQ_CAM_GROUP_MAX_CAMS) {
        note_misuse(__func__, "bad configuration");
        return nullptr;
    }
    std::array<int, RK_AIQ_CAM_GROUP_MAX_CAMS> sensors{};
    const auto count = static_cast<std::size_t>(cfg->sns_num);
    for (std::size_t i = 0; i < count; ++i) {
        sensors[i] = find_sensor(cfg->sns_ent_nm_array[i]);
        if (sensors[i] < 0) {
            return nullptr;
        }
    }
    return reinterpret_cast<rk_aiq_camgroup_ctx_t*>(
        create_context(__func__, std::span(sensors).first(count), true, cfg->config_file_dir));
}

XCamReturn rk_aiq_uapi2_camgroup_prepare(rk_aiq_camgroup_ctx_t* ctx, rk_aiq_working_mode_t mode)
{
    return change(__func__, ctx, Request::prepare, mode);
}

XCamReturn rk_aiq_uapi2_camgroup_start(rk_aiq_camgroup_ctx_t* ctx)
{
    return change(__func__, ctx, Request::start);
}

XCamReturn rk_aiq_uapi2_camgroup_stop(rk_aiq_camgroup_ctx_t* ctx)
{
    return change(__func__, ctx, Request::stop);
}

XCamReturn rk_aiq_uapi2_camgroup_destroy(rk_aiq_camgroup_ctx_t* ctx)
{
    return change(__func__, ctx, Request::release);
}
