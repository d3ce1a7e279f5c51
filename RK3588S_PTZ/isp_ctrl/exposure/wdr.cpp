// Wide dynamic range: the strength is kept in the store, the mode's hook only traces.
#include "isp_ctrl/exposure/ae_block.h"

int KIV_Set_wdr_strength(int isp_id, WDR_Strength_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    ISP_TRACE(__func__, "Enter:KIV_Set_wdr_strength:%d\n\n", static_cast<int>(value));
    const int mode = isp::stored_exposure_mode(call);
    isp::write_setting(call, para_set_isp_wdr_strength_cur, value);
    return mode == WIDE_DYNAMIC_RANGE ? 0 : isp::unfit(call);
}

int isp_wdr_config(int /*isp_id*/)
{
    ISP_TRACE(__func__, "Enter:isp_wdr_config\n\n");
    return 0;
}
