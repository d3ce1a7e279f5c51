// The pipeline from the scene to the display, one function per stage in the order of render(). Each stage works on one
// row of plain floats per channel, which the compiler turns into vector instructions; filters read the rows around it.
#include "picture/colour.h"
#include "picture/sensor.h"
#include "picture/stages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numbers>
#include <optional>

namespace sim::picture
{

namespace
{

constexpr float kSharpAmount = 0.125F;  // of the detail added back, per unit of the engine's ratio
constexpr float kHalfStrength = 4.0F;   // of the 2D filter, where it replaces half of a pixel
constexpr float kHighestDrcGain = 4.0F; // up to which DRC keeps the order of the tones

// ---- Raw picture --------------------------------------------------------------------------------------------------

/// Sums of 2 * Radius + 1 neighbours in a row of column sums; the columns at either end stand for those beyond.
template <int Radius>
void box_row(const std::array<const float*, 2 * Radius + 1>& rows, int width, float* column, float* out)
{
    float* const middle = column + Radius;
    for (int x = 0; x < width; ++x) {
        float sum = 0.0F;
        for (const float* row : rows) {
            sum += row[x];
        }
        middle[x] = sum;
    }
    for (int x = 1; x <= Radius; ++x) {
        middle[-x] = middle[0];
        middle[width - 1 + x] = middle[width - 1];
    }
    constexpr auto kPart = 1.0F / static_cast<float>((2 * Radius + 1) * (2 * Radius + 1));
    for (int x = 0; x < width; ++x) {
        float sum = 0.0F;
        for (int d = 0; d <= 2 * Radius; ++d) {
            sum += column[x + d];
        }
        out[x] = sum * kPart;
    }
}

/// Moves a pixel towards its 5 x 5 mean by s / (s + 4), the less the farther its green is from the mean: by half at
/// (2 + edge softness) deviations of the noise. Strength 0: the stage is off.
struct Filter2d {
    float weight = 0.0F;
    float width = 0.0F;
};

Filter2d filter_2d_of(const Look& look)
{
    const RK_Bayer2dnr_Params_V2_t& params = look.nr2d.stAuto.st2DParams;
    const std::size_t step = iso_step(params.iso, look.sensor_gain);
    const float s = strength(params.filter_strength[step]);
    if (look.nr2d.eMode == ABAYER2DNR_OP_MODE_INVALID || params.enable == 0) {
        return {};
    }
    return {s / (s + kHalfStrength), 2.0F + strength(params.edgesofts[step])};
}

void filter_2d(const Filter2d& filter, const Noise& noise, Ring<8>& raw, int y, int width, int height, Row row,
               std::vector<float>& scratch)
{
    float* const column = scratch.data();
    std::array<float*, 3> mean{};
    for (std::size_t c = 0; c < 3; ++c) {
        mean[c] = column + (c + 1) * (static_cast<std::size_t>(width) + 4);
        std::array<const float*, 5> rows{};
        for (int d = 0; d < 5; ++d) {
            rows[static_cast<std::size_t>(d)] = raw.row(std::clamp(y + d - 2, 0, height - 1))[c];
        }
        box_row<2>(rows, width, column, mean[c]);
    }
    const Row in = raw.row(y);
    float* const weight = column;
    const float softness = filter.width * filter.width;
    for (int x = 0; x < width; ++x) {
        const float tolerance = softness * noise.variance(mean[1][x]);
        const float distance = mean[1][x] - in[1][x];
        weight[x] = filter.weight * tolerance / (tolerance + distance * distance);
    }
    for (std::size_t c = 0; c < 3; ++c) {
        for (int x = 0; x < width; ++x) {
            row[c][x] = in[c][x] + (mean[c][x] - in[c][x]) * weight[x];
        }
    }
}

void balance_white(const Look& look, int width, Row row)
{
    const std::array gain = {look.wb_gain.rgain, 0.5F * (look.wb_gain.grgain + look.wb_gain.gbgain),
                             look.wb_gain.bgain};
    for (std::size_t c = 0; c < 3; ++c) {
        for (int x = 0; x < width; ++x) {
            row[c][x] *= gain[c];
        }
    }
}

/// Multiplies by the lens-shading (LSC) gains, bilinear between the nodes.
void correct_shading(const std::optional<ShadingGains>& gains, int y, int width, int height, Row row)
{
    if (!gains) {
        return;
    }
    constexpr int kNodes = RK_AIQ_LSC_SECTORS + 1;
    const float place = RK_AIQ_LSC_SECTORS * (static_cast<float>(y) + 0.5F) / static_cast<float>(height);
    const int node_row = std::min(static_cast<int>(place), RK_AIQ_LSC_SECTORS - 1);
    const float part = place - static_cast<float>(node_row);
    const auto node = [&](int column) {
        const Colour* const above = gains->data() + node_row * kNodes + column;
        const Colour gain = above[0] * (1.0F - part) + above[kNodes] * part;
        return std::array{gain.red, gain.green, gain.blue};
    };
    // First pixel whose middle lies in a sector or beyond.
    const auto first = [width](int sector) {
        return std::min((2 * sector * width + RK_AIQ_LSC_SECTORS - 1) / (2 * RK_AIQ_LSC_SECTORS), width);
    };
    for (int sector = 0; sector < RK_AIQ_LSC_SECTORS; ++sector) {
        const auto left = node(sector);
        const auto right = node(sector + 1);
        const int end = sector + 1 < RK_AIQ_LSC_SECTORS ? first(sector + 1) : width;
        for (std::size_t c = 0; c < 3; ++c) {
            const float slope = (right[c] - left[c]) * RK_AIQ_LSC_SECTORS / static_cast<float>(width);
            const float start = left[c] - (right[c] - left[c]) * static_cast<float>(sector) + 0.5F * slope;
            for (int x = first(sector); x < end; ++x) {
                row[c][x] *= start + slope * static_cast<float>(x);
            }
        }
    }
}

// ---- Tones and colours --------------------------------------------------------------------------------------------

/// Dynamic range compression (DRC). Factor = 1 + (g - 1) * (1 - luma)^2: lifts the shadows by g, leaves white. The 13
/// points of g are taken at the steps of the sensor gain: 1, 2, 4 and so on. Returns g - 1.
float lift_of(const Look& look)
{
    const DrcTuningPara_t& params = look.drc.stAutoV30.DrcTuningPara;
    if (!params.Enable) {
        return 0.0F;
    }
    const auto point =
        static_cast<std::size_t>(std::clamp(std::log2(std::max(1.0, look.sensor_gain)), 0.0, RK_AIQ_DRC_POINTS - 1.0));
    const float g = params.DrcGain.DrcGain[point];
    return g > 1.0F ? std::min(g, kHighestDrcGain) - 1.0F : 0.0F;
}

void compress_range(float lift, int width, Row row)
{
    if (lift == 0.0F) {
        return;
    }
    for (int x = 0; x < width; ++x) {
        const float dark = 1.0F - unit(luma({row[0][x], row[1][x], row[2][x]}));
        const float factor = 1.0F + lift * dark * dark;
        row[0][x] *= factor;
        row[1][x] *= factor;
        row[2][x] *= factor;
    }
}

/// The tone curve on 4096 even steps of the input: its level there and its rise to the next.
struct CurvePoint {
    float level;
    float rise;
};
using Curve = std::array<CurvePoint, 4097>;

/// The 49 points lie at inputs 0 to 8, then four each at distances of 2, 4, 8 and so on up to 256, the last eight
/// also at 256, which ends at 4096. Without a manual curve: that of sRGB.
Curve tone_curve(const rk_aiq_gamma_attr_V30_t& gamma)
{
    std::array<float, 4097> level{};
    for (std::size_t i = 0; i < level.size(); ++i) {
        level[i] = srgb_level(static_cast<float>(i) / 4096.0F);
    }
    std::size_t x = 0;
    for (std::size_t point = 1; gamma.mode == GAMMA_MODE_MANUAL && point < RK_AIQ_GAMMA_POINTS; ++point) {
        const std::size_t step = point <= 8 ? 1U : std::min<std::size_t>(2U << ((point - 9U) / 4U), 256U);
        const auto low = static_cast<float>(gamma.stManual.Gamma_curve[point - 1]);
        const auto high = static_cast<float>(gamma.stManual.Gamma_curve[point]);
        for (std::size_t i = 0; i <= step; ++i) {
            const float part = static_cast<float>(i) / static_cast<float>(step);
            const float value = std::lerp(low, high, part) + static_cast<float>(gamma.stManual.Gamma_out_offset);
            level[x + i] = gamma.stManual.Gamma_en ? value / 4095.0F : static_cast<float>(x + i) / 4096.0F;
        }
        x += step;
    }
    Curve curve{};
    for (std::size_t i = 0; i < curve.size(); ++i) {
        curve[i] = {level[i], level[std::min(i + 1, level.size() - 1)] - level[i]};
    }
    return curve;
}

/// In two loops, because only the first can be done in vectors.
void apply_tone_curve(const Curve& curve, int width, Row row, std::vector<int>& steps)
{
    for (std::size_t c = 0; c < 3; ++c) {
        float* const level = row[c];
        int* const step = steps.data();
        for (int x = 0; x < width; ++x) {
            const float place = 4096.0F * unit(level[x]);
            step[x] = static_cast<int>(place);
            level[x] = place - static_cast<float>(step[x]);
        }
        for (int x = 0; x < width; ++x) {
            const CurvePoint& point = curve[static_cast<std::size_t>(step[x])];
            level[x] = point.level + point.rise * level[x];
        }
    }
}

/// Of what the luma differs from its 3 x 3 mean, the part that is added: ratio / 8.
float sharpness_of(const Look& look)
{
    const RK_SHARP_Params_V4_t& params = look.sharp.stAuto.stParams;
    const bool off = look.sharp.eMode == ASHARP4_OP_MODE_OFF || params.enable == 0;
    return off ? 0.0F : kSharpAmount * strength(params.sharp_ratio[iso_step(params.iso, look.sensor_gain)]);
}

void sharpen(float amount, Ring<4>& lumas, int y, int width, int height, Row row, std::vector<float>& scratch)
{
    std::array<const float*, 3> rows{};
    for (int d = 0; d < 3; ++d) {
        rows[static_cast<std::size_t>(d)] = lumas.row(std::clamp(y + d - 1, 0, height - 1))[0];
    }
    float* const mean = scratch.data() + width + 4;
    box_row<1>(rows, width, scratch.data(), mean);
    for (int x = 0; x < width; ++x) {
        const float detail = amount * (rows[1][x] - mean[x]);
        row[0][x] += detail;
        row[1][x] += detail;
        row[2][x] += detail;
    }
}

/// Three sums of the channels and an offset each.
struct Matrix {
    std::array<Colour, 3> factor{}; // of red, green and blue, one column each
    Colour offset{};
};

/// The matrix of a function that is one.
template <typename Function>
Matrix matrix_of(Function function)
{
    const Colour offset = function(Colour{});
    return {{function(Colour{1.0F, 0.0F, 0.0F}) - offset, function(Colour{0.0F, 1.0F, 0.0F}) - offset,
             function(Colour{0.0F, 0.0F, 1.0F}) - offset},
            offset};
}

void transform(const Matrix& matrix, int width, Row row)
{
    const Matrix m = matrix;
    for (int x = 0; x < width; ++x) {
        const float red = row[0][x];
        const float green = row[1][x];
        const float blue = row[2][x];
        row[0][x] = unit(m.factor[0].red * red + m.factor[1].red * green + m.factor[2].red * blue + m.offset.red);
        row[1][x] =
            unit(m.factor[0].green * red + m.factor[1].green * green + m.factor[2].green * blue + m.offset.green);
        row[2][x] = unit(m.factor[0].blue * red + m.factor[1].blue * green + m.factor[2].blue * blue + m.offset.blue);
    }
}

/// Luma: contrast / 128 about mid-level, then brightness - 128 eight-bit steps added. Colour difference: saturation /
/// 128, turned by (hue - 128) / 128 of 90 degrees.
Matrix colour_processing(const acp_attrib_t& acp)
{
    const float contrast = static_cast<float>(acp.contrast) / 128.0F;
    const float lift = (static_cast<float>(acp.brightness) - 128.0F) / 255.0F;
    const float saturation = static_cast<float>(acp.saturation) / 128.0F;
    const float angle = (static_cast<float>(acp.hue) - 128.0F) / 128.0F * std::numbers::pi_v<float> / 2.0F;
    const float cosine = saturation * std::cos(angle);
    const float sine = saturation * std::sin(angle);
    return matrix_of([=](Colour c) {
        const LumaChroma in = to_luma_chroma(c);
        return to_rgb(
            {(in.y - 0.5F) * contrast + 0.5F + lift, in.cb * cosine - in.cr * sine, in.cb * sine + in.cr * cosine});
    });
}

/// The engine's matrix and offsets to YCbCr, then a display that takes every signal for full-range ITU-R BT.709: any
/// other matrix or range shows. Nothing unless the block is manual: the engine's own matrix suits the display.
std::optional<Matrix> display_conversion(const rk_aiq_acsm_params_t& csm)
{
    if (csm.op_mode != RK_AIQ_OP_MODE_MANUAL) {
        return std::nullopt;
    }
    return matrix_of([&csm](Colour c) {
        const auto sum = [&](const float* k, int offset) {
            return k[0] * c.red + k[1] * c.green + k[2] * c.blue + static_cast<float>(offset) / 255.0F;
        };
        constexpr float kZeroChroma = 128.0F / 255.0F;
        return to_rgb({sum(csm.coeff, csm.y_offset), sum(csm.coeff + 3, csm.c_offset) - kZeroChroma,
                       sum(csm.coeff + 6, csm.c_offset) - kZeroChroma});
    });
}

} // namespace

Look neutral_look()
{
    Look look;
    look.wb_gain = {1.0F, 1.0F, 1.0F, 1.0F};
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
    Sensor sensor(look, width, height);
    const Noise noise = sensor.noise_left();
    const Filter2d filter = filter_2d_of(look);
    const std::optional<ShadingGains> shading = shading_gains(look.lsc, look.wb_gain);
    const float lift = lift_of(look);
    const Curve curve = tone_curve(look.gamma.atrrV30);
    const float sharpness = sharpness_of(look);
    const Matrix processing = colour_processing(look.acp);
    const std::optional<Matrix> display = display_conversion(look.csm.param);

    Ring<8> raw(width);
    Ring<4> toned(width);
    Ring<4> lumas(width);
    std::vector<float> scratch(4 * (static_cast<std::size_t>(width) + 4));
    std::vector<int> steps(static_cast<std::size_t>(width));
    Image image{width, height, {}};
    image.pixels.resize(index_of(0, height, width));
    const auto bytes = static_cast<std::size_t>(width) * sizeof(float);
    // Row y is exposed, the one two rows above it filtered and toned, the one above that sharpened and shown.
    for (int y = 0; y < height + 3; ++y) {
        if (y < height) {
            sensor.read(y, raw.row(y));
        }
        if (const int t = y - 2; t >= 0 && t < height) {
            const Row row = toned.row(t);
            if (filter.weight > 0.0F) {
                filter_2d(filter, noise, raw, t, width, height, row, scratch);
            } else {
                for (std::size_t c = 0; c < 3; ++c) {
                    std::memcpy(row[c], raw.row(t)[c], bytes);
                }
            }
            balance_white(look, width, row);
            correct_shading(shading, t, width, height, row);
            compress_range(lift, width, row);
            apply_tone_curve(curve, width, row, steps);
            if (sharpness > 0.0F) {
                float* const light = lumas.row(t)[0];
                for (int x = 0; x < width; ++x) {
                    light[x] = luma({row[0][x], row[1][x], row[2][x]});
                }
            }
        }
        if (const int f = y - 3; f >= 0) {
            const Row row = toned.row(f);
            if (sharpness > 0.0F) {
                sharpen(sharpness, lumas, f, width, height, row, scratch);
            }
            transform(processing, width, row);
            if (display) {
                transform(*display, width, row);
            }
            Colour* const out = image.pixels.data() + index_of(0, f, width);
            for (int x = 0; x < width; ++x) {
                out[x] = {row[0][x], row[1][x], row[2][x]};
            }
        }
    }
    return image;
}

Image render_mean(const Look& look, int frames, int width, int height)
{
    Image mean = render(look, width, height);
    Look next = look;
    for (int n = 2; n <= frames; ++n) {
        ++next.frame;
        const Image image = render(next, width, height);
        const float part = 1.0F / static_cast<float>(n);
        for (std::size_t p = 0; p < mean.pixels.size(); ++p) {
            mean.pixels[p] = mean.pixels[p] + (image.pixels[p] - mean.pixels[p]) * part;
        }
    }
    return mean;
}

Metering metering(const Look& look)
{
    constexpr int kColumns = 4 * kMeteringSide; // pixels
    constexpr int kRows = 3 * kMeteringSide;
    constexpr float kFaint = 1.0e-4F;
    Look exposed; // at an exposure that fills no well
    exposed.vignetting = look.vignetting;
    exposed.exposure = static_cast<double>(kFaint);
    const std::shared_ptr<const Drawn> scene = draw_scene(look.scene, look.magnification, kColumns, kRows);
    const std::optional<ShadingGains> shading = shading_gains(look.lsc, look.wb_gain);
    Metering samples{};
    Ring<1> ring(kColumns);
    for (int y = 0; y < kRows; ++y) {
        const Row row = ring.row(0);
        expose(exposed, row_of(scene->planes, y), y, 0, kColumns, kColumns, kRows, row);
        correct_shading(shading, y, kColumns, kRows, row);
        for (int x = 0; x < kColumns; ++x) {
            samples[index_of(x / 4, y / 3, kMeteringSide)] +=
                luma({row[0][x], row[1][x], row[2][x]}) / (12.0F * kReferenceLevel * kFaint);
        }
    }
    return samples;
}

} // namespace sim::picture
