/** @file
 * Camera groups: several sensors tuned together by one engine instance. */
#ifndef AIQ_RK_AIQ_CAMGROUP_H
#define AIQ_RK_AIQ_CAMGROUP_H

#include "rk_aiq_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Members that a group has room for. */
#define RK_AIQ_CAM_GROUP_MAX_CAMS 8 /* a group has fewer members than this */

typedef struct rk_aiq_camgroup_instance_cfg_t {
    const char* sns_ent_nm_array[RK_AIQ_CAM_GROUP_MAX_CAMS]; /**< entity name per member */
    int sns_num;
    const char* config_file_dir; /**< directory of the tuning files */
    const char* single_iq_file;
    const char* group_iq_file;
    const char* overlap_map_file;
    void (*pHwEvt_cb)(void* ctx);
    void* pHwEvtCbCtx;
} rk_aiq_camgroup_instance_cfg_t;

/** A new group's context, or null.
 * When: rk_isp_init_group(). Threads: the caller's. */
rk_aiq_camgroup_ctx_t* rk_aiq_uapi2_camgroup_create(rk_aiq_camgroup_instance_cfg_t* cfg);
/** Readies the group's engine for a working mode.
 * When: rk_isp_init_group(). Threads: the caller's. */
XCamReturn rk_aiq_uapi2_camgroup_prepare(rk_aiq_camgroup_ctx_t* ctx, rk_aiq_working_mode_t mode);
/** Starts processing.
 * When: rk_isp_init_group(), rk_isp_init_group_start(). Threads: the caller's. */
XCamReturn rk_aiq_uapi2_camgroup_start(rk_aiq_camgroup_ctx_t* ctx);
/** Stops processing; the context stays.
 * When: rk_isp_init_group_stop(), rk_isp_deinit_group(). Threads: the caller's. */
XCamReturn rk_aiq_uapi2_camgroup_stop(rk_aiq_camgroup_ctx_t* ctx);
/** Ends the group and its context.
 * When: rk_isp_deinit_group(), a start that fails. Threads: the caller's. */
XCamReturn rk_aiq_uapi2_camgroup_destroy(rk_aiq_camgroup_ctx_t* ctx);

#ifdef __cplusplus
}
#endif

#endif
