#include "isp_auto_iris/iris_rules.h"

#include "isp_ctrl/core/truncate.h"
#include "isp_ctrl/isp_ctrl.h"

#include <algorithm>
#include <climits>
#include <cstdint>

namespace isp::iris
{

namespace
{

constexpr int kCountCap = 30;  // a step is commanded once a state has lasted longer than 29 counted cycles
constexpr int kSettleCap = 10; // zoom and over-maximum are acted on once they have lasted longer than 9 cycles
constexpr int kSmartExposureIris = 690;

/// One cycle at work: its limits and brightness thresholds, and the state it changes.
struct Cycle {
    LoopState& state;
    int cur_iris;
    int max_iris;
    int min_iris;
    AeFigures ae;
    int stop_cfa_luma;
    int start_cfa_luma;

    bool too_bright() const
    {
        return ae.cfa_luma > start_cfa_luma;
    }
    bool too_dark() const
    {
        return ae.cfa_luma < stop_cfa_luma;
    }
    bool at_low_ceiling_and_dark() const
    {
        return ae.max_iso <= 249 && ae.iso == ae.max_iso && too_dark();
    }
    bool below_low_ceiling_and_bright() const
    {
        return ae.max_iso <= 179 && ae.iso < ae.max_iso && too_bright();
    }
};

void set_steps(LoopState& state, int steps)
{
    state.command.steps = static_cast<short>(steps);
}

void move_relatively(const Cycle& c)
{
    c.state.command.toDst = 0;
    c.state.command.dstIris = static_cast<short>(c.max_iris);
}

void go_to(LoopState& state, int position)
{
    state.command.toDst = 1;
    state.command.dstIris = static_cast<short>(position);
}

void count_cycle(const Cycle& c)
{
    c.state.count = std::min(c.state.count + 1, kCountCap);
    move_relatively(c);
}

void close_iris(const Cycle& c)
{
    LoopState& s = c.state;
    s.auto_iris_flag = kClosing;
    count_cycle(c);
    if (c.cur_iris <= c.min_iris) {
        s.auto_iris_flag = kClosingEnded;
        set_steps(s, 0);
    } else if (s.count >= kCountCap) {
        set_steps(s, -s.step);
    }
}

void open_iris(const Cycle& c)
{
    LoopState& s = c.state;
    s.auto_iris_flag = kOpening;
    count_cycle(c);
    if (c.cur_iris >= c.max_iris) {
        s.auto_iris_flag = kOpeningEnded;
        set_steps(s, 0);
    } else if (c.cur_iris > c.max_iris - s.step) {
        set_steps(s, c.max_iris - c.cur_iris);
    } else if (s.count >= kCountCap) {
        set_steps(s, s.step_open);
    }
}

void end_state(const Cycle& c, IrisFlag ended)
{
    c.state.auto_iris_flag = ended;
    move_relatively(c);
    set_steps(c.state, 0);
}

// Rule A, shutter priority: by gain.
void apply_gain_rules(const Cycle& c)
{
    const int& flag = c.state.auto_iris_flag;
    const AeFigures& ae = c.ae;
    if (flag != kOpening && ae.iso <= 103 && c.too_bright()) {
        close_iris(c);
    }
    if (flag == kClosing && (ae.iso > 120 || c.too_dark())) {
        end_state(c, kClosingEnded);
    }
    if (flag != kClosing && (ae.iso > 250 || c.at_low_ceiling_and_dark())) {
        open_iris(c);
    }
    if (flag == kOpening && ((ae.iso <= 179 && ae.max_iso > 180) || c.below_low_ceiling_and_bright())) {
        end_state(c, kOpeningEnded);
    }
}

// Rule B, other modes without anti-flicker: always towards the widest position.
void apply_open_wide_rule(const Cycle& c)
{
    LoopState& s = c.state;
    const int step = 3 * s.step;
    move_relatively(c);
    if (c.cur_iris >= c.max_iris) {
        set_steps(s, 0);
    } else if (c.cur_iris < c.min_iris) {
        go_to(s, c.min_iris);
    } else if (c.cur_iris > c.max_iris - step) {
        set_steps(s, c.max_iris - c.cur_iris);
    } else {
        set_steps(s, step);
    }
}

// Rule C, other modes with anti-flicker: by exposure. Closing starts just above the shortest exposure that the mains
// frequency allows at unity gain: 10 ms at 50 Hz, 8.33 ms at 60 Hz.
void apply_exposure_rules(const Cycle& c, int antiflicker)
{
    const int& flag = c.state.auto_iris_flag;
    const AeFigures& ae = c.ae;
    const int lux = ae.exp_sumlux;
    const bool at50 = antiflicker == FLICKER_50HZ;
    const bool at60 = antiflicker == FLICKER_60HZ;
    if (flag != kOpening && c.too_bright() &&
        ((at50 && lux > 994 && lux <= 1005) || (at60 && lux > 827 && lux <= 840))) {
        close_iris(c);
    }
    if (flag == kClosing && ((at50 && lux > 1200) || (at60 && lux > 1000) || c.too_dark())) {
        end_state(c, kClosingEnded);
    }
    if (flag != kClosing && ((at50 && (lux > 2500 || c.at_low_ceiling_and_dark())) || (at60 && lux > 2160))) {
        open_iris(c);
    }
    if (flag == kOpening &&
        ((at50 && lux <= 1799 && (ae.max_iso > 180 || c.below_low_ceiling_and_bright())) || (at60 && lux <= 1749))) {
        end_state(c, kOpeningEnded);
    }
}

/// Ending after rules A and C: whether the command is sent.
bool finish(const Cycle& c)
{
    LoopState& s = c.state;
    if (s.auto_iris_flag == kClosingEnded || s.auto_iris_flag == kOpeningEnded) {
        s.count = 0;
    }
    if (c.cur_iris < c.min_iris) {
        go_to(s, c.min_iris);
        return true;
    }
    if (!s.call_iris_flag && s.command.steps == 0 && s.auto_iris_flag != kClosing) {
        return false;
    }
    s.call_iris_flag = s.command.steps != 0;
    return true;
}

/// Widest position per zoom level from the calibration points.
void fill_widest(std::array<int, kZoomLevels>& widest, const int16_t (&irisStep)[13])
{
    widest.fill(irisStep[1] - (5 * (irisStep[1] - irisStep[2])) / 6);
    widest[0] = irisStep[0];
    widest[1] = irisStep[1];
}

void choose_steps(LoopState& s, const AeFigures& ae, int cur_iris, int iris_step_thresh)
{
    const bool far_too_bright = ae.cfa_luma >= 2 * int64_t{ae.ae_target};
    s.step = far_too_bright ? 4 : cur_iris > iris_step_thresh ? 2 : 1;
    s.step_open = s.step;
}

/// Whether the zoom is at the position that the loop has settled on. While the zoom moves, the loop settles on its
/// position of every 10th cycle.
bool zoom_settled(LoopState& s, int cur_zoom)
{
    if (cur_zoom == s.last_zoom) {
        return true;
    }
    if (++s.zoom_count >= kSettleCap) {
        s.last_zoom = cur_zoom;
        s.zoom_count = 0;
    }
    return false;
}

/// Brings an iris that is wider than the zoom allows back, once it has been so for long enough. Whether it did.
bool narrowed_to_maximum(const Cycle& c)
{
    LoopState& s = c.state;
    if (c.cur_iris <= c.max_iris) {
        s.zoom_count = 0;
        return false;
    }
    s.zoom_count = std::min(s.zoom_count + 1, kSettleCap);
    if (s.zoom_count < kSettleCap) {
        return false;
    }
    move_relatively(c);
    if (c.cur_iris <= c.max_iris + s.step) {
        s.command.toDst = 1;
        set_steps(s, 0);
        s.zoom_count = 0;
    } else {
        set_steps(s, -s.step);
    }
    return true;
}

/// Near an end of the allowed range the step shrinks to the distance that is left.
void approach_limits(const Cycle& c)
{
    LoopState& s = c.state;
    if (c.cur_iris < c.min_iris + s.step && s.auto_iris_flag == kClosing) {
        s.auto_iris_flag = kClosingEnded;
        s.command.toDst = 0;
        set_steps(s, c.min_iris - c.cur_iris);
    }
    if (c.cur_iris > c.max_iris - s.step) {
        s.auto_iris_flag = kOpeningEnded;
        s.command.toDst = 0;
        set_steps(s, c.cur_iris > c.max_iris ? 0 : c.max_iris - c.cur_iris);
    }
}

} // namespace

AeFigures derive_figures(float again, float ispdgain, float time, float meanluma, float gain_max, float ret_dysetpoint)
{
    AeFigures ae;
    const int shutter_time = truncated(time * 1000000.0F);
    ae.iso = truncated((again * 10.0F) * (ispdgain * 10.0F));
    ae.exp_sumlux = static_cast<int32_t>(static_cast<uint32_t>(shutter_time) * static_cast<uint32_t>(ae.iso)) / 1000;
    ae.max_iso = truncated(gain_max * 100.0F);
    ae.cfa_luma = truncated(meanluma);
    ae.ae_target = truncated(ret_dysetpoint);
    return ae;
}

bool decide(LoopState& state, const Iris_Info_Param& record, const CycleInput& input)
{
    const int cur_iris = record.curIris;
    if (input.exposure_mode == SMART_EXPOSURE) {
        if (cur_iris == kSmartExposureIris) {
            return false;
        }
        go_to(state, kSmartExposureIris);
        return true;
    }
    if (record.autoFlag == 0) {
        return false;
    }
    fill_widest(state.widest, record.irisStep);
    choose_steps(state, input.ae, cur_iris, record.irisStep[4]);
    if (!zoom_settled(state, record.curZoom)) {
        return false;
    }
    const int narrowest = record.irisStep[7];
    const int widest = state.widest[static_cast<std::size_t>(get_cur_zoom_array(record.curZoom))];
    const Cycle cycle{
        .state = state,
        .cur_iris = cur_iris,
        .max_iris = std::max(widest, narrowest),
        .min_iris = narrowest,
        .ae = input.ae,
        .stop_cfa_luma = static_cast<int>(int64_t{input.ae.ae_target} * 90 / 100),
        .start_cfa_luma =
            static_cast<int>(std::clamp<int64_t>(int64_t{input.ae.ae_target} * 115 / 100, INT_MIN, INT_MAX)),
    };
    if (narrowed_to_maximum(cycle)) {
        return true;
    }
    approach_limits(cycle);
    if (input.exposure_mode == SHUTTER_PRIORITY) {
        apply_gain_rules(cycle);
    } else if (input.antiflicker == FLICKER_OFF) {
        apply_open_wide_rule(cycle);
        return true;
    } else {
        apply_exposure_rules(cycle, input.antiflicker);
    }
    return finish(cycle);
}

} // namespace isp::iris
