/** @file
 * Automatic white balance: operating mode, manual gains, gain offset, live result. */
#ifndef AIQ_RK_AIQ_AWB_H
#define AIQ_RK_AIQ_AWB_H

#include "rk_aiq_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Who decides the gains. */
typedef enum rk_aiq_wb_op_mode_t RK_ENUM_INT {
    RK_AIQ_WB_MODE_MANUAL = 0,
    RK_AIQ_WB_MODE_AUTO = 1,
} rk_aiq_wb_op_mode_t;

typedef struct rk_aiq_uapiV2_wb_opMode_t {
    rk_aiq_uapi_sync_t sync;
    rk_aiq_wb_op_mode_t mode;
} rk_aiq_uapiV2_wb_opMode_t;

typedef struct rk_aiq_wb_gain_t {
    float rgain;
    float grgain;
    float gbgain;
    float bgain;
} rk_aiq_wb_gain_t;

/** What manual operation is told. */
typedef enum rk_aiq_wb_mwb_mode_t RK_ENUM_INT {
    RK_AIQ_MWB_MODE_CCT = 0,
    RK_AIQ_MWB_MODE_SCENE = 1,
    RK_AIQ_MWB_MODE_WBGAIN = 2,
} rk_aiq_wb_mwb_mode_t;

typedef struct rk_aiq_wb_cct_t {
    float CCT; /**< kelvin */
    float CCRI;
} rk_aiq_wb_cct_t;

typedef struct rk_aiq_wb_mwb_para_t {
    rk_aiq_wb_gain_t gain;
    int scene;
    rk_aiq_wb_cct_t cct;
} rk_aiq_wb_mwb_para_t;

typedef struct rk_aiq_wb_mwb_attrib_t {
    rk_aiq_uapi_sync_t sync;
    rk_aiq_wb_mwb_mode_t mode;
    rk_aiq_wb_mwb_para_t para;
} rk_aiq_wb_mwb_attrib_t;

typedef struct rk_aiq_wb_gain_offset_t {
    bool enable;
    float offset[4]; /**< red, green on red rows, green on blue rows, blue */
} rk_aiq_wb_gain_offset_t;

typedef struct rk_aiq_uapiV2_wb_awb_wbGainOffset_t {
    rk_aiq_uapi_sync_t sync;
    rk_aiq_wb_gain_offset_t gainOffset;
} rk_aiq_uapiV2_wb_awb_wbGainOffset_t;

typedef struct rk_aiq_wb_querry_info_t {
    rk_aiq_wb_gain_t gain; /**< the gains in force */
    rk_aiq_wb_cct_t cctGloabl;
    bool awbConverged;
} rk_aiq_wb_querry_info_t;

/**@{*/
/** Reads and writes the whole block of the operating mode.
 * When: setters of white balance, Awb_Calibration(), white-balance following, when the gains change. Threads: the
 * caller's, white-balance following. */
XCamReturn rk_aiq_user_api2_awb_GetWpModeAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_uapiV2_wb_opMode_t* attr);
XCamReturn rk_aiq_user_api2_awb_SetWpModeAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_uapiV2_wb_opMode_t attr);
/**@}*/

/**@{*/
/** Reads and writes the whole block of the manual gains.
 * When: setters of white balance, white-balance following, when the gains change. Threads: the caller's,
 * white-balance following. */
XCamReturn rk_aiq_user_api2_awb_GetMwbAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_wb_mwb_attrib_t* attr);
XCamReturn rk_aiq_user_api2_awb_SetMwbAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_wb_mwb_attrib_t attr);
/**@}*/

/** The gains and colour temperature that white balance has reached.
 * When: KIV_Set_wb_mode_onepush(), Awb_Calibration(), each cycle of white-balance following. Threads: the caller's,
 * white-balance following. */
XCamReturn rk_aiq_user_api2_awb_QueryWBInfo(const rk_aiq_sys_ctx_t* ctx, rk_aiq_wb_querry_info_t* info);

/**@{*/
/** Reads and writes the whole block of the gain offset.
 * When: KIV_Set_wb_mode() and the tuning setters, Awb_Calibration(). Threads: the caller's. */
XCamReturn rk_aiq_uapi2_getAwbGainOffsetAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_uapiV2_wb_awb_wbGainOffset_t* attr);
XCamReturn rk_aiq_uapi2_setAwbGainOffsetAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_uapiV2_wb_awb_wbGainOffset_t attr);
/**@}*/

#ifdef __cplusplus
}
#endif

#endif
