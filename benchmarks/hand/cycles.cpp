// By hand: one cycle of each loop. Exposure: panorama camera 1, feature camera 0. White balance: 3, 0 and 2.
#include "af/lens_ctrl.h"
#include "hand/straight.h"
#include "isp_ctrl/core/lock.h"
#include "isp_ctrl/core/seam.h"
#include "isp_ctrl/core/truncate.h"

#include <cmath>
#include <cstdlib>
#include <fcntl.h>

namespace hand
{

void exposure_cycle()
{
    static float again = -1.0F;
    static float time = -1.0F;
    static int position = 0;
    if (para_get_isp_exposure_mode_cur(0) != SMART_EXPOSURE || get_lens_calibration_flag() == 4) {
        return;
    }
    const isp::EngineLock lock;
    Uapi_ExpQueryInfo_t info;
    rk_aiq_user_api2_ae_queryExpResInfo(engine(1), &info);
    const Uapi_LinearExp_t& measured = info.LinAeInfo.LinearExp;
    if (measured.analog_gain == again && measured.integration_time == time && Uvc_Query_Zoom_Position() == position) {
        return;
    }
    again = measured.analog_gain;
    time = measured.integration_time;
    position = Uvc_Query_Zoom_Position();
    change_ae(0, [&](auto& b) {
        b.AecOpType = RK_AIQ_OP_MODE_MANUAL;
        Uapi_LinearManual_t& manual = b.stManual.LinearAE;
        manual.ManualGainEn = manual.ManualTimeEn = true;
        manual.TimeValue = time;
        manual.GainValue = static_cast<float>(
            static_cast<double>(again) * std::floor(((position + 1) * 0.4722 / 6624.0 + 1.0) * 1000.0) / 1000.0 + 0.25);
    });
}

void balance_cycle()
{
    static float red = -1.0F;
    static float blue = -1.0F;
    rk_aiq_wb_querry_info_t info;
    rk_aiq_user_api2_awb_QueryWBInfo(engine(3), &info);
    if (info.gain.rgain == red && info.gain.bgain == blue) {
        return;
    }
    red = info.gain.rgain;
    blue = info.gain.bgain;
    rk_aiq_uapiV2_wb_opMode_t mode[2];
    rk_aiq_wb_mwb_attrib_t manual[2];
    rk_aiq_user_api2_awb_GetWpModeAttrib(engine(0), &mode[0]);
    rk_aiq_user_api2_awb_GetMwbAttrib(engine(0), &manual[0]);
    rk_aiq_user_api2_awb_GetWpModeAttrib(engine(2), &mode[1]);
    rk_aiq_user_api2_awb_GetMwbAttrib(engine(2), &manual[1]);
    awb_calibration_s r{};
    if (access(isp::seam.wb_calibration_file, F_OK) == 0) {
        TRACE("Enter\n\n");
        const int fd = open(isp::seam.wb_calibration_file, O_RDONLY | O_CLOEXEC);
        const ssize_t got = read(fd, &r, sizeof r);
        close(fd);
        TRACE("Leave %d %d\n\n", static_cast<int>(got), static_cast<int>(sizeof r));
        if (got != ssize_t{sizeof r}) {
            r = {};
        }
    }
    mode[0].mode = mode[1].mode = RK_AIQ_WB_MODE_MANUAL;
    manual[0].mode = manual[1].mode = RK_AIQ_MWB_MODE_WBGAIN;
    manual[0].para.gain = {r.rgain_k * red + r.rgain_b, 1.0F, 1.0F, r.bgain_k * blue + r.bgain_b};
    manual[1].para.gain = {r.rgain_k2 * red + r.rgain_b2, 1.0F, 1.0F, r.bgain_k2 * blue + r.bgain_b2};
    TRACE("quenvar %s:%d rgain_k=%3f, rgain_b=%3f\n", __func__, __LINE__, static_cast<double>(r.rgain_k),
          static_cast<double>(r.rgain_b));
    TRACE("quenvar %s:%d bgain_k=%3f, bgain_b=%3f\n", __func__, __LINE__, static_cast<double>(r.bgain_k),
          static_cast<double>(r.bgain_b));
    TRACE("quenvar %s:%d rgain_k2=%3f, rgain_b2=%3f\n", __func__, __LINE__, static_cast<double>(r.rgain_k2),
          static_cast<double>(r.rgain_b2));
    TRACE("quenvar %s:%d bgain_k2=%3f, bgain_b2=%3f\n", __func__, __LINE__, static_cast<double>(r.bgain_k2),
          static_cast<double>(r.bgain_b2));
    TRACE("quenvar00 rgain=%3f,bgain=%3f\n\n", static_cast<double>(manual[0].para.gain.rgain),
          static_cast<double>(manual[0].para.gain.bgain));
    TRACE("quenvar22 rgain=%3f,bgain=%3f\n\n", static_cast<double>(manual[1].para.gain.rgain),
          static_cast<double>(manual[1].para.gain.bgain));
    TRACE("quenvar33 pano rgain=%3f,bgain=%3f\n\n", static_cast<double>(red), static_cast<double>(blue));
    rk_aiq_user_api2_awb_SetWpModeAttrib(engine(0), mode[0]);
    rk_aiq_user_api2_awb_SetMwbAttrib(engine(0), manual[0]);
    rk_aiq_user_api2_awb_SetWpModeAttrib(engine(2), mode[1]);
    rk_aiq_user_api2_awb_SetMwbAttrib(engine(2), manual[1]);
}

// AUTO_EXPOSURE with anti-flicker at 50 Hz, a lens at rest and brightness on target: nothing is sent.
void iris_cycle(const Iris_Info_Param* record)
{
    static int state = 0; // neither closing nor opening
    static int last_step_sent = 0;
    static iris_ctrl_param_t command{};
    static int last_zoom = 0;
    static int widest[12];
    static int published[12];
    const int flicker = para_get_isp_antiflicker_cur(0);
    const int mode = para_get_isp_exposure_mode_cur(0);
    if (mode == MANUAL_EXPOSURE || mode == IRIS_PRIORITY || get_lens_calibration_flag() == 4) {
        return;
    }
    Uapi_ExpQueryInfo_t info;
    paRange_t range;
    Uapi_LinExpAttrV2_t linear;
    rk_aiq_user_api2_ae_queryExpResInfo(engine(0), &info);
    rk_aiq_uapi2_getExpGainRange(engine(0), &range);
    rk_aiq_user_api2_ae_getLinExpAttr(engine(0), &linear);
    const Uapi_LinearExp_t& exposure = info.LinAeInfo.LinearExp;
    const int time = isp::truncated(exposure.integration_time * 1000000.0F);
    const int iso = isp::truncated((exposure.analog_gain * 10.0F) * (exposure.isp_dgain * 10.0F));
    const int lux = static_cast<int>(static_cast<unsigned>(time) * static_cast<unsigned>(iso)) / 1000;
    const int ceiling = isp::truncated(range.max * 100.0F);
    const int luma = isp::truncated(info.LinAeInfo.MeanLuma);
    const int64_t target = isp::truncated(linear.Params.DySetpoint.DySetpoint[0]);

    if (record == nullptr) {
        return;
    }
    Iris_Info_Param r;
    for (int i = 0; i < 18; ++i) {
        reinterpret_cast<int16_t*>(&r)[i] =
            __atomic_load_n(&reinterpret_cast<const int16_t*>(record)[i], __ATOMIC_RELAXED);
    }
    std::fill(widest, widest + 12, r.irisStep[1] - 5 * (r.irisStep[1] - r.irisStep[2]) / 6);
    widest[0] = r.irisStep[0];
    widest[1] = r.irisStep[1];
    const int step = luma >= 2 * target ? 4 : r.curIris > r.irisStep[4] ? 2 : 1;
    const int level = get_cur_zoom_array(r.curZoom);
    const int narrowest = r.irisStep[7];
    const int most = std::max(widest[level], narrowest);
    const bool at_rest = r.autoFlag != 0 && r.curZoom == last_zoom && r.curIris <= most - step &&
                         r.curIris >= narrowest + step && mode != SHUTTER_PRIORITY && flicker == FLICKER_50HZ;
    const bool dark = luma < target * 90 / 100;
    const bool closes = luma > target * 115 / 100 && lux > 994 && lux <= 1005;
    const bool opens = lux > 2500 || (ceiling <= 249 && iso == ceiling && dark);
    if (!at_rest || closes || opens) {
        std::abort(); // the bench is to be at rest
    }
    const bool commands = isp::shared_get(last_step_sent) != 0 || command.steps != 0;
    isp::shared_set(state, 0);
    isp::shared_set(last_step_sent, commands && command.steps != 0 ? 1 : 0);
    for (int i = 0; i < 12; ++i) {
        isp::shared_set(published[i], widest[i]);
    }
    if (commands) {
        const KIV_AUTO_IRIS_CONTROL_CALLBACK callback = isp::shared_get(kiv_auto_iris_cb);
        if (callback != nullptr) {
            callback(&command);
        }
    }
}

} // namespace hand
