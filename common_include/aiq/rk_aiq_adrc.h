/** @file
 * Dynamic range compression: a gain over the engine's control axis. */
#ifndef AIQ_RK_AIQ_ADRC_H
#define AIQ_RK_AIQ_ADRC_H

#include "rk_aiq_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Points of the engine's control axis. */
#define RK_AIQ_DRC_POINTS 13 /* points of the control axis */

/** Generation of the engine that a block is made for. */
typedef enum AdrcVersion_t RK_ENUM_INT {
    ADRC_VERSION_356X = 0,
    ADRC_VERSION_3588 = 1,
} AdrcVersion_t;

/** Who decides the compression. */
typedef enum drc_OpMode_t RK_ENUM_INT {
    DRC_OPMODE_AUTO = 0,
    DRC_OPMODE_MANUAL = 1,
} drc_OpMode_t;

typedef struct DrcGain_t {
    float CtrlData[RK_AIQ_DRC_POINTS];
    float DrcGain[RK_AIQ_DRC_POINTS];
    float Alpha[RK_AIQ_DRC_POINTS];
    float Clip[RK_AIQ_DRC_POINTS];
} DrcGain_t;

typedef struct DrcTuningPara_t {
    bool Enable;
    DrcGain_t DrcGain;
} DrcTuningPara_t;

typedef struct drcAutoV30_t {
    DrcTuningPara_t DrcTuningPara;
} drcAutoV30_t;

typedef struct drc_attrib_t {
    rk_aiq_uapi_sync_t sync;
    AdrcVersion_t Version;
    drc_OpMode_t opMode;
    drcAutoV30_t stAutoV30;
} drc_attrib_t;

/**@{*/
/** Reads and writes the whole block of dynamic range compression.
 * When: KIV_Set_drc(), KIV_Set_exposure_mode(). Threads: the caller's. */
XCamReturn rk_aiq_user_api2_adrc_GetAttrib(const rk_aiq_sys_ctx_t* ctx, drc_attrib_t* attr);
XCamReturn rk_aiq_user_api2_adrc_SetAttrib(const rk_aiq_sys_ctx_t* ctx, drc_attrib_t attr);
/**@}*/

#ifdef __cplusplus
}
#endif

#endif
