// Sharpness: one strength for every sensitivity step, or a curve that weakens as the sensor gain rises.
#include "isp_ctrl/core/setter_steps.h"
#include "isp_ctrl/image/iso_steps.h"

namespace
{

using Sharp = isp::Module<rk_aiq_user_api2_asharpV4_GetAttrib, rk_aiq_user_api2_asharpV4_SetAttrib>;

constexpr isp::FailureTexts kTexts = {
    .get = ISP_TRACE_FORMAT("rk_aiq_user_api2_asharpV4_GetAttrib failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("rk_aiq_user_api2_asharpV4_SetAttrib failed with %#x!\n\n"),
};

// Strength of a manual level. Given: 1.0 per level, with steps of 1.5 up to level 3 and to level 15.
constexpr float kManualStrength[] = {0.0F, 1.0F, 2.0F,  3.5F,  4.5F,  5.5F,  6.5F,  7.5F,
                                     8.5F, 9.5F, 10.5F, 11.5F, 12.5F, 13.5F, 14.5F, 16.0F};
static_assert(isp::last_level(kManualStrength) == Sharpness_Auto - 1);

// Strength of Sharpness_Auto at each sensitivity (ISO) step. Given: noise is not to be sharpened.
constexpr float kAutoStrength[isp::kIsoSteps] = {6.5F,  6.5F,  6.35F, 6.2F,  3.75F, 3.75F, 3.75F,
                                                 3.75F, 3.75F, 3.75F, 3.75F, 3.75F, 3.75F};

} // namespace

int KIV_Set_sharpness(int isp_id, Sharpness_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int level = isp::clamp_level(call, value, para_get_isp_sharpness_max, Sharpness_Auto);
    ISP_TRACE(__func__, "isp_sharpness_val :%d\n\n", level);
    isp::write_setting(call, para_set_isp_sharpness_cur, level);
    return isp::result(isp::modify<Sharp>(call, kTexts, [&](rk_aiq_sharp_attrib_v4_t& sharp) {
        isp::fill_iso_steps(sharp.stAuto.stParams.sharp_ratio, level == Sharpness_Auto, kAutoStrength, kManualStrength,
                            level);
    }));
}
