/** @file
 * Colour-space matrix: RGB to YCbCr. */
#ifndef AIQ_RK_AIQ_ACSM_H
#define AIQ_RK_AIQ_ACSM_H

#include "rk_aiq_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct rk_aiq_acsm_params_t {
    RKAiqOPMode_t op_mode;
    bool full_range;
    int y_offset;
    int c_offset;
    float coeff[9]; /**< rows Y, Cb, Cr; columns R, G, B */
} rk_aiq_acsm_params_t;

typedef struct rk_aiq_uapi_acsm_attrib_t {
    rk_aiq_uapi_sync_t sync;
    rk_aiq_acsm_params_t param;
} rk_aiq_uapi_acsm_attrib_t;

/**@{*/
/** Reads and writes the whole block of the colour-space matrix.
 * When: KIV_Set_csc_mode(). Threads: the caller's. */
XCamReturn rk_aiq_user_api2_acsm_GetAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_uapi_acsm_attrib_t* attr);
XCamReturn rk_aiq_user_api2_acsm_SetAttrib(const rk_aiq_sys_ctx_t* ctx, const rk_aiq_uapi_acsm_attrib_t* attr);
/**@}*/

#ifdef __cplusplus
}
#endif

#endif
