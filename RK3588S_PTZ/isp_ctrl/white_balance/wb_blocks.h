// The engine's white-balance blocks as setters, calibration and following use them, and the tuning rules that several
// of them share.
#pragma once

#include "isp_ctrl/core/setter_steps.h"

namespace isp
{

using WpMode = Module<rk_aiq_user_api2_awb_GetWpModeAttrib, rk_aiq_user_api2_awb_SetWpModeAttrib>;
using Mwb = Module<rk_aiq_user_api2_awb_GetMwbAttrib, rk_aiq_user_api2_awb_SetMwbAttrib>;
using GainOffset = Module<rk_aiq_uapi2_getAwbGainOffsetAttrib, rk_aiq_uapi2_setAwbGainOffsetAttrib>;

inline constexpr FailureTexts kWpModeTexts = {
    .get = ISP_TRACE_FORMAT("rk_aiq_user_api2_awb_GetWpModeAttrib failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("rk_aiq_user_api2_awb_SetWpModeAttrib failed with %#x!\n\n"),
};
inline constexpr FailureTexts kMwbTexts = {
    .get = ISP_TRACE_FORMAT("rk_aiq_user_api2_awb_GetMwbAttrib failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("rk_aiq_user_api2_awb_SetMwbAttrib failed with %#x!\n\n"),
};
inline constexpr FailureTexts kGainOffsetTexts = {
    .get = ISP_TRACE_FORMAT("rk_aiq_uapi2_getAwbGainOffsetAttrib failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("rk_aiq_uapi2_setAwbGainOffsetAttrib failed with %#x!\n\n"),
};

/// The gains that a camera's white balance has reached.
inline Outcome query_white_balance(const Step& step, rk_aiq_wb_querry_info_t& info)
{
    return engine_call(
        step, ISP_TRACE_FORMAT("rk_aiq_user_api2_awb_QueryWBInfo failed with %#x!\n\n"),
        [&](const rk_aiq_sys_ctx_t* context) { return rk_aiq_user_api2_awb_QueryWBInfo(context, &info); });
}

// ---- Manual gains ---------------------------------------------------------------------------------------------------

/// Operating mode and manual gains: what every mode but the automatic one writes.
struct ManualBlocks {
    rk_aiq_uapiV2_wb_opMode_t op_mode{};
    rk_aiq_wb_mwb_attrib_t manual{};
};

/// Reads both blocks; the first call that is not done ends it.
inline Outcome fetch_manual(const Step& step, ManualBlocks& blocks)
{
    const Outcome outcome = fetch<WpMode>(step, blocks.op_mode, kWpModeTexts.get);
    return outcome == Outcome::done ? fetch<Mwb>(step, blocks.manual, kMwbTexts.get) : outcome;
}

/// Writes both blocks, the operating mode first.
inline Outcome apply_manual(const Step& step, ManualBlocks& blocks)
{
    const Outcome outcome = apply<WpMode>(step, blocks.op_mode, kWpModeTexts.set);
    return outcome == Outcome::done ? apply<Mwb>(step, blocks.manual, kMwbTexts.set) : outcome;
}

/// Holds white balance at these gains.
inline void hold_gains(rk_aiq_uapiV2_wb_opMode_t& op_mode, rk_aiq_wb_mwb_attrib_t& manual, const rk_aiq_wb_gain_t& gain)
{
    op_mode.mode = RK_AIQ_WB_MODE_MANUAL;
    manual.mode = RK_AIQ_MWB_MODE_WBGAIN;
    manual.para.gain = gain;
}

inline void hold_gains(ManualBlocks& blocks, const rk_aiq_wb_gain_t& gain)
{
    hold_gains(blocks.op_mode, blocks.manual, gain);
}

// ---- Tuning ---------------------------------------------------------------------------------------------------------

/// Red and blue tuning as steps: level - 10, 0 being neutral.
struct TuningSteps {
    int red;
    int blue;
};

constexpr int tuning_step(int level)
{
    return static_cast<int>(static_cast<unsigned>(level) - 10U);
}

/// Both stored levels, the red one read first.
inline TuningSteps stored_tuning(const Call& call)
{
    const int red = tuning_step(read_setting(call, para_get_isp_rgain_tuning_cur));
    const int blue = tuning_step(read_setting(call, para_get_isp_bgain_tuning_cur));
    return {red, blue};
}

/// A remembered gain with a tuning step: 3/254 of gain per step.
inline float tuned_gain(double gain, int step)
{
    return static_cast<float>(gain + step * 3.0 / 254.0);
}

/// The gains of the last one-push measurement, with tuning.
inline rk_aiq_wb_gain_t onepush_gains(const Call& call, const TuningSteps& steps)
{
    const float red = tuned_gain(get_onepush_rgain(call.isp_id) / 1000.0, steps.red);
    const float blue = tuned_gain(get_onepush_bgain(call.isp_id) / 1000.0, steps.blue);
    return {red, 1.0F, 1.0F, blue};
}

/// The remembered gains of the colour temperature, with tuning.
inline rk_aiq_wb_gain_t colortemp_gains(const Call& call, const TuningSteps& steps, float green)
{
    const float red = tuned_gain(static_cast<double>(get_colortemp_rgain(call.isp_id)), steps.red);
    const float blue = tuned_gain(static_cast<double>(get_colortemp_bgain(call.isp_id)), steps.blue);
    return {red, green, green, blue};
}

// ---- Gain offset of the automatic mode ------------------------------------------------------------------------------

struct Offsets {
    float red;
    float blue;
};

inline void set_offsets(rk_aiq_uapiV2_wb_awb_wbGainOffset_t& block, const Offsets& offsets)
{
    block.gainOffset.offset[0] = offsets.red;
    block.gainOffset.offset[3] = offsets.blue;
}

/// Whether the red offset of a lens other than the SR1053 carries its correction: the mode setter and the red tuning
/// setter write it, the blue tuning setter does not.
enum class RedCorrection { with, without };

/// Offsets that the automatic mode adds to the gains it finds, for the fitted lens: 0.03 of gain per tuning step.
inline Offsets automatic_offsets(const TuningSteps& steps, RedCorrection correction)
{
    if (KIV_Get_Len_Types() == KIV_LEN_SR1053) {
        return {static_cast<float>(steps.red * 0.03 - 0.035), static_cast<float>(steps.blue * 0.03 - 0.03)};
    }
    const double red = correction == RedCorrection::with ? steps.red * 0.03 - 0.01 : steps.red * 0.03;
    return {static_cast<float>(red), static_cast<float>(steps.blue * 0.03)};
}

/// Traces the offsets as the mode setter and the red tuning setter do.
inline void trace_red_offsets(const Step& step, const TuningSteps& steps, const Offsets& offsets)
{
    ISP_TRACE_AT(step, "00000cam_rgaintuning :%d,cam_bgaintuning :%d\n", steps.red, steps.blue);
    ISP_TRACE_AT(step, "wbGainOffset_Rgain :%3f,wbGainOffset_Bgain :%3f\n", static_cast<double>(offsets.red),
                 static_cast<double>(offsets.blue));
}

} // namespace isp
