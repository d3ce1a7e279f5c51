// The decision of the automatic iris: one function of what a cycle sees and of what the loop keeps, without a thread.
#pragma once

#include "isp_auto_iris/isp_auto_iris.h"
#include "isp_auto_iris/zoom_levels.h"

#include <array>

namespace isp::iris
{

/// Figures of a cycle, all derived in single precision and truncated toward zero.
struct AeFigures {
    int iso = 0;        // total gain in hundredths
    int exp_sumlux = 0; // exposure: microseconds x hundredths of gain / 1000, a 32-bit product that wraps
    int max_iso = 0;    // gain ceiling in hundredths
    int cfa_luma = 0;   // mean luma
    int ae_target = 0;  // target luma
};

/// `again` and `ispdgain` are multipliers, `time` is in seconds.
AeFigures derive_figures(float again, float ispdgain, float time, float meanluma, float gain_max, float ret_dysetpoint);

/// Iris state of the loop.
enum IrisFlag { kIdle = 0, kClosing = 1, kClosingEnded = 2, kOpening = 3, kOpeningEnded = 4 };

/// What the loop keeps from cycle to cycle.
struct LoopState {
    int auto_iris_flag = kIdle;
    bool call_iris_flag = false; // the last command sent a non-zero step
    int count = 0;               // cycles spent in closing or opening, capped
    int zoom_count = 0;          // settling of zoom changes and of an iris wider than the maximum, capped
    int last_zoom = 0;           // zoom position that the loop has settled on
    int step = 0;
    int step_open = 0;
    iris_ctrl_param_t command{};           // fields that a cycle does not set keep their values
    std::array<int, kZoomLevels> widest{}; // widest position by zoom level
};

/// What one cycle sees beside the shared record.
struct CycleInput {
    int exposure_mode;
    int antiflicker;
    AeFigures ae;
};

/// One cycle: updates the state and tells whether its command is to be sent.
bool decide(LoopState& state, const Iris_Info_Param& record, const CycleInput& input);

} // namespace isp::iris
