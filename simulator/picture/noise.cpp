// Noise and temporal filter; noise.h states their formulas.
#include "picture/noise.h"

#include <algorithm>
#include <cmath>

namespace sim::picture
{

namespace
{

constexpr float kShotNoise = 5.0e-5F; // variance per unit of signal at gain 1
constexpr float kReadNoise = 8.0e-4F; // standard deviation at gain 1
constexpr std::uint32_t kNormals = 65536;

std::uint32_t mixed(std::uint32_t h)
{
    h = (h ^ (h >> 16U)) * 0x85EBCA6BU;
    h = (h ^ (h >> 13U)) * 0xC2B2AE35U;
    return h ^ (h >> 16U);
}

/// Near a normal distribution: the sum of the bytes of a mixed 32-bit word.
float normal(std::uint32_t index)
{
    constexpr float kByteSumDeviation = 147.80F;
    const std::uint32_t h = mixed(index * 0x9E3779B9U + 0x7F4A7C15U);
    const std::uint32_t sum = (h & 0xFFU) + ((h >> 8U) & 0xFFU) + ((h >> 16U) & 0xFFU) + (h >> 24U);
    return (static_cast<float>(sum) - 510.0F) / kByteSumDeviation;
}

/// Numbers of mean 0 and deviation 1 for a row of a channel, of a camera and frame: they depend on nothing but their
/// place. As many as the longest row has pixels.
const float* normals(int camera, std::int64_t frame, int y, std::size_t channel)
{
    static const std::vector<float> table = [] {
        std::vector<float> numbers(kNormals + kMaxSide);
        std::uint32_t index = 0;
        std::ranges::generate(numbers, [&] { return normal(index++); });
        return numbers;
    }();
    const std::uint32_t of_frame =
        mixed(static_cast<std::uint32_t>(frame) * 0x9E3779B9U + static_cast<std::uint32_t>(camera));
    const std::uint32_t row = static_cast<std::uint32_t>(y) * 3U + static_cast<std::uint32_t>(channel) + 1U;
    return table.data() + mixed(of_frame + row * 0x9E3779B9U) % kNormals;
}

} // namespace

Noise noise_of(const Look& look)
{
    const auto gain = static_cast<float>(look.sensor_gain);
    return {gain * kShotNoise, gain * kReadNoise * gain * kReadNoise};
}

TemporalFilter temporal_filter_of(const Look& look)
{
    const RK_Bayertnr_Params_V2_t& params = look.nr3d.stAuto.st3DParams;
    const std::size_t step = iso_step(params.iso, look.sensor_gain);
    const float s = 0.5F * (strength(params.lo_filter_strength[step]) + strength(params.hi_filter_strength[step]));
    TemporalFilter filter;
    if (look.nr3d.eMode == ABAYERTNRV2_OP_MODE_INVALID || params.enable == 0 || s == 0.0F) {
        return filter;
    }
    filter.a = 2.0F / (2.0F + s);
    filter.rest = 1.0F / std::sqrt(1.0F + s);
    filter.reset = 2.0F + s;
    float left = 1.0F;
    for (float& weight : filter.weight) {
        weight = filter.a * left;
        left *= 1.0F - filter.a;
    }
    filter.weight.back() = filter.rest * filter.weight.back() / filter.a;
    return filter;
}

void add_noise(const Look& look, const Noise& noise, const TemporalFilter& filter, int y, int width, Row row,
               float* scratch)
{
    for (std::size_t c = 0; c < 3; ++c) {
        const float* number = normals(look.camera, look.frame, y, c);
        if (filter.on()) {
            std::array<const float*, TemporalFilter::kFrames> numbers{};
            for (std::size_t k = 0; k < numbers.size(); ++k) {
                numbers[k] = normals(look.camera, look.frame - static_cast<std::int64_t>(k), y, c);
            }
            for (int x = 0; x < width; ++x) {
                float sum = 0.0F;
                for (std::size_t k = 0; k < numbers.size(); ++k) {
                    sum += filter.weight[k] * numbers[k][x];
                }
                scratch[x] = sum;
            }
            number = scratch;
        }
        float* const out = row[c];
        for (int x = 0; x < width; ++x) {
            out[x] += std::sqrt(noise.variance(out[x])) * number[x];
        }
    }
}

void filter_moving(const Look& look, const Noise& noise, const TemporalFilter& filter, int y, std::size_t channel,
                   int x0, int x1, const std::array<const float*, TemporalFilter::kFrames>& light, float* out,
                   float* scratch)
{
    float* const still = scratch;
    float* const random = out;
    const float reset = filter.reset * filter.reset;
    for (std::size_t k = light.size(); k-- > 0;) {
        const float* const number = normals(look.camera, look.frame - static_cast<std::int64_t>(k), y, channel) + x0;
        const float* const now = light[k];
        const bool oldest = k + 1 == light.size();
        for (int x = 0; oldest && x < x1 - x0; ++x) {
            still[x] = now[x];
            random[x] = filter.rest * std::sqrt(noise.variance(now[x])) * number[x];
        }
        for (int x = 0; !oldest && x < x1 - x0; ++x) {
            const float variance = noise.variance(now[x]);
            const float off = now[x] - still[x];
            const float a = off * off > reset * variance ? 1.0F : filter.a;
            still[x] += a * off;
            random[x] += a * (std::sqrt(variance) * number[x] - random[x]);
        }
    }
    for (int x = 0; x < x1 - x0; ++x) {
        out[x] += still[x];
    }
}

} // namespace sim::picture
