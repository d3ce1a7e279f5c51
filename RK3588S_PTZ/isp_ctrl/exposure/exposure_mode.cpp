// Exposure mode: decides who exposes and who drives the iris, then re-applies the stored settings that the mode uses.
// The new mode is stored first, because each of those setters looks at it.
#include "af/lens_ctrl.h"
#include "isp_ctrl/exposure/ae_block.h"
#include "isp_ctrl/exposure/ae_follow.h"
#include "isp_ctrl/exposure/shutter.h"

namespace
{

constexpr isp::FailureTexts kTexts = {
    .get = ISP_TRACE_FORMAT("RK_MPI_ISP_GetAEAttr failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("rk_aiq_user_api2_ae_setExpSwAttr failed with %#x!\n\n"),
};

constexpr int kAutomatic = 0; // of isp_exposure_type
constexpr int kManual = 1;

constexpr unsigned char kIrisHeld = 0; // of iris_mode
constexpr unsigned char kIrisAutomatic = 1;

/// Switches the engine's exposure: kAutomatic, or any other value for manual operation.
int isp_exposure_type(int isp_id, int enExpType)
{
    const isp::Call call{__func__, isp_id};
    ISP_TRACE(__func__, "Enter:enExpType %d\n\n", enExpType);
    const isp::Outcome outcome = isp::modify<isp::ExpSwAttr>(call, kTexts, [&](Uapi_ExpSwAttrV2_t& attr) {
        attr.AecOpType = enExpType == kAutomatic ? RK_AIQ_OP_MODE_AUTO : RK_AIQ_OP_MODE_MANUAL;
    });
    if (outcome != isp::Outcome::failed) {
        ISP_TRACE(__func__, "Leave\n\n");
    }
    return isp::result(outcome);
}

/// The stored exposure settings.
struct StoredExposure {
    Expcomp_Mode_E expcomp_mode;
    Expcomp_Level_E expcomp_level;
    Backlight_Mode_E backlight;
    DRC_E drc;
    Iris_Level_E iris;
    Shutter_Level_E shutter;
    Gain_Limit_E gain_limit;
    Flicker_E antiflicker;
    Bright_E bright;
    Manual_Gain_E manual_gain;
};

/// Reads them in this order, before anything is changed.
StoredExposure read_exposure(const isp::Call& call)
{
    return {
        .expcomp_mode = Expcomp_Mode_E{isp::read_setting(call, para_get_isp_expcomp_mode_cur)},
        .expcomp_level = Expcomp_Level_E{isp::read_setting(call, para_get_isp_expcomp_level_cur)},
        .backlight = Backlight_Mode_E{isp::read_setting(call, para_get_isp_backlight_cur)},
        .drc = DRC_E{isp::read_setting(call, para_get_isp_drc_cur)},
        .iris = Iris_Level_E{isp::read_setting(call, para_get_isp_iris_cur)},
        .shutter = Shutter_Level_E{isp::read_setting(call, para_get_isp_shutter_cur)},
        .gain_limit = Gain_Limit_E{isp::read_setting(call, para_get_isp_gain_limit_cur)},
        .antiflicker = Flicker_E{isp::read_setting(call, para_get_isp_antiflicker_cur)},
        .bright = Bright_E{isp::read_setting(call, para_get_isp_bright_cur)},
        .manual_gain = Manual_Gain_E{isp::read_setting(call, para_get_isp_manual_gain_cur)},
    };
}

void enter_auto_exposure(int isp_id, const StoredExposure& stored)
{
    isp_exposure_type(isp_id, kAutomatic);
    iris_mode(kIrisAutomatic);
    KIV_Set_expcomp_mode(isp_id, stored.expcomp_mode);
    KIV_Set_expcomp_level(isp_id, stored.expcomp_level);
    KIV_Set_backlight(isp_id, stored.backlight);
    KIV_Set_gain_limit(isp_id, stored.gain_limit);
    isp_ae_shutter_auto(isp_id);
    KIV_Set_antiflicker(isp_id, stored.antiflicker);
}

void enter_manual_exposure(int isp_id, const StoredExposure& stored)
{
    isp_exposure_type(isp_id, kManual);
    iris_mode(kIrisHeld);
    KIV_Set_manual_gain(isp_id, stored.manual_gain);
    KIV_Set_iris(isp_id, stored.iris);
    KIV_Set_shutter(isp_id, stored.shutter);
}

void enter_shutter_priority(int isp_id, const StoredExposure& stored)
{
    iris_mode(kIrisAutomatic);
    KIV_Set_antiflicker(isp_id, stored.antiflicker);
    isp_exposure_type(isp_id, kAutomatic);
    KIV_Set_gain_limit(isp_id, stored.gain_limit);
    KIV_Set_expcomp_mode(isp_id, stored.expcomp_mode);
    KIV_Set_expcomp_level(isp_id, stored.expcomp_level);
    KIV_Set_shutter(isp_id, stored.shutter);
}

void enter_iris_priority(int isp_id, const StoredExposure& stored)
{
    isp_exposure_type(isp_id, kAutomatic);
    iris_mode(kIrisHeld);
    KIV_Set_iris(isp_id, stored.iris);
    KIV_Set_antiflicker(isp_id, stored.antiflicker);
    KIV_Set_gain_limit(isp_id, stored.gain_limit);
    isp_ae_shutter_auto(isp_id);
    KIV_Set_expcomp_mode(isp_id, stored.expcomp_mode);
    KIV_Set_expcomp_level(isp_id, stored.expcomp_level);
}

void enter_bright_priority(int isp_id, const StoredExposure& stored)
{
    isp_exposure_type(isp_id, kAutomatic);
    iris_mode(kIrisAutomatic);
    KIV_Set_bright(isp_id, stored.bright);
    KIV_Set_antiflicker(isp_id, stored.antiflicker);
    KIV_Set_gain_limit(isp_id, stored.gain_limit);
    isp_ae_shutter_auto(isp_id);
}

void enter_wide_dynamic_range(int isp_id, const StoredExposure& /*stored*/)
{
    iris_mode(kIrisAutomatic);
    isp_wdr_config(isp_id);
}

void enter_smart_exposure(int isp_id, const StoredExposure& /*stored*/)
{
    isp_exposure_type(isp_id, kManual);
    iris_mode(kIrisAutomatic);
    isp::start_ae_follow();
}

/// What a mode does once it is stored; null for a mode that is refused.
using Enter = void (*)(int isp_id, const StoredExposure& stored);
Enter entry_of(int mode)
{
    switch (mode) {
    case AUTO_EXPOSURE:
        return enter_auto_exposure;
    case MANUAL_EXPOSURE:
        return enter_manual_exposure;
    case SHUTTER_PRIORITY:
        return enter_shutter_priority;
    case IRIS_PRIORITY:
        return enter_iris_priority;
    case BRIGHT_PRIORITY:
        return enter_bright_priority;
    case WIDE_DYNAMIC_RANGE:
        return enter_wide_dynamic_range;
    case SMART_EXPOSURE:
        return enter_smart_exposure;
    default:
        return nullptr;
    }
}

} // namespace

int KIV_Set_exposure_mode(int isp_id, Exposure_Mode_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    ISP_TRACE(__func__, "isp_id = %d, Enter:mode:%d\n\n", isp_id, static_cast<int>(value));
    const StoredExposure stored = read_exposure(call);

    static int flag_once = 0; // one for all cameras
    if (__atomic_exchange_n(&flag_once, 1, __ATOMIC_RELAXED) == 0) {
        KIV_Set_drc(isp_id, stored.drc);
    }

    const Enter enter = entry_of(value);
    isp::store_exposure_mode(call, value, enter != nullptr && value != SMART_EXPOSURE);
    if (enter == nullptr) {
        ISP_TRACE(__func__, "Para error\n\n");
        return ISP_UNFIT;
    }
    enter(isp_id, stored);
    ISP_TRACE(__func__, "Leave\n\n");
    return 0;
}

int KIV_Set_exposure_mode_priority(int /*isp_id*/, int /*value*/)
{
    return 0;
}
