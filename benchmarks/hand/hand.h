// The library's work written by hand, in one straight line of calls against engine, store and lens: no trace lines, no
// groups, no table of steps. It makes the same calls as the library in the same order with the same values, which
// isp_bench checks before it measures.
#pragma once

#include "isp_auto_iris.h"

namespace hand
{

// One per setter, restore and style; setters without a level ignore `value`.
#define HAND_SETTERS(X)                                                                                                \
    X(saturation)                                                                                                      \
    X(hue)                                                                                                             \
    X(luminance) X(contrast) X(blackwhite_mode) X(sharpness) X(gamma) X(drc) X(nr2d) X(nr3d) X(csc_mode) X(meter)      \
        X(antiflicker) X(bright) X(expcomp_mode) X(expcomp_level) X(backlight) X(gain_limit) X(manual_gain) X(iris)    \
            X(shutter) X(wdr_strength) X(exposure_mode) X(wb_mode) X(awb_sens) X(rgain) X(bgain) X(rgain_tuning)       \
                X(bgain_tuning) X(temperature) X(wb_mode_onepush) X(shading) X(style) X(restore)
#define HAND_DECLARE(name) int name(int id, int value);
HAND_SETTERS(HAND_DECLARE)
#undef HAND_DECLARE

// One cycle of each loop, with what it keeps; `record` is the mapped iris record.
void exposure_cycle();
void balance_cycle();
void iris_cycle(int fd, const Iris_Info_Param* record);

} // namespace hand
