// One-push white balance: the automatic balance runs for a fixed time, its gains are remembered, and the engine then
// holds them with the user's tuning. A camera without an engine is walked through all the same, with nothing measured.
#include "isp_ctrl/core/seam.h"
#include "isp_ctrl/core/truncate.h"
#include "isp_ctrl/white_balance/wb_blocks.h"

namespace
{

constexpr unsigned kConverge = 3; // seconds that the automatic balance runs
constexpr unsigned kSettle = 1;   // seconds before the gains are held

/// A gain in thousandths, truncated toward zero.
int thousandths(float gain)
{
    return isp::truncated(gain * 1000.0F);
}

void trace_measured(const isp::Step& step, const rk_aiq_wb_gain_t& gain)
{
    ISP_TRACE_AT(step, "wb_querry_info.rgain.:%3f\n", static_cast<double>(gain.rgain));
    ISP_TRACE_AT(step, "wb_querry_info.grgain.:%3f\n", static_cast<double>(gain.grgain));
    ISP_TRACE_AT(step, "wb_querry_info.gbgain.:%3f\n", static_cast<double>(gain.gbgain));
    ISP_TRACE_AT(step, "wb_querry_info.bgain.:%3f\n", static_cast<double>(gain.bgain));
}

void remember(const isp::Step& step, const rk_aiq_wb_gain_t& gain)
{
    const int red = thousandths(gain.rgain);
    const int green = thousandths(gain.grgain);
    const int blue = thousandths(gain.bgain);
    set_onepush_rgain(step.isp_id, red);
    set_onepush_ggain(step.isp_id, green);
    set_onepush_bgain(step.isp_id, blue);
    ISP_TRACE_AT(step, "set_onepush_rgain:%d\n", red);
    ISP_TRACE_AT(step, "set_onepush_ggain:%d\n", green);
    ISP_TRACE_AT(step, "set_onepush_bgain:%d\n", blue);
}

} // namespace

int KIV_Set_wb_mode_onepush(int isp_id)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const isp::TuningSteps steps = isp::stored_tuning(call);
    if (isp::read_setting(call, para_get_isp_wb_mode_cur) != ONE_PUSH_WHITE_BALANCE) {
        return 0;
    }

    isp::ManualBlocks blocks;
    if (isp::fetch<isp::WpMode>(call, blocks.op_mode, isp::kWpModeTexts.get) == isp::Outcome::failed) {
        return -1;
    }
    const auto balance_automatically = [&](const rk_aiq_sys_ctx_t* context) {
        blocks.op_mode.mode = RK_AIQ_WB_MODE_AUTO;
        return isp::WpMode::set(context, blocks.op_mode);
    };
    if (isp::engine_call(call, isp::kWpModeTexts.set, balance_automatically) == isp::Outcome::failed) {
        return -1;
    }
    isp::sleep_fully(kConverge);
    ISP_TRACE(__func__, "wait for AWB...\n\n");

    rk_aiq_wb_querry_info_t wb_querry_info;
    const isp::Outcome measured = isp::query_white_balance(call, wb_querry_info);
    if (measured == isp::Outcome::failed) {
        return -1;
    }
    ISP_TRACE(__func__, "quenvar enter QueryWBInfo\n");
    if (measured == isp::Outcome::done) {
        trace_measured(call, wb_querry_info.gain);
    }
    ISP_TRACE(__func__, "wbmode:%d\n\n", static_cast<int>(blocks.op_mode.mode));
    if (measured == isp::Outcome::done) {
        remember(call, wb_querry_info.gain);
    }

    if (isp::fetch_manual(call, blocks) == isp::Outcome::failed) {
        return -1;
    }
    isp::sleep_fully(kSettle);
    ISP_TRACE(__func__, "get_onepush_rgain:%d\n", get_onepush_rgain(isp_id));
    ISP_TRACE(__func__, "get_onepush_ggain:%d\n", get_onepush_ggain(isp_id));
    ISP_TRACE(__func__, "get_onepush_bgain:%d\n", get_onepush_bgain(isp_id));
    isp::hold_gains(blocks, isp::onepush_gains(call, steps));
    const rk_aiq_wb_gain_t& gain = blocks.manual.para.gain;
    ISP_TRACE(__func__, "rgain:%3f\n", static_cast<double>(gain.rgain));
    ISP_TRACE(__func__, "grgain:%3f\n", static_cast<double>(gain.grgain));
    ISP_TRACE(__func__, "bgain:%3f\n", static_cast<double>(gain.bgain));
    if (isp::apply_manual(call, blocks) == isp::Outcome::failed) {
        return -1;
    }
    ISP_TRACE(__func__, "leave...\n\n");
    return 0;
}
