// Gain tuning: offsets in automatic mode, gains held in one-push and colour temperature, nothing in other modes.
#include "white_balance/wb_bench.h"

using namespace bench;

namespace
{

using GainTuning = WhiteBalance;

// 30 thousandths of gain per step, and an amount that depends on the lens and, for red, on the setter.
TEST_F(GainTuning, OffsetsOfAllLevels)
{
    // red: thousandths at level 10
    const std::tuple<const char*, const char*, int, int> rows[] = {
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
    const std::tuple<int, long double, float, long double> rows[] = {{ONE_PUSH_WHITE_BALANCE, 1.957L, 1.0F, 2.0L},
                                                                     {TEMPERATURE, 1.477F, 0.9F, 1.799F}};
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

} // namespace
