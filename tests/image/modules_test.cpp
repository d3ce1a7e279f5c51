// Sharpness, dynamic range compression and noise reduction, strengths by rule; gamma, the shape of the curves and which
// one a level loads.
#include "support/bench.h"

#include <algorithm>
#include <bit>
#include <cmath>

using namespace bench;

namespace
{

constexpr int kCamera = 3;

using Modules = Running<kCamera>;

template <std::size_t Size>
void fill(float (&steps)[Size], double value)
{
    std::fill(std::begin(steps), std::end(steps), static_cast<float>(value));
}

/// The first values given, the last one up to the end.
template <std::size_t Size>
void fill(float (&steps)[Size], std::initializer_list<float> values)
{
    fill(steps, double{values.begin()[values.size() - 1]});
    std::copy(values.begin(), values.end(), steps);
}

TEST_F(Modules, SharpnessIsOnePerLevelWithTwoWiderSteps)
{
    rk_aiq_sharp_attrib_v4_t expected = sim::engine::initial<rk_aiq_sharp_attrib_v4_t>();
    expected.eMode = ASHARP4_OP_MODE_OFF; // and stays so
    sim::engine::poke(rkipc_aiq_get_ctx(kCamera), expected);
    for (int level = 0; level <= Sharpness_MAX; ++level) {
        SCOPED_TRACE(level);
        EXPECT_EQ(KIV_Set_sharpness(kCamera, Sharpness_E{level}), 0);
        fill(expected.stAuto.stParams.sharp_ratio, level + (level >= 3 ? 0.5 : 0.0) + (level == 15 ? 0.5 : 0.0));
        expect_engine(kCamera, expected);
    }
    KIV_Set_sharpness(kCamera, Sharpness_Auto);
    fill(expected.stAuto.stParams.sharp_ratio, {6.5F, 6.5F, 6.35F, 6.2F, 3.75F});
    expect_engine(kCamera, expected);
}

TEST_F(Modules, CompressionIsAFlatGain)
{
    drc_attrib_t expected = sim::engine::initial<drc_attrib_t>();
    expected.Version = ADRC_VERSION_3588;
    expected.opMode = DRC_OPMODE_AUTO;
    for (const int asked : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, -1}) {
        SCOPED_TRACE(asked);
        EXPECT_EQ(KIV_Set_drc(kCamera, DRC_E{asked}), 0);
        const int level = asked < 0 || asked > 8 ? 8 : asked;
        EXPECT_EQ(stored(kCamera, "drc"), level);
        fill(expected.stAutoV30.DrcTuningPara.DrcGain.DrcGain, 1.0 + 0.15 * level);
        expect_engine(kCamera, expected);
    }
}

TEST_F(Modules, SpatialNoiseReduction)
{
    sim::host::set_maximum(setting("nr2d"), 9); // with the levels that have no name
    rk_aiq_bayer2dnr_attrib_v2_t expected = sim::engine::initial<rk_aiq_bayer2dnr_attrib_v2_t>();
    expected.eMode = ABAYER2DNR_OP_MODE_AUTO;
    RK_Bayer2dnr_Params_V2_t& params = expected.stAuto.st2DParams;
    params.enable = 1; // "off" is strength 0
    for (int level = 0; level <= 9; ++level) {
        SCOPED_TRACE(level);
        EXPECT_EQ(KIV_Set_nr2d(kCamera, NR2D_E{level}), 0);
        if (level == NR2D_AUTO) { // doubles with each sensitivity step
            fill(params.filter_strength, {1.0F, 2.0F, 4.0F, 8.0F, 16.0F});
            fill(params.edgesofts, {1.0F, 2.0F, 4.0F, 8.0F, 16.0F});
        } else { // half a triangular number up to level 3, then 2 per level; edges 2 per level within 0 to 16
            fill(params.filter_strength, level <= 3 ? level * (level + 1) / 4.0 : 2.0 * level - 3.0);
            fill(params.edgesofts, std::clamp(2 * level - 1, 0, 16));
        }
        expect_engine(kCamera, expected);
    }
}

TEST_F(Modules, TemporalNoiseReduction)
{
    sim::host::set_maximum(setting("nr3d"), 11);
    rk_aiq_bayertnr_attrib_v2_t expected = sim::engine::initial<rk_aiq_bayertnr_attrib_v2_t>();
    expected.stAuto.st3DParams.enable = 0; // and stays so
    sim::engine::poke(rkipc_aiq_get_ctx(kCamera), expected);
    expected.eMode = ABAYERTNRV2_OP_MODE_AUTO;
    for (int level = 0; level <= 11; ++level) {
        SCOPED_TRACE(level);
        EXPECT_EQ(KIV_Set_nr3d(kCamera, NR3D_E{level}), 0);
        for (float(*band)[RK_AIQ_ISO_STEPS] :
             {&expected.stAuto.st3DParams.lo_filter_strength, &expected.stAuto.st3DParams.hi_filter_strength}) {
            if (level == NR3D_AUTO) {
                fill(*band, {1.8F, 1.95F, 2.1F, 2.3F, 2.6F, 2.8F});
            } else {
                fill(*band, level <= 5 ? 0.6 * level : level - 2.0);
            }
        }
        expect_engine(kCamera, expected);
    }
}

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

// Six curves follow an exponent, rounded; two are drawn by hand.
TEST_F(Modules, ToneCurves)
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
    EXPECT_EQ(fingerprint(gamma_ext), 1317275324U);
    EXPECT_EQ(fingerprint(gamma_haisi), 2286606321U);
}

TEST_F(Modules, AToneLevelLoadsItsCurve)
{
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
    auto expected = sim::engine::initial<rk_aiq_gamma_attrib_V2_t>();
    expected.atrrV30.mode = GAMMA_MODE_MANUAL;
    expected.atrrV30.stManual.Gamma_en = true;
    expected.atrrV30.stManual.Gamma_out_offset = 0;
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.level);
        EXPECT_EQ(KIV_Set_gamma(kCamera, Gamma_Level_E{c.level}), 0);
        EXPECT_EQ(stored(kCamera, "gamma"), c.stored);
        std::ranges::copy(c.curve, expected.atrrV30.stManual.Gamma_curve);
        expect_engine(kCamera, expected);
    }

    // A host may draw a curve of its own.
    gamma_1_4[48] = 4000;
    expected.atrrV30.stManual.Gamma_curve[48] = 4000;
    EXPECT_EQ(KIV_Set_gamma(kCamera, ISP_GAMMA_0_48), 0);
    gamma_1_4[48] = 4095;
    expect_engine(kCamera, expected);

    // A level without a curve that the store's maximum lets pass is neither stored nor sent.
    sim::host::set_maximum(setting("gamma"), 7);
    for (const int level : {6, 7, INT_MAX}) {
        EXPECT_THAT(names_of_calls([&] { EXPECT_EQ(KIV_Set_gamma(kCamera, Gamma_Level_E{level}), -1); }),
                    testing::Each(testing::Eq("para_get_isp_gamma_max")));
    }
}

} // namespace
