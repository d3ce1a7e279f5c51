// What the code by hand is made of, all of it expanded in place: the context, a bound, and Get, change, Set of a block.
#pragma once

#include "hand/hand.h"
#include "isp_ctrl.h"
#include "isp_ctrl/core/context.h"
#include "isp_ctrl/core/trace.h"
#include "platformpara/para_isp.h"

#include <algorithm>
#include <type_traits>

namespace hand
{

#define STRAIGHT [[gnu::always_inline]] inline

// A trace line of the library's; the function that it names is the one by hand.
#define TRACE(text, ...) ISP_TRACE(__func__, text __VA_OPT__(, ) __VA_ARGS__)

#define CHECK_ID(id)                                                                                                   \
    if (id < 0 || id > 7) {                                                                                            \
        return -1;                                                                                                     \
    }

STRAIGHT rk_aiq_sys_ctx_t* engine(int id)
{
    return rkipc_aiq_get_ctx(id);
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

template <typename Change>
STRAIGHT int change_ae(int id, Change change)
{
    return change_block<rk_aiq_user_api2_ae_getExpSwAttr, rk_aiq_user_api2_ae_setExpSwAttr, Uapi_ExpSwAttrV2_t>(id,
                                                                                                                change);
}

} // namespace hand
