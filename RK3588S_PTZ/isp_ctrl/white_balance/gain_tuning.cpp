// Gain tuning: tilts the balance towards or away from red and blue. In automatic mode the levels become offsets to the
// gains that the engine finds; with one-push and colour temperature they are added to the remembered gains.
//
// The red and the blue setter are not the same: see kRed and kBlue for how they differ.
#include "isp_ctrl/white_balance/wb_blocks.h"

namespace
{

/// What differs between the two setters beyond the colour.
struct Tuning {
    isp::RedCorrection correction; // of the red offset
    const char* offset_set_failed; // null: a failed write of the offset is ignored; else it ends the setter
    void (*trace_offsets)(const isp::Step& step, const isp::TuningSteps& steps, const isp::Offsets& offsets);
    void (*trace_temperature_gains)(const isp::Step& step, const rk_aiq_wb_gain_t& gain);
};

bool takes_tuning(int wb_mode)
{
    return wb_mode == AUTO_WHITE_BALANCE || wb_mode == ONE_PUSH_WHITE_BALANCE || wb_mode == TEMPERATURE;
}

void trace_red_and_blue(const isp::Step& step, const rk_aiq_wb_gain_t& gain)
{
    ISP_TRACE_AT(step, "rgain = %3f, bgain = %3f\n", static_cast<double>(gain.rgain), static_cast<double>(gain.bgain));
}

constexpr Tuning kRed = {
    .correction = isp::RedCorrection::with,
    .offset_set_failed = nullptr,
    .trace_offsets = isp::trace_red_offsets,
    .trace_temperature_gains =
        [](const isp::Step& step, const rk_aiq_wb_gain_t& gain) {
            ISP_TRACE_AT(step, "rgain = %3f,ggain = %3f, bgain = %3f\n", static_cast<double>(gain.rgain),
                         static_cast<double>(gain.grgain), static_cast<double>(gain.bgain));
        },
};

constexpr Tuning kBlue = {
    .correction = isp::RedCorrection::without,
    .offset_set_failed = isp::kGainOffsetTexts.set,
    .trace_offsets =
        [](const isp::Step& step, const isp::TuningSteps& steps, const isp::Offsets& offsets) {
            ISP_TRACE_AT(step, "11111cam_rgaintuning :%d,cam_bgaintuning :%d\n", steps.red, steps.blue);
            ISP_TRACE_AT(step, "isp_id :%d,wbGainOffset_Rgain :%3f,wbGainOffset_Bgain :%3f\n", step.isp_id,
                         static_cast<double>(offsets.red), static_cast<double>(offsets.blue));
        },
    .trace_temperature_gains = trace_red_and_blue,
};

/// Tunes the automatic mode through the gain offset. A block that could not be read is not written.
isp::Outcome tune_offset(const isp::Step& step, const Tuning& tuning, const isp::TuningSteps& steps)
{
    rk_aiq_uapiV2_wb_awb_wbGainOffset_t block;
    const isp::Outcome read = isp::fetch<isp::GainOffset>(step, block, nullptr);
    const isp::Offsets offsets = isp::automatic_offsets(steps, tuning.correction);
    tuning.trace_offsets(step, steps, offsets);
    if (read != isp::Outcome::done) {
        return isp::Outcome::done;
    }
    block.gainOffset.enable = true;
    isp::set_offsets(block, offsets);
    const isp::Outcome written = isp::apply<isp::GainOffset>(step, block, tuning.offset_set_failed);
    return tuning.offset_set_failed == nullptr ? isp::Outcome::done : written;
}

isp::Outcome tune(const isp::Step& step, const Tuning& tuning, int mode, const isp::TuningSteps& steps)
{
    isp::ManualBlocks blocks;
    isp::Outcome outcome = isp::fetch_manual(step, blocks);
    if (outcome != isp::Outcome::done) {
        return outcome;
    }
    if (mode == AUTO_WHITE_BALANCE) {
        outcome = tune_offset(step, tuning, steps);
        if (outcome != isp::Outcome::done) {
            return outcome;
        }
        blocks.op_mode.mode = RK_AIQ_WB_MODE_AUTO;
    } else if (mode == TEMPERATURE) {
        isp::hold_gains(blocks, isp::colortemp_gains(step, steps, get_colortemp_ggain(step.isp_id)));
        tuning.trace_temperature_gains(step, blocks.manual.para.gain);
    } else {
        isp::hold_gains(blocks, isp::onepush_gains(step, steps));
        trace_red_and_blue(step, blocks.manual.para.gain);
    }
    return isp::apply_manual(step, blocks);
}

} // namespace

int KIV_Set_rgain_tuning(int isp_id, RGain_Tuning_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int blue = isp::read_setting(call, para_get_isp_bgain_tuning_cur);
    const int mode = isp::read_setting(call, para_get_isp_wb_mode_cur);
    ISP_TRACE(__func__, "isp_wbmode called: isp_wbmode_val = %d \n\n", mode);
    ISP_TRACE(__func__, "osd_rgaintuning_val :0x%x\n\n", static_cast<int>(value));
    if (!takes_tuning(mode)) {
        return 0;
    }
    const int red = isp::clamp_level(call, value, para_get_isp_rgain_tuning_max);
    isp::write_setting(call, para_set_isp_rgain_tuning_cur, red);
    return isp::result(tune(call, kRed, mode, {isp::tuning_step(red), isp::tuning_step(blue)}));
}

int KIV_Set_bgain_tuning(int isp_id, BGain_Tuning_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int red = isp::read_setting(call, para_get_isp_rgain_tuning_cur);
    const int mode = isp::read_setting(call, para_get_isp_wb_mode_cur);
    ISP_TRACE(__func__, "osd_bgaintuning_val :0x%x\n\n", static_cast<int>(value));
    if (!takes_tuning(mode)) {
        return 0;
    }
    const int blue = isp::clamp_level(call, value, para_get_isp_bgain_tuning_max);
    isp::write_setting(call, para_set_isp_bgain_tuning_cur, blue);
    const isp::Outcome outcome = tune(call, kBlue, mode, {isp::tuning_step(red), isp::tuning_step(blue)});
    if (outcome != isp::Outcome::failed) {
        ISP_TRACE(__func__, "cam_wb_mode: %d \n", mode);
    }
    return isp::result(outcome);
}

int KIV_Set_ggain_tuning(int isp_id, GGain_Tuning_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int mode = isp::read_setting(call, para_get_isp_wb_mode_cur);
    ISP_TRACE(__func__, "isp_wbmode called: isp_wbmode_val = %d \n\n", mode);
    ISP_TRACE(__func__, "osd_ggaintuning_val :0x%x\n\n", static_cast<int>(value));
    if (takes_tuning(mode)) {
        const int green = isp::clamp_level(call, value, para_get_isp_ggain_tuning_max);
        isp::write_setting(call, para_set_isp_ggain_tuning_cur, green);
    }
    return 0;
}
