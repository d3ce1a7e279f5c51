// Dynamic range compression: one gain over the engine's whole control axis.
#include "isp_ctrl/core/setter_steps.h"

namespace
{

using Drc = isp::Module<rk_aiq_user_api2_adrc_GetAttrib, rk_aiq_user_api2_adrc_SetAttrib>;

constexpr isp::FailureTexts kTexts = {
    .get = ISP_TRACE_FORMAT("RK_MPI_ISP_GetExposureAttr failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("RK_MPI_ISP_GetExposureAttr failed with %#x!\n\n"),
};

// Gain of a level. Given: 1.0 plus 0.15 per level.
constexpr float kDrcGain[] = {1.0F, 1.15F, 1.3F, 1.45F, 1.6F, 1.75F, 1.9F, 2.05F, 2.2F};
static_assert(isp::last_level(kDrcGain) == DRC_MAX);

} // namespace

int KIV_Set_drc(int isp_id, DRC_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    ISP_TRACE(__func__, "isp_drcstrenth_val:%d\n\n", static_cast<int>(value));
    const int level = isp::clamp_level_unsigned(call, value, para_get_isp_drc_max, isp::last_level(kDrcGain));
    isp::write_setting(call, para_set_isp_drc_cur, level);
    return isp::result(isp::modify<Drc>(call, kTexts, [&](drc_attrib_t& drc) {
        drc.Version = ADRC_VERSION_3588;
        drc.opMode = DRC_OPMODE_AUTO;
        std::fill(std::begin(drc.stAutoV30.DrcTuningPara.DrcGain.DrcGain),
                  std::end(drc.stAutoV30.DrcTuningPara.DrcGain.DrcGain), kDrcGain[level]);
    }));
}
