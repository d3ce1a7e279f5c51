// Gain: the ceiling of automatic exposure and the fixed gain of manual exposure.
#include "isp_ctrl/exposure/ae_block.h"

namespace
{

constexpr float kUnityGain = 1.0F;
constexpr float kHighestCeiling = 22.0F;

constexpr isp::FailureTexts kGainRangeTexts = {
    .get = ISP_TRACE_FORMAT("RK_MPI_ISP_getExpGainRange failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("RK_MPI_ISP_setExpGainRange failed with %#x!\n\n"),
};

/// Ceiling of a gain limit level. Given: 1.0 at level 0, else 2.0 per level, at most 22.0.
float gain_ceiling(int level)
{
    const float gain = level == 0 ? kUnityGain : static_cast<float>(level * 2.0);
    return std::clamp(gain, kUnityGain, kHighestCeiling);
}

bool exposes_automatically(int exposure_mode)
{
    return exposure_mode == SHUTTER_PRIORITY || exposure_mode == BRIGHT_PRIORITY || exposure_mode == AUTO_EXPOSURE ||
           exposure_mode == IRIS_PRIORITY;
}

} // namespace

int KIV_Set_gain_limit(int isp_id, Gain_Limit_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int mode = isp::stored_exposure_mode(call);
    ISP_TRACE(__func__, "Enter:Gain limit:0x%x cam_ae_mode:%d\n\n", static_cast<int>(value), mode);
    if (!exposes_automatically(mode)) {
        return isp::unfit(call);
    }
    const int level = isp::clamp_level(call, value, para_get_isp_gain_limit_max);
    isp::write_setting(call, para_set_isp_gain_limit_cur, level);
    return isp::result(isp::modify<isp::ExpGainRange>(call, kGainRangeTexts, [&](paRange_t& range) {
        range.max = gain_ceiling(level);
        range.min = kUnityGain;
        ISP_TRACE(call.function, "SetGainRange max:%3f min:%3f\n", static_cast<double>(range.max),
                  static_cast<double>(range.min));
    }));
}

int KIV_Set_manual_gain(int isp_id, Manual_Gain_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int mode = isp::stored_exposure_mode(call);
    ISP_TRACE(__func__, "Enter:me_again:%d\n\n", static_cast<int>(value));
    if (mode != SHUTTER_PRIORITY && mode != MANUAL_EXPOSURE) {
        return isp::unfit(call);
    }
    const int level = isp::clamp_level_unsigned(call, value, para_get_isp_manual_gain_max, INT_MAX);
    isp::write_setting(call, para_set_isp_manual_gain_cur, level);
    // The engine's operation stays as it is: in SHUTTER_PRIORITY the gain only waits in the manual block.
    const isp::Outcome outcome =
        isp::modify<isp::ExpSwAttr>(call, isp::kExposureAttrTexts, [&](Uapi_ExpSwAttrV2_t& attr) {
            attr.stManual.LinearAE.ManualGainEn = true;
            attr.stManual.LinearAE.GainValue = static_cast<float>(static_cast<unsigned>(level) + 1U);
        });
    if (outcome != isp::Outcome::failed) {
        ISP_TRACE(__func__, "Leave:\n\n");
    }
    return isp::result(outcome);
}
