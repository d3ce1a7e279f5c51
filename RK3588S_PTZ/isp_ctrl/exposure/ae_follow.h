// Exposure following: what the exposure mode does to it.
#pragma once

#include "isp_ctrl/core/setter_steps.h"

namespace isp
{

/// Stores a camera's exposure mode; `stops` asks the follow thread to end if the camera is camera 0. One step under
/// the thread's lock, so that the last mode stored is also the one that decides about the thread.
void store_exposure_mode(const Call& call, int mode, bool stops);

/// Allows the thread to run and starts it.
void start_ae_follow();

} // namespace isp
