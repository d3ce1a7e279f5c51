// Noise reduction in the Bayer domain, spatial (2D) and temporal (3D): one strength for every sensitivity step, or a
// curve that rises with it.
#include "isp_ctrl/core/setter_steps.h"
#include "isp_ctrl/image/iso_steps.h"

namespace
{

using Nr2d = isp::Module<rk_aiq_user_api2_abayer2dnrV2_GetAttrib, rk_aiq_user_api2_abayer2dnrV2_SetAttrib>;
using Nr3d = isp::Module<rk_aiq_user_api2_abayertnrV2_GetAttrib, rk_aiq_user_api2_abayertnrV2_SetAttrib>;

constexpr isp::FailureTexts kNr2dTexts = {
    .get = ISP_TRACE_FORMAT("rk_aiq_user_api2_abayer2dnrV2_GetAttrib failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("rk_aiq_user_api2_abayer2dnrV2_SetAttrib failed with %#x!\n\n"),
};
constexpr isp::FailureTexts kNr3dTexts = {
    .get = ISP_TRACE_FORMAT("rk_aiq_user_api2_abayertnrV2_GetAttrib failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("rk_aiq_user_api2_abayertnrV2_SetAttrib failed with %#x!\n\n"),
};

// 2D strength and edge softness of a manual level. Given, tuned by eye: fine at first, then 2 per level. Entry 6 is not
// used, level 6 being the automatic one; 7 to 9 have no name and are reached only if the store's maximum allows them.
constexpr float kManualFilter[] = {0.0F, 0.5F, 1.5F, 3.0F, 5.0F, 7.0F, 9.0F, 11.0F, 13.0F, 15.0F};
constexpr float kManualEdgeSoftness[] = {0.0F, 1.0F, 3.0F, 5.0F, 7.0F, 9.0F, 11.0F, 13.0F, 15.0F, 16.0F};
static_assert(isp::last_level(kManualFilter) == NR2D_AUTO + 3);
static_assert(std::size(kManualEdgeSoftness) == std::size(kManualFilter));

// The same at each sensitivity (ISO) step in automatic operation: proportional to the gain, up to 16.
constexpr float kAutoFilter[isp::kIsoSteps] = {1.0F,  2.0F,  4.0F,  8.0F,  16.0F, 16.0F, 16.0F,
                                               16.0F, 16.0F, 16.0F, 16.0F, 16.0F, 16.0F};
constexpr float kAutoEdgeSoftness[isp::kIsoSteps] = {1.0F,  2.0F,  4.0F,  8.0F,  16.0F, 16.0F, 16.0F,
                                                     16.0F, 16.0F, 16.0F, 16.0F, 16.0F, 16.0F};

// 3D strength of a manual level in the low and the high band. Given: 0.6 per level
// up to 3.0, then 1. Entry 9 is not used, level 9 being the automatic one; 10
// and 11 have no name.
constexpr float kManualLow[] = {0.0F, 0.6F, 1.2F, 1.8F, 2.4F, 3.0F, 4.0F, 5.0F, 6.0F, 7.0F, 8.0F, 9.0F};
constexpr float kManualHigh[] = {0.0F, 0.6F, 1.2F, 1.8F, 2.4F, 3.0F, 4.0F, 5.0F, 6.0F, 7.0F, 8.0F, 9.0F};
static_assert(isp::last_level(kManualLow) == NR3D_AUTO + 2);
static_assert(std::size(kManualHigh) == std::size(kManualLow));

// The same at each sensitivity (ISO) step in automatic operation. Given.
constexpr float kAutoLow[isp::kIsoSteps] = {1.8F, 1.95F, 2.1F, 2.3F, 2.6F, 2.8F, 2.8F,
                                            2.8F, 2.8F,  2.8F, 2.8F, 2.8F, 2.8F};
constexpr float kAutoHigh[isp::kIsoSteps] = {1.8F, 1.95F, 2.1F, 2.3F, 2.6F, 2.8F, 2.8F,
                                             2.8F, 2.8F,  2.8F, 2.8F, 2.8F, 2.8F};

} // namespace

int KIV_Set_nr2d(int isp_id, NR2D_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    KIV_Set_shading(isp_id);
    const int level = isp::clamp_level(call, value, para_get_isp_nr2d_max, isp::last_level(kManualFilter));
    isp::write_setting(call, para_set_isp_nr2d_cur, level);
    ISP_TRACE(__func__, "isp_nr2dlevel_val :0x%x\n\n", level);
    return isp::result(isp::modify<Nr2d>(call, kNr2dTexts, [&](rk_aiq_bayer2dnr_attrib_v2_t& nr) {
        const bool automatic = level == NR2D_AUTO;
        auto& params = nr.stAuto.st2DParams;
        nr.eMode = ABAYER2DNR_OP_MODE_AUTO;
        params.enable = 1;
        isp::fill_iso_steps(params.filter_strength, automatic, kAutoFilter, kManualFilter, level);
        isp::fill_iso_steps(params.edgesofts, automatic, kAutoEdgeSoftness, kManualEdgeSoftness, level);
        ISP_TRACE(call.function, "filter_strength[0]=%3f,filter_strength[1]=%3f,filter_strength[2]=%3f\n\n",
                  static_cast<double>(params.filter_strength[0]), static_cast<double>(params.filter_strength[1]),
                  static_cast<double>(params.filter_strength[2]));
        ISP_TRACE(call.function, "edgesofts[0]=%3f,edgesofts[1]=%3f,edgesofts[2]=%3f\n\n",
                  static_cast<double>(params.edgesofts[0]), static_cast<double>(params.edgesofts[1]),
                  static_cast<double>(params.edgesofts[2]));
    }));
}

int KIV_Set_nr3d(int isp_id, NR3D_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int level = isp::clamp_level(call, value, para_get_isp_nr3d_max, isp::last_level(kManualLow));
    isp::write_setting(call, para_set_isp_nr3d_cur, level);
    const isp::Outcome outcome = isp::modify<Nr3d>(call, kNr3dTexts, [&](rk_aiq_bayertnr_attrib_v2_t& nr) {
        const bool automatic = level == NR3D_AUTO;
        auto& params = nr.stAuto.st3DParams;
        nr.eMode = ABAYERTNRV2_OP_MODE_AUTO;
        isp::fill_iso_steps(params.lo_filter_strength, automatic, kAutoLow, kManualLow, level);
        isp::fill_iso_steps(params.hi_filter_strength, automatic, kAutoHigh, kManualHigh, level);
        ISP_TRACE(call.function, "lo_filter_strength[0]=%3f,lo_filter_strength[1]=%3f,lo_filter_strength[2]=%3f\n\n",
                  static_cast<double>(params.lo_filter_strength[0]), static_cast<double>(params.lo_filter_strength[1]),
                  static_cast<double>(params.lo_filter_strength[2]));
    });
    if (outcome != isp::Outcome::failed) {
        ISP_TRACE(__func__, "isp_nr3dlevel_val :0x%x\n\n", level);
    }
    return isp::result(outcome);
}
