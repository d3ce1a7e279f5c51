// The host's presets of the 14 image styles, the same for every camera.
#pragma once

#include "platformpara/para_isp.h"

namespace sim::host
{

inline constexpr int kStyles = 14;

/// The preset as delivered. `style` is 0 to 13.
const kiv_isp_param_s& delivered_preset(int style);

/// Replaces a preset, or takes it away so that the host has none; reset_store() brings all of them back. Not while
/// another thread applies a style.
void set_preset(int style, const kiv_isp_param_s& preset);
void remove_preset(int style);

/// Whether the host says that it applies styles itself; not at first. Any thread.
void set_host_applies_styles(bool applies);

/// All presets as delivered, and the library applies them.
void reset_presets();

} // namespace sim::host
