// By hand: white balance. Modes and tuning are those of the automatic mode, the only one measured.
#include "hand/straight.h"
#include "isp_ctrl/core/seam.h"

namespace HAND
{

namespace
{

STRAIGHT float tuned(double gain, int step)
{
    return static_cast<float>(gain + step * 3.0 / 254.0);
}

/// Gain offset of the automatic white balance. The blue tuning setter corrects no other lens and traces otherwise.
STRAIGHT void set_offset(int id, int red, int blue, bool by_blue_setter)
{
    rk_aiq_uapiV2_wb_awb_wbGainOffset_t block;
    const rk_aiq_sys_ctx_t* ctx = engine(id);
    const bool read = rk_aiq_uapi2_getAwbGainOffsetAttrib(ctx, &block) == 0;
    const bool sr = lens_is_SR1053();
    const auto red_offset = static_cast<float>(red * 0.03 - (sr ? 0.035 : by_blue_setter ? 0.0 : 0.01));
    const auto blue_offset = static_cast<float>(blue * 0.03 - (sr ? 0.03 : 0.0));
    if (by_blue_setter) {
        TRACE("11111cam_rgaintuning :%d,cam_bgaintuning :%d\n", red, blue);
        TRACE("isp_id :%d,wbGainOffset_Rgain :%3f,wbGainOffset_Bgain :%3f\n", id, static_cast<double>(red_offset),
              static_cast<double>(blue_offset));
    } else {
        TRACE("00000cam_rgaintuning :%d,cam_bgaintuning :%d\n", red, blue);
        TRACE("wbGainOffset_Rgain :%3f,wbGainOffset_Bgain :%3f\n", static_cast<double>(red_offset),
              static_cast<double>(blue_offset));
    }
    if (read) {
        block.gainOffset.enable = true;
        block.gainOffset.offset[0] = red_offset;
        block.gainOffset.offset[3] = blue_offset;
        rk_aiq_uapi2_setAwbGainOffsetAttrib(ctx, block);
    }
}

STRAIGHT int tune(int id, int red, int blue, bool by_blue_setter = false)
{
    const rk_aiq_sys_ctx_t* ctx = engine(id);
    rk_aiq_uapiV2_wb_opMode_t mode;
    rk_aiq_wb_mwb_attrib_t manual;
    if (rk_aiq_user_api2_awb_GetWpModeAttrib(ctx, &mode) != 0 || rk_aiq_user_api2_awb_GetMwbAttrib(ctx, &manual) != 0) {
        return -1;
    }
    set_offset(id, red, blue, by_blue_setter);
    mode.mode = RK_AIQ_WB_MODE_AUTO;
    return rk_aiq_user_api2_awb_SetWpModeAttrib(ctx, mode) == 0 && rk_aiq_user_api2_awb_SetMwbAttrib(ctx, manual) == 0
               ? 0
               : -1;
}

STRAIGHT int set_manual_gain(int id, int value, bool red)
{
    CHECK_ID(id)
    const int mode = para_get_isp_wb_mode_cur(id);
    const int level = bound(id, value, red ? para_get_isp_rgain_max : para_get_isp_bgain_max, 100000);
    if (mode != MANUAL_WHITE_BALANCE) {
        return unfit();
    }
    red ? para_set_isp_rgain_cur(id, level) : para_set_isp_bgain_cur(id, level);
    return change_wb_manual(id, [&](auto& b) {
        b.mode = RK_AIQ_MWB_MODE_WBGAIN;
        float& gain = red ? b.para.gain.rgain : b.para.gain.bgain;
        gain = static_cast<float>(level / 64.0 + 0.0035);
        b.para.gain.grgain = b.para.gain.gbgain = 1.0F;
        if (red) {
            TRACE("u16Rgain:%3f\n\n", static_cast<double>(gain));
        } else {
            TRACE("u16Bgain:%3f\n\n", static_cast<double>(gain));
        }
    });
}

} // namespace

int wb_mode(int id, int value)
{
    CHECK_ID(id)
    const int red = para_get_isp_rgain_tuning_cur(id) - 10;
    const int blue = para_get_isp_bgain_tuning_cur(id) - 10;
    para_get_isp_bgain_cur(id);
    para_get_isp_rgain_cur(id);
    para_set_isp_wb_mode_cur(id, value); // AUTO_WHITE_BALANCE
    TRACE("isp_wbmode called: isp_wbmode_val = %d \n\n", value);
    const int result = tune(id, red, blue);
    if (result == 0) {
        TRACE("leave\n");
    }
    return result;
}

int awb_sens(int id, int value)
{
    CHECK_ID(id)
    TRACE("osd_awbsensitivity_val :0x%x\n\n", value);
    para_set_isp_awb_sens_cur(id, bound(id, value, para_get_isp_awb_sens_max, 1000));
    return 0;
}

int rgain(int id, int value)
{
    return set_manual_gain(id, value, true);
}

int bgain(int id, int value)
{
    return set_manual_gain(id, value, false);
}

int rgain_tuning(int id, int value) // AUTO_WHITE_BALANCE
{
    CHECK_ID(id)
    const int blue = para_get_isp_bgain_tuning_cur(id) - 10;
    const int mode = para_get_isp_wb_mode_cur(id);
    TRACE("isp_wbmode called: isp_wbmode_val = %d \n\n", mode);
    TRACE("osd_rgaintuning_val :0x%x\n\n", value);
    const int red = bound(id, value, para_get_isp_rgain_tuning_max, 1000);
    para_set_isp_rgain_tuning_cur(id, red);
    return tune(id, red - 10, blue);
}

int bgain_tuning(int id, int value) // AUTO_WHITE_BALANCE
{
    CHECK_ID(id)
    const int red = para_get_isp_rgain_tuning_cur(id) - 10;
    const int mode = para_get_isp_wb_mode_cur(id);
    TRACE("osd_bgaintuning_val :0x%x\n\n", value);
    const int blue = bound(id, value, para_get_isp_bgain_tuning_max, 1000);
    para_set_isp_bgain_tuning_cur(id, blue);
    const int result = tune(id, red, blue - 10, true);
    if (result == 0) {
        TRACE("cam_wb_mode: %d \n", mode);
    }
    return result;
}

int temperature(int id, int value) // 5000 K or more
{
    CHECK_ID(id)
    TRACE("value:%d\n", value);
    para_get_isp_wb_mode_cur(id);
    para_set_isp_temperature_cur(id, value);
    const int red = para_get_isp_rgain_tuning_cur(id) - 10;
    const int blue = para_get_isp_bgain_tuning_cur(id) - 10;
    change_wb_op_mode(id, [&](auto& b) { b.mode = RK_AIQ_WB_MODE_MANUAL; });
    isp::seam.usleep(1000);
    return change_wb_manual(id, [&](auto& b) {
        const int k = value - 25;
        const auto r = static_cast<float>(1.477 + k * 0.0092);
        const auto l = static_cast<float>(1.799 - k * 0.0188);
        set_colortemp_rgain(id, r);
        set_colortemp_ggain(id, 1.0F);
        set_colortemp_bgain(id, l);
        b.mode = RK_AIQ_MWB_MODE_WBGAIN;
        b.para.gain =
            rk_aiq_wb_gain_t({tuned(static_cast<double>(r), red), 1.0F, 1.0F, tuned(static_cast<double>(l), blue)});
    });
}

int wb_mode_onepush(int id, int)
{
    CHECK_ID(id)
    const int red = para_get_isp_rgain_tuning_cur(id) - 10;
    const int blue = para_get_isp_bgain_tuning_cur(id) - 10;
    para_get_isp_wb_mode_cur(id);
    const rk_aiq_sys_ctx_t* ctx = engine(id);
    change_wb_op_mode(id, [&](auto& b) { b.mode = RK_AIQ_WB_MODE_AUTO; });
    isp::seam.sleep(3);
    TRACE("wait for AWB...\n\n");
    rk_aiq_wb_querry_info_t info;
    rk_aiq_user_api2_awb_QueryWBInfo(ctx, &info);
    TRACE("quenvar enter QueryWBInfo\n");
    TRACE("wb_querry_info.rgain.:%3f\n", static_cast<double>(info.gain.rgain));
    TRACE("wb_querry_info.grgain.:%3f\n", static_cast<double>(info.gain.grgain));
    TRACE("wb_querry_info.gbgain.:%3f\n", static_cast<double>(info.gain.gbgain));
    TRACE("wb_querry_info.bgain.:%3f\n", static_cast<double>(info.gain.bgain));
    TRACE("wbmode:%d\n\n", static_cast<int>(RK_AIQ_WB_MODE_AUTO));
    const int r = static_cast<int>(info.gain.rgain * 1000.0F);
    const int g = static_cast<int>(info.gain.grgain * 1000.0F);
    const int l = static_cast<int>(info.gain.bgain * 1000.0F);
    para_set_isp_rgain_onepush_cur(id, r);
    set_onepush_ggain(id, g);
    para_set_isp_bgain_onepush_cur(id, l);
    TRACE("set_onepush_rgain:%d\n", r);
    TRACE("set_onepush_ggain:%d\n", g);
    TRACE("set_onepush_bgain:%d\n", l);
    rk_aiq_uapiV2_wb_opMode_t mode;
    rk_aiq_wb_mwb_attrib_t manual;
    rk_aiq_user_api2_awb_GetWpModeAttrib(ctx, &mode);
    rk_aiq_user_api2_awb_GetMwbAttrib(ctx, &manual);
    isp::seam.sleep(1);
    TRACE("get_onepush_rgain:%d\n", para_get_isp_rgain_onepush_cur(id));
    TRACE("get_onepush_ggain:%d\n", get_onepush_ggain(id));
    TRACE("get_onepush_bgain:%d\n", para_get_isp_bgain_onepush_cur(id));
    mode.mode = RK_AIQ_WB_MODE_MANUAL;
    manual.mode = RK_AIQ_MWB_MODE_WBGAIN;
    manual.para.gain.rgain = tuned(para_get_isp_rgain_onepush_cur(id) / 1000.0, red);
    manual.para.gain.grgain = manual.para.gain.gbgain = 1.0F;
    manual.para.gain.bgain = tuned(para_get_isp_bgain_onepush_cur(id) / 1000.0, blue);
    TRACE("rgain:%3f\n", static_cast<double>(manual.para.gain.rgain));
    TRACE("grgain:%3f\n", static_cast<double>(manual.para.gain.grgain));
    TRACE("bgain:%3f\n", static_cast<double>(manual.para.gain.bgain));
    rk_aiq_user_api2_awb_SetWpModeAttrib(ctx, mode);
    if (rk_aiq_user_api2_awb_SetMwbAttrib(ctx, manual) != 0) {
        return -1;
    }
    TRACE("leave...\n\n");
    return 0;
}

} // namespace HAND
