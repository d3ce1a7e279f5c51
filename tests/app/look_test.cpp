// What settings and scenes do to exposure, seen in the picture.
#include "base/clock.h"
#include "engine/engine.h"
#include "prompt/commands.h"
#include "prompt/json.h"
#include "session/bad_input.h"
#include "session/look.h"
#include "support/bench.h"
#include "support/session.h"

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

namespace
{

using namespace sim::picture;

/// A camera that runs.
class AppLook : public bench::OpenSession
{
protected:
    AppLook()
    {
        run("start 0");
    }

    void run(const std::string& line)
    {
        prompt::run_line(line, options);
    }

    /// What a program is told.
    prompt::Json answer(const std::string& line)
    {
        said.str("");
        options.json = true;
        run(line);
        const std::string text = said.str();
        return prompt::Json::parse(text.substr(text.rfind('\n', text.size() - 2) + 1));
    }

    /// Mean of the picture before the tone curve, but for the top row of cells, which average metering leaves out.
    static double linear_mean()
    {
        const Look seen = session::look_of(0);
        Look linear = seen;
        static_cast<EngineBlocks&>(linear) = neutral_look();
        linear.lsc = seen.lsc;
        linear.wb_gain = seen.wb_gain;
        linear.gamma.atrrV30.mode = GAMMA_MODE_MANUAL;
        linear.gamma.atrrV30.stManual.Gamma_en = false;
        const Image image = render(linear, 160, 120);
        return mean_luma(image, {0, 8, 160, 120});
    }

    std::ostringstream said;
    prompt::RunOptions options{.output = &said};
};

TEST_F(AppLook, BrightnessFollowsLumaAtEveryLevel)
{
    const struct {
        const char* setting;
        std::vector<const char*> before;
        double least, most; // luma over all levels
    } cases[] = {
        {"expcomp_level", {"scene 0 100", "set 0 exposure_mode auto", "set 0 expcomp_mode on"}, 35, 150},
        {"backlight", {"set 0 expcomp_mode off", "set 0 backlight off"}, 65, 100},
        {"gain_limit", {"set 0 backlight off", "scene 0 1"}, 2, 15},
        {"bright", {"scene 0 100", "set 0 exposure_mode bright_priority"}, 35, 240},
        {"shutter", {"set 0 exposure_mode manual", "set 0 iris f1.8", "set 0 manual_gain 0", "scene 0 200"}, 2, 150},
        {"manual_gain", {"set 0 shutter 1/60", "scene 0 20"}, 12, 130},
        {"iris", {"set 0 manual_gain 0", "scene 0 200"}, 1, 90},
    };
    for (const auto& [setting, before, least, most] : cases) {
        const sim::host::Setting& walked = *sim::host::find_setting(setting);
        for (const char* line : before) {
            run(line);
        }
        double lowest = 255.0;
        double highest = 0.0;
        for (int level = walked.lowest; level <= walked.highest; ++level) {
            run("set 0 " + std::string(setting) + " " + std::to_string(level));
            sim::wait(2000000);
            const double luma = sim::engine::readings(0).mean_luma;
            EXPECT_NEAR(255.0 * linear_mean(), luma, 0.1 * luma + 0.5) << setting << ' ' << level;
            lowest = std::min(lowest, luma);
            highest = std::max(highest, luma);
        }
        EXPECT_LT(lowest, least) << setting;
        EXPECT_GT(highest, most) << setting;
    }
}

TEST_F(AppLook, ScenesAreMeteredWhereAndAsTheLensShowsThem)
{
    run("scene 0 window");
    std::map<std::string, double> mean;
    for (const std::string mode : {"average", "center", "smart", "top"}) {
        run("set 0 meter " + mode);
        run("run 3s");
        mean[mode] = linear_mean();
    }
    EXPECT_GT(mean["smart"], 1.1 * mean["average"]) << "the dark lower part of the room";
    EXPECT_GT(mean["average"], 1.1 * mean["center"]) << "the window reaches into the middle";
    EXPECT_GT(mean["center"], 1.1 * mean["top"]);

    run("set 0 meter average");
    run("scene 0 stage");
    run("run 3s");
    const double whole = sim::engine::readings(0).exposure;
    run("zoom 3700");
    run("run 6s");
    EXPECT_LT(sim::engine::readings(0).exposure, whole / 2.0) << "the figure fills the picture";
    EXPECT_NEAR(255.0 * linear_mean(), sim::engine::readings(0).mean_luma, 6.0);
}

TEST_F(AppLook, ComparingStopsWhereASetterFailsAndPutsBack)
{
    const std::string path = folder + "/c.png";
    run("set 0 meter smart");
    run("fault rk_aiq_user_api2_ae_setExpSwAttr 2 -1");
    EXPECT_THROW(run("compare 0 meter average top " + path), session::BadInput);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(bench::stored(0, "meter"), Meter_Mode_Smart);
    run("fault clear");
    run("compare 0 meter average top " + path);
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(session::caption_of(0).back(), "meter smart");
    run("set 0 saturation 9");
    run("compare 0 saturation 0 14 " + path);
    EXPECT_EQ(bench::held<acp_attrib_t>(0).saturation, 83 + 90);
}

TEST_F(AppLook, FiguresShowAWrongWhiteBalanceAndOverexposure)
{
    const auto figures = [this](const std::string& change) {
        run(change);
        run("run 3s");
        return answer("measure 0");
    };
    constexpr std::size_t kWhite = 18; // of 24 patches, followed by silver
    const prompt::Json plain = figures("scene 0 100");
    EXPECT_EQ(plain["patches"][kWhite]["patch"], "white");
    EXPECT_LT(plain["patches"][kWhite + 1]["ciede2000"], 3.0);
    EXPECT_GT(plain["patches"][kWhite]["snr_db"], 40.0);
    EXPECT_LT(plain["clipped_percent"], 5.0);
    EXPECT_NEAR(plain["edge_contrast"].get<double>(), 195.0, 20.0);
    double share = 0.0;
    for (const prompt::Json& level : plain["levels"]) {
        share += level["luma_percent"].get<double>();
    }
    EXPECT_NEAR(share, 100.0, 0.1);
    EXPECT_GT(figures("set 0 wb_mode temperature")["patches"][kWhite + 1]["ciede2000"], 4.0);
    run("set 0 exposure_mode bright_priority");
    EXPECT_GT(figures("set 0 bright 20")["clipped_percent"], 60.0);
}

TEST_F(AppLook, SettingsAreShownAsTheListSays)
{
    run("illuminant 0 TL84"); // which flickers
    const auto picture = [&] {
        sim::wait(3000000);
        Look look = session::look_of(0);
        look.frame = 0; // whatever the noise of the moment
        return render(look, 160, 120).pixels;
    };
    const struct {
        std::string setting;
        std::vector<const char*> before;
        int low = INT_MIN;  // unless its lowest
        int high = INT_MAX; // and highest
    } more[] = {
        {"exposure_mode", {"scene 0 40"}, AUTO_EXPOSURE, MANUAL_EXPOSURE},
        {"shutter", {"set 0 exposure_mode manual"}},
        {"iris", {}, VISCA_IRIS_F1100},
        {"manual_gain", {"set 0 exposure_mode manual", "scene 0 10"}},
        {"bright", {"set 0 exposure_mode bright_priority"}},
        {"expcomp_mode", {"set 0 exposure_mode auto", "set 0 expcomp_level 14"}},
        {"expcomp_level", {"set 0 expcomp_mode on"}},
        {"gain_limit", {"set 0 expcomp_mode off", "scene 0 2"}},
        {"antiflicker", {"set 0 exposure_mode auto", "scene 0 1000", "mains 0 60"}},
        {"meter", {"scene 0 window"}},
        {"wdr_strength", {"set 0 exposure_mode wide_dynamic_range"}},
        {"rgain", {"set 0 exposure_mode auto", "scene 0 chart", "scene 0 20", "set 0 wb_mode manual"}},
        {"rgain_tuning", {"set 0 wb_mode auto"}},
        {"rgain_onepush", {"set 0 wb_mode onepush"}},
        {"temperature", {"set 0 wb_mode temperature"}},
        {"saturation", {"set 0 wb_mode auto"}},
    };
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        int low = setting.lowest;
        int high = setting.highest;
        for (const auto& [name, before, lowest, highest] : more) {
            if (name == setting.name) {
                low = std::max(low, lowest);
                high = std::min(high, highest);
                for (const char* line : before) {
                    run(line);
                }
            }
        }
        if (setting.setter == sim::host::Setter::none) {
            EXPECT_FALSE(setting.shown) << setting.name;
            continue;
        }
        const auto shown = [&](int value) {
            if (setting.setter == sim::host::Setter::action) {
                run("set 0 " + std::string(setting.name));
            } else {
                run("set 0 " + std::string(setting.name) + " " + std::to_string(value));
            }
            if (setting.name.ends_with("_onepush")) {
                run("set 0 wb_mode onepush");
            }
            return picture();
        };
        const auto least = shown(low);
        const auto most = shown(high);
        EXPECT_EQ(least != most, setting.shown) << setting.name;
        if (setting.setter != sim::host::Setter::action) {
            shown(setting.initial);
        }
    }
    run("help wdr_strength");
    EXPECT_NE(said.str().find("not shown by the simulated picture"), std::string::npos);
}

TEST_F(AppLook, ASweepMeasuresEveryCombinationTheSameAtEveryRunAndPutsBack)
{
    const std::string csv = folder + "/s.csv";
    const auto swept = [&](const std::string& what) {
        return answer("sweep 0 " + what + " " + csv + " " + folder + "/s.png")["points"];
    };
    run("scene 0 10");
    const prompt::Json points = swept("nr3d off,3,8 nr2d 0 gamma 0.45,0.63 --frames 2 --by noise");
    std::string heading;
    std::getline(std::ifstream(csv) >> std::ws, heading);
    EXPECT_TRUE(heading.starts_with("nr3d,nr2d,gamma,red,green,blue,luma,")) << heading;
    ASSERT_EQ(points.size(), 6U);
    const auto noise = [&](std::size_t point) { return points[point]["noise"].get<double>(); };
    EXPECT_NEAR(noise(2) / noise(0), 1.0 / std::sqrt(1.0 + 1.8), 0.08) << "3D noise reduction 3 has a strength of 1.8";
    EXPECT_NEAR(noise(4) / noise(0), 1.0 / std::sqrt(1.0 + 6.0), 0.08);
    EXPECT_EQ(bench::stored(0, "nr3d"), NR3D_AUTO);
    EXPECT_EQ(session::caption_of(0).back().find("nr3d"), std::string::npos);
    EXPECT_GT(std::filesystem::file_size(folder + "/s.png"), 1000U);
    for (const char* wrong : {"hue 0..14 drc 0..8 gamma 0..5 nr3d 0..8", "hue 3..99", "gamma", "hotpixel 1",
                              "hue 3 --by x", "hue 3 region 600 0 100 10", "hue 3 --frames"}) {
        EXPECT_THROW(swept(wrong), session::BadInput) << wrong;
    }
    EXPECT_THROW(run("measure 0 1 2 3"), session::BadInput);
}

TEST_F(AppLook, ARecordedRunTellsHowExposureSettled)
{
    const std::string csv = folder + "/run.csv";
    run("run 2s");
    run("record " + csv + " 0");
    run("run 2s");
    run("scene 0 20");
    run("say it gets dark");
    run("run 3s");
    said.str("");
    run("record stop");
    double start = -1.0;
    double dark = -1.0;
    double overshoot = -1.0;
    EXPECT_EQ(std::sscanf(said.str().c_str(),
                          " %*f s camera 0 settled after %lf s overshoot %*f %% luma %*f start"
                          " %*f s camera 0 settled after %lf s overshoot %lf %% luma %*f it gets dark",
                          &start, &dark, &overshoot),
              3)
        << said.str();
    EXPECT_EQ(start, 0.0);
    EXPECT_TRUE(dark > 0.1 && dark < 1.5) << dark;
    EXPECT_TRUE(overshoot >= 0.0 && overshoot < 5.0) << overshoot;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (const std::string& drawn : {"plot " + csv, std::string("histogram 0"), std::string("waveform 0")}) {
        run(drawn + " " + folder + "/drawn.svg");
        EXPECT_GT(std::filesystem::file_size(folder + "/drawn.svg"), 10000U) << drawn;
        std::filesystem::remove(folder + "/drawn.svg");
        EXPECT_THROW(run(drawn + " " + folder + "/missing/drawn.png"), session::BadInput) << drawn;
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
