// Restore: brings a camera's engine in line with the store. All settings are read before the first is applied, so that
// what one setter writes back does not change what a later one applies.
#include "isp_ctrl/core/setter_steps.h"
#include "isp_ctrl/presets/setting_step.h"

namespace
{

struct ReadStep {
    int (*get)(int id);
    int kiv_isp_param_s::* field;
};
#define READ(setting) {para_get_isp_##setting##_cur, &kiv_isp_param_s::setting}
constexpr ReadStep kRead[] = {
    READ(exposure_mode), READ(expcomp_mode), READ(expcomp_level), READ(backlight),    READ(antiflicker),
    READ(gain_limit),    READ(drc),          READ(wdr_strength),  READ(meter),        READ(luminance),
    READ(saturation),    READ(contrast),     READ(sharpness),     READ(gamma),        READ(blackwhite_mode),
    READ(wb_mode),       READ(awb_sens),     READ(hue),           READ(rgain_tuning), READ(bgain_tuning),
    READ(nr2d),          READ(nr3d),
};

#undef READ

#define STEP(setting) {isp::apply_setting<KIV_Set_##setting>, &kiv_isp_param_s::setting}
constexpr isp::SettingStep kApplied[] = {
    STEP(exposure_mode), STEP(expcomp_mode), STEP(expcomp_level), STEP(backlight),    STEP(gain_limit),
    STEP(antiflicker),   STEP(drc),          STEP(wdr_strength),  STEP(meter),        STEP(wb_mode),
    STEP(awb_sens),      STEP(saturation),   STEP(hue),           STEP(rgain_tuning), STEP(bgain_tuning),
    STEP(luminance),     STEP(contrast),     STEP(sharpness),     STEP(gamma),        STEP(blackwhite_mode),
    STEP(nr2d),          STEP(nr3d),
};
#undef STEP

} // namespace

void KIV_load_isp_para(int isp_id)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return;
    }
    ISP_TRACE(__func__, "isp_para\n\n");
    kiv_isp_param_s settings{};
    for (const ReadStep& step : kRead) {
        settings.*step.field = isp::read_setting(call, step.get);
    }
    for (const isp::SettingStep& step : kApplied) {
        step.apply(isp_id, settings.*step.field);
    }
}
