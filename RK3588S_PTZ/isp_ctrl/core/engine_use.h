// Engine calls and the release of a context keep out of each other's way: no context is released while a call uses it.
//
// A call counts itself in and out at the slot where it found the context. A release stops the engine, empties the slot,
// so that new calls find no context, and sleeps until the calls under way have counted themselves out; then it releases
// the context. A call may find the engine stopped, as it may after rk_isp_stop().
//
//     isp::use_engine(cam_id, [&](const rk_aiq_sys_ctx_t* context) { code = set_block(context, block); });
//
//     const isp::EngineLock lock; // and a release:
//     rk_aiq_uapi2_sysctl_deinit(isp::take_camera(cam_id));
//
// A pthread_rwlock would say the same in a third of the lines, but a pair of lock and unlock takes 10.3 ns where
// counting in and out takes 4.7, and a setter of 45 ns has two such pairs.
//
// Why nothing can deadlock: a counted call makes one engine call and nothing else. It takes no lock and calls nothing
// of the host's, so it ends when the engine function does, at the latest when the engine has stopped: a Set may wait
// for a frame. A release waits with the engine lock held, and no counted
// call waits for that lock: setters, queries, the iris loop and the white-balance functions never take it; exposure
// following, and a host that holds it around a setter, have it before they count, and then no release is waiting (nor
// stopping the engine: of their calls the engine must not keep one until it stops).
// Calls that find the slot empty do not count, so they cannot keep a release waiting. A call that found a group's
// context is counted at the group's slot, whatever becomes of rkipc_aiq_use_group, and one that found a
// camera's at the camera's; a release waits for one slot only.
#pragma once

#include "aiq/rk_aiq.h"
#include "isp_ctrl/core/atomic.h"
#include "isp_ctrl/core/lock.h"

#include <cstdint>

namespace isp
{

/// How many calls use the context in a slot; the highest bit says that a release waits for them. On a cache line of its
/// own, so that cameras do not slow each other down.
struct alignas(64) EngineCalls {
    std::uint32_t word = 0;
};
inline constexpr std::uint32_t kReleaseWaits = 0x8000'0000U;

[[gnu::cold]] void wake_release(EngineCalls& calls);

inline void end_call(EngineCalls& calls)
{
    if (__atomic_sub_fetch(&calls.word, 1, __ATOMIC_SEQ_CST) == kReleaseWaits) [[unlikely]] {
        wake_release(calls);
    }
}

/// Counts a call in at a slot that had a context. The context, to be used until end_call(); null if the slot has been
/// emptied since, then the call is not counted. For contexts of cameras and of groups.
template <typename Context>
Context* count_in(Context* const& slot, EngineCalls& calls);

/// An engine context in use, and where the use is counted.
struct EngineUse {
    rk_aiq_sys_ctx_t* context; // null: there is none, nothing is counted
    EngineCalls* calls;
};

/// Looks up a camera's context and counts the call in. For ids 0 to 7.
EngineUse begin_engine_call(int cam_id);

/// Calls `function` with a camera's context, which is not released before `function` has returned. False when there is
/// none. `function` makes engine calls only.
template <typename Function>
[[gnu::always_inline]] inline bool use_engine(int cam_id, Function function)
{
    const EngineUse use = begin_engine_call(cam_id);
    if (use.context == nullptr) [[unlikely]] {
        return false;
    }
    function(use.context);
    end_call(*use.calls);
    return true;
}

// Empty a slot and return its context, null if it has none, once no call uses it any more.
rk_aiq_sys_ctx_t* take_camera(int cam_id) ISP_REQUIRES(engine_mutex);
rk_aiq_camgroup_ctx_t* take_group(int group_id) ISP_REQUIRES(engine_mutex);

} // namespace isp
