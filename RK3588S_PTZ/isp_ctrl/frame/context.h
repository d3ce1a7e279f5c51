// Which cameras there are, and how a call reaches a camera's engine.
#pragma once

#include "aiq/rk_aiq.h"

namespace isp
{

inline constexpr int kCameras = 8;

/// Whether an id names a camera or group. If not, writes one trace line, for `function`.
bool id_served(const char* function, int id);

} // namespace isp

extern "C" {

/// The engine context that a camera's settings go to: the group's while rkipc_aiq_use_group is set, else the camera's
/// own; null when there is none. For ids 0 to 7.
rk_aiq_sys_ctx_t* rkipc_aiq_get_ctx(int cam_id);
}
