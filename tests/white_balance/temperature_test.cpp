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
        EXPECT_EQ(KIV_Set_temperature(kCamera, Temperature_E{level}), 0);
        EXPECT_EQ(stored(kCamera, "temperature"), level);
        EXPECT_EQ(balance(kCamera), holding(tuned(red, step), 1.0F, tuned(blue, 20 - step)));
        EXPECT_EQ(get_colortemp_rgain(kCamera), red);
        EXPECT_EQ(get_colortemp_ggain(kCamera), 1.0F);
        EXPECT_EQ(get_colortemp_bgain(kCamera), blue);
    }
    EXPECT_EQ(get_colortemp_rgain(kCamera + 1), 1.9576F);
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

} // namespace
