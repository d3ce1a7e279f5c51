// Colour-space matrix: RGB to YCbCr after ITU-R BT.601 or BT.709, each in a full-range and a limited-range form. The
// mode is remembered here, not in the store. The limited range is expressed by luma offset and coefficients alone.
#include "isp_ctrl/core/atomic.h"
#include "isp_ctrl/core/setter_steps.h"

#include <cstring>

namespace
{

using Acsm = isp::Module<rk_aiq_user_api2_acsm_GetAttrib, rk_aiq_user_api2_acsm_SetAttrib>;

constexpr isp::FailureTexts kTexts = {
    .get = ISP_TRACE_FORMAT("rk_aiq_user_api2_acsm_GetAttrib failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("rk_aiq_user_api2_acsm_SetAttrib failed with %#x!\n\n"),
};

// Rows Y, Cb, Cr; columns R, G, B. The last coefficient of kBt709Full is this system's own: the standard has
// -0.0458.
constexpr float kBt601Full[9] = {0.299F, 0.587F, 0.114F, -0.169F, -0.331F, 0.5F, 0.5F, -0.419F, -0.081F};
constexpr float kBt601Limited[9] = {0.257F, 0.504F, 0.098F, -0.148F, -0.291F, 0.439F, 0.439F, -0.368F, -0.071F};
constexpr float kBt709Full[9] = {0.2126F, 0.7152F, 0.0722F, -0.1146F, -0.3854F, 0.5F, 0.5F, -0.4542F, -0.0468F};
constexpr float kBt709Limited[9] = {0.1826F, 0.6142F, 0.062F, -0.1006F, -0.3386F, 0.4392F, 0.4392F, -0.3989F, -0.0403F};

constexpr int kChromaOffset = 128;

struct Conversion {
    int y_offset;
    const float* coeff;
};
constexpr Conversion kConversions[] = {
    // from CSC_BT601_full_range on
    {0, kBt601Full},
    {16, kBt601Limited},
    {0, kBt709Full},
    {16, kBt709Limited},
};
static_assert(isp::last_level(kConversions) == CSC_BT709_limit_range - CSC_BT601_full_range);

int g_csc_mode[isp::kCameras];

} // namespace

void KIV_Set_csc_mode(int isp_id, CSC_Mode_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return;
    }
    ISP_TRACE(__func__, "csc_mode_val :%d\n\n", static_cast<int>(value));
    isp::shared_set(g_csc_mode[isp_id], static_cast<int>(value));
    isp::modify<Acsm>(call, kTexts, [&](rk_aiq_uapi_acsm_attrib_t& acsm) {
        if (value < CSC_BT601_full_range || value > CSC_BT709_limit_range) {
            return; // a mode without a name: the engine gets its own settings back
        }
        const Conversion& conversion = kConversions[value - CSC_BT601_full_range];
        acsm.param.op_mode = RK_AIQ_OP_MODE_MANUAL;
        acsm.param.full_range = true;
        acsm.param.y_offset = conversion.y_offset;
        acsm.param.c_offset = kChromaOffset;
        std::memcpy(acsm.param.coeff, conversion.coeff, sizeof acsm.param.coeff);
    });
}

int KIV_Get_csc_mode(int isp_id)
{
    return isp_id >= 0 && isp_id < isp::kCameras ? isp::shared_get(g_csc_mode[isp_id]) : -1;
}
