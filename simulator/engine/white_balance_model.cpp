// The white-balance model; white_balance_model.h states its formula.
#include "engine/white_balance_model.h"

#include <algorithm>
#include <cmath>

namespace sim::engine
{
namespace
{

constexpr double kSpeed = 0.25;
constexpr double kConverged = 0.005; // of gain, from the goal
constexpr double kReached = 0.0005;

struct NamedIlluminant {
    std::string_view name;
    Illuminant light;
};
constexpr NamedIlluminant kIlluminants[] = {
    {"A", {2856.0, 1.0, 0.99, 0.12}},     // incandescent: a filament stays warm
    {"TL84", {4000.0, 1.04, 0.96, 0.35}}, // fluorescent, magnetic ballast: more green than the curve
    {"D50", {5003.0, 0.99, 0.96}},
    {"D65", {6504.0, 1.0, 1.0}},
};

float approach(float from, float goal)
{
    const double distance = static_cast<double>(goal) - from;
    return std::abs(distance) <= kReached ? goal : static_cast<float>(from + kSpeed * distance);
}

} // namespace

const Illuminant* find_illuminant(std::string_view name)
{
    const auto* const found = std::find_if(std::begin(kIlluminants), std::end(kIlluminants),
                                           [&](const NamedIlluminant& named) { return named.name == name; });
    return found == std::end(kIlluminants) ? nullptr : &found->light;
}

rk_aiq_wb_gain_t ideal_gains(const Illuminant& light, const Response& response)
{
    const double kelvin = std::clamp(light.kelvin, 1500.0, 20000.0);
    const double red = std::max(2.128 - 3255.0 / kelvin, 0.1) * light.red / response.red;
    const double blue = (0.018 + 9736.0 / kelvin) * light.blue / response.blue;
    return {.rgain = static_cast<float>(red), .grgain = 1.0F, .gbgain = 1.0F, .bgain = static_cast<float>(blue)};
}

void run_white_balance(Blocks& blocks, const Illuminant& light, const Response& response)
{
    rk_aiq_wb_querry_info_t& result = blocks.wb_result;
    result.cctGloabl.CCT = static_cast<float>(light.kelvin);
    if (blocks.wb_mode.mode == RK_AIQ_WB_MODE_MANUAL) {
        const rk_aiq_wb_mwb_attrib_t& manual = blocks.wb_manual;
        if (manual.mode == RK_AIQ_MWB_MODE_WBGAIN) {
            result.gain = manual.para.gain;
        } else if (manual.mode == RK_AIQ_MWB_MODE_CCT) {
            result.gain = ideal_gains({.kelvin = manual.para.cct.CCT}, response);
        }
        result.awbConverged = true;
        return;
    }
    rk_aiq_wb_gain_t goal = ideal_gains(light, response);
    if (const rk_aiq_wb_gain_offset_t& offset = blocks.wb_offset.gainOffset; offset.enable) {
        goal.rgain += offset.offset[0];
        goal.bgain += offset.offset[3];
    }
    result.gain = {.rgain = approach(result.gain.rgain, goal.rgain),
                   .grgain = 1.0F,
                   .gbgain = 1.0F,
                   .bgain = approach(result.gain.bgain, goal.bgain)};
    result.awbConverged = std::abs(result.gain.rgain - goal.rgain) <= kConverged &&
                          std::abs(result.gain.bgain - goal.bgain) <= kConverged;
}

} // namespace sim::engine
