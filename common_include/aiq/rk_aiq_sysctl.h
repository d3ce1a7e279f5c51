/** @file
 * System control: the life of one camera's engine. */
#ifndef AIQ_RK_AIQ_SYSCTL_H
#define AIQ_RK_AIQ_SYSCTL_H

#include "rk_aiq_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct rk_aiq_sensor_info_t {
    char sensor_name[32]; /**< entity name, the engine's key to the sensor */
    int phyId;            /**< -1: no such sensor */
} rk_aiq_sensor_info_t;

typedef struct rk_aiq_static_info_t {
    rk_aiq_sensor_info_t sensor_info;
} rk_aiq_static_info_t;

struct rk_aiq_err_msg_s;
struct rk_aiq_metas_s;
/** Told of the engine's errors; this library passes null. */
typedef XCamReturn (*rk_aiq_error_cb)(struct rk_aiq_err_msg_s* msg);
/** Told of each frame's results; this library passes null. */
typedef XCamReturn (*rk_aiq_metas_cb)(struct rk_aiq_metas_s* metas);

/** What sensor has this index.
 * When: rk_isp_init(), rk_isp_init_group(). Threads: the caller's. */
XCamReturn rk_aiq_uapi2_sysctl_enumStaticMetas(int index, rk_aiq_static_info_t* info);
/** Chooses the tuning scene of a sensor, before its context is made.
 * When: rk_isp_init(). Threads: the caller's. */
XCamReturn rk_aiq_uapi2_sysctl_preInit_scene(const char* sensor, const char* main_scene, const char* sub_scene);
/** A new context for a sensor with the tuning files of a directory, or null.
 * When: rk_isp_init(). Threads: the caller's. */
rk_aiq_sys_ctx_t* rk_aiq_uapi2_sysctl_init(const char* sensor, const char* iq_dir, rk_aiq_error_cb error_cb,
                                           rk_aiq_metas_cb metas_cb);
/** Readies the engine for a picture size and a working mode.
 * When: rk_isp_init(). Threads: the caller's. */
XCamReturn rk_aiq_uapi2_sysctl_prepare(const rk_aiq_sys_ctx_t* ctx, uint32_t width, uint32_t height,
                                       rk_aiq_working_mode_t mode);
/** Starts processing.
 * When: rk_isp_init(). Threads: the caller's. */
XCamReturn rk_aiq_uapi2_sysctl_start(const rk_aiq_sys_ctx_t* ctx);
/** Stops processing; the context stays and keeps its settings.
 * When: rk_isp_stop(), rk_isp_resume(), rk_isp_deinit(), rk_isp_init() of a camera that has an engine. Threads: the
 * caller's. */
XCamReturn rk_aiq_uapi2_sysctl_stop(const rk_aiq_sys_ctx_t* ctx, bool keep_ext_hw_st);
/** Ends a context.
 * When: rk_isp_deinit(), rk_isp_init() of a camera that has an engine or whose engine fails. Threads: the caller's. */
void rk_aiq_uapi2_sysctl_deinit(rk_aiq_sys_ctx_t* ctx);
/** Reads the tuning files anew, from this directory.
 * When: rk_isp_update(). Threads: the caller's. */
XCamReturn rk_aiq_uapi2_sysctl_updateIq(rk_aiq_sys_ctx_t* ctx, char* iq_dir);

#ifdef __cplusplus
}
#endif

#endif
