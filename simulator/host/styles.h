// The host's presets of the 14 image styles, the same for every camera.
#pragma once

#include "platformpara/para_isp.h"

namespace sim::host
{

inline constexpr int kStyles = 14;

/// A preset, 0 to 13, which may be written to while no other thread applies a style; null for other numbers.
kiv_isp_param_s* preset_of(int style);

void reset_presets(); ///< as delivered; reset_store() does this too

} // namespace sim::host
