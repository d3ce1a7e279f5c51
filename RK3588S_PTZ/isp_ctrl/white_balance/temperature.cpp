// Colour temperature: a level becomes kelvin, kelvin become a red and a blue gain along a fixed curve, and the engine
// holds them with the user's tuning. The same curve serves every camera and lens.
#include "isp_ctrl/core/seam.h"
#include "isp_ctrl/white_balance/wb_blocks.h"

namespace
{

// Levels for which the curve gives no negative gain. The level itself is stored as passed.
constexpr int kLowestLevel = -29;
constexpr int kHighestLevel = 120;

constexpr useconds_t kSettle = 1000; // microseconds between operating mode and manual gains

/// Kelvin of a level: 2500 K at level 0, 100 K per level.
constexpr int kelvin(int level)
{
    return std::clamp(level, kLowestLevel, kHighestLevel) * 100 + 2500;
}

struct CurveGains {
    float red;
    float blue;
};

// One segment of the curve, from a temperature up: its gains there and their change per 100 K. Given; neighbouring
// segments meet.
struct Segment {
    int from;
    double red;
    double red_slope;
    double blue;
    double blue_slope;
};
constexpr Segment kSegments[] = {
    {5000, 1.477, 0.0092, 1.799, 0.0188},
    {4000, 1.343, 0.0134, 2.376, 0.0577},
    {3000, 1.043, 0.03, 3.263, 0.0887},
};

/// Gains of a colour temperature. Below 3000 K the last segment continues.
CurveGains curve_gains(int u16ColorTemp)
{
    for (const Segment& s : kSegments) {
        if (u16ColorTemp >= s.from) {
            const int k = (u16ColorTemp - s.from) / 100;
            return {static_cast<float>(s.red + k * s.red_slope), static_cast<float>(s.blue - k * s.blue_slope)};
        }
    }
    const Segment& last = kSegments[2];
    const int k = (last.from - u16ColorTemp) / 100;
    return {static_cast<float>(last.red - k * last.red_slope), static_cast<float>(last.blue + k * last.blue_slope)};
}

} // namespace

int KIV_Set_temperature(int isp_id, Temperature_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    ISP_TRACE(__func__, "value:%d\n", static_cast<int>(value));
    const int mode = isp::read_setting(call, para_get_isp_wb_mode_cur);
    isp::write_setting(call, para_set_isp_temperature_cur, value);
    if (mode != TEMPERATURE) {
        return 0;
    }
    const isp::TuningSteps steps = isp::stored_tuning(call);

    // Without a context this continues to the end: the gains are remembered, the engine steps only traced.
    isp::ManualBlocks blocks;
    isp::Outcome outcome = isp::fetch<isp::WpMode>(call, blocks.op_mode, isp::kWpModeTexts.get);
    if (outcome == isp::Outcome::done) {
        blocks.op_mode.mode = RK_AIQ_WB_MODE_MANUAL;
        outcome = isp::apply<isp::WpMode>(call, blocks.op_mode, isp::kWpModeTexts.set);
    }
    if (outcome == isp::Outcome::failed) {
        return -1;
    }
    isp::seam.usleep(kSettle);
    if (isp::fetch<isp::Mwb>(call, blocks.manual, isp::kMwbTexts.get) == isp::Outcome::failed) {
        return -1;
    }

    const CurveGains curve = curve_gains(kelvin(value));
    set_colortemp_rgain(isp_id, curve.red);
    set_colortemp_ggain(isp_id, 1.0F);
    set_colortemp_bgain(isp_id, curve.blue);
    isp::hold_gains(blocks, isp::colortemp_gains(call, steps, 1.0F));
    return isp::result(isp::apply<isp::Mwb>(call, blocks.manual, isp::kMwbTexts.set));
}
