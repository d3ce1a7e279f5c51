// The calibration file as calibration and following read it.
#pragma once

#include "isp_ctrl/core/trace.h"
#include "isp_ctrl/isp_ctrl.h"

namespace isp
{

/// Reads the file into a cleared record. False when it is missing, unreadable or not complete.
bool load_complete_calibration(awb_calibration_s& record);

/// Traces the four lines of a record.
void trace_lines(const Place& place, const awb_calibration_s& record);

/// 1 once a calibration has begun. It stays 1 until the process ends: white-balance following ends permanently.
extern int awb_pano_flag;

// Camera roles of white-balance calibration and following; the roles of exposure following do not apply.
inline constexpr int kWbPanorama = 3;
inline constexpr int kWbClose = 0;
inline constexpr int kWbThird = 2;

} // namespace isp
