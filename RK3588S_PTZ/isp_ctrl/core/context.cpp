// The engine contexts, the lock that guards them, and the camera roles.
#include "isp_ctrl/core/context.h"

#include "isp_ctrl/core/atomic.h"
#include "isp_ctrl/core/trace.h"
#include "isp_ctrl/isp_ctrl.h"

rk_aiq_sys_ctx_t* g_aiq_ctx[isp::kCameras];
rk_aiq_camgroup_ctx_t* g_camera_group_ctx[isp::kCameras];
int rkipc_aiq_use_group;
pthread_mutex_t g_aiq_mtx = PTHREAD_MUTEX_INITIALIZER;
rk_aiq_working_mode_t g_WDRMode[isp::kCameras];
char g_iq_file_dir_[256] = "/etc/iqfiles";

namespace
{

int PanoramaIspId = 1;
int FeaturesIspId = 0;

int set_role(const isp::Place& place, int& role, int isp_id)
{
    if (!isp::valid_id(place, isp_id)) {
        return -1;
    }
    isp::shared_set(role, isp_id);
    return 0;
}

} // namespace

bool isp::refuse_id(const Place& place, int id)
{
    ISP_TRACE_AT(place, "id %d is not 0 to 7\n\n", id);
    return false;
}

rk_aiq_sys_ctx_t* rkipc_aiq_get_ctx(int cam_id)
{
    if (isp::shared_get(rkipc_aiq_use_group) != 0) {
        // The engine's module calls take a group context in place of a camera context.
        return reinterpret_cast<rk_aiq_sys_ctx_t*>(isp::shared_get(g_camera_group_ctx[cam_id]));
    }
    return isp::shared_get(g_aiq_ctx[cam_id]);
}

pthread_mutex_t* rkipc_get_ctx_mtx(void)
{
    return &g_aiq_mtx;
}

int set_PanoramaIspId(int isp_id)
{
    return set_role(__func__, PanoramaIspId, isp_id);
}

int get_PanoramaIspId(void)
{
    return isp::shared_get(PanoramaIspId);
}

int set_FeaturesIspId(int isp_id)
{
    return set_role(__func__, FeaturesIspId, isp_id);
}

int get_FeaturesIspId(void)
{
    return isp::shared_get(FeaturesIspId);
}

int get_isp_switch(int isp_id)
{
    return isp::store_record(isp_id);
}
