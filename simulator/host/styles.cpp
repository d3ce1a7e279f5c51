// The presets as the settings in which they differ from the initial ones, in the order of the styles.
#include "host/styles.h"

#include "host/settings.h"

#include <array>

namespace sim::host
{

namespace
{

using P = kiv_isp_param_s;

struct Preset {
    Imgstyle_Mode_E style;
    struct {
        int P::* setting;
        int value;
    } changes[5]; // fewer: the rest null
};

constexpr Preset kPresets[] = {
    // A little livelier than neutral.
    {style_norm, {{&P::saturation, 8}, {&P::contrast, 8}, {&P::sharpness, 7}}},
    // Crisp under LED panels: highlights held, no smearing, a touch less blue.
    {style_clarity_led, {{&P::sharpness, 12}, {&P::contrast, 9}, {&P::bgain_tuning, 9}}},
    {style_clarity_led, {{&P::drc, 4}, {&P::gamma, ISP_GAMMA_0_50}, {&P::nr3d, NR3D_2}}},
    // Crisp in daylight.
    {style_clarity, {{&P::sharpness, 14}, {&P::contrast, 10}, {&P::nr2d, NR2D_1}, {&P::nr3d, NR3D_2}}},
    // Lifted exposure and mid-tones.
    {style_bright,
     {{&P::expcomp_mode, Expcomp_Mode_ON}, {&P::expcomp_level, 10}, {&P::luminance, 9}, {&P::gamma, ISP_GAMMA_0_42}}},
    // Low contrast, smooth surfaces.
    {style_soft, {{&P::sharpness, 2}, {&P::contrast, 5}, {&P::saturation, 6}, {&P::nr2d, NR2D_4}}},
    // Warm and saturated.
    {style_5S, {{&P::saturation, 9}, {&P::rgain_tuning, 12}, {&P::contrast, 8}, {&P::sharpness, 9}}},
    // Cool and restrained.
    {style_QS, {{&P::saturation, 5}, {&P::bgain_tuning, 12}, {&P::contrast, 8}, {&P::sharpness, 9}}},
    // Skin: measured in the middle, lifted, warm, no hard edges.
    {style_face, {{&P::meter, Meter_Mode_Centor}, {&P::expcomp_mode, Expcomp_Mode_ON}, {&P::expcomp_level, 8}}},
    {style_face, {{&P::rgain_tuning, 11}, {&P::hue, 8}, {&P::sharpness, 4}, {&P::nr2d, NR2D_3}}},
    // Screens: fixed 6500 K, low gain, even tones.
    {style_pc, {{&P::wb_mode, TEMPERATURE}, {&P::temperature, 40}, {&P::gain_limit, 6}}},
    {style_pc, {{&P::contrast, 6}, {&P::gamma, ISP_GAMMA_0_56}, {&P::sharpness, 6}}},
    // Small bright details: dark surroundings, hard edges, compressed highlights.
    {style_jewelry, {{&P::meter, Meter_Mode_Centor}, {&P::luminance, 6}, {&P::contrast, 12}}},
    {style_jewelry, {{&P::sharpness, Sharpness_MAX}, {&P::drc, 6}, {&P::nr2d, NR2D_1}}},
    // Fabrics: steady true colours, visible weave.
    {style_clothing,
     {{&P::awb_sens, AWB_SENS_LOW}, {&P::saturation, 8}, {&P::sharpness, 11}, {&P::drc, 2}, {&P::nr3d, NR3D_3}}},
    // Strong colours on a dark ground.
    {style_sears, {{&P::saturation, 11}, {&P::luminance, 5}, {&P::contrast, 10}, {&P::gamma, ISP_GAMMA_0_63}}},
    // Warm, very saturated, lifted shadows.
    {style_food,
     {{&P::rgain_tuning, 13}, {&P::bgain_tuning, 8}, {&P::saturation, 11}, {&P::luminance, 8}, {&P::drc, 3}}},
};

constexpr std::array<kiv_isp_param_s, kStyles> delivered()
{
    std::array<kiv_isp_param_s, kStyles> presets{};
    for (int style = 0; style < kStyles; ++style) {
        presets[static_cast<std::size_t>(style)] = initial_record();
        presets[static_cast<std::size_t>(style)].style = style;
    }
    for (const Preset& preset : kPresets) {
        for (const auto& [setting, value] : preset.changes) {
            if (setting != nullptr) {
                presets[static_cast<std::size_t>(preset.style)].*setting = value;
            }
        }
    }
    return presets;
}

constexpr std::array<kiv_isp_param_s, kStyles> kDelivered = delivered();

// Handed out as pointers that could be written through, hence a copy.
std::array<kiv_isp_param_s, kStyles> g_presets = kDelivered;

} // namespace

kiv_isp_param_s* preset_of(int style)
{
    return 0 <= style && style < kStyles ? &g_presets[static_cast<std::size_t>(style)] : nullptr;
}

void reset_presets()
{
    g_presets = kDelivered;
}

} // namespace sim::host
