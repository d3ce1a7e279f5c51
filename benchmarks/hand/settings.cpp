// By hand: a setter of each shape. A level of a table, of a curve, of a block that is rebuilt; a level that depends on
// the mode; a mode; a file; a sequence of setters.
#include "af/lens_ctrl.h"
#include "hand/straight.h"
#include "isp_ctrl/core/seam.h"
#include "isp_ctrl/presets/setting_step.h"
#include "vin/vin.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>

namespace hand
{

namespace
{

constexpr uint8_t kHue[] = {100, 104, 108, 112, 116, 120, 124, 128, 132, 136, 140, 144, 148, 152, 156, 160, 164, 168};
constexpr float kSharp[] = {0, 1, 2, 3.5F, 4.5F, 5.5F, 6.5F, 7.5F, 8.5F, 9.5F, 10.5F, 11.5F, 12.5F, 13.5F, 14.5F, 16};
constexpr float kDrc[] = {1.0F, 1.15F, 1.3F, 1.45F, 1.6F, 1.75F, 1.9F, 2.05F, 2.2F};
constexpr float kAutoSharp[13] = {6.5F,  6.5F,  6.35F, 6.2F,  3.75F, 3.75F, 3.75F,
                                  3.75F, 3.75F, 3.75F, 3.75F, 3.75F, 3.75F};
constexpr unsigned kShutter[] = {30,  60,   90,   100,  125,  200,  250,  350,  500,
                                 725, 1000, 1500, 2000, 3000, 4000, 6000, 10000};

STRAIGHT float seconds(int step)
{
    const auto time = static_cast<float>(1.0 / kShutter[step]);
    TRACE("Exp_time: %3f\n", static_cast<double>(time));
    return time;
}

/// The shortest time of the automatic range.
STRAIGHT float fastest(int id)
{
    return seconds(std::clamp(para_get_isp_shutter_max(id), 1, 17) - 1);
}

int expose(int id)
{
    TRACE("Enter:enExpType %d\n\n", 0);
    const int result = change_ae(id, [&](auto& b) { b.AecOpType = RK_AIQ_OP_MODE_AUTO; });
    if (result == 0) {
        TRACE("Leave\n\n");
    }
    return result;
}

int open_range(int id)
{
    const int mode = para_get_isp_exposure_mode_cur(id);
    TRACE("Enter:cam_ae_mode:%d\n\n", mode);
    const int result = change_ae(id, [&](auto& b) {
        const int fps = get_vin_fps(id);
        b.AecOpType = RK_AIQ_OP_MODE_AUTO;
        b.stAuto.stFrmRate.FpsValue = static_cast<float>(fps);
        b.stAdvanced.SetAeRangeEn = true;
        const float longest = seconds(0);
        b.stAdvanced.SetLinAeRange.stExpTimeRange = {fastest(id), longest};
    });
    if (result == 0) {
        TRACE("Leave:\n\n");
    }
    return result;
}

/// Whether the fitted lens is that model, asked afresh.
bool lens_is_SR1053()
{
    static char model[126]; // of the last successful read
    static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    char line[256] = {};
    std::FILE* pipe = popen(isp::seam.lens_command, "r");
    if (pipe != nullptr) {
        if (std::fgets(line, sizeof line, pipe) == nullptr) {
            line[0] = '\0';
        }
        pclose(pipe);
    }
    pthread_mutex_lock(&mutex);
    if (pipe != nullptr) {
        const std::size_t length = std::min(std::strcspn(line, " \n"), sizeof model - 1);
        std::memcpy(model, line, length);
        model[length] = '\0';
    }
    const bool found = std::strcmp(model, "SR1053-50IRC-8M-F20") == 0;
    pthread_mutex_unlock(&mutex);
    return found;
}

/// Gain offset of the automatic white balance, then the mode.
STRAIGHT int tune(int id, int red, int blue)
{
    rk_aiq_uapiV2_wb_opMode_t mode;
    rk_aiq_wb_mwb_attrib_t manual;
    if (rk_aiq_user_api2_awb_GetWpModeAttrib(engine(id), &mode) != 0 ||
        rk_aiq_user_api2_awb_GetMwbAttrib(engine(id), &manual) != 0) {
        return -1;
    }
    rk_aiq_uapiV2_wb_awb_wbGainOffset_t block;
    const bool read = rk_aiq_uapi2_getAwbGainOffsetAttrib(engine(id), &block) == 0;
    const bool sr = lens_is_SR1053();
    const auto red_offset = static_cast<float>(red * 0.03 - (sr ? 0.035 : 0.01));
    const auto blue_offset = static_cast<float>(blue * 0.03 - (sr ? 0.03 : 0.0));
    TRACE("00000cam_rgaintuning :%d,cam_bgaintuning :%d\n", red, blue);
    TRACE("wbGainOffset_Rgain :%3f,wbGainOffset_Bgain :%3f\n", static_cast<double>(red_offset),
          static_cast<double>(blue_offset));
    if (read) {
        block.gainOffset.enable = true;
        block.gainOffset.offset[0] = red_offset;
        block.gainOffset.offset[3] = blue_offset;
        rk_aiq_uapi2_setAwbGainOffsetAttrib(engine(id), block);
    }
    mode.mode = RK_AIQ_WB_MODE_AUTO;
    return rk_aiq_user_api2_awb_SetWpModeAttrib(engine(id), mode) == 0 &&
                   rk_aiq_user_api2_awb_SetMwbAttrib(engine(id), manual) == 0
               ? 0
               : -1;
}

} // namespace

int hue(int id, int value)
{
    CHECK_ID(id)
    const int level = bound(id, value, para_get_isp_hue_max, 17);
    para_set_isp_hue_cur(id, level);
    TRACE("isp_hue_val :%d\n\n", level);
    change_block<rk_aiq_user_api2_acp_GetAttrib, rk_aiq_user_api2_acp_SetAttrib, acp_attrib_t>(
        id, [&](auto& b) { b.hue = kHue[level]; });
    return 0;
}

int sharpness(int id, int value)
{
    CHECK_ID(id)
    const int level = bound(id, value, para_get_isp_sharpness_max, Sharpness_Auto);
    TRACE("isp_sharpness_val :%d\n\n", level);
    para_set_isp_sharpness_cur(id, level);
    return change_block<rk_aiq_user_api2_asharpV4_GetAttrib, rk_aiq_user_api2_asharpV4_SetAttrib,
                        rk_aiq_sharp_attrib_v4_t>(id, [&](auto& b) {
        float(&ratio)[13] = b.stAuto.stParams.sharp_ratio;
        if (level == Sharpness_Auto) {
            std::copy(kAutoSharp, kAutoSharp + 13, ratio);
        } else {
            std::fill(ratio, ratio + 13, kSharp[level]);
        }
    });
}

int drc(int id, int value)
{
    CHECK_ID(id)
    TRACE("isp_drcstrenth_val:%d\n\n", value);
    const int level = bound(id, value, para_get_isp_drc_max, 8);
    para_set_isp_drc_cur(id, level);
    return change_block<rk_aiq_user_api2_adrc_GetAttrib, rk_aiq_user_api2_adrc_SetAttrib, drc_attrib_t>(
        id, [&](auto& b) {
            b.Version = ADRC_VERSION_3588;
            b.opMode = DRC_OPMODE_AUTO;
            float(&gain)[13] = b.stAutoV30.DrcTuningPara.DrcGain.DrcGain;
            std::fill(gain, gain + 13, kDrc[level]);
        });
}

int shutter(int id, int value)
{
    CHECK_ID(id)
    const int mode = para_get_isp_exposure_mode_cur(id);
    para_get_isp_exposure_mode_cur(id);
    TRACE("Enter:shutter:0x%x cam_ae_mode:%d\n\n", value, mode);
    if (mode != MANUAL_EXPOSURE && mode != SHUTTER_PRIORITY) {
        TRACE("ISP unfit\n\n");
        return ISP_UNFIT;
    }
    const int step = bound(id, value, para_get_isp_shutter_max, 16);
    para_set_isp_shutter_cur(id, step);
    const int result = change_ae(id, [&](auto& b) {
        const float longest = seconds(0);
        b.stAuto.LinAeRange.stExpTimeRange = Uapi_AeRange_t({fastest(id), longest});
        b.AecOpType = RK_AIQ_OP_MODE_MANUAL;
        b.stManual.LinearAE.ManualGainEn = true;
        b.stManual.LinearAE.ManualTimeEn = true;
        b.stManual.LinearAE.TimeValue = seconds(step);
        TRACE("expSwAttr.stManual.LinearAE.TimeValue:%3f\n", static_cast<double>(b.stManual.LinearAE.TimeValue));
    });
    if (result == 0) {
        TRACE("Leave\n\n");
    }
    return result;
}

int exposure_mode(int id, int value)
{
    CHECK_ID(id)
    TRACE("isp_id = %d, Enter:mode:%d\n\n", id, value);
    const int compensates = para_get_isp_expcomp_mode_cur(id);
    const int level = para_get_isp_expcomp_level_cur(id);
    const int backlight_mode = para_get_isp_backlight_cur(id);
    para_get_isp_drc_cur(id);
    para_get_isp_iris_cur(id);
    para_get_isp_shutter_cur(id);
    const int limit = para_get_isp_gain_limit_cur(id);
    const int flicker = para_get_isp_antiflicker_cur(id);
    para_get_isp_bright_cur(id);
    para_get_isp_manual_gain_cur(id);
    para_set_isp_exposure_mode_cur(id, value);
    expose(id);
    iris_mode(1);
    KIV_Set_expcomp_mode(id, Expcomp_Mode_E{compensates});
    KIV_Set_expcomp_level(id, Expcomp_Level_E{level});
    KIV_Set_backlight(id, Backlight_Mode_E{backlight_mode});
    KIV_Set_gain_limit(id, Gain_Limit_E{limit});
    open_range(id);
    KIV_Set_antiflicker(id, Flicker_E{flicker});
    TRACE("Leave\n\n");
    return 0;
}

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

int shading(int id, int)
{
    CHECK_ID(id)
    struct Light {
        char name[32], low[32], full[32], low_table[32], full_table[32];
        float gains[2];
        int source; // of the file: D65, CWF, A
    };
#define LIGHT(name, red, blue, source)                                                                                 \
    {name, name "_30", name "_100", "5120x2880_" name "_30", "5120x2880_" name "_100", {red, blue}, source}
    static constexpr Light lights[7] = {LIGHT("A", 1.116F, 3.4932F, 2),    LIGHT("CWF", 1.5152F, 3.0526F, 1),
                                        LIGHT("D50", 1.6261F, 2.3106F, 0), LIGHT("D65", 1.7949F, 2.3106F, 0),
                                        LIGHT("D75", 1.9406F, 1.9103F, 0), LIGHT("HZ", 0.9526F, 4.1817F, 2),
                                        LIGHT("TL84", 1.3965F, 2.9188F, 1)};
    static constexpr char resolution[32] = "5120x2880";
    TRACE("KIV_Set_shading()\n\n");
    if (access(isp::seam.shading_file, F_OK) != 0) {
        return -1;
    }
    TRACE("Enter\n\n");
    lsc_matrix_t grids[12];
    const int fd = open(isp::seam.shading_file, O_RDONLY | O_CLOEXEC);
    const ssize_t got = read(fd, grids, sizeof grids);
    close(fd);
    TRACE("Leave %d %d\n\n", static_cast<int>(got), static_cast<int>(sizeof grids));
    if (got != ssize_t{sizeof grids}) {
        return -1;
    }
    rk_aiq_lsc_attrib_t b;
    if (rk_aiq_user_api2_alsc_GetAttrib(engine(id), &b) != 0 || !lens_is_SR1053()) {
        return -1;
    }
    b.byPass = false;
    b.mode = RK_AIQ_LSC_MODE_AUTO;
    b.sync.sync_mode = RK_AIQ_UAPI_MODE_ASYNC;
    b.sync.done = true;
    b.stAuto.common.enable = true;
    lsc_resolution_t& all = b.stAuto.common.resolutionAll[0];
    std::memcpy(all.name, resolution, 32);
    std::fill(all.lsc_sect_size_x, all.lsc_sect_size_x + 16, uint16_t{320});
    std::fill(all.lsc_sect_size_y, all.lsc_sect_size_y + 16, uint16_t{180});
    b.stAuto.common.resolutionAll_len = 1;
    b.stAuto.alscCoef.damp_enable = true;
    b.stAuto.alscCoef.illAll_len = 7;
    b.stAuto.tbl.tableAll_len = 14;
    for (int i = 0; i < 7; ++i) {
        const Light& light = lights[i];
        lsc_illuminant_t& ill = b.stAuto.alscCoef.illAll[i];
        ill.usedForCase = 0;
        std::memcpy(ill.name, light.name, 32);
        std::memcpy(ill.wbGain, light.gains, sizeof ill.wbGain);
        std::memcpy(ill.tableUsed[0], light.low, 32);
        std::memcpy(ill.tableUsed[1], light.full, 32);
        ill.tableUsed_len = 2;
        for (int step = 0; step < 4; ++step) {
            ill.vig[step] = 60.0F;
        }
        ill.gains[0] = 1.0F;
        ill.gains[1] = 4.0F;
        ill.gains[2] = 8.0F;
        ill.gains[3] = 16.0F;
        ill.gains_len = ill.vig_len = 4;
        for (int full = 0; full < 2; ++full) {
            lsc_table_t& table = b.stAuto.tbl.tableAll[2 * i + full];
            std::memcpy(table.name, full != 0 ? light.full_table : light.low_table, 32);
            std::memcpy(table.resolution, resolution, 32);
            std::memcpy(table.illumination, light.name, 32);
            table.vignetting = full != 0 ? 100.0F : 30.0F;
            std::memcpy(&table.lsc_samples_red, &grids[4 * light.source], 4 * sizeof grids[0]);
        }
    }
    return rk_aiq_user_api2_alsc_SetAttrib(engine(id), b) == 0 ? 0 : -1;
}

int style(int id, int value)
{
    CHECK_ID(id)
    TRACE("enter,style:%d\n", value);
    const kiv_isp_param_s* preset = para_get_isp_style_param(id, value);
    para_set_isp_style_cur(id, value);
    if (para_isp_style_excute_by_arm() == 1) {
        return ISP_EXCUTE_BYARM;
    }
    para_set_isp_shutter_cur(id, preset->shutter);
    para_set_isp_iris_cur(id, preset->iris);
    para_set_isp_bright_cur(id, preset->bright);
    para_set_isp_manual_gain_cur(id, preset->manual_gain);
    para_set_isp_rgain_cur(id, preset->rgain);
    para_set_isp_bgain_cur(id, preset->bgain);
    para_set_isp_temperature_cur(id, preset->temperature);
    isp::apply_setting<KIV_Set_exposure_mode>(id, preset->exposure_mode);
    isp::apply_setting<KIV_Set_backlight>(id, preset->backlight);
    isp::apply_setting<KIV_Set_wb_mode>(id, preset->wb_mode);
    isp::apply_setting<KIV_Set_expcomp_mode>(id, preset->expcomp_mode);
    isp::apply_setting<KIV_Set_expcomp_level>(id, preset->expcomp_level);
    isp::apply_setting<KIV_Set_gain_limit>(id, preset->gain_limit);
    isp::apply_setting<KIV_Set_meter>(id, preset->meter);
    isp::apply_setting<KIV_Set_drc>(id, preset->drc);
    isp::apply_setting<KIV_Set_awb_sens>(id, preset->awb_sens);
    isp::apply_setting<KIV_Set_rgain_tuning>(id, preset->rgain_tuning);
    isp::apply_setting<KIV_Set_bgain_tuning>(id, preset->bgain_tuning);
    isp::apply_setting<KIV_Set_saturation>(id, preset->saturation);
    isp::apply_setting<KIV_Set_hue>(id, preset->hue);
    isp::apply_setting<KIV_Set_luminance>(id, preset->luminance);
    isp::apply_setting<KIV_Set_contrast>(id, preset->contrast);
    isp::apply_setting<KIV_Set_sharpness>(id, preset->sharpness);
    isp::apply_setting<KIV_Set_gamma>(id, preset->gamma);
    isp::apply_setting<KIV_Set_blackwhite_mode>(id, preset->blackwhite_mode);
    isp::apply_setting<KIV_Set_nr2d>(id, preset->nr2d);
    isp::apply_setting<KIV_Set_nr3d>(id, preset->nr3d);
    return 0;
}

} // namespace hand
