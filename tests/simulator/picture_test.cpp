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
#include <functional>
#include <limits>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace sim::picture;

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

void set_drc(Look& look, float gain)
{
    look.drc.stAutoV30.DrcTuningPara.Enable = true;
    std::ranges::fill(look.drc.stAutoV30.DrcTuningPara.DrcGain.DrcGain, gain);
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

TEST_F(Picture, GreysAreGreyAndInOrderInANeutralLook)
{
    for (int i = kWhitePatch; i <= kBlackPatch; ++i) {
        EXPECT_LT(cast(patch(plain, i)), 0.002F) << patch_name(i);
        EXPECT_TRUE(i == kWhitePatch || patch(plain, i).green < patch(plain, i - 1).green - 0.05F) << patch_name(i);
    }
    EXPECT_GT(cast(patch(plain, 0)), 0.1F) << "a colour is not grey";
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

TEST_F(Picture, NoiseGrowsWithGainAndShrinksWithTheFilter)
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
    look = neutral_look();
    set_gamma(look, 1.0);
    const Image linear = shown();
    EXPECT_GT(luma_deviation(linear, patch_area(linear, kWhitePatch)),
              2.0 * luma_deviation(linear, patch_area(linear, kBlackPatch)))
        << "light itself is noisy";
}

TEST_F(Picture, EveryFrameOfEveryCameraHasItsOwnNoiseAndMeansHaveLess)
{
    look.sensor_gain = 8.0;
    look.exposure = 1.5;
    set_gamma(look, 1.0);
    const auto noise_of = [&](int frames) {
        const Image image = render_mean(look, frames, 320, 240);
        return luma_deviation(image, region_area(image, Region::flat));
    };
    const Image first = shown();
    EXPECT_EQ(shown().pixels, first.pixels) << "a run repeats itself";
    for (const auto& change : {std::function<void()>([&] { ++look.frame; }), {[&] { ++look.camera; }}}) {
        change();
        EXPECT_NE(shown().pixels, first.pixels);
    }
    const double one = noise_of(1);
    for (const int frames : {4, 16, 64}) {
        EXPECT_NEAR(noise_of(frames) * std::sqrt(frames) / one, 1.0, 0.06) << frames;
    }
    for (const float strength : {0.0F, 0.6F, 1.8F, 3.0F, 6.0F, 9.0F}) {
        set_nr3d(look, strength);
        EXPECT_NEAR(noise() * std::sqrt(1.0 + strength) / one, 1.0, 0.05) << "3D " << strength;
    }
    EXPECT_GT(noise_of(4), 0.8 * noise_of(1)) << "frames that the filter made have most in common";
}

TEST_F(Picture, TheTemporalFilterLeavesGhostsOfWhatItTakesForNoise)
{
    look.scene = find_scene("stage");
    look.moving = true;
    look.frame = 30 * 8 * 1000; // in the middle of the stage, on its way to the right
    const auto seen = [&](double gain, float strength) {
        look.sensor_gain = gain;
        look.exposure = 0.5;
        set_gamma(look, 1.0);
        set_nr3d(look, strength);
        Image mean = shown(); // over cameras: without noise
        for (look.camera = 1; look.camera < 48; ++look.camera) {
            const Image image = shown();
            for (std::size_t i = 0; i < mean.pixels.size(); ++i) {
                mean.pixels[i].green +=
                    (image.pixels[i].green - mean.pixels[i].green) / static_cast<float>(look.camera + 1);
            }
        }
        look.camera = 0;
        return mean;
    };
    const auto ghost = [&](double gain, float strength) {
        const Image without = seen(gain, 0.0F);
        const Image with = seen(gain, strength);
        double most = 0.0;
        for (int y = 100; y < 200; ++y) {
            for (int x = 115; x < 150; ++x) { // the figure's left side, which it leaves
                const auto i = static_cast<std::size_t>(y * 320 + x);
                most = std::max(most, std::abs(double{with.pixels[i].green - without.pixels[i].green}));
            }
        }
        return most;
    };
    EXPECT_LT(ghost(1.0, 6.0F), 0.02) << "little noise: whatever moves is seen";
    EXPECT_GT(ghost(16.0, 6.0F), 0.05);
    const auto left = [&] { return mean_luma(seen(1.0, 0.0F), {90, 80, 150, 220}); };
    const double middle = left();
    look.frame += 60; // a quarter of its way
    EXPECT_LT(left(), 0.7 * middle) << "it went to the right";
    look.moving = false;
    EXPECT_NEAR(left(), middle, 0.01 * middle) << "it stands in the middle";
}

TEST_F(Picture, LampsOnTheMainsLeaveBandsUnlessTheExposureTimeFits)
{
    set_gamma(look, 1.0);
    look.exposure = 0.5;
    const Image steady = shown();
    const auto row = [](const Image& image, int y) { return mean_luma(image, {0, y, 320, y + 1}); };
    const auto bands = [&](const Image& image) { // a part of the mean
        double most = 0.0;
        for (int y = 0; y < 240; ++y) {
            most = std::max(most, std::abs(row(image, y) / row(steady, y) - 1.0));
        }
        return most;
    };
    for (const double mains : {50.0, 60.0}) {
        look.lamp = {0.35, mains};
        for (const double periods : {0.1, 0.5, 0.8, 1.0, 1.5, 2.0, 3.0}) { // of the lamp
            look.exposure_time = periods / (2.0 * mains);
            const double x = std::numbers::pi * periods;
            EXPECT_NEAR(bands(shown()), 0.35 * std::abs(std::sin(x) / x), 0.01) << mains << " Hz, " << periods;
        }
        look.exposure_time = 0.004;
        for (look.frame = 0; look.frame < 3; ++look.frame) { // against the lamp, added up over the exposure
            const Image image = shown();
            for (int y = 0; y < 240; y += 20) {
                const double end = static_cast<double>(look.frame) / 30.0 + (y + 0.5) / 240.0 * 0.03;
                double sum = 0.0;
                for (int i = 0; i < 400; ++i) {
                    sum += 1.0 + 0.35 * std::cos(4.0 * std::numbers::pi * mains * (end - (i + 0.5) * 1e-5));
                }
                EXPECT_NEAR(row(image, y) / row(steady, y), sum / 400.0, 0.02) << mains << " Hz, row " << y;
            }
        }
    }
    look.lamp.mains = 0.0;
    EXPECT_EQ(bands(shown()), bands((look.lamp = {}, shown())));
}

TEST_F(Picture, EachStageChangesWhatItIsFor)
{
    const auto level = [](int number) { return [=](const Image& i) { return double{patch(i, number).green}; }; };
    const auto edge = [](const Image& i) { return steepest_edge(i, region_area(i, Region::star)); };
    const auto corner = [](const Image& i) { return mean_luma(i, {0, 0, 8, 8}) / mean_luma(i, {0, 114, 8, 126}); };
    const auto red = [](const Image& i) { return double{patch(i, kMidGreyPatch).red / patch(i, kMidGreyPatch).green}; };
    const auto limited = {0.1826F, 0.6142F, 0.062F, -0.1006F, -0.3386F, 0.4392F, 0.4392F, -0.3989F, -0.0403F};
    const auto full = {0.2126F, 0.7152F, 0.0722F, -0.1146F, -0.3854F, 0.5F, 0.5F, -0.4542F, -0.0458F};
    const auto set_shading = [](Look& l, auto& grids) {
        l.lsc.byPass = false;
        for (auto* grid :
             {&grids.lsc_samples_red, &grids.lsc_samples_greenR, &grids.lsc_samples_greenB, &grids.lsc_samples_blue}) {
            for (int i = 0; i < RK_AIQ_LSC_GRID_POINTS; ++i) {
                const double r2 = (std::pow(i % 17 / 8.0 - 1.0, 2) + std::pow(i / 17 / 8.0 - 1.0, 2)) / 2.0;
                grid->uCoeff[i] = static_cast<uint16_t>(1024.0 * std::pow(1.0 + 0.54 * r2, 2));
            }
        }
    };
    const struct {
        const char* what;
        std::function<void(Look&)> change;
        std::function<double(const Image&)> measure;
        double factor; // of what the neutral look measures
    } cases[] = {
        {"white balance", [](Look& l) { l.wb_gain.rgain = 1.8F, l.neutral_red = 1.8; }, red, 1.0},
        {"a red light", [](Look& l) { l.neutral_red = 0.77; }, red, 1.12},
        {"shadows lifted", [](Look& l) { set_drc(l, 2.2F); }, level(kBlackPatch), 1.5},
        {"but not white", [](Look& l) { set_drc(l, 2.2F); }, level(kWhitePatch), 1.0},
        {"sharper", [](Look& l) { set_sharp(l, 3.5F); }, edge, 1.28},
        {"sharpening off", [](Look& l) { set_sharp(l, 3.5F), l.sharp.eMode = ASHARP4_OP_MODE_OFF; }, edge, 1.0},
        {"softer", [](Look& l) { set_nr2d(l, 7.0F), l.sensor_gain = 64.0; }, edge, 0.60},
        {"vignetting", [](Look& l) { l.vignetting = {0.54F, 0.54F, 0.54F}; }, corner, 0.86},
        {"vignetting, corrected by hand",
         [=](Look& l) {
             l.vignetting = {0.54F, 0.54F, 0.54F};
             l.lsc.mode = RK_AIQ_LSC_MODE_MANUAL;
             set_shading(l, l.lsc.stManual);
         },
         corner, 1.0},
        {"and by the table of the light that is nearest",
         [=](Look& l) {
             l.vignetting = {0.54F, 0.54F, 0.54F};
             l.lsc.mode = RK_AIQ_LSC_MODE_AUTO;
             l.lsc.stAuto.common.enable = true;
             l.lsc.stAuto.alscCoef.illAll_len = l.lsc.stAuto.tbl.tableAll_len = 2;
             for (int i = 0; i < 2; ++i) {
                 l.lsc.stAuto.alscCoef.illAll[i].name[0] = l.lsc.stAuto.tbl.tableAll[i].illumination[0] =
                     static_cast<char>('A' + i);
                 std::ranges::fill(l.lsc.stAuto.alscCoef.illAll[i].wbGain, 1.0F + static_cast<float>(1 - i));
             }
             set_shading(l, l.lsc.stAuto.tbl.tableAll[1]);
         },
         corner, 1.0},
        {"the display's own matrix", [=](Look& l) { set_matrix(l, 0, full); }, level(13), 1.0},
        {"limited range", [=](Look& l) { set_matrix(l, 16, limited); }, level(kBlackPatch), 1.19},
        {"twice the light", [](Look& l) { set_gamma(l, 1.0), l.exposure = 2.0; }, level(kMidGreyPatch), 0.38 / 0.473},
        {"a full well, with half the gain", [](Look& l) { l.exposure = 9.0, l.wb_gain = {.4F, .4F, .4F, .4F}; },
         level(kWhitePatch), 0.797 / 0.955},
    };
    for (const auto& [what, change, measure, factor] : cases) {
        look = neutral_look();
        change(look);
        EXPECT_NEAR(measure(shown()) / measure(plain), factor, 0.03) << what;
    }
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
        set_drc(look, bad);
        set_matrix(look, -1000, {bad, bad, bad, bad, bad, bad, bad, bad, bad});
        look.wb_gain = {bad, bad, bad, bad};
        look.neutral_red = look.neutral_blue = look.exposure = look.sensor_gain = static_cast<double>(bad);
        expect_picture();
    }
    look = Look{};
    expect_picture();
}

TEST_F(Picture, PhotographsBecomeScenesAndOddFilesAreRefused)
{
    const std::string folder = testing::TempDir() + "photo_test/";
    std::filesystem::create_directories(folder);
    const auto write = [&](const std::string& name, const std::vector<unsigned char>& bytes, std::size_t most) {
        std::ofstream(folder + name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(std::min(bytes.size(), most)));
        return folder + name;
    };
    const std::vector<unsigned char> png = encode_png(plain);
    const std::vector<unsigned char> jpeg = encode_jpeg(plain, 95);
    std::string failed;
    for (const std::string& path : {write("good.png", png, png.size()), write("good.jpg", jpeg, jpeg.size())}) {
        look.scene = load_photo(path, failed);
        ASSERT_NE(look.scene, nullptr) << failed;
        const Image again = shown();
        for (int i = 0; i < kPatches; ++i) {
            EXPECT_NEAR(patch(again, i).red, patch(plain, i).red, 0.02F) << path << ' ' << patch_name(i);
            EXPECT_NEAR(patch(again, i).blue, patch(plain, i).blue, 0.02F) << path << ' ' << patch_name(i);
        }
    }
    std::vector<unsigned char> huge = png;
    huge[16] = huge[20] = 0x7F; // width and height
    const std::vector<unsigned char> black = encode_png({8, 8, std::vector<Colour>(64)});
    for (const std::string& path :
         {write("cut.png", png, png.size() / 2), write("cut.jpg", jpeg, jpeg.size() / 2), write("huge.png", huge, 9999),
          write("head.jpg", jpeg, 3), write("black.png", black, 9999), write("text.png", {'h', 'i'}, 2),
          write("empty", {}, 0), folder, folder + "missing.png"}) {
        EXPECT_EQ(load_photo(path, failed), nullptr) << path;
        EXPECT_TRUE(failed.starts_with(path + ": ") && failed.find('\n') == std::string::npos) << failed;
    }
}

TEST_F(Picture, ASheetHoldsItsPicturesAndCutsTextBetweenCharacters)
{
    std::string dots;
    for (int i = 0; i < 400; ++i) {
        dots += i % 2 == 0 ? "\u00b7" : "\u2026";
    }
    const Image sheet = contact_sheet({{"title", plain, {}}, {"", plain, {dots}}}, 2);
    ASSERT_EQ(sheet.width, 12 + 2 * (320 + 12));
    const auto end = sheet.pixels.begin() + sheet.width * (30 + 240);
    EXPECT_TRUE(std::equal(plain.pixels.end() - 320, plain.pixels.end(), end - 12 - 320));
    EXPECT_LT(std::min_element(end, end + 17 * sheet.width, [](auto a, auto b) { return a.red < b.red; })->red, 0.5F);
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
    for (const auto& [name, reason] :
         {std::pair("missing/chart.png", "No such file"), {"taken.png", "not a regular file"}}) {
        const std::string path = folder / name;
        EXPECT_THAT(save(path, plain), testing::AllOf(testing::StartsWith(path), testing::HasSubstr(reason)));
    }
    EXPECT_THAT(save(good, Image{}), testing::HasSubstr("no picture"));
    EXPECT_GT(fs::file_size(good), 100U) << "the file from before stays";
    EXPECT_EQ(bench::entries(folder.c_str()), 2) << "nothing partial is left";
}

} // namespace
