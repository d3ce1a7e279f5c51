// Restore: brings a camera's engine in line with the store. All settings are read before the first is applied, so that
// what one setter writes back does not change what a later one applies.
#include "isp_ctrl/core/call_frame.h"
#include "isp_ctrl/core/setting_step.h"

namespace
{

using Settings = kiv_isp_param_s;

struct ReadStep {
    int (*get)(int id);
    int Settings::*field;
};
constexpr ReadStep kRead[] = {
    {para_get_isp_exposure_mode_cur, &Settings::exposure_mode},
    {para_get_isp_expcomp_mode_cur, &Settings::expcomp_mode},
    {para_get_isp_expcomp_level_cur, &Settings::expcomp_level},
    {para_get_isp_backlight_cur, &Settings::backlight},
    {para_get_isp_antiflicker_cur, &Settings::antiflicker},
    {para_get_isp_gain_limit_cur, &Settings::gain_limit},
    {para_get_isp_drc_cur, &Settings::drc},
    {para_get_isp_wdr_strength_cur, &Settings::wdr_strength},
    {para_get_isp_meter_cur, &Settings::meter},
    {para_get_isp_luminance_cur, &Settings::luminance},
    {para_get_isp_saturation_cur, &Settings::saturation},
    {para_get_isp_contrast_cur, &Settings::contrast},
    {para_get_isp_sharpness_cur, &Settings::sharpness},
    {para_get_isp_gamma_cur, &Settings::gamma},
    {para_get_isp_blackwhite_mode_cur, &Settings::blackwhite_mode},
    {para_get_isp_wb_mode_cur, &Settings::wb_mode},
    {para_get_isp_awb_sens_cur, &Settings::awb_sens},
    {para_get_isp_hue_cur, &Settings::hue},
    {para_get_isp_rgain_tuning_cur, &Settings::rgain_tuning},
    {para_get_isp_bgain_tuning_cur, &Settings::bgain_tuning},
    {para_get_isp_nr2d_cur, &Settings::nr2d},
    {para_get_isp_nr3d_cur, &Settings::nr3d},
};

constexpr isp::SettingStep kApplied[] = {
    {isp::apply_setting<KIV_Set_exposure_mode>, &Settings::exposure_mode},
    {isp::apply_setting<KIV_Set_expcomp_mode>, &Settings::expcomp_mode},
    {isp::apply_setting<KIV_Set_expcomp_level>, &Settings::expcomp_level},
    {isp::apply_setting<KIV_Set_backlight>, &Settings::backlight},
    {isp::apply_setting<KIV_Set_gain_limit>, &Settings::gain_limit},
    {isp::apply_setting<KIV_Set_antiflicker>, &Settings::antiflicker},
    {isp::apply_setting<KIV_Set_drc>, &Settings::drc},
    {isp::apply_setting<KIV_Set_wdr_strength>, &Settings::wdr_strength},
    {isp::apply_setting<KIV_Set_meter>, &Settings::meter},
    {isp::apply_setting<KIV_Set_wb_mode>, &Settings::wb_mode},
    {isp::apply_setting<KIV_Set_awb_sens>, &Settings::awb_sens},
    {isp::apply_setting<KIV_Set_saturation>, &Settings::saturation},
    {isp::apply_setting<KIV_Set_hue>, &Settings::hue},
    {isp::apply_setting<KIV_Set_rgain_tuning>, &Settings::rgain_tuning},
    {isp::apply_setting<KIV_Set_bgain_tuning>, &Settings::bgain_tuning},
    {isp::apply_setting<KIV_Set_luminance>, &Settings::luminance},
    {isp::apply_setting<KIV_Set_contrast>, &Settings::contrast},
    {isp::apply_setting<KIV_Set_sharpness>, &Settings::sharpness},
    {isp::apply_setting<KIV_Set_gamma>, &Settings::gamma},
    {isp::apply_setting<KIV_Set_blackwhite_mode>, &Settings::blackwhite_mode},
    {isp::apply_setting<KIV_Set_nr2d>, &Settings::nr2d},
    {isp::apply_setting<KIV_Set_nr3d>, &Settings::nr3d},
};

} // namespace

void KIV_load_isp_para(int isp_id)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return;
    }
    ISP_TRACE(__func__, "isp_para\n\n");
    Settings settings{};
    for (const ReadStep& step : kRead) {
        settings.*step.field = isp::read_setting(call, step.get);
    }
    for (const isp::SettingStep& step : kApplied) {
        step.apply(isp_id, settings.*step.field);
    }
}
