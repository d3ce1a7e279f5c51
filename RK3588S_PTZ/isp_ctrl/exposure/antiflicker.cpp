// Anti-flicker: keeps the exposure time in step with mains-powered lighting.
#include "isp_ctrl/exposure/ae_block.h"

namespace
{

bool takes_antiflicker(int exposure_mode)
{
    return exposure_mode == BRIGHT_PRIORITY || exposure_mode == AUTO_EXPOSURE || exposure_mode == IRIS_PRIORITY ||
           exposure_mode == SHUTTER_PRIORITY || exposure_mode == SMART_EXPOSURE;
}

template <typename AntiFlicker>
void set_antiflicker(AntiFlicker& antiflicker, int flicker)
{
    switch (flicker) {
    case FLICKER_OFF:
        antiflicker.enable = false;
        antiflicker.Frequency = AECV2_FLICKER_FREQUENCY_OFF;
        break;
    case FLICKER_50HZ:
        antiflicker.enable = true;
        antiflicker.Frequency = AECV2_FLICKER_FREQUENCY_50HZ;
        break;
    case FLICKER_60HZ:
        antiflicker.enable = true;
        antiflicker.Frequency = AECV2_FLICKER_FREQUENCY_60HZ;
        break;
    default:
        break;
    }
    antiflicker.Mode = AECV2_ANTIFLICKER_NORMAL_MODE;
}

} // namespace

int KIV_Set_antiflicker(int isp_id, Flicker_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int mode = isp::stored_exposure_mode(call);
    ISP_TRACE(__func__, "Enter:antiflicker_val:0x%x cam_ae_mode:%d\n\n", static_cast<int>(value), mode);
    isp::write_setting(call, para_set_isp_antiflicker_cur, value);
    if (!takes_antiflicker(mode)) {
        return isp::unfit(call);
    }
    // A pinned exposure time leaves nothing to adapt; the store keeps what was asked for.
    const int applied = mode == SHUTTER_PRIORITY ? FLICKER_OFF : static_cast<int>(value);
    ISP_TRACE(__func__, "antiflicker_val :%d\n\n", applied);
    const isp::Outcome outcome =
        isp::modify<isp::ExpSwAttr>(call, isp::kExposureAttrTexts, [&](Uapi_ExpSwAttrV2_t& attr) {
            set_antiflicker(attr.stAuto.stAntiFlicker, applied);
        });
    if (outcome != isp::Outcome::failed) {
        ISP_TRACE(__func__, "Leave\n\n");
    }
    return isp::result(outcome);
}
