// Manual red and blue gain: one gain each, in MANUAL_WHITE_BALANCE only.
#include "isp_ctrl/white_balance/wb_gain.h"

#include "isp_ctrl/white_balance/wb_blocks.h"

namespace
{

/// What differs between red and blue.
struct Colour {
    int (*maximum)(int);
    int (*set)(int, int);
    float rk_aiq_wb_gain_t::* gain;
    const char* trace; // with the gain
};

constexpr Colour kRed = {
    para_get_isp_rgain_max,
    para_set_isp_rgain_cur,
    &rk_aiq_wb_gain_t::rgain,
    ISP_TRACE_FORMAT("u16Rgain:%3f\n\n"),
};
constexpr Colour kBlue = {
    para_get_isp_bgain_max,
    para_set_isp_bgain_cur,
    &rk_aiq_wb_gain_t::bgain,
    ISP_TRACE_FORMAT("u16Bgain:%3f\n\n"),
};

// Expanded for each colour, so that the colour costs nothing at run time.
[[gnu::always_inline]] inline int set_manual_gain(const isp::Step& step, const Colour& colour, int value)
{
    if (!isp::valid_camera(step)) {
        return -1;
    }
    const int mode = isp::read_setting(step, para_get_isp_wb_mode_cur);
    const int level = isp::clamp_level(step, value, colour.maximum);
    if (mode != MANUAL_WHITE_BALANCE) {
        return isp::unfit(step);
    }
    isp::write_setting(step, colour.set, level);
    return isp::result(isp::modify<isp::Mwb>(step, isp::kMwbTexts, [&](rk_aiq_wb_mwb_attrib_t& manual) {
        manual.mode = RK_AIQ_MWB_MODE_WBGAIN;
        manual.para.gain.*colour.gain = isp::manual_gain(level);
        manual.para.gain.grgain = 1.0F;
        manual.para.gain.gbgain = 1.0F;
        if (isp::trace_on()) {
            kiv_traceout(isp::kTraceLevel, colour.trace, step.function, step.line,
                         static_cast<double>(manual.para.gain.*colour.gain));
        }
    }));
}

} // namespace

int KIV_Set_rgain(int isp_id, RGain_E value)
{
    return set_manual_gain({__func__, isp_id}, kRed, value);
}

int KIV_Set_bgain(int isp_id, BGain_E value)
{
    return set_manual_gain({__func__, isp_id}, kBlue, value);
}
