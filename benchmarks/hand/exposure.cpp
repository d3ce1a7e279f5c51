// By hand: exposure.
#include "af/lens_ctrl.h"
#include "hand/straight.h"
#include "vin/vin.h"

#include <cstring>

namespace HAND
{

namespace
{

constexpr unsigned kShutter[] = {30,  60,   90,   100,  125,  200,  250,  350,  500,
                                 725, 1000, 1500, 2000, 3000, 4000, 6000, 10000};

STRAIGHT int set_bias(int id, int bias)
{
    const rk_aiq_sys_ctx_t* ctx = engine(id);
    Uapi_ExpSwAttrV2_t attr;
    if (rk_aiq_user_api2_ae_getExpSwAttr(ctx, &attr) != 0) {
        return -1;
    }
    attr.stAuto.stFrmRate.isFpsFix = true;
    Uapi_LinExpAttrV2_t linear;
    if (rk_aiq_user_api2_ae_getLinExpAttr(ctx, &linear) != 0) {
        return -1;
    }
    linear.Params.Evbias = static_cast<float>(bias);
    if (rk_aiq_user_api2_ae_setLinExpAttr(ctx, linear) != 0) {
        return -1;
    }
    return rk_aiq_user_api2_ae_setExpSwAttr(ctx, attr) == 0 ? 0 : -1;
}

STRAIGHT int compensation(int level, int mode, int backlight)
{
    level = mode == Expcomp_Mode_OFF ? 7 : std::clamp(level, 0, 14);
    return -140 + 20 * level + (backlight == Backlight_Mode_OFF ? 0 : 80);
}

STRAIGHT float seconds(int step)
{
    const auto time = static_cast<float>(1.0 / kShutter[step]);
    TRACE("Exp_time: %3f\n", static_cast<double>(time));
    return time;
}

/// The shortest time of the automatic range.
STRAIGHT float fastest(int id)
{
    return seconds(std::clamp(para_get_isp_shutter_max(id), 1, 17) - 1);
}

int expose(int id, bool automatic)
{
    TRACE("Enter:enExpType %d\n\n", automatic ? 0 : 1);
    const int result =
        change_ae(id, [&](auto& b) { b.AecOpType = automatic ? RK_AIQ_OP_MODE_AUTO : RK_AIQ_OP_MODE_MANUAL; });
    if (result == 0) {
        TRACE("Leave\n\n");
    }
    return result;
}

int open_range(int id)
{
    const int mode = para_get_isp_exposure_mode_cur(id);
    TRACE("Enter:cam_ae_mode:%d\n\n", mode);
    const int result = change_ae(id, [&](auto& b) {
        const int fps = get_vin_fps(id);
        b.AecOpType = RK_AIQ_OP_MODE_AUTO;
        b.stAuto.stFrmRate.FpsValue = static_cast<float>(fps);
        b.stAdvanced.SetAeRangeEn = true;
        const float longest = seconds(0);
        b.stAdvanced.SetLinAeRange.stExpTimeRange = {fastest(id), longest};
    });
    if (result == 0) {
        TRACE("Leave:\n\n");
    }
    return result;
}

} // namespace

int meter(int id, int value)
{
    CHECK_ID(id)
    TRACE("metering mode: %d\n\n", value);
    para_set_isp_meter_cur(id, value);
    return change_ae(id, [&](auto& b) {
        std::memcpy(b.GridWeights.uCoeff,
                    value == Meter_Mode_Average ? AE_average_Weight_GridWeights : AE_center_Weight_GridWeights, 225);
    });
}

int antiflicker(int id, int value)
{
    CHECK_ID(id)
    const int mode = para_get_isp_exposure_mode_cur(id);
    TRACE("Enter:antiflicker_val:0x%x cam_ae_mode:%d\n\n", value, mode);
    para_set_isp_antiflicker_cur(id, value);
    if (mode == MANUAL_EXPOSURE || mode == WIDE_DYNAMIC_RANGE || mode == LOW_LIGHT) {
        return unfit();
    }
    const int flicker = mode == SHUTTER_PRIORITY ? FLICKER_OFF : value;
    TRACE("antiflicker_val :%d\n\n", flicker);
    const int result = change_ae(id, [&](auto& b) {
        b.stAuto.stAntiFlicker = Uapi_AntiFlicker_t(
            {flicker != FLICKER_OFF, CalibDb_FlickerFreqV2_t{flicker}, AECV2_ANTIFLICKER_NORMAL_MODE});
    });
    if (result == 0) {
        TRACE("Leave\n\n");
    }
    return result;
}

int bright(int id, int value)
{
    CHECK_ID(id)
    const int mode = para_get_isp_exposure_mode_cur(id);
    TRACE("Enter:Bright:0x%x cam_ae_mode:%d\n\n", value, mode);
    if (mode != BRIGHT_PRIORITY) {
        return unfit();
    }
    const int step = bound(id, value, para_get_isp_bright_max, 23);
    para_set_isp_bright_cur(id, step);
    return set_bias(id, -100 + 20 * step);
}

int expcomp_mode(int id, int value)
{
    CHECK_ID(id)
    const int mode = para_get_isp_exposure_mode_cur(id);
    const int level = para_get_isp_expcomp_level_cur(id);
    const int backlight_mode = para_get_isp_backlight_cur(id);
    TRACE("Enter:Mode:0x%x cam_ae_mode:%d\n\n", value, mode);
    if (mode == MANUAL_EXPOSURE || mode == BRIGHT_PRIORITY) {
        return unfit();
    }
    para_set_isp_expcomp_mode_cur(id, value);
    return set_bias(id, compensation(level, value, backlight_mode));
}

int expcomp_level(int id, int value)
{
    CHECK_ID(id)
    const int level = bound(id, value, para_get_isp_expcomp_level_max, 14);
    const int backlight_mode = para_get_isp_backlight_cur(id);
    const int compensates = para_get_isp_expcomp_mode_cur(id);
    const int mode = para_get_isp_exposure_mode_cur(id);
    para_set_isp_expcomp_level_cur(id, level);
    if (mode == MANUAL_EXPOSURE || mode == BRIGHT_PRIORITY) {
        return unfit();
    }
    TRACE("cam_exposure_mode:%d\n\n", mode);
    TRACE("cam_expcomp_mode:%d excomp:%d\n", compensates, level);
    return set_bias(id, compensation(level, compensates, backlight_mode));
}

int backlight(int id, int value)
{
    CHECK_ID(id)
    const int mode = para_get_isp_exposure_mode_cur(id);
    const int level = para_get_isp_expcomp_level_cur(id);
    const int compensates = para_get_isp_expcomp_mode_cur(id);
    TRACE("Enter:backlight:0x%x cam_ae_mode:%d\n\n", value, mode);
    if (mode != AUTO_EXPOSURE && mode != WIDE_DYNAMIC_RANGE) {
        return unfit();
    }
    para_set_isp_backlight_cur(id, value);
    return set_bias(id, compensation(level, compensates, value));
}

int gain_limit(int id, int value)
{
    CHECK_ID(id)
    const int mode = para_get_isp_exposure_mode_cur(id);
    TRACE("Enter:Gain limit:0x%x cam_ae_mode:%d\n\n", value, mode);
    if (mode != SHUTTER_PRIORITY && mode != BRIGHT_PRIORITY && mode != AUTO_EXPOSURE && mode != IRIS_PRIORITY) {
        return unfit();
    }
    const int level = bound(id, value, para_get_isp_gain_limit_max, 1000);
    para_set_isp_gain_limit_cur(id, level);
    return change_gain_range(id, [&](auto& b) {
        b.max = level == 0 ? 1.0F : std::min(static_cast<float>(2 * level), 22.0F);
        b.min = 1.0F;
        TRACE("SetGainRange max:%3f min:%3f\n", static_cast<double>(b.max), static_cast<double>(b.min));
    });
}

int manual_gain(int id, int value)
{
    CHECK_ID(id)
    const int mode = para_get_isp_exposure_mode_cur(id);
    TRACE("Enter:me_again:%d\n\n", value);
    if (mode != SHUTTER_PRIORITY && mode != MANUAL_EXPOSURE) {
        return unfit();
    }
    const int level = bound(id, value, para_get_isp_manual_gain_max, 1000);
    para_set_isp_manual_gain_cur(id, level);
    const int result = change_ae(id, [&](auto& b) {
        b.stManual.LinearAE.ManualGainEn = true;
        b.stManual.LinearAE.GainValue = static_cast<float>(level + 1);
    });
    if (result == 0) {
        TRACE("Leave:\n\n");
    }
    return result;
}

int iris(int id, int value)
{
    CHECK_ID(id)
    const int mode = para_get_isp_exposure_mode_cur(id);
    const int maximum = para_get_isp_iris_max(id);
    if (maximum != 17) {
        TRACE("iris_max error\n");
    }
    if (value >= 1 && value <= 5) {
        TRACE("iris error %d\n", value);
        return ISP_UNFIT;
    }
    if (mode != MANUAL_EXPOSURE && mode != IRIS_PRIORITY) {
        return unfit();
    }
    const int step = bound(id, value, para_get_isp_iris_max, 1000);
    para_set_isp_iris_cur(id, step);
    iris_to(static_cast<unsigned short>(std::max(maximum - std::max(step, 5), 0)));
    TRACE("Leave\n\n");
    return 0;
}

int shutter(int id, int value)
{
    CHECK_ID(id)
    const int mode = para_get_isp_exposure_mode_cur(id);
    para_get_isp_exposure_mode_cur(id);
    if (mode == MANUAL_EXPOSURE) {
        TRACE("Enter:shutter:0x%x cam_ae_mode:%d\n\n", value, mode);
    } else {
        TRACE("Enter:ae_ae_shutter:0x%x cam_ae_mode:%d\n\n", value, mode);
    }
    if (mode != MANUAL_EXPOSURE && mode != SHUTTER_PRIORITY) {
        return unfit();
    }
    const int step = bound(id, value, para_get_isp_shutter_max, 16);
    para_set_isp_shutter_cur(id, step);
    if (mode == SHUTTER_PRIORITY) {
        const int result = change_ae(id, [&](auto& b) {
            b.stAdvanced.SetAeRangeEn = true;
            b.stAdvanced.SetLinAeRange.stExpTimeRange = {seconds(step), seconds(step)};
        });
        if (result == 0) {
            TRACE("Leave:\n\n");
        }
        return result;
    }
    const int result = change_ae(id, [&](auto& b) {
        const float longest = seconds(0);
        b.stAuto.LinAeRange.stExpTimeRange = Uapi_AeRange_t({fastest(id), longest});
        b.AecOpType = RK_AIQ_OP_MODE_MANUAL;
        b.stManual.LinearAE.ManualGainEn = true;
        b.stManual.LinearAE.ManualTimeEn = true;
        b.stManual.LinearAE.TimeValue = seconds(step);
        TRACE("expSwAttr.stManual.LinearAE.TimeValue:%3f\n", static_cast<double>(b.stManual.LinearAE.TimeValue));
    });
    if (result == 0) {
        TRACE("Leave\n\n");
    }
    return result;
}

int wdr_strength(int id, int value)
{
    CHECK_ID(id)
    TRACE("Enter:KIV_Set_wdr_strength:%d\n\n", value);
    const int mode = para_get_isp_exposure_mode_cur(id);
    para_set_isp_wdr_strength_cur(id, value);
    return mode == WIDE_DYNAMIC_RANGE ? 0 : unfit();
}

int exposure_mode(int id, int value)
{
    CHECK_ID(id)
    TRACE("isp_id = %d, Enter:mode:%d\n\n", id, value);
    const int compensates = para_get_isp_expcomp_mode_cur(id);
    const int level = para_get_isp_expcomp_level_cur(id);
    const int backlight_mode = para_get_isp_backlight_cur(id);
    para_get_isp_drc_cur(id);
    const int iris_step = para_get_isp_iris_cur(id);
    const int shutter_step = para_get_isp_shutter_cur(id);
    const int limit = para_get_isp_gain_limit_cur(id);
    const int flicker = para_get_isp_antiflicker_cur(id);
    para_get_isp_bright_cur(id);
    const int gain = para_get_isp_manual_gain_cur(id);
    para_set_isp_exposure_mode_cur(id, value);
    if (value == MANUAL_EXPOSURE) {
        expose(id, false);
        iris_mode(0);
        manual_gain(id, gain);
        iris(id, iris_step);
        shutter(id, shutter_step);
        TRACE("Leave\n\n");
        return 0;
    }
    expose(id, true); // AUTO_EXPOSURE
    iris_mode(1);
    expcomp_mode(id, compensates);
    expcomp_level(id, level);
    backlight(id, backlight_mode);
    gain_limit(id, limit);
    open_range(id);
    antiflicker(id, flicker);
    TRACE("Leave\n\n");
    return 0;
}

} // namespace HAND
