// Sensitivity of the automatic white balance: kept in the store, nothing reaches the engine.
#include "isp_ctrl/core/setter_steps.h"

int KIV_Set_awb_sens(int isp_id, AWB_SENS_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    ISP_TRACE(__func__, "osd_awbsensitivity_val :0x%x\n\n", static_cast<int>(value));
    const int level = isp::clamp_level(call, value, para_get_isp_awb_sens_max);
    isp::write_setting(call, para_set_isp_awb_sens_cur, level);
    return 0;
}
