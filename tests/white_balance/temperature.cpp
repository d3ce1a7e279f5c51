// Colour temperature: the curve, what it remembers, and when it reaches the engine.
#include "white_balance/wb_bench.h"

#include <climits>

using namespace bench;

namespace
{

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

class ColourTemperature : public WhiteBalance
{
};

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
        EXPECT_EQ(KIV_Set_temperature(kCamera, Temperature_E{level}), 0);
        EXPECT_EQ(stored(kCamera, "temperature"), level);
        EXPECT_EQ(balance(kCamera), holding(red, 1.0F, blue));
        EXPECT_EQ(get_colortemp_rgain(kCamera), red);
        EXPECT_EQ(get_colortemp_ggain(kCamera), 1.0F);
        EXPECT_EQ(get_colortemp_bgain(kCamera), blue);
    }
}

TEST_F(ColourTemperature, TuningIsAppliedButNotRemembered)
{
    store(kCamera, "wb_mode", TEMPERATURE);
    for (int level = 0; level <= 20; ++level) {
        SCOPED_TRACE(level);
        tuning(level, 20 - level);
        EXPECT_EQ(KIV_Set_temperature(kCamera, Temperature_E{25}), 0);
        EXPECT_EQ(balance(kCamera), holding(tuned(1.477F, level), 1.0F, tuned(1.799F, 20 - level)));
        EXPECT_EQ(get_colortemp_rgain(kCamera), 1.477F);
        EXPECT_EQ(get_colortemp_bgain(kCamera), 1.799F);
    }
    EXPECT_NEAR(balance(kCamera).gains[0], 1.59511, 1e-5);
    EXPECT_NEAR(balance(kCamera).gains[3], 1.68089, 1e-5);
}

TEST_F(ColourTemperature, OtherModesStoreOnly)
{
    for (const int mode : {0, 1, 2, 3, 4, 5, 31, 33}) {
        SCOPED_TRACE(mode);
        store(kCamera, "wb_mode", mode);
        EXPECT_EQ(line_of([&] { EXPECT_EQ(KIV_Set_temperature(kCamera, Temperature_E{mode + 10}), 0); }), "");
        EXPECT_EQ(stored(kCamera, "temperature"), mode + 10);
        EXPECT_EQ(get_colortemp_rgain(kCamera), 1.9576F);
    }
}

TEST_F(ColourTemperature, GainsAreRememberedPerCamera)
{
    const int other = 6; // without an engine: the gains are remembered all the same
    store(kCamera, "wb_mode", TEMPERATURE);
    store(other, "wb_mode", TEMPERATURE);
    for (int camera = 0; camera < 8; ++camera) {
        EXPECT_EQ(get_colortemp_rgain(camera), 1.9576F);
        EXPECT_EQ(get_colortemp_ggain(camera), 1.0F);
        EXPECT_EQ(get_colortemp_bgain(camera), 1.9956F);
    }
    KIV_Set_temperature(kCamera, Temperature_E{5});
    const sim::Microseconds start = sim::now();
    EXPECT_THAT(traces_of([&] { EXPECT_EQ(KIV_Set_temperature(other, Temperature_E{15}), 0); }),
                ::testing::ElementsAre("KIV_Set_temperature: value:15\n", "KIV_Set_temperature: aiq ctx error\n\n",
                                       "KIV_Set_temperature: aiq ctx error\n\n",
                                       "KIV_Set_temperature: aiq ctx error\n\n"));
    EXPECT_EQ(sim::now() - start, 1000);
    EXPECT_EQ(get_colortemp_rgain(kCamera), 1.043F);
    EXPECT_EQ(get_colortemp_rgain(other), 1.343F);
    EXPECT_EQ(get_colortemp_bgain(other), 2.376F);
    EXPECT_EQ(get_colortemp_rgain(0), 1.9576F);
    for (const int camera : {-1, 8}) {
        set_colortemp_rgain(camera, 2.0F);
        EXPECT_EQ(get_colortemp_rgain(camera), 0.0F);
        EXPECT_EQ(get_colortemp_bgain(camera), 0.0F);
    }
}

} // namespace
