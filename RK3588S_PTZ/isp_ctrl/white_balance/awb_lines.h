// What two measurements of three cameras' gains, under D65 and under A, make of a calibration.
#pragma once

#include "isp_ctrl/isp_ctrl.h"

namespace isp
{

enum class Calibration {
    needless, // all cameras measure alike
    useless,  // some gain, but not every gain, did not change with the light
    offsets,  // both measurements were made under the same light: slopes are 1
    lines,    // a line through the two measurements
};

/// Evaluates a record's twelve measured gains and, for `offsets` and `lines`, fills its eight line parameters. All
/// arithmetic and comparison is in single precision, equality exact.
Calibration evaluate_calibration(awb_calibration_s& record);

/// Whether a record holds lines: all parameters are finite and no slope is zero.
bool has_lines(const awb_calibration_s& record);

} // namespace isp
