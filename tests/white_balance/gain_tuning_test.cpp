// Gain tuning: offsets in automatic mode, gains held in one-push and colour temperature, nothing in other modes.
#include "white_balance/wb_bench.h"

using namespace bench;
using ::testing::ElementsAreArray;

namespace
{

using GainTuning = WhiteBalance;

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
            Balance engine = kBefore;
            engine.mode = RK_AIQ_WB_MODE_MANUAL;
            put_balance(kCamera, engine);
            EXPECT_EQ(set(level), 0);
            EXPECT_EQ(stored(kCamera, "rgain_tuning"), red);
            EXPECT_EQ(stored(kCamera, "bgain_tuning"), blue);
            EXPECT_EQ(balance(kCamera), with_offset(kBefore, static_cast<float>((30 * (red - 10) + at_red) / 1000.0),
                                                    static_cast<float>((30 * (blue - 10) + at_blue) / 1000.0)));
        }
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

TEST_F(GainTuning, WhatIsStored)
{
    const struct {
        const char* setting;
        int (*set)(int);
    } colours[] = {{"rgain_tuning", set_red}, {"bgain_tuning", set_blue}, {"ggain_tuning", set_green}};
    for (const auto& [name, set] : colours) {
        sim::host::set_maximum(setting(name), 22); // alone bounds a level from above
        for (const auto& [level, kept] : {std::pair{5, 5}, {21, 21}, {25, 22}, {-3, 0}}) {
            for (const int mode : kTakesTuning) {
                store(kCamera, "wb_mode", mode);
                EXPECT_EQ(line_of([set, level] { EXPECT_EQ(set(level), 0); }).empty(), set == set_green);
                EXPECT_EQ(stored(kCamera, name), kept) << name;
            }
            for (const int mode : kTakesNoTuning) {
                store(kCamera, "wb_mode", mode);
                store(kCamera, name, 10);
                EXPECT_EQ(line_of([set, level] { EXPECT_EQ(set(level), 0); }), "");
                EXPECT_EQ(stored(kCamera, name), 10) << name << " in mode " << mode;
            }
        }
    }
}

} // namespace
