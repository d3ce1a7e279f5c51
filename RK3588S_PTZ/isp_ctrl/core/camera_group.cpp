// Camera groups: several sensors that one engine tunes together. A group that starts becomes what settings reach.
// Also keeps the list of sensors that the host passes for its video processing groups; nothing here reads it.
#include "isp_ctrl/core/atomic.h"
#include "isp_ctrl/core/context.h"
#include "isp_ctrl/core/engine_use.h"
#include "isp_ctrl/core/lock.h"
#include "isp_ctrl/core/trace.h"
#include "isp_ctrl/isp_ctrl.h"

#include <cstddef>

// The failure line of this file: it contains function name and source line twice.
#define GROUP_FAILED(function, what) ISP_DEBUG(function, "!!!!!!![%s_%d] " what " failed\n\n", function, __LINE__)

int sensor_vpss_group[4] = {0, -1, -1, -1};

namespace
{

/// Stops and destroys a group, if it exists.
void destroy_group(int group_id) ISP_REQUIRES(isp::engine_mutex)
{
    rk_aiq_camgroup_ctx_t* ctx = isp::shared_get(g_camera_group_ctx[group_id]);
    if (ctx != nullptr) {
        rk_aiq_uapi2_camgroup_stop(ctx);
        rk_aiq_uapi2_camgroup_destroy(isp::take_group(group_id));
    }
}

/// Does something with an existing group, under the engine lock. An id that names none is refused.
template <typename Action>
int on_group(const isp::Place& place, int group_id, Action action)
{
    if (!isp::valid_id(place, group_id)) {
        return -1;
    }
    const isp::EngineLock lock;
    rk_aiq_camgroup_ctx_t* ctx = isp::shared_get(g_camera_group_ctx[group_id]);
    if (ctx == nullptr) {
        ISP_TRACE_AT(place, "there is no group %d\n\n", group_id);
        return -1;
    }
    return action(ctx);
}

} // namespace

int rk_isp_init_group(int group_id, int* sns_id, size_t n_sns, char* iqfile_path)
{
    if (!isp::valid_id(__func__, group_id)) {
        return -1;
    }
    const isp::EngineLock lock;
    if (sns_id == nullptr) {
        ISP_TRACE(__func__, "group %d: the list of sensors is NULL\n\n", group_id);
        return -1;
    }
    if (n_sns == 0 || n_sns >= RK_AIQ_CAM_GROUP_MAX_CAMS) {
        ISP_TRACE(__func__, "group %d: a group has 1 to 7 sensors, not %zu\n\n", group_id, n_sns);
        return -1;
    }
    destroy_group(group_id);

    rk_aiq_static_info_t aiq_static_info[RK_AIQ_CAM_GROUP_MAX_CAMS] = {};
    for (std::size_t i = 0; i < n_sns; ++i) {
        rk_aiq_uapi2_sysctl_enumStaticMetas(sns_id[i], &aiq_static_info[i]);
        if (aiq_static_info[i].sensor_info.phyId == -1) {
            GROUP_FAILED(__func__, "RK_MPI_CAL_TDE_GetPicBufferSize");
            return -1;
        }
    }

    rk_aiq_camgroup_instance_cfg_t cfg{};
    cfg.sns_num = static_cast<int>(n_sns);
    cfg.config_file_dir = iqfile_path != nullptr ? iqfile_path : "/etc/iqfiles";
    for (std::size_t i = 0; i < n_sns; ++i) {
        cfg.sns_ent_nm_array[i] = aiq_static_info[i].sensor_info.sensor_name;
        ISP_DEBUG(__func__, "line %d name %s\n\n", __LINE__, cfg.sns_ent_nm_array[i]);
    }

    rk_aiq_camgroup_ctx_t* ctx = rk_aiq_uapi2_camgroup_create(&cfg);
    if (ctx == nullptr) {
        GROUP_FAILED(__func__, "RK_MPI_CAL_TDE_GetPicBufferSize");
        return -1;
    }
    if (rk_aiq_uapi2_camgroup_prepare(ctx, RK_AIQ_WORKING_MODE_NORMAL) != 0) {
        GROUP_FAILED(__func__, "rk_aiq_uapi2_camgroup_prepare");
        rk_aiq_uapi2_camgroup_destroy(ctx);
        return -1;
    }
    if (rk_aiq_uapi2_camgroup_start(ctx) != 0) {
        GROUP_FAILED(__func__, "rk_aiq_uapi2_camgroup_start");
        rk_aiq_uapi2_camgroup_destroy(ctx);
        return -1;
    }
    isp::shared_set(g_camera_group_ctx[group_id], ctx);
    isp::shared_set(rkipc_aiq_use_group, 1);
    return 0;
}

int rk_isp_init_group_start(int group_id)
{
    return on_group(__func__, group_id, [function = __func__](rk_aiq_camgroup_ctx_t* ctx) {
        if (rk_aiq_uapi2_camgroup_start(ctx) != 0) {
            GROUP_FAILED(function, "rk_aiq_uapi2_camgroup_start");
            return -1;
        }
        return 0;
    });
}

int rk_isp_init_group_stop(int group_id)
{
    return on_group(__func__, group_id, [function = __func__](rk_aiq_camgroup_ctx_t* ctx) {
        if (rk_aiq_uapi2_camgroup_stop(ctx) != 0) {
            GROUP_FAILED(function, "rk_aiq_uapi2_camgroup_stop");
            return -1;
        }
        return 0;
    });
}

int rk_isp_deinit_group(int group_id)
{
    return on_group(__func__, group_id, [group_id](rk_aiq_camgroup_ctx_t* /*ctx*/) ISP_REQUIRES(isp::engine_mutex) {
        destroy_group(group_id);
        return 0;
    });
}

int set_sensor_vpss_group(int /*isp_id*/, int* value)
{
    if (value == nullptr) {
        ISP_TRACE(__func__, "value == NULL\n");
        return -1;
    }
    for (int i = 0; i < 4; ++i) {
        isp::shared_set(sensor_vpss_group[i], value[i]);
    }
    return 0;
}
