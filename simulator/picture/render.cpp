// The pipeline from the chart to the display, one function per stage in the order of render().
#include "picture/colour.h"
#include "picture/stages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace sim::picture
{

namespace
{

constexpr float kBaseIso = 50.0F;         // sensitivity at gain 1
constexpr float kShotNoise = 5.0e-5F;     // variance per unit of signal at gain 1
constexpr float kReadNoise = 8.0e-4F;     // deviation at gain 1
constexpr float kSharpAmount = 0.125F;    // of the detail added back, per unit of the engine's ratio
constexpr float kHalfStrength = 4.0F;     // of the 2D filter, where it replaces half of a pixel
constexpr float kHighestStrength = 64.0F; // of any filter
constexpr float kHighestDrcGain = 4.0F;   // up to which the compression keeps the order of the tones

/// The last of a block's ISO steps that the sensor gain reaches.
std::size_t iso_step(const int (&iso)[RK_AIQ_ISO_STEPS], double sensor_gain)
{
    const double reached = sensor_gain * static_cast<double>(kBaseIso);
    std::size_t step = 0;
    while (step + 1 < RK_AIQ_ISO_STEPS && static_cast<double>(iso[step + 1]) <= reached) {
        ++step;
    }
    return step;
}

/// A filter strength bounded to what makes sense; what is not a number becomes 0.
float strength(float value)
{
    return value > 0.0F ? std::min(value, kHighestStrength) : 0.0F;
}

template <typename Change>
void for_each_pixel(Image& image, Change change)
{
    for (Colour& colour : image.pixels) {
        colour = change(colour);
    }
}

/// Mean over (2 * radius + 1)^2 pixels, the border pixels standing for those beyond.
template <typename T>
std::vector<T> box_mean(std::vector<T> pixels, int width, int height, int radius)
{
    const float part = 1.0F / static_cast<float>(2 * radius + 1);
    std::vector<T> means(pixels.size());
    const auto average = [&](int dx, int dy) {
        auto mean = means.begin();
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                T sum{};
                for (int d = -radius; d <= radius; ++d) {
                    sum = sum + pixels[index_of(std::clamp(x + d * dx, 0, width - 1),
                                                std::clamp(y + d * dy, 0, height - 1), width)];
                }
                *mean++ = sum * part;
            }
        }
    };
    average(1, 0);
    pixels.swap(means);
    average(0, 1);
    return means;
}

/// Signal = reflectance * response to the light / (1 + k r^2)^2, r being 1 in the corners: the fourth power of the
/// cosine of the field angle.
void light_and_lens(const Look& look, Image& image)
{
    const Colour response{static_cast<float>(1.0 / look.neutral_red), 1.0F,
                          static_cast<float>(1.0 / look.neutral_blue)};
    auto pixel = image.pixels.begin();
    for (int y = 0; y < image.height; ++y) {
        const float v = (2.0F * static_cast<float>(y) + 1.0F) / static_cast<float>(image.height) - 1.0F;
        for (int x = 0; x < image.width; ++x, ++pixel) {
            const float u = (2.0F * static_cast<float>(x) + 1.0F) / static_cast<float>(image.width) - 1.0F;
            const Colour root = grey(1.0F) + look.fall_off * (0.5F * (u * u + v * v));
            *pixel = *pixel * response / (root * root);
        }
    }
}

/// Frames that the temporal filter averages: 1 + the mean of its two bands' strengths.
float averaged_frames(const Look& look)
{
    const RK_Bayertnr_Params_V2_t& params = look.nr3d.stAuto.st3DParams;
    if (look.nr3d.eMode == ABAYERTNRV2_OP_MODE_INVALID || params.enable == 0) {
        return 1.0F;
    }
    const std::size_t step = iso_step(params.iso, look.sensor_gain);
    return 1.0F + 0.5F * (strength(params.lo_filter_strength[step]) + strength(params.hi_filter_strength[step]));
}

/// Variance = (gain * shot noise * signal + (gain * read noise)^2) / averaged frames.
struct Noise {
    float gain;
    float frames;

    float deviation(float signal) const
    {
        const float read = gain * kReadNoise;
        return std::sqrt((gain * kShotNoise * std::max(signal, 0.0F) + read * read) / frames);
    }
};

/// A number of mean 0 and deviation 1, near a normal distribution, that depends on `index` alone: the sum of the
/// bytes of a mixed 32-bit word.
float normal(std::uint32_t index)
{
    constexpr float kByteSumDeviation = 147.80F;
    std::uint32_t h = index * 0x9E3779B9U + 0x7F4A7C15U;
    h = (h ^ (h >> 16U)) * 0x85EBCA6BU;
    h = (h ^ (h >> 13U)) * 0xC2B2AE35U;
    h ^= h >> 16U;
    const std::uint32_t sum = (h & 0xFFU) + ((h >> 8U) & 0xFFU) + ((h >> 16U) & 0xFFU) + (h >> 24U);
    return (static_cast<float>(sum) - 510.0F) / kByteSumDeviation;
}

void add_noise(const Noise& noise, Image& image)
{
    std::uint32_t index = 0;
    for_each_pixel(image, [&](Colour c) {
        const auto noisy = [&](float signal) { return signal + noise.deviation(signal) * normal(index++); };
        return Colour{noisy(c.red), noisy(c.green), noisy(c.blue)};
    });
}

/// Moves a pixel towards its 5 x 5 mean by s / (s + 4), the less the farther its green is from the mean: by half at
/// (2 + edge softness) deviations of the noise.
void filter_2d(const Look& look, const Noise& noise, Image& image)
{
    const RK_Bayer2dnr_Params_V2_t& params = look.nr2d.stAuto.st2DParams;
    const std::size_t step = iso_step(params.iso, look.sensor_gain);
    const float s = strength(params.filter_strength[step]);
    if (look.nr2d.eMode == ABAYER2DNR_OP_MODE_INVALID || params.enable == 0 || s == 0.0F) {
        return;
    }
    const float width = 2.0F + strength(params.edgesofts[step]);
    const std::vector<Colour> means = box_mean(image.pixels, image.width, image.height, 2);
    for (std::size_t i = 0; i < means.size(); ++i) {
        const Colour difference = means[i] - image.pixels[i];
        const float distance = difference.green / (width * noise.deviation(means[i].green));
        const float weight = s / (s + kHalfStrength) / (1.0F + distance * distance);
        image.pixels[i] = image.pixels[i] + difference * weight;
    }
}

/// Where a pixel lies on the shading grid: the node before it and the part of the way to the next.
struct GridPlace {
    std::size_t node;
    float part;
};

GridPlace grid_place(int pixel, int side)
{
    const float place = RK_AIQ_LSC_SECTORS * (static_cast<float>(pixel) + 0.5F) / static_cast<float>(side);
    const auto node = std::min<std::size_t>(static_cast<std::size_t>(place), RK_AIQ_LSC_SECTORS - 1);
    return {node, place - static_cast<float>(node)};
}

/// Multiplies by the shading gains, bilinear between the nodes.
void correct_shading(const Look& look, Image& image)
{
    const std::optional<ShadingGains> gains = shading_gains(look.lsc, look.wb_gain);
    if (!gains) {
        return;
    }
    constexpr std::size_t kNodes = RK_AIQ_LSC_SECTORS + 1;
    auto pixel = image.pixels.begin();
    for (int y = 0; y < image.height; ++y) {
        const GridPlace row = grid_place(y, image.height);
        for (int x = 0; x < image.width; ++x, ++pixel) {
            const GridPlace column = grid_place(x, image.width);
            const Colour* const node = gains->data() + row.node * kNodes + column.node;
            const Colour above = node[0] * (1.0F - column.part) + node[1] * column.part;
            const Colour below = node[kNodes] * (1.0F - column.part) + node[kNodes + 1] * column.part;
            *pixel = *pixel * (above * (1.0F - row.part) + below * row.part);
        }
    }
}

/// Factor = 1 + (g - 1) * (1 - luma)^2: lifts the shadows by g, leaves white. The 13 points of g are taken at the
/// steps of the sensor gain: 1, 2, 4 and so on.
void compress_range(const Look& look, Image& image)
{
    const DrcTuningPara_t& params = look.drc.stAutoV30.DrcTuningPara;
    if (!params.Enable) {
        return;
    }
    const auto point =
        static_cast<std::size_t>(std::clamp(std::log2(std::max(1.0, look.sensor_gain)), 0.0, RK_AIQ_DRC_POINTS - 1.0));
    const float g = params.DrcGain.DrcGain[point];
    const float lift = g > 1.0F ? std::min(g, kHighestDrcGain) - 1.0F : 0.0F;
    for_each_pixel(image, [lift](Colour c) {
        const float dark = 1.0F - unit(luma(c));
        return c * (1.0F + lift * dark * dark);
    });
}

/// The tone curve on 4096 even steps of the input.
using Curve = std::array<float, 4097>;

/// The 49 points lie at inputs 0 to 8, then four each at distances of 2, 4, 8 and so on up to 256, the last eight
/// also at 256, which ends at 4096. Without a manual curve: that of sRGB.
Curve tone_curve(const rk_aiq_gamma_attr_V30_t& gamma)
{
    Curve curve{};
    for (std::size_t i = 0; i < curve.size(); ++i) {
        const float x = static_cast<float>(i) / 4096.0F;
        curve[i] = x <= 0.0031308F ? 12.92F * x : 1.055F * std::pow(x, 1.0F / 2.4F) - 0.055F;
    }
    if (gamma.mode != GAMMA_MODE_MANUAL) {
        return curve;
    }
    std::size_t x = 0;
    for (std::size_t point = 1; point < RK_AIQ_GAMMA_POINTS; ++point) {
        const std::size_t step = point <= 8 ? 1U : std::min<std::size_t>(2U << ((point - 9U) / 4U), 256U);
        const auto low = static_cast<float>(gamma.stManual.Gamma_curve[point - 1]);
        const auto high = static_cast<float>(gamma.stManual.Gamma_curve[point]);
        for (std::size_t i = 0; i <= step; ++i) {
            const float part = static_cast<float>(i) / static_cast<float>(step);
            const float value = std::lerp(low, high, part) + static_cast<float>(gamma.stManual.Gamma_out_offset);
            curve[x + i] = gamma.stManual.Gamma_en ? value / 4095.0F : static_cast<float>(x + i) / 4096.0F;
        }
        x += step;
    }
    return curve;
}

void apply_tone_curve(const Look& look, Image& image)
{
    const Curve curve = tone_curve(look.gamma.atrrV30);
    const auto tone = [&curve](float level) {
        const float x = 4096.0F * unit(level);
        const auto i = std::min(static_cast<std::size_t>(x), curve.size() - 2);
        return std::lerp(curve[i], curve[i + 1], x - static_cast<float>(i));
    };
    for_each_pixel(image, [&](Colour c) { return Colour{tone(c.red), tone(c.green), tone(c.blue)}; });
}

/// Adds ratio / 8 of what the luma differs from its 3 x 3 mean.
void sharpen(const Look& look, Image& image)
{
    const RK_SHARP_Params_V4_t& params = look.sharp.stAuto.stParams;
    const float ratio = strength(params.sharp_ratio[iso_step(params.iso, look.sensor_gain)]);
    if (look.sharp.eMode == ASHARP4_OP_MODE_OFF || params.enable == 0 || ratio == 0.0F) {
        return;
    }
    std::vector<float> lumas(image.pixels.size());
    std::transform(image.pixels.begin(), image.pixels.end(), lumas.begin(), luma);
    const std::vector<float> means = box_mean(lumas, image.width, image.height, 1);
    for (std::size_t i = 0; i < lumas.size(); ++i) {
        image.pixels[i] = image.pixels[i] + grey(kSharpAmount * ratio * (lumas[i] - means[i]));
    }
}

/// Luma: contrast / 128 about mid-level, then brightness - 128 eight-bit steps added. Colour difference: saturation /
/// 128, turned by (hue - 128) / 128 of 90 degrees.
void process_colour(const Look& look, Image& image)
{
    const float contrast = static_cast<float>(look.acp.contrast) / 128.0F;
    const float lift = (static_cast<float>(look.acp.brightness) - 128.0F) / 255.0F;
    const float saturation = static_cast<float>(look.acp.saturation) / 128.0F;
    const float angle = (static_cast<float>(look.acp.hue) - 128.0F) / 128.0F * std::numbers::pi_v<float> / 2.0F;
    const float cosine = saturation * std::cos(angle);
    const float sine = saturation * std::sin(angle);
    for_each_pixel(image, [=](Colour c) {
        const LumaChroma in = to_luma_chroma(c);
        return to_rgb(
            {(in.y - 0.5F) * contrast + 0.5F + lift, in.cb * cosine - in.cr * sine, in.cb * sine + in.cr * cosine});
    });
}

/// The engine's matrix and offsets to eight-bit YCbCr, then a display that takes every signal for full-range ITU-R
/// BT.709: any other matrix or range shows. Unless the block is manual the engine's own matrix suits the display.
void convert_for_display(const Look& look, Image& image)
{
    const rk_aiq_acsm_params_t& matrix = look.csm.param;
    const bool manual = matrix.op_mode == RK_AIQ_OP_MODE_MANUAL;
    for_each_pixel(image, [&](Colour c) {
        c = {unit(c.red), unit(c.green), unit(c.blue)};
        if (!manual) {
            return c;
        }
        const auto row = [&](const float* k, int offset) {
            return unit(k[0] * c.red + k[1] * c.green + k[2] * c.blue + static_cast<float>(offset) / 255.0F);
        };
        constexpr float kZeroChroma = 128.0F / 255.0F;
        const Colour shown =
            to_rgb({row(matrix.coeff, matrix.y_offset), row(matrix.coeff + 3, matrix.c_offset) - kZeroChroma,
                    row(matrix.coeff + 6, matrix.c_offset) - kZeroChroma});
        return Colour{unit(shown.red), unit(shown.green), unit(shown.blue)};
    });
}

} // namespace

Look neutral_look()
{
    Look look;
    look.acp = {{}, 128, 128, 128, 128};
    look.gamma.atrrV30.mode = GAMMA_MODE_AUTO;
    look.lsc.byPass = true;
    look.csm.param.op_mode = RK_AIQ_OP_MODE_AUTO;
    for (int i = 0; i < RK_AIQ_ISO_STEPS; ++i) {
        const int iso = static_cast<int>(kBaseIso) << i;
        look.sharp.stAuto.stParams.iso[i] = iso;
        look.nr2d.stAuto.st2DParams.iso[i] = iso;
        look.nr3d.stAuto.st3DParams.iso[i] = iso;
        look.drc.stAutoV30.DrcTuningPara.DrcGain.DrcGain[i] = 1.0F;
    }
    return look;
}

Image render(const Look& look, int width, int height)
{
    if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide) {
        return {};
    }
    Image image = draw_chart(width, height);
    light_and_lens(look, image);
    const Noise noise{static_cast<float>(look.sensor_gain), averaged_frames(look)};
    add_noise(noise, image);
    filter_2d(look, noise, image);
    const Colour balance{look.wb_gain.rgain, 0.5F * (look.wb_gain.grgain + look.wb_gain.gbgain), look.wb_gain.bgain};
    const Colour level = balance * static_cast<float>(look.exposure);
    for_each_pixel(image, [level](Colour c) { return c * level; });
    correct_shading(look, image);
    compress_range(look, image);
    apply_tone_curve(look, image);
    sharpen(look, image);
    process_colour(look, image);
    convert_for_display(look, image);
    return image;
}

} // namespace sim::picture
