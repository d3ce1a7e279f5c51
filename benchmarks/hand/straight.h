// What the code by hand is made of, all of it expanded in place: the context, a bound, and Get, change, Set of a block.
#pragma once

#include "hand/hand.h"
#include "isp_ctrl.h"
#include "isp_ctrl/core/engine_use.h"
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

/// A camera's context for one engine call, which keeps it from being released, as in the library.
class Engine
{
public:
    STRAIGHT explicit Engine(int id) : use_(isp::begin_engine_call(id)) {}
    STRAIGHT ~Engine()
    {
        isp::end_call(*use_.calls);
    }
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
    STRAIGHT operator const rk_aiq_sys_ctx_t*() const
    {
        return use_.context;
    }

private:
    isp::EngineUse use_;
};

STRAIGHT Engine engine(int id)
{
    return Engine(id);
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
    Block block;
    if (Get(engine(id), &block) != XCAM_RETURN_NO_ERROR) {
        return -1;
    }
    change(block);
    if constexpr (std::is_invocable_v<decltype(Set), const rk_aiq_sys_ctx_t*, Block*>) {
        return Set(engine(id), &block) == XCAM_RETURN_NO_ERROR ? 0 : -1;
    } else {
        return Set(engine(id), block) == XCAM_RETURN_NO_ERROR ? 0 : -1;
    }
}

template <typename Change>
STRAIGHT int change_ae(int id, Change change)
{
    return change_block<rk_aiq_user_api2_ae_getExpSwAttr, rk_aiq_user_api2_ae_setExpSwAttr, Uapi_ExpSwAttrV2_t>(id,
                                                                                                                change);
}

} // namespace hand
