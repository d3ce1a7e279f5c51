// The exposure model; exposure_model.h states its formula.
#include "engine/exposure_model.h"

#include "engine/engine.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace sim::engine
{
namespace
{

constexpr double kSensitivity = 30.0; // luma per cd/m2 and second
constexpr double kAnalogGainMax = 16.0;
constexpr double kDeadBand = 0.005; // of the target
constexpr double kStepMax = 8.0;    // of exposure, per frame before damping
constexpr double kLumaMax = 255.0;
constexpr std::size_t kCells = 15; // per side

// Longest and shortest time that automatic operation may use, in seconds, and the step that it keeps to (0: none).
struct TimeRange {
    double min;
    double max;
    double step;
};

// Half a mains period, in which lamps flicker; 0 when the time need not keep to it.
double flicker_period(const Uapi_AntiFlicker_t& flicker)
{
    if (!flicker.enable || flicker.Frequency == AECV2_FLICKER_FREQUENCY_OFF) {
        return 0.0;
    }
    return flicker.Frequency == AECV2_FLICKER_FREQUENCY_60HZ ? 1.0 / 120.0 : 1.0 / 100.0;
}

TimeRange time_range(const Uapi_ExpSwAttrV2_t& ae)
{
    const Uapi_AeRange_t& range =
        ae.stAdvanced.SetAeRangeEn ? ae.stAdvanced.SetLinAeRange.stExpTimeRange : ae.stAuto.LinAeRange.stExpTimeRange;
    double max = std::max<double>(range.Max, 1e-6);
    if (ae.stAuto.stFrmRate.FpsValue > 0.0F) {
        max = std::min(max, 1.0 / ae.stAuto.stFrmRate.FpsValue);
    }
    // A range below one period leaves no choice.
    const double period = flicker_period(ae.stAuto.stAntiFlicker);
    const double step = max >= period ? period : 0.0;
    return {.min = std::clamp<double>(range.Min, 1e-6, max), .max = max, .step = step};
}

// The time for a wanted exposure at the lowest gain.
double choose_time(const TimeRange& range, double wanted)
{
    const double time = std::clamp(wanted, range.min, range.max);
    if (range.step <= 0.0) {
        return time;
    }
    // The tolerance keeps a time that is a whole number of periods, rounded to float, at that number.
    return std::max(std::floor(time / range.step * (1.0 + 1e-6)), 1.0) * range.step;
}

// The last place of a converged value does not creep from frame to frame.
void change(float& held, double value)
{
    if (std::abs(value - held) > 1e-6 * value) {
        held = static_cast<float>(value);
    }
}

struct AtLimit {
    bool shortest;
    bool longest;
};

AtLimit expose_automatically(const Blocks& blocks, Uapi_ExpQueryInfo_t& result)
{
    Uapi_LinearExp_t& exposure = result.LinAeInfo.LinearExp;
    const double target = target_luma(blocks);
    const double luma = result.LinAeInfo.MeanLuma;
    double wanted = static_cast<double>(exposure.integration_time) * exposure.analog_gain * exposure.digital_gain *
                    exposure.isp_dgain;
    if (std::abs(luma - target) > kDeadBand * target) {
        const double ratio = std::clamp(target / std::max(luma, 1e-6), 1.0 / kStepMax, kStepMax);
        wanted *= std::pow(ratio, std::clamp<double>(blocks.ae.stAuto.AeSpeed, 0.05, 1.0));
    }

    const TimeRange range = time_range(blocks.ae);
    const double gain_min = std::max<double>(blocks.gain_range.min, 1.0);
    const double gain_max = std::max<double>(blocks.gain_range.max, gain_min);
    const double time = choose_time(range, wanted / gain_min);
    const double gain = std::clamp(wanted / time, gain_min, gain_max);
    const double analog = std::min(gain, kAnalogGainMax);
    change(exposure.integration_time, time);
    change(exposure.analog_gain, analog);
    change(exposure.isp_dgain, gain / analog);
    exposure.digital_gain = 1.0F;
    return {.shortest = gain <= gain_min && time <= choose_time(range, range.min),
            .longest = gain >= gain_max && time >= choose_time(range, range.max)};
}

void expose_by_hand(const Uapi_LinearManual_t& manual, Uapi_ExpQueryInfo_t& result)
{
    Uapi_LinearExp_t& exposure = result.LinAeInfo.LinearExp;
    if (manual.ManualTimeEn) {
        exposure.integration_time = manual.TimeValue;
    }
    if (manual.ManualGainEn) {
        exposure.analog_gain = manual.GainValue;
        exposure.isp_dgain = 1.0F;
    }
    if (manual.ManualIspDgainEn) {
        exposure.isp_dgain = manual.IspDGainValue;
    }
    exposure.digital_gain = 1.0F;
}

double mean_luma(const Cam15x15UCharMatrix_t& weights, double exposure, std::span<const float> samples)
{
    constexpr std::size_t kPart = kMeteringSide / kCells;
    if (samples.size() != std::size_t{kMeteringSide} * kMeteringSide) {
        return std::clamp(exposure, 0.0, kLumaMax); // an even scene
    }
    std::array<float, RK_AIQ_AE_GRID_CELLS> cells{};
    const auto level = static_cast<float>(std::min(exposure, 1.0e9));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const std::size_t row = i / kMeteringSide / kPart;
        const std::size_t column = i % kMeteringSide / kPart;
        cells[row * kCells + column] += std::min(level * samples[i], static_cast<float>(kLumaMax));
    }
    double sum = 0.0;
    double weighted = 0.0;
    double weight_sum = 0.0;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const double luma = static_cast<double>(cells[i]) / (kPart * kPart);
        sum += luma;
        weighted += weights.uCoeff[i] * luma;
        weight_sum += weights.uCoeff[i];
    }
    return weight_sum > 0.0 ? weighted / weight_sum : sum / RK_AIQ_AE_GRID_CELLS;
}

} // namespace

double target_luma(const Blocks& blocks)
{
    return std::clamp(blocks.setpoints[0] * std::exp2(blocks.lin_ae.Params.Evbias / 100.0), 1.0, 250.0);
}

double exposure_of(const Uapi_LinearExp_t& exposure, double light)
{
    return kSensitivity * light * exposure.integration_time * exposure.analog_gain * exposure.digital_gain *
           exposure.isp_dgain;
}

void run_exposure(Blocks& blocks, double light, std::span<const float> samples)
{
    Uapi_ExpQueryInfo_t& result = blocks.exposure_result;
    const bool automatic = blocks.ae.AecOpType != RK_AIQ_OP_MODE_MANUAL;
    AtLimit limit{};
    if (automatic) {
        limit = expose_automatically(blocks, result);
    } else {
        expose_by_hand(blocks.ae.stManual.LinearAE, result);
    }

    const double exposure = exposure_of(result.LinAeInfo.LinearExp, light);
    const double luma = mean_luma(blocks.ae.GridWeights, exposure, samples);
    const double target = target_luma(blocks);
    result.LinAeInfo.MeanLuma = static_cast<float>(luma);
    result.LinAeInfo.LumaDeviation = static_cast<float>(luma - target);
    result.IsExpMax = limit.longest;
    // Converged: on the target, or at the limit that keeps it from there.
    const bool on_target = std::abs(luma - target) <= target * blocks.lin_ae.Params.ToleranceIn / 100.0;
    result.IsConverged = !automatic || on_target || (luma > target ? limit.shortest : limit.longest);
}

} // namespace sim::engine
