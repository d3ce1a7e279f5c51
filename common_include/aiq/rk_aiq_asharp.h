/** @file
 * Sharpening, version 4 of its interface. */
#ifndef AIQ_RK_AIQ_ASHARP_H
#define AIQ_RK_AIQ_ASHARP_H

#include "rk_aiq_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Sensitivity steps, each twice the one before. */
#define RK_AIQ_ISO_STEPS 13 /* sensitivity steps of the tuning arrays */

/** Who decides the strength. */
typedef enum Asharp4_OPMode_t RK_ENUM_INT {
    ASHARP4_OP_MODE_OFF = 0,
    ASHARP4_OP_MODE_AUTO = 1,
    ASHARP4_OP_MODE_MANUAL = 2,
} Asharp4_OPMode_t;

typedef struct RK_SHARP_Params_V4_t {
    int enable;
    int iso[RK_AIQ_ISO_STEPS];
    float sharp_ratio[RK_AIQ_ISO_STEPS]; /**< strength per sensitivity step */
    float pbf_ratio[RK_AIQ_ISO_STEPS];
} RK_SHARP_Params_V4_t;

typedef struct Asharp_Auto_Attr_V4_t {
    RK_SHARP_Params_V4_t stParams;
} Asharp_Auto_Attr_V4_t;

typedef struct rk_aiq_sharp_attrib_v4_t {
    rk_aiq_uapi_sync_t sync;
    Asharp4_OPMode_t eMode;
    Asharp_Auto_Attr_V4_t stAuto;
} rk_aiq_sharp_attrib_v4_t;

/**@{*/
/** Reads and writes the whole block of sharpening.
 * When: KIV_Set_sharpness(). Threads: the caller's. */
XCamReturn rk_aiq_user_api2_asharpV4_GetAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_sharp_attrib_v4_t* attr);
XCamReturn rk_aiq_user_api2_asharpV4_SetAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_sharp_attrib_v4_t* attr);
/**@}*/

#ifdef __cplusplus
}
#endif

#endif
