/** @file
 * Noise reduction in the Bayer domain: spatial (2D, version 2) and temporal (3D, version 2). */
#ifndef AIQ_RK_AIQ_ABAYERNR_H
#define AIQ_RK_AIQ_ABAYERNR_H

#include "rk_aiq_asharp.h" /* RK_AIQ_ISO_STEPS */
#include "rk_aiq_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Who decides the strength of spatial noise reduction. */
typedef enum Abayer2dnr_OPMode_V2_t RK_ENUM_INT {
    ABAYER2DNR_OP_MODE_INVALID = 0,
    ABAYER2DNR_OP_MODE_AUTO = 1,
    ABAYER2DNR_OP_MODE_MANUAL = 2,
} Abayer2dnr_OPMode_V2_t;

typedef struct RK_Bayer2dnr_Params_V2_t {
    int enable;
    int iso[RK_AIQ_ISO_STEPS];
    float filter_strength[RK_AIQ_ISO_STEPS];
    float edgesofts[RK_AIQ_ISO_STEPS];
    float weight[RK_AIQ_ISO_STEPS];
} RK_Bayer2dnr_Params_V2_t;

typedef struct Abayer2dnr_Auto_Attr_V2_t {
    RK_Bayer2dnr_Params_V2_t st2DParams;
} Abayer2dnr_Auto_Attr_V2_t;

typedef struct rk_aiq_bayer2dnr_attrib_v2_t {
    rk_aiq_uapi_sync_t sync;
    Abayer2dnr_OPMode_V2_t eMode;
    Abayer2dnr_Auto_Attr_V2_t stAuto;
} rk_aiq_bayer2dnr_attrib_v2_t;

/** Who decides the strength of temporal noise reduction. */
typedef enum Abayertnr_OPMode_V2_t RK_ENUM_INT {
    ABAYERTNRV2_OP_MODE_INVALID = 0,
    ABAYERTNRV2_OP_MODE_AUTO = 1,
    ABAYERTNRV2_OP_MODE_MANUAL = 2,
} Abayertnr_OPMode_V2_t;

typedef struct RK_Bayertnr_Params_V2_t {
    int enable;
    int iso[RK_AIQ_ISO_STEPS];
    float lo_filter_strength[RK_AIQ_ISO_STEPS];
    float hi_filter_strength[RK_AIQ_ISO_STEPS];
    float lo_clipwgt[RK_AIQ_ISO_STEPS];
} RK_Bayertnr_Params_V2_t;

typedef struct Abayertnr_Auto_Attr_V2_t {
    RK_Bayertnr_Params_V2_t st3DParams;
} Abayertnr_Auto_Attr_V2_t;

typedef struct rk_aiq_bayertnr_attrib_v2_t {
    rk_aiq_uapi_sync_t sync;
    Abayertnr_OPMode_V2_t eMode;
    Abayertnr_Auto_Attr_V2_t stAuto;
} rk_aiq_bayertnr_attrib_v2_t;

/**@{*/
/** Reads and writes the whole block of spatial noise reduction.
 * When: KIV_Set_nr2d(). Threads: the caller's. */
XCamReturn rk_aiq_user_api2_abayer2dnrV2_GetAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_bayer2dnr_attrib_v2_t* attr);
XCamReturn rk_aiq_user_api2_abayer2dnrV2_SetAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_bayer2dnr_attrib_v2_t* attr);
/**@}*/

/**@{*/
/** Reads and writes the whole block of temporal noise reduction.
 * When: KIV_Set_nr3d(). Threads: the caller's. */
XCamReturn rk_aiq_user_api2_abayertnrV2_GetAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_bayertnr_attrib_v2_t* attr);
XCamReturn rk_aiq_user_api2_abayertnrV2_SetAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_bayertnr_attrib_v2_t* attr);
/**@}*/

#ifdef __cplusplus
}
#endif

#endif
