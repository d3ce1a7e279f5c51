// The exposure setters as one table, for what holds for all of them.
#pragma once

#include "isp_ctrl/frame/setting_step.h"
#include "support/bench.h"

#include <algorithm>

namespace bench
{

/// Stored modes to try: all with a name, and one without.
inline constexpr int kModes[] = {AUTO_EXPOSURE, MANUAL_EXPOSURE, SHUTTER_PRIORITY,
                                 IRIS_PRIORITY, BRIGHT_PRIORITY, WIDE_DYNAMIC_RANGE,
                                 LOW_LIGHT,     SMART_EXPOSURE,  99};

struct ExposureSetter {
    const char* setting;
    int (*set)(int camera, int level);
    std::vector<int> modes; // in which it acts
    bool stored_when_refused;
    int old_level, level;            // both good
    std::vector<std::string> driven; // beginnings of the names of the engine's fields that it writes
};

inline const std::vector<ExposureSetter>& exposure_setters()
{
    using isp::apply_setting;
    static const std::vector<std::string> bias = {"lin_ae.Params.Evbias", "ae.stAuto.stFrmRate.isFpsFix"};
    static const std::vector<int> compensated = {0, 10, 11, 33, 34, 35, 99};
    static const std::vector<ExposureSetter> setters = {
        {"shutter",
         apply_setting<KIV_Set_shutter>,
         {3, 10},
         false,
         3,
         5,
         {"ae.AecOpType", "ae.stManual.LinearAE.ManualTimeEn", "ae.stManual.LinearAE.ManualGainEn",
          "ae.stManual.LinearAE.TimeValue", "ae.stAuto.LinAeRange.stExpTimeRange", "ae.stAdvanced.SetAeRangeEn",
          "ae.stAdvanced.SetLinAeRange.stExpTimeRange"}},
        {"iris", apply_setting<KIV_Set_iris>, {3, 11, 35}, false, 9, 12, {}},
        {"bright", apply_setting<KIV_Set_bright>, {13}, false, 5, 9, bias},
        {"expcomp_mode", apply_setting<KIV_Set_expcomp_mode>, compensated, false, 3, 2, bias},
        {"expcomp_level", apply_setting<KIV_Set_expcomp_level>, compensated, true, 7, 11, bias},
        {"backlight", apply_setting<KIV_Set_backlight>, {0, 33}, false, 3, 2, bias},
        {"gain_limit", apply_setting<KIV_Set_gain_limit>, {0, 10, 11, 13}, false, 15, 6, {"gain_range."}},
        {"manual_gain",
         apply_setting<KIV_Set_manual_gain>,
         {3, 10},
         false,
         0,
         13,
         {"ae.stManual.LinearAE.ManualGainEn", "ae.stManual.LinearAE.GainValue"}},
        {"antiflicker",
         apply_setting<KIV_Set_antiflicker>,
         {0, 10, 11, 13, 35},
         true,
         2,
         1,
         {"ae.stAuto.stAntiFlicker."}},
        {"meter", apply_setting<KIV_Set_meter>, {0, 3, 10, 11, 13, 33, 34, 35, 99}, true, 0, 1, {"ae.GridWeights."}},
        {"wdr_strength", apply_setting<KIV_Set_wdr_strength>, {33}, true, 0, 9, {}},
    };
    return setters;
}

inline const ExposureSetter& exposure_setter(std::string_view name)
{
    return *std::find_if(exposure_setters().begin(), exposure_setters().end(),
                         [&](const ExposureSetter& setter) { return setter.setting == name; });
}

/// Camera 2 with an engine whose exposure blocks hold their initial values.
class ExposureBench : public Bench
{
protected:
    static constexpr int kCamera = 2;

    ExposureBench()
    {
        start_camera(kCamera);
    }

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
inline std::string token(const sim::Call& call)
{
    const std::string& function = call.function;
    const std::string value = "=" + std::to_string(call.value);
    if (function.starts_with("para_")) {
        const std::string_view setting_end = function.ends_with("_max") ? "_max" : "_cur";
        const std::size_t setting = std::string_view("para_get_isp_").size();
        const std::string name = function.substr(setting, function.size() - setting - setting_end.size());
        return setting_end == "_max" ? "max:" + name : function.substr(5, 3) + ":" + name + value;
    }
    return function.starts_with("rk_aiq") ? function.substr(function.rfind('_') + 1) : function + value;
}

inline bool is_engine_call(std::string_view token)
{
    return token.find_first_of(":=") == std::string_view::npos;
}

} // namespace bench
