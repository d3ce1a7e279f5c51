// The feature camera's live exposure.
#include "isp_ctrl/exposure/ae_block.h"
#include "isp_ctrl/isp_ctrl.h"

int kiv_rkisp_cl_getAeinfo(float* again, float* ispdgain, float* time, float* meanluma, float* gain_max,
                           float* ret_dysetpoint)
{
    const isp::Call call{__func__, get_FeaturesIspId()};
    if (again == nullptr || ispdgain == nullptr || time == nullptr || meanluma == nullptr || gain_max == nullptr ||
        ret_dysetpoint == nullptr) {
        ISP_TRACE(__func__, "an output is NULL\n\n");
        return -1;
    }

    // The result is the engine's own code. Without a context each step is traced and fills nothing.
    int ret = -1;
    const auto ask = [&](const char* failed, auto engine_function, auto& answer) {
        return isp::engine_call(call, failed, [&](const rk_aiq_sys_ctx_t* ctx) {
            const XCamReturn code = engine_function(ctx, &answer);
            ret = code;
            return code;
        });
    };

    Uapi_ExpQueryInfo_t info;
    isp::Outcome outcome = ask(ISP_TRACE_FORMAT("rk_aiq_user_api2_ae_queryExpResInfo failed with %#x!\n\n"),
                               rk_aiq_user_api2_ae_queryExpResInfo, info);
    if (outcome == isp::Outcome::failed) {
        return ret;
    }
    if (outcome == isp::Outcome::done) {
        *again = info.LinAeInfo.LinearExp.analog_gain;
        *ispdgain = info.LinAeInfo.LinearExp.isp_dgain;
        *time = info.LinAeInfo.LinearExp.integration_time;
        *meanluma = info.LinAeInfo.MeanLuma;
    }

    paRange_t range;
    outcome =
        ask(ISP_TRACE_FORMAT("rk_aiq_uapi2_getExpGainRange failed with %#x!\n\n"), rk_aiq_uapi2_getExpGainRange, range);
    if (outcome == isp::Outcome::failed) {
        return ret;
    }
    if (outcome == isp::Outcome::done) {
        *gain_max = range.max;
    }

    // The set-points belong to the engine, so the first is read while the context is in use.
    const auto first_setpoint = [](const rk_aiq_sys_ctx_t* ctx, float* setpoint) {
        Uapi_LinExpAttrV2_t linear;
        const XCamReturn code = rk_aiq_user_api2_ae_getLinExpAttr(ctx, &linear);
        if (code == 0 && linear.Params.DySetpoint.DySetpoint != nullptr) {
            *setpoint = linear.Params.DySetpoint.DySetpoint[0];
        }
        return code;
    };
    outcome = ask(ISP_TRACE_FORMAT("rk_aiq_user_api2_ae_getLinExpAttr failed with %#x!\n\n"), first_setpoint,
                  *ret_dysetpoint);
    return outcome == isp::Outcome::no_context ? -1 : ret;
}
