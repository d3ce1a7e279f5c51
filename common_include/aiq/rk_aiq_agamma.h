/** @file
 * Tone curve of the picture: 49 points, output 0 to 4095. */
#ifndef AIQ_RK_AIQ_AGAMMA_H
#define AIQ_RK_AIQ_AGAMMA_H

#include "rk_aiq_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Points of a tone curve. */
#define RK_AIQ_GAMMA_POINTS 49

/** Which of the curves applies. */
typedef enum gamma_op_mode_t RK_ENUM_INT {
    GAMMA_MODE_AUTO = 0,
    GAMMA_MODE_MANUAL = 1,
    GAMMA_MODE_FAST = 2,
} gamma_op_mode_t;

typedef struct rk_aiq_gamma_manual_V30_t {
    bool Gamma_en;
    uint16_t Gamma_out_offset;
    uint16_t Gamma_curve[RK_AIQ_GAMMA_POINTS];
} rk_aiq_gamma_manual_V30_t;

typedef struct rk_aiq_gamma_fast_t {
    bool en;
    float GammaCoef;
    float SlopeAtZero;
} rk_aiq_gamma_fast_t;

typedef struct rk_aiq_gamma_attr_V21_t {
    gamma_op_mode_t mode;
    float GammaCoef;
} rk_aiq_gamma_attr_V21_t;

typedef struct rk_aiq_gamma_attr_V30_t {
    gamma_op_mode_t mode;
    rk_aiq_gamma_manual_V30_t stManual;
    rk_aiq_gamma_fast_t stFast;
} rk_aiq_gamma_attr_V30_t;

typedef struct rk_aiq_gamma_attrib_V2_t {
    rk_aiq_uapi_sync_t sync;
    rk_aiq_gamma_attr_V21_t atrrV21;
    rk_aiq_gamma_attr_V30_t atrrV30;
} rk_aiq_gamma_attrib_V2_t;

/**@{*/
/** Reads and writes the whole block of the tone curve.
 * When: KIV_Set_gamma(). Threads: the caller's. */
XCamReturn rk_aiq_user_api2_agamma_GetAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_gamma_attrib_V2_t* attr);
XCamReturn rk_aiq_user_api2_agamma_SetAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_gamma_attrib_V2_t attr);
/**@}*/

#ifdef __cplusplus
}
#endif

#endif
