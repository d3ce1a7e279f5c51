// The engine's AE blocks as the exposure setters use them.
#pragma once

#include "isp_ctrl/core/setter_steps.h"

namespace isp
{

using ExpSwAttr = Module<rk_aiq_user_api2_ae_getExpSwAttr, rk_aiq_user_api2_ae_setExpSwAttr>;
using LinExpAttr = Module<rk_aiq_user_api2_ae_getLinExpAttr, rk_aiq_user_api2_ae_setLinExpAttr>;
using ExpGainRange = Module<rk_aiq_uapi2_getExpGainRange, rk_aiq_uapi2_setExpGainRange>;

/// How most setters report a failure of the AE block.
inline constexpr FailureTexts kExposureAttrTexts = {
    .get = ISP_TRACE_FORMAT("RK_MPI_ISP_GetExposureAttr failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("RK_MPI_ISP_SetExposureAttr failed with %#x!\n\n"),
};

/// Stored exposure mode: an Exposure_Mode_E, or any other number that a host stored.
inline int stored_exposure_mode(const Call& call)
{
    return read_setting(call, para_get_isp_exposure_mode_cur);
}

} // namespace isp
