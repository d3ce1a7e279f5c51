// Gain tuning: offsets in automatic mode, gains held in one-push and colour temperature, nothing in other modes.
#include "white_balance/wb_bench.h"

using namespace bench;

namespace
{

using GainTuning = WhiteBalance;

// 30 thousandths of gain per step, and an amount that depends on the lens and, for red, on the setter.
TEST_F(GainTuning, OffsetsOfAllLevels)
{
    const struct {
        const char* name;
        const char* lens;
        int red; // thousandths at level 10
        int blue;
    } rows[] = {
        {"rgain_tuning", kOtherLens, -10, 0}, {"rgain_tuning", kSr1053, -35, -30}, {"bgain_tuning", kOtherLens, 0, 0},
        {"bgain_tuning", kSr1053, -35, -30},  {"wb_mode", kOtherLens, -10, 0},     {"wb_mode", kSr1053, -35, -30},
    };
    store(kCamera, "wb_mode", AUTO_WHITE_BALANCE);
    for (const auto& [name, lens, at_red, at_blue] : rows) {
        isp::seam.lens_command = lens;
        for (int level = 0; level <= 20; ++level) {
            const int red = name[0] == 'b' ? 20 - level : level;
            const int blue = 20 - red;
            SCOPED_TRACE(::testing::Message() << lens << ", red " << red << ", blue " << blue);
            tuning(red, blue);
            if (name[0] != 'w') {
                store(kCamera, name, 3);
            }
            Balance engine = kBefore;
            engine.mode = RK_AIQ_WB_MODE_MANUAL;
            put_balance(kCamera, engine);
            EXPECT_EQ(line_of([&] { EXPECT_EQ(set(kCamera, name, name[0] == 'w' ? AUTO_WHITE_BALANCE : level), 0); }),
                      "GetMode1 GetGains1 GetOffset1 SetOffset1 SetMode1 SetGains1");
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
            for (const bool sets_blue : {false, true}) {
                SCOPED_TRACE(::testing::Message() << "mode " << mode << ", level " << level << ", blue " << sets_blue);
                tuning(sets_blue ? level : 3, sets_blue ? 3 : 20 - level);
                put_balance(kCamera, kBefore);
                EXPECT_EQ(line_of([&] {
                              sets_blue ? set(kCamera, "bgain_tuning", 20 - level)
                                        : set(kCamera, "rgain_tuning", level);
                          }),
                          "GetMode1 GetGains1 SetMode1 SetGains1");
                EXPECT_EQ(balance(kCamera), holding(tuned(red, level), green, tuned(blue, 20 - level)));
            }
        }
    }
    EXPECT_EQ(get_onepush_rgain(kCamera), 1957);
    EXPECT_EQ(get_colortemp_rgain(kCamera), 1.477F);
}

TEST_F(GainTuning, WhatIsStored)
{
    for (const char* name : {"rgain_tuning", "bgain_tuning", "ggain_tuning"}) {
        sim::host::set_maximum(setting(name), 22); // alone bounds a level from above
        for (const auto& [level, kept] : {std::pair{5, 5}, {21, 21}, {25, 22}, {-3, 0}}) {
            for (const int mode : {0, 1, 2, 3, 4, 5, -1, 31, 32, 33}) {
                const bool takes = mode == AUTO_WHITE_BALANCE || mode == ONE_PUSH_WHITE_BALANCE || mode == TEMPERATURE;
                store(kCamera, "wb_mode", mode);
                store(kCamera, name, 10);
                EXPECT_EQ(line_of([&] { EXPECT_EQ(set(kCamera, name, level), 0); }).empty(), !takes || name[0] == 'g');
                EXPECT_EQ(stored(kCamera, name), takes ? kept : 10) << name << " in mode " << mode;
            }
        }
    }
}

// Red tuning 12 and blue tuning 7: the traces show the steps, 2 and -3.
TEST_F(GainTuning, TracesShowTheSteps)
{
    const struct {
        const char* name;
        int level;
        int mode;
        std::string messages; // the last ones
    } rows[] = {
        {"wb_mode", AUTO_WHITE_BALANCE, 0,
         "isp_wbmode called: isp_wbmode_val = 0 \n\n00000cam_rgaintuning :2,cam_bgaintuning :-3\n"
         "wbGainOffset_Rgain :0.050000,wbGainOffset_Bgain :-0.090000\nleave\n"},
        {"wb_mode", ONE_PUSH_WHITE_BALANCE, 0,
         "get_onepush_rgain():1000\nget_onepush_bgain():2000\ncur_rgaintuning:2\ncur_bgaintuning:-3\nleave\n"},
        {"wb_mode", TEMPERATURE, 0,
         "TEMPERATURE\nenter WBmode_TEMPERATURE_isp_wbmode_val is :32\nvalue:25\n"
         "111111TEMPERATURE_cur_wb_temperature is :25\n"},
        {"rgain_tuning", 12, AUTO_WHITE_BALANCE,
         "osd_rgaintuning_val :0xc\n\n00000cam_rgaintuning :2,cam_bgaintuning :-3\n"
         "wbGainOffset_Rgain :0.050000,wbGainOffset_Bgain :-0.090000\n"},
        {"bgain_tuning", 7, AUTO_WHITE_BALANCE,
         "osd_bgaintuning_val :0x7\n\n11111cam_rgaintuning :2,cam_bgaintuning :-3\n"
         "isp_id :1,wbGainOffset_Rgain :0.060000,wbGainOffset_Bgain :-0.090000\ncam_wb_mode: 0 \n"},
        {"rgain_tuning", 12, TEMPERATURE, "rgain = 1.500622,ggain = 1.000000, bgain = 1.763567\n"},
        {"bgain_tuning", 7, TEMPERATURE, "rgain = 1.500622, bgain = 1.763567\ncam_wb_mode: 32 \n"},
        {"ggain_tuning", 12, TEMPERATURE, "isp_wbmode called: isp_wbmode_val = 32 \n\nosd_ggaintuning_val :0xc\n\n"},
        {"rgain", 64, MANUAL_WHITE_BALANCE, "u16Rgain:1.003500\n\n"},
    };
    store(kCamera, "rgain_onepush", 1000);
    store(kCamera, "bgain_onepush", 2000);
    store(kCamera, "temperature", 25);
    tuning(12, 7);
    for (const auto& [name, level, mode, messages] : rows) {
        store(kCamera, "wb_mode", mode);
        std::string traced;
        for (const std::string& trace : traces_of([&] { EXPECT_EQ(set(kCamera, name, level), 0); })) {
            traced += trace.substr(trace.find(": ") + 2); // without the function
        }
        EXPECT_THAT(traced, ::testing::EndsWith(messages));
    }
}

} // namespace
