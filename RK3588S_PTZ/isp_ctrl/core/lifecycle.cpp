// Life of one camera's engine: start, reload, stop, release.
#include "isp_ctrl/core/atomic.h"
#include "isp_ctrl/core/context.h"
#include "isp_ctrl/core/engine_use.h"
#include "isp_ctrl/core/lock.h"
#include "isp_ctrl/core/trace.h"
#include "isp_ctrl/isp_ctrl.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr char kDefaultIqDirectory[] = "/etc/iqfiles";
constexpr char kHdrMode[] = "norm"; // "HDR2" would select the HDR working mode

/// Stops and releases a camera's engine, if it has one.
void release_engine(int cam_id) ISP_REQUIRES(isp::engine_mutex)
{
    const rk_aiq_sys_ctx_t* ctx = isp::shared_get(g_aiq_ctx[cam_id]);
    if (ctx != nullptr) {
        rk_aiq_uapi2_sysctl_stop(ctx, false);
        rk_aiq_uapi2_sysctl_deinit(isp::take_camera(cam_id));
    }
}

/// Engine initialisation: scene, context, slot. Goes on after every failure; sample_common_isp_run() then finds no
/// context.
int sample_common_isp_init(int cam_id, rk_aiq_working_mode_t WDRMode, const char* iq_file_dir)
{
    if (cam_id < 0 || cam_id >= isp::kCameras) {
        ISP_TRACE(__func__, "%s : cam_id is over 3\n\n", __func__);
        return -1;
    }
    ISP_TRACE(__func__, "enter\n");
    {
        const isp::EngineLock lock;
        release_engine(cam_id);
    }
    isp::shared_set(g_WDRMode[cam_id], WDRMode);
    char mode_text[16];
    std::snprintf(mode_text, sizeof mode_text, "%d", static_cast<int>(WDRMode));
    setenv("HDR_MODE", mode_text, 1);

    rk_aiq_static_info_t aiq_static_info{};
    rk_aiq_uapi2_sysctl_enumStaticMetas(cam_id, &aiq_static_info);
    const char* sensor_name = aiq_static_info.sensor_info.sensor_name;
    if (aiq_static_info.sensor_info.phyId == -1) {
        ISP_TRACE(__func__, "WARN: aiq_static_info.sensor_info.phyId is %d\n\n", aiq_static_info.sensor_info.phyId);
    }
    ISP_TRACE(__func__, "ID: %d, sensor_name is %s, iqfiles is %s\n\n", cam_id, sensor_name, iq_file_dir);

    // Never "hdr" while kHdrMode is "norm".
    const char* main_scene = WDRMode == RK_AIQ_WORKING_MODE_NORMAL ? "normal" : "hdr"; // LCOV_EXCL_BR_LINE
    if (rk_aiq_uapi2_sysctl_preInit_scene(sensor_name, main_scene, "day") < 0) {
        ISP_TRACE(__func__, "%s: failed to set scene\n\n", sensor_name);
    }
    rk_aiq_sys_ctx_t* ctx = rk_aiq_uapi2_sysctl_init(sensor_name, iq_file_dir, nullptr, nullptr);
    if (ctx == nullptr) {
        ISP_TRACE(__func__, "rkaiq engine rk_aiq_uapi2_sysctl_init dir: %s sensor_name: %s failed !\n\n", iq_file_dir,
                  sensor_name);
    }
    {
        const isp::EngineLock lock;
        release_engine(cam_id); // another start of this camera may have come first
        isp::shared_set(g_aiq_ctx[cam_id], ctx);
    }
    ISP_TRACE(__func__, "sample_common_isp_init success\n\n");
    return 0;
}

/// Prepare and start. A failed prepare releases the context; a failed start keeps it, prepared.
int sample_common_isp_run(int cam_id)
{
    if (cam_id < 0 || cam_id >= isp::kCameras || isp::shared_get(g_aiq_ctx[cam_id]) == nullptr) {
        ISP_DEBUG(__func__, "camera_id is over 3 or not init\n\n");
        return -1;
    }
    {
        const isp::EngineLock lock;
        rk_aiq_sys_ctx_t* ctx = isp::shared_get(g_aiq_ctx[cam_id]);
        if (ctx == nullptr) { // another thread has released it: LCOV_EXCL_BR_LINE
            return -1;        // LCOV_EXCL_LINE
        }
        if (rk_aiq_uapi2_sysctl_prepare(ctx, 0, 0, isp::shared_get(g_WDRMode[cam_id])) != 0) {
            ISP_TRACE(__func__, "rkaiq engine prepare failed !\n\n");
            rk_aiq_uapi2_sysctl_deinit(isp::take_camera(cam_id));
            return -1;
        }
        ISP_TRACE(__func__, "rk_aiq_uapi2_sysctl_init/prepare succeed\n\n");
        if (rk_aiq_uapi2_sysctl_start(ctx) != 0) {
            ISP_TRACE(__func__, "rk_aiq_uapi2_sysctl_start  failed\n\n");
            return -1;
        }
    }
    ISP_TRACE(__func__, "rk_aiq_uapi2_sysctl_start succeed\n\n");
    return 0;
}

int stop_engine(const isp::Place& place, int cam_id)
{
    if (!isp::valid_id(place, cam_id)) {
        return -1;
    }
    const isp::EngineLock lock;
    const rk_aiq_sys_ctx_t* ctx = isp::shared_get(g_aiq_ctx[cam_id]);
    if (ctx != nullptr) {
        rk_aiq_uapi2_sysctl_stop(ctx, false);
    }
    return 0;
}

} // namespace

int rk_isp_init(int cam_id, char* iqfile_path)
{
    ISP_TRACE(__func__, "cam_id is %d, iqfiles:%s\n\n", cam_id, iqfile_path != nullptr ? iqfile_path : "(null)");

    // The path may be g_iq_file_dir_ itself.
    char directory[sizeof g_iq_file_dir_] = {};
    const char* wanted = iqfile_path != nullptr ? iqfile_path : kDefaultIqDirectory;
    const std::size_t length = strnlen(wanted, sizeof directory);
    if (length == sizeof directory) {
        ISP_TRACE(__func__, "the path of the iq files is longer than %zu characters\n\n", sizeof directory - 1);
        return -1;
    }
    std::memcpy(directory, wanted, length);

    isp::shared_set(rkipc_aiq_use_group, 0);
    {
        const isp::EngineLock lock;
        if (std::memcmp(g_iq_file_dir_, directory, sizeof directory) != 0) { // engines may be reading it
            std::memcpy(g_iq_file_dir_, directory, sizeof directory);
        }
    }
    ISP_TRACE(__func__, "g_iq_file_dir_ is %s iqfile path:%s\n\n", directory,
              iqfile_path != nullptr ? iqfile_path : "(null)");

    ISP_TRACE(__func__, "cam_id is %d, hdr_mode is %s\n\n", cam_id, kHdrMode);
    const rk_aiq_working_mode_t mode =
        std::strcmp(kHdrMode, "HDR2") == 0 ? RK_AIQ_WORKING_MODE_ISP_HDR2 : RK_AIQ_WORKING_MODE_NORMAL;
    int ret = sample_common_isp_init(cam_id, mode, g_iq_file_dir_);
    ret |= sample_common_isp_run(cam_id);
    return ret;
}

int rk_isp_update(int cam_id)
{
    if (!isp::valid_id(__func__, cam_id)) {
        return -1;
    }
    const isp::EngineLock lock;
    rk_aiq_sys_ctx_t* ctx = isp::shared_get(g_aiq_ctx[cam_id]);
    if (ctx == nullptr) {
        ISP_TRACE(__func__, "aiq ctx error\n\n");
        return -1;
    }
    rk_aiq_uapi2_sysctl_updateIq(ctx, g_iq_file_dir_);
    return 0;
}

int rk_isp_stop(int cam_id)
{
    return stop_engine(__func__, cam_id);
}

int rk_isp_resume(int cam_id)
{
    return stop_engine(__func__, cam_id);
}

int rk_isp_deinit(int cam_id)
{
    if (!isp::valid_id(__func__, cam_id)) {
        return -1;
    }
    const isp::EngineLock lock;
    release_engine(cam_id);
    return 0;
}
