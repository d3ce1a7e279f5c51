// Gamma: the shape of the curves, and which one a level loads.
#include "support/bench.h"

#include <bit>
#include <cmath>

using namespace bench;

namespace
{

constexpr int kCamera = 3;
using Curve = uint16_t[RK_AIQ_GAMMA_POINTS];

/// Input of a point, of 4096: single steps up to 8, then four points to each doubling, 256 apart at most.
int input(int point)
{
    unsigned at = 0;
    for (int i = 0; i < point; ++i) {
        at += std::clamp(std::bit_floor(at) / 4, 1U, 256U);
    }
    return static_cast<int>(at);
}

class Tone : public Bench
{
};

// Six curves follow an exponent, rounded; the two drawn by hand rise all the way, and no value is off.
TEST_F(Tone, Curves)
{
    const struct {
        const Curve& curve;
        double exponent;
    } kPowers[] = {{gamma_1_1, 0.40}, {gamma_1_2, 0.45}, {gamma_1_3, 0.48},
                   {gamma_1_4, 0.50}, {gamma_1_5, 0.56}, {gamma_1_6, 0.63}};
    ASSERT_EQ(input(RK_AIQ_GAMMA_POINTS - 1), 4096);
    for (const auto& c : kPowers) {
        for (int point = 0; point < RK_AIQ_GAMMA_POINTS; ++point) {
            const long power = std::lround(4096.0 * std::pow(input(point) / 4096.0, c.exponent));
            EXPECT_EQ(c.curve[point], std::min(power, 4095L)) << "exponent " << c.exponent << ", point " << point;
        }
    }
    const struct {
        const Curve& curve;
        int last;
        std::uint32_t fingerprint;
    } kDrawn[] = {{gamma_ext, 4092, 1317275324U}, {gamma_haisi, 4095, 2286606321U}};
    for (const auto& c : kDrawn) {
        EXPECT_EQ(c.curve[0], 0);
        EXPECT_EQ(c.curve[RK_AIQ_GAMMA_POINTS - 1], c.last);
        EXPECT_EQ(std::ranges::adjacent_find(c.curve, std::greater_equal<>{}), std::end(c.curve));
        EXPECT_EQ(fingerprint(c.curve), c.fingerprint);
    }
}

TEST_F(Tone, ALevelLoadsItsCurve)
{
    start_camera(kCamera);
    const struct {
        int level;
        const Curve& curve;
        int stored;
    } kCases[] = {
        {ISP_GAMMA_0_48, gamma_1_4, 0},
        {ISP_GAMMA_0_45, gamma_1_2, 1},
        {ISP_GAMMA_0_50, gamma_haisi, 2},
        {ISP_GAMMA_0_56, gamma_1_5, 3},
        {ISP_GAMMA_0_63, gamma_1_6, 4},
        {ISP_GAMMA_0_42, gamma_ext, 5},
        {6, gamma_ext, 5},
        {-1, gamma_1_4, 0},
    };
    rk_aiq_gamma_attrib_V2_t expected = sim::engine::initial<rk_aiq_gamma_attrib_V2_t>();
    expected.atrrV30.mode = GAMMA_MODE_MANUAL;
    expected.atrrV30.stManual.Gamma_en = true;
    expected.atrrV30.stManual.Gamma_out_offset = 0;
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.level);
        EXPECT_THAT(traces_of([&] { EXPECT_EQ(KIV_Set_gamma(kCamera, Gamma_Level_E{c.level}), 0); }),
                    testing::ElementsAre("KIV_Set_gamma: isp_gamma_val :" + std::to_string(c.stored) + "\n\n"));
        std::ranges::copy(c.curve, expected.atrrV30.stManual.Gamma_curve);
        expect_engine(kCamera, expected);
    }
}

} // namespace
