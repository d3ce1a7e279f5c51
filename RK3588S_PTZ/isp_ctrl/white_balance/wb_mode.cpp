// White-balance mode: rebuilds the engine's white balance from the stored values alone. Leaving a mode restores
// nothing.
#include "isp_ctrl/white_balance/wb_blocks.h"
#include "isp_ctrl/white_balance/wb_gain.h"

namespace
{

// Red, green, green and blue gain of the two presets.
constexpr rk_aiq_wb_gain_t kInDoor = {2.0F, 1.0F, 1.0F, 3.0F};
constexpr rk_aiq_wb_gain_t kOutDoor = {2.23F, 1.0F, 1.0F, 2.0F};

/// The user's settings that the modes use, read in this order before anything is changed.
struct StoredGains {
    explicit StoredGains(const isp::Call& call)
        : tuning{isp::stored_tuning(call)}, blue{isp::read_setting(call, para_get_isp_bgain_cur)},
          red{isp::read_setting(call, para_get_isp_rgain_cur)}
    {
    }

    isp::TuningSteps tuning;
    int blue;
    int red;
};

void enter_temperature(const isp::Step& step, int mode)
{
    ISP_TRACE_AT(step, "TEMPERATURE\n");
    ISP_TRACE_AT(step, "enter WBmode_TEMPERATURE_isp_wbmode_val is :%d\n", mode);
    KIV_Set_temperature(step.isp_id, Temperature_E{isp::read_setting(step, para_get_isp_temperature_cur)});
    ISP_TRACE_AT(step, "111111TEMPERATURE_cur_wb_temperature is :%d\n",
                 isp::read_setting(step, para_get_isp_temperature_cur));
}

/// Operating mode and gains of a mode. A mode without a name leaves both as the engine holds them.
void fill_manual(const isp::Step& step, int mode, const StoredGains& stored, isp::ManualBlocks& blocks)
{
    switch (mode) {
    case AUTO_WHITE_BALANCE:
        blocks.op_mode.mode = RK_AIQ_WB_MODE_AUTO;
        break;
    case IN_DOOR:
        isp::hold_gains(blocks, kInDoor);
        break;
    case OUT_DOOR:
        isp::hold_gains(blocks, kOutDoor);
        break;
    case ONE_PUSH_WHITE_BALANCE:
        isp::hold_gains(blocks, isp::onepush_gains(step, stored.tuning));
        ISP_TRACE_AT(step, "get_onepush_rgain():%d\n", get_onepush_rgain(step.isp_id));
        ISP_TRACE_AT(step, "get_onepush_bgain():%d\n", get_onepush_bgain(step.isp_id));
        ISP_TRACE_AT(step, "cur_rgaintuning:%d\n", stored.tuning.red);
        ISP_TRACE_AT(step, "cur_bgaintuning:%d\n", stored.tuning.blue);
        break;
    case MANUAL_WHITE_BALANCE:
        isp::hold_gains(blocks, {isp::manual_gain(stored.red), 1.0F, 1.0F, isp::manual_gain(stored.blue)});
        break;
    default:
        break;
    }
}

/// Offset that a mode adds: the tuning in automatic mode, none in every other. A block that could not be read is not
/// written. False when the camera has no engine.
bool write_offset(const isp::Step& step, int mode, const isp::TuningSteps& steps)
{
    rk_aiq_uapiV2_wb_awb_wbGainOffset_t block;
    const isp::Outcome read = isp::fetch<isp::GainOffset>(step, block, nullptr);
    if (read == isp::Outcome::no_context) {
        return false;
    }
    isp::Offsets offsets{.red = 0.0F, .blue = 0.0F};
    if (mode == AUTO_WHITE_BALANCE) {
        offsets = isp::automatic_offsets(steps, isp::RedCorrection::with);
        isp::trace_red_offsets(step, steps, offsets);
    }
    if (read == isp::Outcome::done) {
        block.gainOffset.enable = true;
        isp::set_offsets(block, offsets);
        isp::apply<isp::GainOffset>(step, block, nullptr);
    }
    return true;
}

} // namespace

int KIV_Set_wb_mode(int isp_id, WB_Mode_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const StoredGains stored(call);
    isp::write_setting(call, para_set_isp_wb_mode_cur, value);
    ISP_TRACE(__func__, "isp_wbmode called: isp_wbmode_val = %d \n\n", static_cast<int>(value));

    isp::ManualBlocks blocks;
    if (isp::fetch_manual(call, blocks) == isp::Outcome::failed) {
        return -1;
    }
    if (value == TEMPERATURE) {
        enter_temperature(call, value);
        return 0;
    }
    fill_manual(call, value, stored, blocks);
    if (write_offset(call, value, stored.tuning) && isp::apply_manual(call, blocks) == isp::Outcome::failed) {
        return -1;
    }
    ISP_TRACE(__func__, "leave\n");
    return 0;
}
