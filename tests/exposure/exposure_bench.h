// The exposure setters as one table, for what holds for all of them.
#pragma once

#include "support/bench.h"

namespace bench
{

/// Stored modes to try: all with a name, and one without.
inline constexpr int kModes[] = {0, 3, 10, 11, 13, 33, 34, 35, 99};

struct ExposureSetter {
    const char* name;
    const char* modes; // in which it acts, between blanks
    bool stored_when_refused;
    int old_level, level; // both good
    const char* driven;   // beginnings of the names of the engine's fields that it writes

    bool acts_in(int mode) const
    {
        return std::string(modes).find(" " + std::to_string(mode) + " ") != std::string::npos;
    }
};

#define BIAS_FIELDS "lin_ae.Params.Evbias ae.stAuto.stFrmRate.isFpsFix"
inline constexpr ExposureSetter kExposureSetters[] = {
    {"shutter", " 3 10 ", false, 3, 5,
     "ae.AecOpType ae.stManual.LinearAE.ManualTimeEn ae.stManual.LinearAE.ManualGainEn ae.stManual.LinearAE.TimeValue "
     "ae.stAuto.LinAeRange.stExpTimeRange ae.stAdvanced.SetAeRangeEn ae.stAdvanced.SetLinAeRange.stExpTimeRange"},
    {"iris", " 3 11 35 ", false, 9, 12, ""},
    {"bright", " 13 ", false, 5, 9, BIAS_FIELDS},
    {"expcomp_mode", " 0 10 11 33 34 35 99 ", false, 3, 2, BIAS_FIELDS},
    {"expcomp_level", " 0 10 11 33 34 35 99 ", true, 7, 11, BIAS_FIELDS},
    {"backlight", " 0 33 ", false, 3, 2, BIAS_FIELDS},
    {"gain_limit", " 0 10 11 13 ", false, 15, 6, "gain_range."},
    {"manual_gain", " 3 10 ", false, 0, 13, "ae.stManual.LinearAE.ManualGainEn ae.stManual.LinearAE.GainValue"},
    {"antiflicker", " 0 10 11 13 35 ", true, 2, 1, "ae.stAuto.stAntiFlicker."},
    {"meter", " 0 3 10 11 13 33 34 35 99 ", true, 0, 1, "ae.GridWeights."},
    {"wdr_strength", " 33 ", true, 0, 9, ""},
};
#undef BIAS_FIELDS

inline constexpr int kCamera = 2;

class ExposureBench : public Running<kCamera>
{
protected:
    /// Initial values in store and engine, but for the mode.
    static void begin(int mode)
    {
        sim::host::reset_store();
        store(kCamera, "exposure_mode", mode);
        const void* context = rkipc_aiq_get_ctx(kCamera);
        sim::engine::poke(context, sim::engine::initial<Uapi_ExpSwAttrV2_t>());
        sim::engine::poke(context, sim::engine::initial<Uapi_LinExpAttrV2_t>());
        sim::engine::poke(context, sim::engine::initial<paRange_t>());
    }

    static Uapi_ExpSwAttrV2_t ae()
    {
        return held<Uapi_ExpSwAttrV2_t>(kCamera);
    }
    static float bias()
    {
        return held<Uapi_LinExpAttrV2_t>(kCamera).Params.Evbias;
    }
};

/// A call in short: "get:shutter=7", "max:shutter", "set:shutter=7" for the store, "getExpSwAttr" for the engine,
/// "iris_to=5" for others.
inline std::string short_form(const sim::Call& call)
{
    const std::string& function = call.function;
    const std::string value = "=" + std::to_string(call.value);
    if (function.starts_with("para_")) {
        const std::size_t setting = std::string_view("para_get_isp_").size();
        const std::string name = function.substr(setting, function.size() - setting - 4);
        return function.ends_with("_max") ? "max:" + name : function.substr(5, 3) + ":" + name + value;
    }
    return function.starts_with("rk_aiq") ? function.substr(function.rfind('_') + 1) : function + value;
}

} // namespace bench
