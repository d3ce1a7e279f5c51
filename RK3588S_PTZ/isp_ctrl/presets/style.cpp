// Image styles: a preset of the host's, recorded and, unless the host applies styles itself, applied value by value in
// a fixed order.
#include "isp_ctrl/core/setter_steps.h"
#include "isp_ctrl/presets/setting_step.h"

namespace
{

// Written to the store first, for the setters that read them back.
struct StoreStep {
    int (*set)(int id, int value);
    int kiv_isp_param_s::* field;
};
#define STORE(setting) {para_set_isp_##setting##_cur, &kiv_isp_param_s::setting}
constexpr StoreStep kStored[] = {
    STORE(shutter), STORE(iris), STORE(bright), STORE(manual_gain), STORE(rgain), STORE(bgain), STORE(temperature),
};

#undef STORE

// Then applied.
#define STEP(setting) {isp::apply_setting<KIV_Set_##setting>, &kiv_isp_param_s::setting}
constexpr isp::SettingStep kApplied[] = {
    STEP(exposure_mode), STEP(backlight),       STEP(wb_mode),      STEP(expcomp_mode),
    STEP(expcomp_level), STEP(gain_limit),      STEP(meter),        STEP(drc),
    STEP(awb_sens),      STEP(rgain_tuning),    STEP(bgain_tuning), STEP(saturation),
    STEP(hue),           STEP(luminance),       STEP(contrast),     STEP(sharpness),
    STEP(gamma),         STEP(blackwhite_mode), STEP(nr2d),         STEP(nr3d),
};
#undef STEP

} // namespace

int KIV_Set_style(int isp_id, Imgstyle_Mode_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    ISP_TRACE(__func__, "enter,style:%d\n", static_cast<int>(value));
    const kiv_isp_param_s* para = para_get_isp_style_param(get_isp_switch(isp_id), value);
    if (para == nullptr) {
        ISP_TRACE(__func__, "fail,style:%d\n", static_cast<int>(value));
        return -1;
    }
    isp::write_setting(call, para_set_isp_style_cur, value);
    if (para_isp_style_excute_by_arm() == 1) {
        return ISP_EXCUTE_BYARM;
    }
    for (const StoreStep& step : kStored) {
        isp::write_setting(call, step.set, para->*step.field);
    }
    for (const isp::SettingStep& step : kApplied) {
        step.apply(isp_id, para->*step.field);
    }
    return 0;
}

int KIV_Set_ccm_style(int /*isp_id*/, int /*value*/)
{
    return 0;
}
