// Which cameras there are, and how a call reaches a camera's engine.
#pragma once

#include "aiq/rk_aiq.h"
#include "isp_ctrl/core/atomic.h"
#include "isp_ctrl/core/trace.h"
#include "isp_ctrl/isp_ctrl.h"

namespace isp
{

inline constexpr int kCameras = 8;

/// Traces that an id names no camera and no group; false.
[[gnu::cold]] bool refuse_id(const Place& place, int id);

/// Whether an id names a camera or group. If not, writes one trace line.
inline bool valid_id(const Place& place, int id)
{
    if (id >= 0 && id < kCameras) [[likely]] {
        return true;
    }
    return refuse_id(place, id);
}

/// The store's record of a camera; what get_isp_switch() returns.
constexpr int store_record(int isp_id)
{
    return isp_id;
}

} // namespace isp

extern "C" {

/// The engine context that a camera's settings go to: the group's while rkipc_aiq_use_group is set, else the camera's
/// own; null when there is none. For ids 0 to 7. Tells whether there is one: only use_engine() keeps it from being
/// released.
rk_aiq_sys_ctx_t* rkipc_aiq_get_ctx(int cam_id);
}
