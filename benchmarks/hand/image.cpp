// By hand: colour, sharpness, gamma, DRC, noise reduction, lens shading and colour space.
#include "hand/straight.h"
#include "isp_ctrl/core/seam.h"

#include <cstring>
#include <fcntl.h>

namespace HAND
{

namespace
{

constexpr uint8_t kSaturation[] = {83, 93, 103, 113, 123, 133, 143, 153, 163, 173, 183, 193, 203, 213, 223};
constexpr uint8_t kHue[] = {100, 104, 108, 112, 116, 120, 124, 128, 132, 136, 140, 144, 148, 152, 156, 160, 164, 168};
constexpr uint8_t kTone[] = {86, 92, 98, 104, 110, 116, 122, 128, 134, 140, 146, 152, 158, 164, 170};
constexpr float kSharp[] = {0, 1, 2, 3.5F, 4.5F, 5.5F, 6.5F, 7.5F, 8.5F, 9.5F, 10.5F, 11.5F, 12.5F, 13.5F, 14.5F, 16};
constexpr float kDrc[] = {1.0F, 1.15F, 1.3F, 1.45F, 1.6F, 1.75F, 1.9F, 2.05F, 2.2F};
constexpr float kStrength2d[] = {0, 0.5F, 1.5F, 3, 5, 7, 9, 11, 13, 15};
constexpr float kSoft2d[] = {0, 1, 3, 5, 7, 9, 11, 13, 15, 16};
constexpr float kAuto2d[13] = {1, 2, 4, 8, 16, 16, 16, 16, 16, 16, 16, 16, 16};
constexpr float kStrength3d[] = {0, 0.6F, 1.2F, 1.8F, 2.4F, 3, 4, 5, 6, 7, 8, 9};
constexpr float kAuto3d[13] = {1.8F, 1.95F, 2.1F, 2.3F, 2.6F, 2.8F, 2.8F, 2.8F, 2.8F, 2.8F, 2.8F, 2.8F, 2.8F};
constexpr float kAutoSharp[13] = {6.5F,  6.5F,  6.35F, 6.2F,  3.75F, 3.75F, 3.75F,
                                  3.75F, 3.75F, 3.75F, 3.75F, 3.75F, 3.75F};
constexpr float k709Full[9] = {0.2126F, 0.7152F, 0.0722F, -0.1146F, -0.3854F, 0.5F, 0.5F, -0.4542F, -0.0468F};
const uint16_t* const kCurves[] = {gamma_1_4, gamma_1_2, gamma_haisi, gamma_1_5, gamma_1_6, gamma_ext};

STRAIGHT void fill(float (&steps)[13], bool automatic, const float (&curve)[13], float manual)
{
    if (automatic) {
        std::copy(curve, curve + 13, steps);
    } else {
        std::fill(steps, steps + 13, manual);
    }
}

STRAIGHT int set_saturation(int id, int value)
{
    int level = bound(id, value, para_get_isp_saturation_max, 14);
    if (value != -1) {
        para_set_isp_saturation_cur(id, level);
    }
    if (para_get_isp_blackwhite_mode_cur(id) == BlackWhite_Mode_ON || value == -1) {
        level = -1;
    }
    TRACE("isp_saturation_val :0x%x\n\n", level);
    change_acp(id, [&](auto& b) { b.saturation = level != -1 ? kSaturation[level] : uint8_t{0}; });
    return 0;
}

} // namespace

int saturation(int id, int value)
{
    CHECK_ID(id)
    return set_saturation(id, value);
}

int hue(int id, int value)
{
    CHECK_ID(id)
    const int level = bound(id, value, para_get_isp_hue_max, 17);
    para_set_isp_hue_cur(id, level);
    TRACE("isp_hue_val :%d\n\n", level);
    change_acp(id, [&](auto& b) { b.hue = kHue[level]; });
    return 0;
}

int luminance(int id, int value)
{
    CHECK_ID(id)
    TRACE("isp_luminance_val:%d\n\n", value);
    TRACE("isp_id:%d\n\n", id);
    const int level = bound(id, value, para_get_isp_luminance_max, 14);
    para_set_isp_luminance_cur(id, level);
    change_acp(id, [&](auto& b) {
        b.brightness = kTone[level];
        TRACE("rk_isp_set_brightness:  %d\n\n", b.brightness);
    });
    return 0;
}

int contrast(int id, int value)
{
    CHECK_ID(id)
    const int level = bound(id, value, para_get_isp_contrast_max, 14);
    para_set_isp_contrast_cur(id, level);
    return change_acp(id, [&](auto& b) {
        b.contrast = kTone[level];
        TRACE("isp_contrast_val: %d\n\n", level);
    });
}

int blackwhite_mode(int id, int value)
{
    CHECK_ID(id)
    TRACE("blackwhite_mode:%d\n\n", value);
    const int level = para_get_isp_saturation_cur(id);
    para_set_isp_blackwhite_mode_cur(id, value);
    return set_saturation(id, value == BlackWhite_Mode_ON ? -1 : level);
}

int sharpness(int id, int value)
{
    CHECK_ID(id)
    const int level = bound(id, value, para_get_isp_sharpness_max, Sharpness_Auto);
    TRACE("isp_sharpness_val :%d\n\n", level);
    para_set_isp_sharpness_cur(id, level);
    return change_sharp(id, [&](auto& b) {
        const bool automatic = level == Sharpness_Auto;
        fill(b.stAuto.stParams.sharp_ratio, automatic, kAutoSharp, automatic ? 0.0F : kSharp[level]);
    });
}

int gamma(int id, int value)
{
    CHECK_ID(id)
    const int level = bound(id, value, para_get_isp_gamma_max, 5);
    para_set_isp_gamma_cur(id, level);
    TRACE("isp_gamma_val :%d\n\n", level);
    return change_gamma_block(id, [&](auto& b) {
        b.atrrV30.mode = GAMMA_MODE_MANUAL;
        b.atrrV30.stManual.Gamma_en = true;
        b.atrrV30.stManual.Gamma_out_offset = 0;
        std::memcpy(b.atrrV30.stManual.Gamma_curve, kCurves[level], 98);
    });
}

int drc(int id, int value)
{
    CHECK_ID(id)
    TRACE("isp_drcstrenth_val:%d\n\n", value);
    const int level = bound(id, value, para_get_isp_drc_max, 8);
    para_set_isp_drc_cur(id, level);
    return change_drc_block(id, [&](auto& b) {
        b.Version = ADRC_VERSION_3588;
        b.opMode = DRC_OPMODE_AUTO;
        float(&gain)[13] = b.stAutoV30.DrcTuningPara.DrcGain.DrcGain;
        std::fill(gain, gain + 13, kDrc[level]);
    });
}

int nr2d(int id, int value)
{
    CHECK_ID(id)
    shading(id, 0);
    const int level = bound(id, value, para_get_isp_nr2d_max, 9);
    para_set_isp_nr2d_cur(id, level);
    TRACE("isp_nr2dlevel_val :0x%x\n\n", level);
    return change_nr2d_block(id, [&](auto& b) {
        b.eMode = ABAYER2DNR_OP_MODE_AUTO;
        b.stAuto.st2DParams.enable = 1;
        float(&strength)[13] = b.stAuto.st2DParams.filter_strength;
        float(&soft)[13] = b.stAuto.st2DParams.edgesofts;
        fill(strength, level == NR2D_AUTO, kAuto2d, kStrength2d[level]);
        fill(soft, level == NR2D_AUTO, kAuto2d, kSoft2d[level]);
        TRACE("filter_strength[0]=%3f,filter_strength[1]=%3f,filter_strength[2]=%3f\n\n",
              static_cast<double>(strength[0]), static_cast<double>(strength[1]), static_cast<double>(strength[2]));
        TRACE("edgesofts[0]=%3f,edgesofts[1]=%3f,edgesofts[2]=%3f\n\n", static_cast<double>(soft[0]),
              static_cast<double>(soft[1]), static_cast<double>(soft[2]));
    });
}

int nr3d(int id, int value)
{
    CHECK_ID(id)
    const int level = bound(id, value, para_get_isp_nr3d_max, 11);
    para_set_isp_nr3d_cur(id, level);
    const int result = change_nr3d_block(id, [&](auto& b) {
        b.eMode = ABAYERTNRV2_OP_MODE_AUTO;
        float(&low)[13] = b.stAuto.st3DParams.lo_filter_strength;
        fill(low, level == NR3D_AUTO, kAuto3d, kStrength3d[level]);
        fill(b.stAuto.st3DParams.hi_filter_strength, level == NR3D_AUTO, kAuto3d, kStrength3d[level]);
        TRACE("lo_filter_strength[0]=%3f,lo_filter_strength[1]=%3f,lo_filter_strength[2]=%3f\n\n",
              static_cast<double>(low[0]), static_cast<double>(low[1]), static_cast<double>(low[2]));
    });
    if (result == 0) {
        TRACE("isp_nr3dlevel_val :0x%x\n\n", level);
    }
    return result;
}

int csc_mode(int id, int value) // BT.709, full range
{
    static int modes[8];
    CHECK_ID(id)
    TRACE("csc_mode_val :%d\n\n", value);
    __atomic_store_n(&modes[id], value, __ATOMIC_RELEASE);
    return change_csm(id, [&](auto& b) {
        b.param.op_mode = RK_AIQ_OP_MODE_MANUAL;
        b.param.full_range = true;
        b.param.y_offset = 0;
        b.param.c_offset = 128;
        std::memcpy(b.param.coeff, k709Full, sizeof k709Full);
    });
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
    {                                                                                                                  \
        name, name "_30", name "_100", "5120x2880_" name "_30", "5120x2880_" name "_100", {red, blue}, source          \
    }
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
    const rk_aiq_sys_ctx_t* ctx = engine(id);
    rk_aiq_lsc_attrib_t b;
    if (rk_aiq_user_api2_alsc_GetAttrib(ctx, &b) != 0 || !lens_is_SR1053()) {
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
    return rk_aiq_user_api2_alsc_SetAttrib(ctx, b) == 0 ? 0 : -1;
}

} // namespace HAND
