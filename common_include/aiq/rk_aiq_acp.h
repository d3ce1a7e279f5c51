/** @file
 * Colour processing: brightness, contrast, saturation and hue of the picture, 128 being neutral. */
#ifndef AIQ_RK_AIQ_ACP_H
#define AIQ_RK_AIQ_ACP_H

#include "rk_aiq_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct acp_attrib_t {
    rk_aiq_uapi_sync_t sync;
    uint8_t brightness;
    uint8_t contrast;
    uint8_t saturation;
    uint8_t hue;
} acp_attrib_t;

/**@{*/
/** Reads and writes the whole block of colour processing.
 * When: KIV_Set_saturation(), KIV_Set_hue(), KIV_Set_luminance(), KIV_Set_contrast(), KIV_Set_blackwhite_mode().
 * Threads: the caller's. */
XCamReturn rk_aiq_user_api2_acp_GetAttrib(const rk_aiq_sys_ctx_t* ctx, acp_attrib_t* attr);
XCamReturn rk_aiq_user_api2_acp_SetAttrib(const rk_aiq_sys_ctx_t* ctx, const acp_attrib_t* attr);
/**@}*/

#ifdef __cplusplus
}
#endif

#endif
