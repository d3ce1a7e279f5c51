// White-balance mode: what each mode writes, what survives a change of mode; manual gains; colour
// temperature: the curve, what it remembers, and when it reaches the engine.
#include "white_balance/wb_bench.h"

#include <climits>

using namespace bench;

namespace
{

constexpr float kLowest = 0.0035F; // of the manual gains, level 0

class WbMode : public WhiteBalance
{
protected:
    void SetUp() override
    {
        WhiteBalance::SetUp();
        tuning(12, 7);
        store(kCamera, "rgain", 128);
        store(kCamera, "bgain", 64);
        store(kCamera, "rgain_onepush", 1957);
        store(kCamera, "bgain_onepush", 2000);
        store(kCamera, "temperature", 25);
        isp::seam.lens_command = kOtherLens;
    }
};

TEST_F(WbMode, WhatEachModeWrites)
{
    const std::string all = "GetMode1 GetGains1 GetOffset1 SetOffset1 SetMode1 SetGains1";
    Balance automatic = kBefore;
    automatic.mode = RK_AIQ_WB_MODE_AUTO;
    const std::tuple<int, const char*, Balance> rows[] = {
        {AUTO_WHITE_BALANCE, kOtherLens, with_offset(automatic, 0.05F, -0.09F)},
        {AUTO_WHITE_BALANCE, kSr1053, with_offset(automatic, 0.025F, -0.12F)},
        {IN_DOOR, kOtherLens, with_offset(holding(2.0F, 1.0F, 3.0F), 0.0F, 0.0F)},
        {OUT_DOOR, kSr1053, with_offset(holding(2.23F, 1.0F, 2.0F), 0.0F, 0.0F)},
        {ONE_PUSH_WHITE_BALANCE, kSr1053, with_offset(holding(tuned(1.957L, 12), 1.0F, tuned(2.0L, 7)), 0.0F, 0.0F)},
        {MANUAL_WHITE_BALANCE, kOtherLens, with_offset(holding(2.0035F, 1.0F, 1.0035F), 0.0F, 0.0F)},
        {TEMPERATURE, kSr1053, holding(tuned(1.477F, 12), 1.0F, tuned(1.799F, 7))},
    };
    for (const auto& [mode, lens, expected] : rows) {
        SCOPED_TRACE(mode);
        isp::seam.lens_command = lens;
        for (const int before : {RK_AIQ_WB_MODE_MANUAL, RK_AIQ_WB_MODE_AUTO}) {
            Balance engine = kBefore;
            engine.mode = before;
            put_balance(kCamera, engine);
            const auto sync = held<rk_aiq_uapiV2_wb_opMode_t>(kCamera).sync;
            const auto para = held<rk_aiq_wb_mwb_attrib_t>(kCamera).para;
            EXPECT_EQ(line_of([mode] { EXPECT_EQ(KIV_Set_wb_mode(kCamera, WB_Mode_E{mode}), 0); }),
                      mode == TEMPERATURE ? "GetMode1 GetGains1 GetMode1 SetMode1 wait1000 GetGains1 SetGains1" : all);
            EXPECT_EQ(stored(kCamera, "wb_mode"), mode);
            EXPECT_EQ(balance(kCamera), expected);
            EXPECT_EQ(held<rk_aiq_uapiV2_wb_opMode_t>(kCamera).sync.sync_mode, sync.sync_mode);
            EXPECT_EQ(held<rk_aiq_wb_mwb_attrib_t>(kCamera).para.scene, para.scene);
            EXPECT_EQ(held<rk_aiq_wb_mwb_attrib_t>(kCamera).para.cct.CCT, para.cct.CCT);
        }
    }
}

TEST_F(WbMode, AModeWithoutANameKeepsModeAndGains)
{
    for (const int mode : {4, -1, 6, 31, 33}) {
        for (Balance engine : {kBefore, holding(1.1F, 1.2F, 1.3F)}) {
            put_balance(kCamera, engine);
            EXPECT_EQ(KIV_Set_wb_mode(kCamera, WB_Mode_E{mode}), 0);
            EXPECT_EQ(stored(kCamera, "wb_mode"), mode);
            EXPECT_EQ(balance(kCamera), with_offset(engine, 0.0F, 0.0F)) << mode;
        }
    }
}

TEST_F(WbMode, WhatSurvivesAChangeOfMode)
{
    KIV_Set_wb_mode(kCamera, AUTO_WHITE_BALANCE);
    KIV_Set_wb_mode(kCamera, TEMPERATURE);
    const Balance temperature = balance(kCamera);
    EXPECT_EQ(temperature.offset[0], 0.05F) << "the offset stays as the automatic mode set it";
    EXPECT_TRUE(temperature.offset_on);

    store(kCamera, "temperature", 5); // by the host, without the setter
    KIV_Set_wb_mode(kCamera, IN_DOOR);
    EXPECT_EQ(get_colortemp_rgain(kCamera), 1.477F) << "of the level last applied";
    KIV_Set_wb_mode(kCamera, TEMPERATURE);
    EXPECT_EQ(get_colortemp_rgain(kCamera), 1.043F);
    EXPECT_EQ(balance(kCamera).offset[0], 0.0F) << "the offset stays as the indoor mode set it";

    for (const int mode : {0, 1, 2, 5, 4, 32}) {
        KIV_Set_wb_mode(kCamera, WB_Mode_E{mode});
        EXPECT_EQ(stored(kCamera, "rgain_onepush"), 1957);
        EXPECT_EQ(stored(kCamera, "bgain_onepush"), 2000);
        KIV_Set_wb_mode(kCamera, ONE_PUSH_WHITE_BALANCE);
        EXPECT_EQ(balance(kCamera).gains[0], tuned(1.957L, 12)) << mode;
    }
}

TEST_F(WbMode, ManualGains)
{
    const std::pair<int, float> rows[] = {{0, kLowest}, {64, 1.0035F}, {1, 0.019125F}, {255, 3.987875F}};
    store(kCamera, "wb_mode", MANUAL_WHITE_BALANCE);
    for (const auto& [level, gain] : rows) {
        SCOPED_TRACE(level);
        put_balance(kCamera, kBefore);
        Balance expected = kBefore;
        expected.manual_mode = RK_AIQ_MWB_MODE_WBGAIN;
        expected.gains = {gain, 1.0F, 1.0F, kBefore.gains[3]};
        for (const char* name : {"rgain", "bgain"}) {
            EXPECT_EQ(line_of([&] { EXPECT_EQ(set(kCamera, name, level), 0); }), "GetGains1 SetGains1");
            EXPECT_EQ(balance(kCamera), expected);
            expected.gains[3] = gain;
        }
    }
}

/// The curve as straight lines through its nodes, gains in ten-thousandths.
struct Node {
    int level;
    int red;
    int blue;
};
constexpr Node kNodes[] = {
    {-29, 230, 62788}, {5, 10430, 32630}, {15, 13430, 23760}, {25, 14770, 17990}, {120, 23510, 130},
};

std::pair<float, float> curve(int level)
{
    level = std::clamp(level, kNodes[0].level, kNodes[4].level);
    std::size_t i = 0;
    while (level > kNodes[i + 1].level) {
        ++i;
    }
    const auto [from, red, blue] = kNodes[i];
    const auto [to, red_to, blue_to] = kNodes[i + 1];
    return {static_cast<float>((red + (red_to - red) * (level - from) / (to - from)) / 10000.0),
            static_cast<float>((blue + (blue_to - blue) * (level - from) / (to - from)) / 10000.0)};
}

using ColourTemperature = WhiteBalance;

// What reaches the engine carries the tuning, what is remembered does not.
TEST_F(ColourTemperature, CurveAtEveryLevel)
{
    store(kCamera, "wb_mode", TEMPERATURE);
    std::vector<int> levels = {INT_MIN, INT_MAX};
    for (int level = -40; level <= 130; ++level) {
        levels.push_back(level);
    }
    for (const int level : levels) {
        SCOPED_TRACE(level);
        const auto [red, blue] = curve(level);
        const int step = (level & 63) % 21;
        tuning(step, 20 - step);
        set_colortemp_ggain(kCamera, 0.9F);
        EXPECT_EQ(line_of([&] { EXPECT_EQ(set(kCamera, "temperature", level), 0); }),
                  "GetMode1 SetMode1 wait1000 GetGains1 SetGains1");
        EXPECT_EQ(stored(kCamera, "temperature"), level);
        EXPECT_EQ(balance(kCamera), holding(tuned(red, step), 1.0F, tuned(blue, 20 - step)));
        EXPECT_EQ(get_colortemp_rgain(kCamera), red);
        EXPECT_EQ(get_colortemp_ggain(kCamera), 1.0F);
        EXPECT_EQ(get_colortemp_bgain(kCamera), blue);
    }
    EXPECT_EQ(get_colortemp_rgain(kCamera + 1), 1.9576F);
}

// The mode is entered all the same when the temperature that it applies fails; written or not, it is remembered.
TEST_F(ColourTemperature, IsRememberedOnceTheGainsAreRead)
{
    store(kCamera, "temperature", 25);
    for (const auto& [call, remembered] : {std::pair{"GetMwbAttrib", 1.9576F}, {"SetMwbAttrib", 1.477F}}) {
        sim::inject_fault(std::string("rk_aiq_user_api2_awb_") + call, call[0] == 'G' ? 2 : 1, -1);
        EXPECT_EQ(KIV_Set_wb_mode(kCamera, TEMPERATURE), 0);
        EXPECT_EQ(get_colortemp_rgain(kCamera), remembered);
    }
}

} // namespace
