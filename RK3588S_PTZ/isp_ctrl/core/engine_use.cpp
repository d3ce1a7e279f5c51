#include "isp_ctrl/core/engine_use.h"

#include "isp_ctrl/core/context.h"
#include "isp_ctrl/isp_ctrl.h"

#include <climits>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

// What counts is what the slot holds once the call has been counted. A release empties the slot before it looks at the
// count, so either this finds the slot empty, or the release finds the call: the order of all four is total.
template <typename Context>
inline Context* isp::count_in(Context* const& slot, EngineCalls& calls)
{
    __atomic_add_fetch(&calls.word, 1, __ATOMIC_SEQ_CST);
    Context* context = __atomic_load_n(&slot, __ATOMIC_SEQ_CST);
    if (context == nullptr) {
        end_call(calls);
    }
    return context;
}

template rk_aiq_sys_ctx_t* isp::count_in(rk_aiq_sys_ctx_t* const&, EngineCalls&);
template rk_aiq_camgroup_ctx_t* isp::count_in(rk_aiq_camgroup_ctx_t* const&, EngineCalls&);

namespace
{

isp::EngineCalls camera_calls[isp::kCameras];
isp::EngineCalls group_calls[isp::kCameras];

/// Sleeps until no call is under way. One release at a time.
void await_calls(isp::EngineCalls& calls) ISP_REQUIRES(isp::engine_mutex)
{
    std::uint32_t word = __atomic_or_fetch(&calls.word, isp::kReleaseWaits, __ATOMIC_SEQ_CST);
    while (word != isp::kReleaseWaits) {
        syscall(SYS_futex, &calls.word, FUTEX_WAIT_PRIVATE, word, nullptr); // returns at once if the word has changed
        word = __atomic_load_n(&calls.word, __ATOMIC_SEQ_CST);
    }
    __atomic_and_fetch(&calls.word, ~isp::kReleaseWaits, __ATOMIC_SEQ_CST);
}

/// Counts a call in; a slot without a context costs it nothing.
template <typename Context>
[[gnu::always_inline]] inline isp::EngineUse begin(Context* const& slot, isp::EngineCalls& calls)
{
    if (isp::shared_get(slot) == nullptr) {
        return {};
    }
    // The engine's module calls take a group context in place of a camera context.
    return {.context = reinterpret_cast<rk_aiq_sys_ctx_t*>(isp::count_in(slot, calls)), .calls = &calls};
}

template <typename Context>
Context* take(Context*& slot, isp::EngineCalls& calls) ISP_REQUIRES(isp::engine_mutex)
{
    Context* context = __atomic_exchange_n(&slot, nullptr, __ATOMIC_SEQ_CST);
    await_calls(calls);
    return context;
}

} // namespace

void isp::wake_release(EngineCalls& calls)
{
    syscall(SYS_futex, &calls.word, FUTEX_WAKE_PRIVATE, INT_MAX);
}

isp::EngineUse isp::begin_engine_call(int cam_id)
{
    if (shared_get(rkipc_aiq_use_group) != 0) [[unlikely]] {
        return begin(g_camera_group_ctx[cam_id], group_calls[cam_id]);
    }
    return begin(g_aiq_ctx[cam_id], camera_calls[cam_id]);
}

rk_aiq_sys_ctx_t* isp::take_camera(int cam_id)
{
    return take(g_aiq_ctx[cam_id], camera_calls[cam_id]);
}

rk_aiq_camgroup_ctx_t* isp::take_group(int group_id)
{
    return take(g_camera_group_ctx[group_id], group_calls[group_id]);
}
