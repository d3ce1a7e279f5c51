// Shutter: a level becomes an exposure time, fixed in MANUAL_EXPOSURE, pinned in SHUTTER_PRIORITY; the automatic modes
// get the whole range back.
#include "isp_ctrl/exposure/shutter.h"

#include "isp_ctrl/exposure/ae_block.h"
#include "vin/vin.h"

namespace
{

// Exposure time of a level is 1/N second. Given: N is that of the level's name, but for level 5, which is named after
// 1/180 s and exposes for 1/200 s.
constexpr RK_U32 kDenominator[] = {30,  60,   90,   100,  125,  200,  250,  350,  500,
                                   725, 1000, 1500, 2000, 3000, 4000, 6000, 10000};
constexpr int kLongest = 0;
constexpr int kFastest = isp::last_level(kDenominator);
static_assert(kFastest == VISCA_SHUTTER_10000);

/// Exposure time of a level, in seconds.
RK_FLOAT shutter_osd2isp(int shutter)
{
    const auto seconds = static_cast<RK_FLOAT>(1.0 / static_cast<double>(kDenominator[shutter]));
    ISP_TRACE(__func__, "Exp_time: %3f\n", static_cast<double>(seconds));
    return seconds;
}

/// The fastest level of an exposure-time range: one below the store's maximum.
int fastest_of_range(const isp::Call& call)
{
    return std::clamp(isp::read_setting(call, para_get_isp_shutter_max), 1, kFastest + 1) - 1;
}

int clamp_and_store(const isp::Call& call, int shutter)
{
    const int level = isp::clamp_level(call, shutter, para_get_isp_shutter_max, kFastest);
    isp::write_setting(call, para_set_isp_shutter_cur, level);
    return level;
}

/// Shutter priority: the engine still exposes by itself, within a range of one time.
int isp_ae_shutter(int isp_id, int shutter)
{
    const isp::Call call{__func__, isp_id};
    const int mode = isp::stored_exposure_mode(call);
    ISP_TRACE(__func__, "Enter:ae_ae_shutter:0x%x cam_ae_mode:%d\n\n", shutter, mode);
    if (mode != SHUTTER_PRIORITY) {
        return isp::unfit(call);
    }
    const int level = clamp_and_store(call, shutter);

    // Goes through to the end without a context, which is then traced twice.
    Uapi_ExpSwAttrV2_t attr{};
    if (isp::fetch<isp::ExpSwAttr>(call, attr, isp::kExposureAttrTexts.get) == isp::Outcome::failed) {
        return -1;
    }
    attr.stAdvanced.SetAeRangeEn = true;
    attr.stAdvanced.SetLinAeRange.stExpTimeRange.Max = shutter_osd2isp(level);
    attr.stAdvanced.SetLinAeRange.stExpTimeRange.Min = shutter_osd2isp(level);
    if (isp::apply<isp::ExpSwAttr>(call, attr, isp::kExposureAttrTexts.set) == isp::Outcome::failed) {
        return -1;
    }
    ISP_TRACE(__func__, "Leave:\n\n");
    return 0;
}

/// Manual exposure: the level is the exposure time.
int isp_me_shutter(int isp_id, int shutter)
{
    const isp::Call call{__func__, isp_id};
    const int mode = isp::stored_exposure_mode(call);
    ISP_TRACE(__func__, "Enter:shutter:0x%x cam_ae_mode:%d\n\n", shutter, mode);
    if (mode != MANUAL_EXPOSURE) {
        return isp::unfit(call);
    }
    const int level = clamp_and_store(call, shutter);
    const isp::Outcome outcome =
        isp::modify<isp::ExpSwAttr>(call, isp::kExposureAttrTexts, [&](Uapi_ExpSwAttrV2_t& attr) {
            attr.stAuto.LinAeRange.stExpTimeRange.Max = shutter_osd2isp(kLongest);
            attr.stAuto.LinAeRange.stExpTimeRange.Min = shutter_osd2isp(fastest_of_range(call));
            attr.AecOpType = RK_AIQ_OP_MODE_MANUAL;
            attr.stManual.LinearAE.ManualGainEn = true;
            attr.stManual.LinearAE.ManualTimeEn = true;
            attr.stManual.LinearAE.TimeValue = shutter_osd2isp(level);
            ISP_TRACE(call.function, "expSwAttr.stManual.LinearAE.TimeValue:%3f\n",
                      static_cast<double>(attr.stManual.LinearAE.TimeValue));
        });
    if (outcome != isp::Outcome::failed) {
        ISP_TRACE(__func__, "Leave\n\n");
    }
    return isp::result(outcome);
}

} // namespace

int isp_ae_shutter_auto(int isp_id)
{
    const isp::Call call{__func__, isp_id};
    const int mode = isp::stored_exposure_mode(call);
    ISP_TRACE(__func__, "Enter:cam_ae_mode:%d\n\n", mode);
    const isp::Outcome outcome =
        isp::modify<isp::ExpSwAttr>(call, isp::kExposureAttrTexts, [&](Uapi_ExpSwAttrV2_t& attr) {
            const int fps = get_vin_fps(isp_id);
            attr.AecOpType = RK_AIQ_OP_MODE_AUTO;
            attr.stAuto.stFrmRate.FpsValue = static_cast<RK_FLOAT>(fps);
            attr.stAdvanced.SetAeRangeEn = true;
            attr.stAdvanced.SetLinAeRange.stExpTimeRange.Max = shutter_osd2isp(kLongest);
            attr.stAdvanced.SetLinAeRange.stExpTimeRange.Min = shutter_osd2isp(fastest_of_range(call));
        });
    if (outcome != isp::Outcome::failed) {
        ISP_TRACE(__func__, "Leave:\n\n");
    }
    return isp::result(outcome);
}

int KIV_Set_shutter(int isp_id, Shutter_Level_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    return isp::stored_exposure_mode(call) == MANUAL_EXPOSURE ? isp_me_shutter(isp_id, value)
                                                              : isp_ae_shutter(isp_id, value);
}
