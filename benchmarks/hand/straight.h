// What the code by hand is made of, all of it expanded in place: the context, a bound, and Get, change, Set of a block.
#pragma once

#include "hand/hand.h"
#include "isp_ctrl.h"
#include "isp_ctrl/core/context.h"
#include "isp_ctrl/core/trace.h"
#include "platformpara/para_isp.h"

#include <algorithm>
#include <type_traits>

namespace HAND
{

#define STRAIGHT [[gnu::always_inline]] inline

/// Leaves trace lines and camera groups out.
inline constexpr bool kBare = HAND_BARE;

// A trace line of the library's; the function that it names is the one by hand.
#define TRACE(text, ...)                                                                                               \
    do {                                                                                                               \
        if constexpr (!kBare) {                                                                                        \
            ISP_TRACE(__func__, text __VA_OPT__(, ) __VA_ARGS__);                                                      \
        }                                                                                                              \
    } while (false)

STRAIGHT rk_aiq_sys_ctx_t* engine(int id)
{
    return kBare ? isp::shared_get(g_aiq_ctx[id]) : isp::engine_context(id);
}

STRAIGHT int unfit()
{
    TRACE("ISP unfit\n\n");
    return ISP_UNFIT;
}

STRAIGHT int bound(int id, int value, int (*maximum)(int), int last)
{
    if (value > maximum(id)) {
        value = maximum(id);
    }
    return std::clamp(value, 0, last);
}

/// Get, change, Set: 0, or -1 when a call failed.
template <auto Get, auto Set, typename Block, typename Change>
STRAIGHT int change_block(int id, Change change)
{
    const rk_aiq_sys_ctx_t* ctx = engine(id);
    Block block;
    if (Get(ctx, &block) != XCAM_RETURN_NO_ERROR) {
        return -1;
    }
    change(block);
    if constexpr (std::is_invocable_v<decltype(Set), const rk_aiq_sys_ctx_t*, Block*>) {
        return Set(ctx, &block) == XCAM_RETURN_NO_ERROR ? 0 : -1;
    } else {
        return Set(ctx, block) == XCAM_RETURN_NO_ERROR ? 0 : -1;
    }
}
// The modules, as change_acp(id, change) and so on.
#define MODULE(name, get, set, Block)                                                                                  \
    template <typename Change>                                                                                         \
    STRAIGHT int change_##name(int id, Change change)                                                                  \
    {                                                                                                                  \
        return change_block<get, set, Block>(id, change);                                                              \
    }
MODULE(sharp, rk_aiq_user_api2_asharpV4_GetAttrib, rk_aiq_user_api2_asharpV4_SetAttrib, rk_aiq_sharp_attrib_v4_t)
MODULE(gamma_block, rk_aiq_user_api2_agamma_GetAttrib, rk_aiq_user_api2_agamma_SetAttrib, rk_aiq_gamma_attrib_V2_t)
MODULE(drc_block, rk_aiq_user_api2_adrc_GetAttrib, rk_aiq_user_api2_adrc_SetAttrib, drc_attrib_t)
MODULE(nr2d_block, rk_aiq_user_api2_abayer2dnrV2_GetAttrib, rk_aiq_user_api2_abayer2dnrV2_SetAttrib,
       rk_aiq_bayer2dnr_attrib_v2_t)
MODULE(nr3d_block, rk_aiq_user_api2_abayertnrV2_GetAttrib, rk_aiq_user_api2_abayertnrV2_SetAttrib,
       rk_aiq_bayertnr_attrib_v2_t)
MODULE(csm, rk_aiq_user_api2_acsm_GetAttrib, rk_aiq_user_api2_acsm_SetAttrib, rk_aiq_uapi_acsm_attrib_t)
MODULE(gain_range, rk_aiq_uapi2_getExpGainRange, rk_aiq_uapi2_setExpGainRange, paRange_t)
MODULE(wb_op_mode, rk_aiq_user_api2_awb_GetWpModeAttrib, rk_aiq_user_api2_awb_SetWpModeAttrib,
       rk_aiq_uapiV2_wb_opMode_t)
MODULE(acp, rk_aiq_user_api2_acp_GetAttrib, rk_aiq_user_api2_acp_SetAttrib, acp_attrib_t)
MODULE(ae, rk_aiq_user_api2_ae_getExpSwAttr, rk_aiq_user_api2_ae_setExpSwAttr, Uapi_ExpSwAttrV2_t)
MODULE(wb_manual, rk_aiq_user_api2_awb_GetMwbAttrib, rk_aiq_user_api2_awb_SetMwbAttrib, rk_aiq_wb_mwb_attrib_t)
#undef MODULE

#define CHECK_ID(id)                                                                                                   \
    if (id < 0 || id > 7) {                                                                                            \
        return -1;                                                                                                     \
    }

/// Whether the fitted lens is that model, asked afresh.
bool lens_is_SR1053();

} // namespace HAND
