// Gain tuning: offsets in automatic mode, gains held in one-push and colour temperature, nothing in other modes.
#include "white_balance/wb_bench.h"

using namespace bench;
using ::testing::ElementsAreArray;

namespace
{

class GainTuning : public WhiteBalance
{
};

int set_red(int level)
{
    return KIV_Set_rgain_tuning(kCamera, RGain_Tuning_E{level});
}
int set_blue(int level)
{
    return KIV_Set_bgain_tuning(kCamera, BGain_Tuning_E{level});
}
int set_green(int level)
{
    return KIV_Set_ggain_tuning(kCamera, GGain_Tuning_E{level});
}
int enter_automatic(int /*level*/)
{
    return KIV_Set_wb_mode(kCamera, AUTO_WHITE_BALANCE);
}

// 30 thousandths of gain per step, and an amount that depends on the lens and, for red, on the setter.
TEST_F(GainTuning, OffsetsOfAllLevels)
{
    const struct {
        int (*set)(int);
        bool sets_blue;
        const char* lens;
        int red; // thousandths at level 10
        int blue;
    } rows[] = {
        {set_red, false, kOtherLens, -10, 0},         {set_red, false, kSr1053, -35, -30},
        {set_blue, true, kOtherLens, 0, 0},           {set_blue, true, kSr1053, -35, -30},
        {enter_automatic, false, kOtherLens, -10, 0}, {enter_automatic, false, kSr1053, -35, -30},
    };
    store(kCamera, "wb_mode", AUTO_WHITE_BALANCE);
    for (const auto& [set, sets_blue, lens, at_red, at_blue] : rows) {
        isp::seam.lens_command = lens;
        for (int level = 0; level <= 20; ++level) {
            const int red = sets_blue ? 20 - level : level;
            const int blue = 20 - red;
            SCOPED_TRACE(::testing::Message() << lens << ", red " << red << ", blue " << blue);
            tuning(red, blue);
            store(kCamera, sets_blue ? "bgain_tuning" : "rgain_tuning", set == enter_automatic ? red : 3);
            put_balance(kCamera, kBefore);
            EXPECT_EQ(set(level), 0);
            EXPECT_EQ(stored(kCamera, "rgain_tuning"), red);
            EXPECT_EQ(stored(kCamera, "bgain_tuning"), blue);
            EXPECT_EQ(balance(kCamera), with_offset(kBefore, static_cast<float>((30 * (red - 10) + at_red) / 1000.0),
                                                    static_cast<float>((30 * (blue - 10) + at_blue) / 1000.0)));
        }
    }
}

TEST_F(GainTuning, AutomaticModeIsSwitchedOn)
{
    store(kCamera, "wb_mode", AUTO_WHITE_BALANCE);
    for (int (*set)(int) : {set_red, set_blue}) {
        put_balance(kCamera, holding(1.1F, 1.2F, 1.3F));
        EXPECT_EQ(line_of([&] { EXPECT_EQ(set(10), 0); }),
                  "GetMode1 GetGains1 GetOffset1 SetOffset1 SetMode1 SetGains1");
        Balance expected = with_offset(holding(1.1F, 1.2F, 1.3F), set == set_red ? -0.01F : 0.0F, 0.0F);
        expected.mode = RK_AIQ_WB_MODE_AUTO;
        EXPECT_EQ(balance(kCamera), expected);
    }
}

TEST_F(GainTuning, HeldGainsOfAllLevels)
{
    store(kCamera, "rgain_onepush", 1957);
    store(kCamera, "bgain_onepush", 2000);
    set_colortemp_rgain(kCamera, 1.477F);
    set_colortemp_ggain(kCamera, 0.9F); // held in TEMPERATURE, where one-push holds 1.0
    set_colortemp_bgain(kCamera, 1.799F);
    const struct {
        int mode;
        long double red;
        float green;
        long double blue;
    } rows[] = {{ONE_PUSH_WHITE_BALANCE, 1.957L, 1.0F, 2.0L}, {TEMPERATURE, 1.477F, 0.9F, 1.799F}};
    for (const auto& [mode, red, green, blue] : rows) {
        store(kCamera, "wb_mode", mode);
        for (int level = 0; level <= 20; ++level) {
            SCOPED_TRACE(::testing::Message() << "mode " << mode << ", level " << level);
            tuning(3, 20 - level);
            put_balance(kCamera, kBefore);
            EXPECT_EQ(line_of([&] { EXPECT_EQ(set_red(level), 0); }), "GetMode1 GetGains1 SetMode1 SetGains1");
            EXPECT_EQ(balance(kCamera), holding(tuned(red, level), green, tuned(blue, 20 - level)));
            tuning(level, 3);
            EXPECT_EQ(set_blue(20 - level), 0);
            EXPECT_EQ(balance(kCamera), holding(tuned(red, level), green, tuned(blue, 20 - level)));
        }
    }
    EXPECT_EQ(get_onepush_rgain(kCamera), 1957);
    EXPECT_EQ(get_colortemp_rgain(kCamera), 1.477F);
}

TEST_F(GainTuning, LevelsAreBounded)
{
    sim::host::set_maximum(setting("bgain_tuning"), 30);
    for (const int mode : kTakesTuning) {
        store(kCamera, "wb_mode", mode);
        EXPECT_EQ(set_red(25), 0);
        EXPECT_EQ(stored(kCamera, "rgain_tuning"), 20);
        EXPECT_EQ(set_blue(25), 0);
        EXPECT_EQ(stored(kCamera, "bgain_tuning"), 25) << "the store's maximum alone counts";
        EXPECT_EQ(set_red(-3), 0);
        EXPECT_EQ(stored(kCamera, "rgain_tuning"), 0);
        EXPECT_EQ(set_green(21), 0);
        EXPECT_EQ(stored(kCamera, "ggain_tuning"), 20);
    }
}

TEST_F(GainTuning, RefusedWhereItHasNoEffect)
{
    for (const int mode : kTakesNoTuning) {
        store(kCamera, "wb_mode", mode);
        EXPECT_EQ(line_of([] {
                      EXPECT_EQ(set_red(15), 0);
                      EXPECT_EQ(set_blue(15), 0);
                      EXPECT_EQ(set_green(15), 0);
                  }),
                  "");
        for (const char* name : {"rgain_tuning", "bgain_tuning", "ggain_tuning"}) {
            EXPECT_EQ(stored(kCamera, name), 10) << name << " in mode " << mode;
        }
    }
}

TEST_F(GainTuning, GreenIsStoredOnly)
{
    for (const int mode : kTakesTuning) {
        store(kCamera, "wb_mode", mode);
        EXPECT_EQ(line_of([] { EXPECT_EQ(set_green(5), 0); }), "");
        EXPECT_EQ(stored(kCamera, "ggain_tuning"), 5);
    }
    EXPECT_EQ(balance(kCamera), kBefore);
}

TEST_F(GainTuning, TracesCarryTheTuningStep)
{
    set_colortemp_rgain(kCamera, 1.5F);
    set_colortemp_bgain(kCamera, 2.5F);
    store(kCamera, "rgain_onepush", 1000);
    store(kCamera, "bgain_onepush", 2000);
    const std::string red = "KIV_Set_rgain_tuning: ";
    const std::string blue = "KIV_Set_bgain_tuning: ";
    const std::string red_level = red + "osd_rgaintuning_val :0xc\n\n"; // 12
    const std::string blue_level = blue + "osd_bgaintuning_val :0x7\n\n";
    const auto mode_text = [](const std::string& who, int mode) {
        return who + "isp_wbmode called: isp_wbmode_val = " + std::to_string(mode) + " \n\n";
    };
    const struct {
        int (*set)(int);
        int mode;
        int level;
        std::vector<std::string> messages;
    } rows[] = {
        {set_red,
         AUTO_WHITE_BALANCE,
         12,
         {mode_text(red, 0), red_level, red + "00000cam_rgaintuning :2,cam_bgaintuning :-3\n",
          red + "wbGainOffset_Rgain :0.050000,wbGainOffset_Bgain :-0.090000\n"}},
        {set_blue,
         AUTO_WHITE_BALANCE,
         7,
         {blue_level, blue + "11111cam_rgaintuning :2,cam_bgaintuning :-3\n",
          blue + "isp_id :1,wbGainOffset_Rgain :0.060000,wbGainOffset_Bgain :-0.090000\n", blue + "cam_wb_mode: 0 \n"}},
        {set_red,
         TEMPERATURE,
         12,
         {mode_text(red, 32), red_level, red + "rgain = 1.523622,ggain = 1.000000, bgain = 2.464567\n"}},
        {set_blue,
         TEMPERATURE,
         7,
         {blue_level, blue + "rgain = 1.523622, bgain = 2.464567\n", blue + "cam_wb_mode: 32 \n"}},
        {set_red,
         ONE_PUSH_WHITE_BALANCE,
         12,
         {mode_text(red, 3), red_level, red + "rgain = 1.023622, bgain = 1.964567\n"}},
        {set_blue,
         ONE_PUSH_WHITE_BALANCE,
         7,
         {blue_level, blue + "rgain = 1.023622, bgain = 1.964567\n", blue + "cam_wb_mode: 3 \n"}},
        {set_green,
         TEMPERATURE,
         12,
         {mode_text("KIV_Set_ggain_tuning: ", 32), "KIV_Set_ggain_tuning: osd_ggaintuning_val :0xc\n\n"}},
        {set_blue, OUT_DOOR, 7, {blue_level}},
    };
    for (const auto& [set, mode, level, messages] : rows) {
        SCOPED_TRACE(mode);
        store(kCamera, "wb_mode", mode);
        tuning(12, 7);
        EXPECT_THAT(traces_of([&] { EXPECT_EQ(set(level), 0); }), ElementsAreArray(messages));
    }
}

} // namespace
