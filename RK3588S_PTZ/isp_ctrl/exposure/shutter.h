// Exposure time range of the automatic exposure modes.
#pragma once

/// Opens the automatic exposure-time range again, from 1/30 s down to the level below the store's fastest, and tells
/// the engine the video input's frame rate. Returns 0, or -1 when the engine failed.
int isp_ae_shutter_auto(int isp_id);
