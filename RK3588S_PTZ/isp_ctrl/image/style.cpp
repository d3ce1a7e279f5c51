// Image styles: a preset of the host's, recorded and, unless the host applies styles itself, applied value by value in
// a fixed order.
#include "isp_ctrl/core/call_frame.h"
#include "isp_ctrl/core/setting_step.h"

namespace
{

using Preset = kiv_isp_param_s;

// Written to the store first, for the setters that read them back.
struct StoreStep {
    int (*set)(int id, int value);
    int Preset::*field;
};
constexpr StoreStep kStored[] = {
    {para_set_isp_shutter_cur, &Preset::shutter},
    {para_set_isp_iris_cur, &Preset::iris},
    {para_set_isp_bright_cur, &Preset::bright},
    {para_set_isp_manual_gain_cur, &Preset::manual_gain},
    {para_set_isp_rgain_cur, &Preset::rgain},
    {para_set_isp_bgain_cur, &Preset::bgain},
    {para_set_isp_temperature_cur, &Preset::temperature},
};

// Then applied.
constexpr isp::SettingStep kApplied[] = {
    {isp::apply_setting<KIV_Set_exposure_mode>, &Preset::exposure_mode},
    {isp::apply_setting<KIV_Set_backlight>, &Preset::backlight},
    {isp::apply_setting<KIV_Set_wb_mode>, &Preset::wb_mode},
    {isp::apply_setting<KIV_Set_expcomp_mode>, &Preset::expcomp_mode},
    {isp::apply_setting<KIV_Set_expcomp_level>, &Preset::expcomp_level},
    {isp::apply_setting<KIV_Set_gain_limit>, &Preset::gain_limit},
    {isp::apply_setting<KIV_Set_meter>, &Preset::meter},
    {isp::apply_setting<KIV_Set_drc>, &Preset::drc},
    {isp::apply_setting<KIV_Set_awb_sens>, &Preset::awb_sens},
    {isp::apply_setting<KIV_Set_rgain_tuning>, &Preset::rgain_tuning},
    {isp::apply_setting<KIV_Set_bgain_tuning>, &Preset::bgain_tuning},
    {isp::apply_setting<KIV_Set_saturation>, &Preset::saturation},
    {isp::apply_setting<KIV_Set_hue>, &Preset::hue},
    {isp::apply_setting<KIV_Set_luminance>, &Preset::luminance},
    {isp::apply_setting<KIV_Set_contrast>, &Preset::contrast},
    {isp::apply_setting<KIV_Set_sharpness>, &Preset::sharpness},
    {isp::apply_setting<KIV_Set_gamma>, &Preset::gamma},
    {isp::apply_setting<KIV_Set_blackwhite_mode>, &Preset::blackwhite_mode},
    {isp::apply_setting<KIV_Set_nr2d>, &Preset::nr2d},
    {isp::apply_setting<KIV_Set_nr3d>, &Preset::nr3d},
};

} // namespace

int KIV_Set_style(int isp_id, Imgstyle_Mode_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    ISP_TRACE(__func__, "enter,style:%d\n", static_cast<int>(value));
    const Preset* para = para_get_isp_style_param(get_isp_switch(isp_id), value);
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
