// The picture model: what each block and live value does to the chart, measured in the rendered image.
#include "picture/picture.h"
#include "support/threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <numbers>
#include <string>
#include <utility>

// Fontconfig, which finds the labels' font, keeps some memory for the life of the process.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig";
}

namespace
{

using namespace sim::picture;
using testing::ElementsAre;
using testing::FloatNear;

Colour patch(const Image& image, int number)
{
    return mean_colour(image, patch_area(image, number));
}

/// A look to change, and how it was shown at first.
class Picture : public testing::Test
{
protected:
    Image shown() const
    {
        return render(look, 320, 240);
    }
    Colour shown_patch(int number) const
    {
        return patch(shown(), number);
    }
    double measured(Region region, double (*measure)(const Image&, Area)) const
    {
        const Image image = shown();
        return measure(image, region_area(image, region));
    }
    double noise() const
    {
        return measured(Region::flat, luma_deviation);
    }

    Look look = neutral_look();
    const Image plain = shown();
};

/// Distance of a colour from grey: its largest channel less its smallest.
float cast(const Colour& c)
{
    return std::max({c.red, c.green, c.blue}) - std::min({c.red, c.green, c.blue});
}

void set_nr2d(Look& look, float strength)
{
    look.nr2d.eMode = ABAYER2DNR_OP_MODE_AUTO;
    look.nr2d.stAuto.st2DParams.enable = 1;
    std::ranges::fill(look.nr2d.stAuto.st2DParams.filter_strength, strength);
    std::ranges::fill(look.nr2d.stAuto.st2DParams.edgesofts, strength);
}

void set_nr3d(Look& look, float strength)
{
    look.nr3d.eMode = ABAYERTNRV2_OP_MODE_AUTO;
    look.nr3d.stAuto.st3DParams.enable = 1;
    std::ranges::fill(look.nr3d.stAuto.st3DParams.lo_filter_strength, strength);
    std::ranges::fill(look.nr3d.stAuto.st3DParams.hi_filter_strength, strength);
}

void set_sharp(Look& look, float ratio)
{
    look.sharp.eMode = ASHARP4_OP_MODE_AUTO;
    look.sharp.stAuto.stParams.enable = 1;
    std::ranges::fill(look.sharp.stAuto.stParams.sharp_ratio, ratio);
}

/// A manual tone curve with output = 4095 * (input / 4096) ^ exponent, through knots worked out from the octaves.
void set_gamma(Look& look, double exponent)
{
    look.gamma.atrrV30.mode = GAMMA_MODE_MANUAL;
    look.gamma.atrrV30.stManual.Gamma_en = true;
    int x = 0;
    for (int point = 0; point < RK_AIQ_GAMMA_POINTS; ++point) {
        const double level = 4095.0 * std::pow(x / 4096.0, exponent);
        look.gamma.atrrV30.stManual.Gamma_curve[point] = static_cast<uint16_t>(std::lround(level));
        x += x < 8 ? 1 : std::min(1 << (static_cast<int>(std::log2(x)) - 2), 256);
    }
}

void set_matrix(Look& look, int y_offset, std::initializer_list<float> coeff)
{
    look.csm.param.op_mode = RK_AIQ_OP_MODE_MANUAL;
    look.csm.param.full_range = true;
    look.csm.param.y_offset = y_offset;
    look.csm.param.c_offset = 128;
    std::ranges::copy(coeff, look.csm.param.coeff);
}

/// The gains of the lens in ShadingCorrectionFlattensTheFallOff, times `share`.
template <typename Grids>
void set_grids(Grids& grids, double share)
{
    for (const auto& [grid, k] :
         {std::pair(&grids.lsc_samples_red, 0.66), std::pair(&grids.lsc_samples_greenR, 0.54),
          std::pair(&grids.lsc_samples_greenB, 0.54), std::pair(&grids.lsc_samples_blue, 0.50)}) {
        for (int i = 0; i < RK_AIQ_LSC_GRID_POINTS; ++i) {
            const double from_middle = std::pow(i % 17 / 8.0 - 1.0, 2) + std::pow(i / 17 / 8.0 - 1.0, 2);
            grid->uCoeff[i] =
                static_cast<uint16_t>(std::lround(1024.0 * std::pow(1.0 + share * k * from_middle / 2.0, 2)));
        }
    }
}

TEST_F(Picture, GreysAreGreyAndInOrderInANeutralLook)
{
    for (int i = kWhitePatch; i <= kBlackPatch; ++i) {
        EXPECT_LT(cast(patch(plain, i)), 0.002F) << patch_name(i);
        EXPECT_TRUE(i == kWhitePatch || patch(plain, i).green < patch(plain, i - 1).green - 0.05F) << patch_name(i);
    }
    EXPECT_GT(cast(patch(plain, 0)), 0.1F) << "a colour is not grey";
}

TEST_F(Picture, OnlyTheRightGainsBalanceALight)
{
    const struct {
        double neutral_red, neutral_blue;
        rk_aiq_wb_gain_t gain;
        float red_cast, blue_cast; // sign
    } cases[] = {
        {0.9, 3.7, {0.9F, 1.0F, 1.0F, 3.7F}, 0.0F, 0.0F},   {1.8, 1.2, {1.8F, 1.0F, 1.0F, 1.2F}, 0.0F, 0.0F},
        {0.77, 1.0, {1.0F, 1.0F, 1.0F, 1.0F}, 1.0F, 0.0F},  {1.0, 0.77, {1.0F, 1.0F, 1.0F, 1.0F}, 0.0F, 1.0F},
        {1.0, 1.0, {1.0F, 1.6F, 1.0F, 1.0F}, -1.0F, -1.0F}, {1.0, 1.0, {1.0F, 1.0F, 1.6F, 1.0F}, -1.0F, -1.0F},
    };
    for (const auto& [red, blue, gain, red_cast, blue_cast] : cases) {
        look.neutral_red = red;
        look.neutral_blue = blue;
        look.wb_gain = gain;
        const Colour grey = shown_patch(kMidGreyPatch);
        for (const auto& [excess, sign] :
             {std::pair(grey.red - grey.green, red_cast), {grey.blue - grey.green, blue_cast}}) {
            EXPECT_TRUE(sign == 0.0F ? std::abs(excess) < 0.003F : excess * sign > 0.03F)
                << red << ' ' << blue << ' ' << excess;
        }
    }
}

TEST_F(Picture, ColourProcessing)
{
    const auto processed = [this](uint8_t brightness, uint8_t contrast, uint8_t saturation, uint8_t hue) {
        look.acp = {{}, brightness, contrast, saturation, hue};
        return shown();
    };
    const Image colourless = processed(128, 128, 0, 128);
    const Image vivid = processed(128, 128, 160, 128);
    const Image turned = processed(128, 128, 128, 156);
    for (int i = 0; i < kPatches; ++i) {
        EXPECT_LT(cast(patch(colourless, i)), 0.001F) << patch_name(i);
        EXPECT_NEAR(mean_luma(colourless, patch_area(plain, i)), mean_luma(plain, patch_area(plain, i)), 0.01);
    }
    // Direction of the colour difference, in degrees from blue towards red.
    const auto hue_angle = [](const Colour& c) {
        const double luma = 0.2126 * c.red + 0.7152 * c.green + 0.0722 * c.blue;
        return std::atan2((c.red - luma) / 1.5748, (c.blue - luma) / 1.8556) * 180.0 / std::numbers::pi;
    };
    for (const int skin_and_sky : {0, 1, 2}) {
        const Colour before = patch(plain, skin_and_sky);
        EXPECT_NEAR(cast(patch(vivid, skin_and_sky)) / cast(before), 160.0 / 128.0, 0.01);
        const double turn = hue_angle(patch(turned, skin_and_sky)) - hue_angle(before);
        EXPECT_NEAR(std::remainder(turn, 360.0), 90.0 * 28.0 / 128.0, 0.5);
    }
    EXPECT_LT(cast(patch(turned, kMidGreyPatch)), 0.002F) << "hue leaves greys alone";
    const auto grey = [](const Image& image, int i) { return patch(image, i).green; };
    const Image bright = processed(170, 128, 128, 128);
    EXPECT_NEAR(grey(bright, kMidGreyPatch) - grey(plain, kMidGreyPatch), 42.0 / 255.0, 0.002);
    const Image hard = processed(128, 170, 128, 128);
    EXPECT_NEAR((grey(hard, 20) - grey(hard, 22)) / (grey(plain, 20) - grey(plain, 22)), 170.0 / 128.0, 0.01);
}

TEST_F(Picture, AManualToneCurveReplacesTheDefault)
{
    for (const double exponent : {0.40, 0.63, 1.0}) {
        set_gamma(look, exponent);
        EXPECT_NEAR(shown_patch(kMidGreyPatch).green, std::pow(0.19, exponent), 0.004) << exponent;
        EXPECT_NEAR(shown_patch(kBlackPatch).green, std::pow(0.03, exponent), 0.004) << exponent;
    }
    look.exposure = 0.5;
    EXPECT_NEAR(shown_patch(kWhitePatch).green, 0.45, 0.003) << "half the light";
    look.exposure = 1.0;
    look.gamma.atrrV30.mode = GAMMA_MODE_AUTO;
    EXPECT_NEAR(shown_patch(kMidGreyPatch).green, 0.473, 0.003) << "19 % through the sRGB curve";
}

TEST_F(Picture, RangeCompressionLiftsShadowsMoreThanWhite)
{
    look.drc.stAutoV30.DrcTuningPara.Enable = true;
    const Image enabled = shown();
    std::ranges::fill(look.drc.stAutoV30.DrcTuningPara.DrcGain.DrcGain, 2.2F);
    const Image lifted = shown();
    const auto ratio = [&](int i) { return patch(lifted, i).green / patch(enabled, i).green; };
    EXPECT_GT(ratio(kBlackPatch), 1.3F);
    EXPECT_GT(ratio(kBlackPatch), ratio(kMidGreyPatch));
    EXPECT_NEAR(ratio(kWhitePatch), 1.0F, 0.02F);
    for (int i = kWhitePatch + 1; i < kPatches; ++i) {
        EXPECT_LT(patch(lifted, i).green, patch(lifted, i - 1).green) << "the order of the greys";
    }
}

TEST_F(Picture, NoiseGrowsWithGainAndShrinksWithEitherFilter)
{
    double before = 0.0;
    for (const double gain : {1.0, 4.0, 16.0, 64.0}) {
        look.sensor_gain = gain;
        EXPECT_GT(noise(), 1.5 * before) << gain;
        before = noise();
    }
    const double unfiltered = before;
    for (const float strength : {0.5F, 1.5F, 3.0F, 7.0F}) {
        set_nr2d(look, strength);
        EXPECT_LT(noise(), 0.97 * before) << "2D " << strength;
        before = noise();
    }
    look.nr2d.stAuto.st2DParams.enable = 0;
    EXPECT_EQ(noise(), unfiltered);
    for (const float strength : {0.0F, 0.6F, 3.0F, 6.0F}) {
        set_nr3d(look, strength);
        EXPECT_NEAR(noise(), unfiltered / std::sqrt(1.0 + strength), 0.03 * unfiltered) << "3D " << strength;
    }

    look = neutral_look();
    set_gamma(look, 1.0);
    const Image linear = shown();
    EXPECT_GT(luma_deviation(linear, patch_area(linear, kWhitePatch)),
              2.0 * luma_deviation(linear, patch_area(linear, kBlackPatch)))
        << "light itself is noisy";
}

TEST_F(Picture, FiltersTakeTheStrengthOfTheGainsIsoStep)
{
    for (const double gain : {15.0, 16.0, 31.0, 32.0}) {
        look.sensor_gain = gain;
        set_nr3d(look, 0.0F);
        const double unfiltered = noise();
        look.nr3d.stAuto.st3DParams.lo_filter_strength[4] = 8.0F; // ISO 800: gain 16 up to below 32
        look.nr3d.stAuto.st3DParams.hi_filter_strength[4] = 8.0F;
        EXPECT_EQ(noise() < 0.5 * unfiltered, gain >= 16.0 && gain < 32.0) << gain;
    }
}

TEST_F(Picture, SharpeningSteepensEdgesAndSpatialFilteringSoftensThem)
{
    const double unsharpened = measured(Region::star, steepest_edge);
    double before = unsharpened;
    for (const float ratio : {1.0F, 3.5F, 6.5F}) {
        set_sharp(look, ratio);
        const double edge = measured(Region::star, steepest_edge);
        EXPECT_GT(edge, 1.02 * before) << ratio;
        before = edge;
    }
    look.sharp.eMode = ASHARP4_OP_MODE_OFF;
    EXPECT_EQ(measured(Region::star, steepest_edge), unsharpened);
    look.sensor_gain = 16.0;
    const double unfiltered = measured(Region::star, luma_deviation);
    set_nr2d(look, 7.0F);
    EXPECT_LT(measured(Region::star, luma_deviation), 0.9 * unfiltered);
}

TEST_F(Picture, ShadingCorrectionFlattensTheFallOff)
{
    set_gamma(look, 1.0);
    look.fall_off = {0.66F, 0.54F, 0.50F};
    // The frame around the patches, its corner against its mid-left, and a patch in the middle.
    const auto levels = [this] {
        const Image image = shown();
        const Colour corner = mean_colour(image, {0, 0, 8, 8});
        const Colour side = mean_colour(image, {0, 114, 8, 126});
        return std::vector{corner.red / side.red, corner.green / side.green, corner.blue / side.blue,
                           patch(image, kWhitePatch).green};
    };
    const auto even = FloatNear(1.0F, 0.03F);
    const auto flat = ElementsAre(even, even, even, FloatNear(0.9F, 0.01F));
    const std::vector<float> raw = levels();
    const auto untouched = testing::Pointwise(FloatNear(1.0e-4F), raw);
    EXPECT_LT(raw[1], 0.75F);
    EXPECT_LT(raw[0], raw[2]);

    // Automatic: the tungsten light's table is useless, the daylight one right, and the gains are those of daylight.
    rk_aiq_lsc_attrib_t& lsc = look.lsc;
    lsc.mode = RK_AIQ_LSC_MODE_AUTO;
    lsc.stAuto.common.enable = true;
    lsc.stAuto.alscCoef.illAll_len = 2;
    lsc.stAuto.tbl.tableAll_len = 2;
    for (int i = 0; i < 2; ++i) {
        lsc_illuminant_t& illuminant = lsc.stAuto.alscCoef.illAll[i];
        lsc_table_t& table = lsc.stAuto.tbl.tableAll[i];
        std::strcpy(illuminant.name, i == 0 ? "A" : "D50");
        std::strcpy(table.illumination, illuminant.name);
        illuminant.wbGain[0] = i == 0 ? 0.6F : 1.0F; // the look's own gains are 1
        illuminant.wbGain[1] = i == 0 ? 1.8F : 1.0F;
        set_grids(table, i);
    }
    EXPECT_THAT(levels(), untouched) << "bypassed";
    lsc.byPass = false;
    EXPECT_THAT(levels(), flat);
    lsc.stAuto.common.enable = false;
    EXPECT_THAT(levels(), untouched) << "disabled";
    lsc.stAuto.common.enable = true;
    look.wb_gain.rgain = 1.0F;
    look.wb_gain.bgain = 2.9F;
    EXPECT_THAT(levels(), untouched) << "the tungsten table";

    lsc.mode = RK_AIQ_LSC_MODE_MANUAL;
    look.wb_gain = neutral_look().wb_gain;
    set_grids(lsc.stManual, 1.0);
    EXPECT_THAT(levels(), flat);
}

TEST_F(Picture, OnlyFullRangeBt709SuitsTheDisplay)
{
    set_matrix(look, 0, {0.2126F, 0.7152F, 0.0722F, -0.1146F, -0.3854F, 0.5F, 0.5F, -0.4542F, -0.0458F});
    const Image matching = shown();
    for (int i = 0; i < kPatches; ++i) {
        EXPECT_NEAR(patch(matching, i).red, patch(plain, i).red, 0.003) << patch_name(i);
        EXPECT_NEAR(patch(matching, i).blue, patch(plain, i).blue, 0.003) << patch_name(i);
    }
    set_matrix(look, 16, {0.1826F, 0.6142F, 0.062F, -0.1006F, -0.3386F, 0.4392F, 0.4392F, -0.3989F, -0.0403F});
    for (const int i : {kWhitePatch, kMidGreyPatch, kBlackPatch}) {
        EXPECT_NEAR(shown_patch(i).green, 16.0 / 255.0 + 219.0 / 255.0 * patch(plain, i).green, 0.004);
    }
    set_matrix(look, 0, {0.299F, 0.587F, 0.114F, -0.169F, -0.331F, 0.5F, 0.5F, -0.419F, -0.081F});
    EXPECT_LT(cast(shown_patch(kMidGreyPatch)), 0.003F);
    EXPECT_GT(std::abs(shown_patch(13).green - patch(plain, 13).green), 0.02F) << "greens differ";
}

TEST_F(Picture, AnyBlockContentGivesAPicture)
{
    const auto expect_picture = [this] {
        const std::vector<Colour> pixels = render(look, 64, 48).pixels;
        EXPECT_EQ(pixels.size(), 64U * 48U);
        const auto shows = [](float level) { return level >= 0.0F && level <= 1.0F; };
        EXPECT_TRUE(std::ranges::all_of(
            pixels, [&](const Colour& c) { return shows(c.red) && shows(c.green) && shows(c.blue); }));
    };
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), -1.0F}) {
        std::memset(&look.lsc, 0x7F, sizeof look.lsc); // endless names and lengths
        look.lsc.byPass = false;
        look.lsc.stAuto.common.enable = true;
        look.lsc.mode = RK_AIQ_LSC_MODE_AUTO;
        look.lsc.stAuto.alscCoef.illAll_len = look.lsc.stAuto.tbl.tableAll_len = 1000;
        set_nr2d(look, bad);
        set_nr3d(look, bad);
        set_sharp(look, bad);
        std::ranges::fill(look.drc.stAutoV30.DrcTuningPara.DrcGain.DrcGain, bad);
        look.drc.stAutoV30.DrcTuningPara.Enable = true;
        set_matrix(look, -1000, {bad, bad, bad, bad, bad, bad, bad, bad, bad});
        look.wb_gain = {bad, bad, bad, bad};
        look.neutral_red = look.neutral_blue = look.exposure = look.sensor_gain = static_cast<double>(bad);
        expect_picture();
    }
    look = Look{};
    expect_picture();
}

TEST_F(Picture, SizesWithoutAPictureGiveNone)
{
    for (const auto& [width, height] : {std::pair(0, 10), {10, -1}, {kMaxSide + 1, 10}}) {
        EXPECT_TRUE(render(look, width, height).pixels.empty());
    }
    for (const int side : {1, 2, 7}) {
        const Image tiny = render(look, side, side);
        EXPECT_EQ(tiny.pixels.size(), static_cast<std::size_t>(side * side));
        EXPECT_GE(luma_deviation(tiny, region_area(tiny, Region::flat)), 0.0);
    }
    EXPECT_TRUE(contact_sheet({}, 3).pixels.empty());
    EXPECT_TRUE(side_by_side({{"none", Image{}}}).pixels.empty());
    const Image wide = render(look, kMaxSide, 1);
    EXPECT_TRUE(side_by_side({{"wide", wide}, {"wide", wide}}).pixels.empty());
}

TEST_F(Picture, SheetsHoldTheImagesUnderTheirLabels)
{
    const Image small = render(look, 160, 120);
    const Image pair = side_by_side({{"", small}, {"plain", small}});
    const Image sheet = contact_sheet({{"a", small}, {"b", small}, {"c", small}}, 2);
    EXPECT_EQ(sheet.width, pair.width);
    EXPECT_EQ(sheet.height, 2 * pair.height);
    const auto expect_at = [&](int x, int y) {
        for (int i = 0; i < kPatches; ++i) {
            const Area area = patch_area(small, i);
            const Area moved{area.x0 + x, area.y0 + y, area.x1 + x, area.y1 + y};
            EXPECT_NEAR(mean_luma(pair, moved), mean_luma(small, area), 0.002) << patch_name(i);
            EXPECT_NEAR(luma_deviation(pair, moved), luma_deviation(small, area), 0.002) << patch_name(i);
        }
    };
    const int gap = (pair.width - 2 * small.width) / 3;
    const int top = pair.height - small.height - gap;
    expect_at(gap, top);
    expect_at(2 * gap + small.width, top);
    EXPECT_EQ(luma_deviation(pair, {0, 0, gap + small.width, top}), 0.0) << "no label";
    EXPECT_GT(luma_deviation(pair, {gap + small.width, 0, pair.width, top}), 0.01) << "the label's ink";
}

TEST_F(Picture, FilesAppearWholeOrNotAtAll)
{
    namespace fs = std::filesystem;
    const fs::path folder = fs::path(testing::TempDir()) / "picture_test";
    fs::remove_all(folder);
    fs::create_directories(folder / "taken.png" / "inner");
    const std::string good = folder / "chart.png";
    EXPECT_EQ(save(good, plain), "");
    std::string head(24, '\0');
    std::ifstream(good, std::ios::binary).read(head.data(), 24);
    EXPECT_EQ(head, std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\1\x40\0\0\0\xF0", 24));
    for (const auto& [name, reason] : {std::pair("missing/chart.png", "No such file"), {"taken.png", "not a regular file"}}) {
        const std::string path = folder / name;
        EXPECT_THAT(save(path, plain), testing::AllOf(testing::StartsWith(path), testing::HasSubstr(reason)));
    }
    EXPECT_THAT(save(good, Image{}), testing::HasSubstr("no picture"));
    EXPECT_GT(fs::file_size(good), 100U) << "the file from before stays";
    EXPECT_EQ(bench::entries(folder.c_str()), 2) << "nothing partial is left";
}

} // namespace
