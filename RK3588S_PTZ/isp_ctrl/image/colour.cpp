// Colour processing: saturation, hue, luminance and contrast, one field each of one engine block, and black-and-white,
// which forces the saturation field to 0.
#include "isp_ctrl/core/setter_steps.h"

namespace
{

using Acp = isp::Module<rk_aiq_user_api2_acp_GetAttrib, rk_aiq_user_api2_acp_SetAttrib>;

// Engine values of the levels, 128 being neutral. Given: 83 + 10 per level, 100 + 4, 86 + 6 and 86 + 6. Hue levels 15
// to 17 are beyond HUE_MAX and used only if the store's maximum allows them.
constexpr RK_U32 kSaturation[] = {83, 93, 103, 113, 123, 133, 143, 153, 163, 173, 183, 193, 203, 213, 223};
constexpr RK_U32 kHue[] = {100, 104, 108, 112, 116, 120, 124, 128, 132, 136, 140, 144, 148, 152, 156, 160, 164, 168};
constexpr RK_U32 kLuminance[] = {86, 92, 98, 104, 110, 116, 122, 128, 134, 140, 146, 152, 158, 164, 170};
constexpr RK_U32 kContrast[] = {86, 92, 98, 104, 110, 116, 122, 128, 134, 140, 146, 152, 158, 164, 170};
static_assert(isp::last_level(kSaturation) == Saturation_MAX);
static_assert(isp::last_level(kHue) == HUE_MAX + 3);
static_assert(isp::last_level(kLuminance) == Luminance_MAX);
static_assert(isp::last_level(kContrast) == Contrast_MAX);

constexpr int kNoColour = -1; // saturation level that stands for black-and-white

constexpr isp::FailureTexts kContrastTexts = {
    .get = ISP_TRACE_FORMAT("rk_aiq_user_api2_acp_GetAttrib err:0x%x\n\n"),
};

constexpr uint8_t low8(RK_U32 value)
{
    return static_cast<uint8_t>(value);
}

} // namespace

int KIV_Set_saturation(int isp_id, Saturation_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    int level = isp::clamp_level(call, value, para_get_isp_saturation_max, isp::last_level(kSaturation));
    if (value != kNoColour) { // the store keeps the user's level
        isp::write_setting(call, para_set_isp_saturation_cur, level);
    }
    if (isp::read_setting(call, para_get_isp_blackwhite_mode_cur) == BlackWhite_Mode_ON || value == kNoColour) {
        level = kNoColour;
    }
    ISP_TRACE(__func__, "isp_saturation_val :0x%x\n\n", level);
    isp::modify_regardless<Acp>(
        call, [&](acp_attrib_t& acp) { acp.saturation = level != kNoColour ? low8(kSaturation[level]) : uint8_t{0}; });
    return 0;
}

int KIV_Set_hue(int isp_id, HUE_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int level = isp::clamp_level(call, value, para_get_isp_hue_max, isp::last_level(kHue));
    isp::write_setting(call, para_set_isp_hue_cur, level);
    ISP_TRACE(__func__, "isp_hue_val :%d\n\n", level);
    isp::modify_regardless<Acp>(call, [&](acp_attrib_t& acp) { acp.hue = low8(kHue[level]); });
    return 0;
}

int KIV_Set_luminance(int isp_id, Luminance_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    ISP_TRACE(__func__, "isp_luminance_val:%d\n\n", static_cast<int>(value));
    ISP_TRACE(__func__, "isp_id:%d\n\n", isp_id);
    const int level = isp::clamp_level(call, value, para_get_isp_luminance_max, isp::last_level(kLuminance));
    isp::write_setting(call, para_set_isp_luminance_cur, level);
    isp::modify_regardless<Acp>(call, [&](acp_attrib_t& acp) {
        acp.brightness = low8(kLuminance[level]);
        ISP_TRACE(call.function, "rk_isp_set_brightness:  %d\n\n", acp.brightness);
    });
    return 0;
}

int KIV_Set_contrast(int isp_id, Contrast_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int level = isp::clamp_level(call, value, para_get_isp_contrast_max, isp::last_level(kContrast));
    isp::write_setting(call, para_set_isp_contrast_cur, level);

    // Only a failed read is reported.
    acp_attrib_t acp;
    const isp::Outcome outcome = isp::fetch<Acp>(call, acp, kContrastTexts.get);
    if (outcome == isp::Outcome::done) {
        acp.contrast = low8(kContrast[level]);
        ISP_TRACE(__func__, "isp_contrast_val: %d\n\n", level);
        isp::apply<Acp>(call, acp, nullptr);
    }
    return isp::result(outcome);
}

int KIV_Set_blackwhite_mode(int isp_id, BlackWhite_Mode_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    ISP_TRACE(__func__, "blackwhite_mode:%d\n\n", static_cast<int>(value));
    // Read before the mode is stored; the saturation setter looks at the stored mode.
    const int saturation = isp::read_setting(call, para_get_isp_saturation_cur);
    isp::write_setting(call, para_set_isp_blackwhite_mode_cur, value);
    KIV_Set_saturation(isp_id, Saturation_E{value == BlackWhite_Mode_ON ? kNoColour : saturation});
    return 0;
}
