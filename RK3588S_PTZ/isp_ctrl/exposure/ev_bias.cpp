// EV bias: brightness, exposure compensation and backlight compensation all move one engine value, the bias of the
// automatic exposure's target. Whichever setter ran last decides it.
#include "isp_ctrl/exposure/ae_block.h"

namespace
{

// EV bias of a brightness level: -100 + 20 per level.
constexpr RK_S32 kBrightBias[] = {-100, -80, -60, -40, -20, 0,   20,  40,  60,  80,  100, 120,
                                  140,  160, 180, 200, 220, 240, 260, 280, 300, 320, 340, 360};
static_assert(isp::last_level(kBrightBias) == Bright_MAX);

// EV bias of a compensation level: -140 + 20 per level, 0 at Expcomp_Level_0.
constexpr RK_S16 kCompensationBias[] = {-140, -120, -100, -80, -60, -40, -20, 0, 20, 40, 60, 80, 100, 120, 140};
static_assert(isp::last_level(kCompensationBias) == Expcomp_Level_MAX);

constexpr int kBacklightBias = 80; // added while backlight compensation is on

constexpr isp::FailureTexts kLinExpAttrTexts = {
    .get = ISP_TRACE_FORMAT("RK_MPI_ISP_getLinExpAttr failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("RK_MPI_ISP_setLinExpAttr failed with %#x!\n\n"),
};

/// Writes the bias, and fixes the frame rate so that the engine does not trade it for exposure time.
int apply_ev_bias(const isp::Step& step, int bias)
{
    Uapi_ExpSwAttrV2_t attr;
    isp::Outcome outcome = isp::fetch<isp::ExpSwAttr>(step, attr, isp::kExposureAttrTexts.get);
    if (outcome != isp::Outcome::done) {
        return isp::result(outcome);
    }
    attr.stAuto.stFrmRate.isFpsFix = true;
    outcome = isp::modify<isp::LinExpAttr>(
        step, kLinExpAttrTexts, [&](Uapi_LinExpAttrV2_t& linear) { linear.Params.Evbias = static_cast<float>(bias); });
    if (outcome != isp::Outcome::done) {
        return isp::result(outcome);
    }
    return isp::result(isp::apply<isp::ExpSwAttr>(step, attr, isp::kExposureAttrTexts.set));
}

/// The one rule of compensation and backlight. A stored level is clamped like a new one.
int ev_bias(int level, int expcomp_mode, int backlight)
{
    if (expcomp_mode == Expcomp_Mode_OFF) {
        level = Expcomp_Level_0;
    }
    const int bias = kCompensationBias[isp::clamp_level_unsigned(level, isp::last_level(kCompensationBias))];
    return backlight == Backlight_Mode_OFF ? bias : bias + kBacklightBias;
}

bool takes_compensation(int exposure_mode)
{
    return exposure_mode != MANUAL_EXPOSURE && exposure_mode != BRIGHT_PRIORITY;
}

} // namespace

int KIV_Set_bright(int isp_id, Bright_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int mode = isp::stored_exposure_mode(call);
    ISP_TRACE(__func__, "Enter:Bright:0x%x cam_ae_mode:%d\n\n", static_cast<int>(value), mode);
    if (mode != BRIGHT_PRIORITY) {
        return isp::unfit(call);
    }
    const int level = isp::clamp_level(call, value, para_get_isp_bright_max, isp::last_level(kBrightBias));
    isp::write_setting(call, para_set_isp_bright_cur, level);
    return apply_ev_bias(call, kBrightBias[level]);
}

int KIV_Set_expcomp_mode(int isp_id, Expcomp_Mode_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int mode = isp::stored_exposure_mode(call);
    const int level = isp::read_setting(call, para_get_isp_expcomp_level_cur);
    const int backlight = isp::read_setting(call, para_get_isp_backlight_cur);
    ISP_TRACE(__func__, "Enter:Mode:0x%x cam_ae_mode:%d\n\n", static_cast<int>(value), mode);
    if (!takes_compensation(mode)) {
        return isp::unfit(call);
    }
    isp::write_setting(call, para_set_isp_expcomp_mode_cur, value);
    return apply_ev_bias(call, ev_bias(level, value, backlight));
}

int KIV_Set_expcomp_level(int isp_id, Expcomp_Level_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int level =
        isp::clamp_level_unsigned(call, value, para_get_isp_expcomp_level_max, isp::last_level(kCompensationBias));
    const int backlight = isp::read_setting(call, para_get_isp_backlight_cur);
    const int expcomp_mode = isp::read_setting(call, para_get_isp_expcomp_mode_cur);
    const int mode = isp::stored_exposure_mode(call);
    isp::write_setting(call, para_set_isp_expcomp_level_cur, level);
    if (!takes_compensation(mode)) {
        return isp::unfit(call);
    }
    ISP_TRACE(__func__, "cam_exposure_mode:%d\n\n", mode);
    ISP_TRACE(__func__, "cam_expcomp_mode:%d excomp:%d\n", expcomp_mode, level);
    return apply_ev_bias(call, ev_bias(level, expcomp_mode, backlight));
}

int KIV_Set_backlight(int isp_id, Backlight_Mode_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int mode = isp::stored_exposure_mode(call);
    const int level = isp::read_setting(call, para_get_isp_expcomp_level_cur);
    const int expcomp_mode = isp::read_setting(call, para_get_isp_expcomp_mode_cur);
    ISP_TRACE(__func__, "Enter:backlight:0x%x cam_ae_mode:%d\n\n", static_cast<int>(value), mode);
    if (mode != AUTO_EXPOSURE && mode != WIDE_DYNAMIC_RANGE) {
        return isp::unfit(call);
    }
    isp::write_setting(call, para_set_isp_backlight_cur, value);
    return apply_ev_bias(call, ev_bias(level, expcomp_mode, value));
}
