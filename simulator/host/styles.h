// The host's presets of the 14 image styles, the same for every camera.
#pragma once

#include "platformpara/para_isp.h"

namespace sim::host
{

inline constexpr int kStyles = 14;

/// Replaces a preset (0 to 13), or takes it away; reset_store() brings all of them back. Not while another thread
/// applies a style.
void set_preset(int style, const kiv_isp_param_s& preset);
void remove_preset(int style);

kiv_isp_param_s* preset_of(int style); ///< null where there is none

/// Whether the host says that it applies styles itself; not at first. Any thread.
void set_host_applies_styles(bool applies);
bool host_applies_styles();

void reset_presets(); ///< as delivered, and the library applies them

} // namespace sim::host
