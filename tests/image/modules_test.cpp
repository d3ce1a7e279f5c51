// Sharpness, dynamic range compression and noise reduction, strengths by rule; gamma, the shape of the curves and which
// one a level loads.
#include "support/bench.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <map>

using namespace bench;

namespace
{

constexpr int kPanorama = 3;

using Modules = Running<kPanorama>;

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
    auto block = sim::engine::initial<rk_aiq_sharp_attrib_v4_t>();
    block.eMode = ASHARP4_OP_MODE_OFF; // and stays so
    expect_levels(kPanorama, "sharpness", Sharpness_Auto, block, [](auto& sharp, int level) {
        if (level == Sharpness_Auto) {
            fill(sharp.stAuto.stParams.sharp_ratio, {6.5F, 6.5F, 6.35F, 6.2F, 3.75F});
        } else {
            fill(sharp.stAuto.stParams.sharp_ratio, level + (level >= 3 ? 0.5 : 0.0) + (level == 15 ? 0.5 : 0.0));
        }
    });
}

TEST_F(Modules, CompressionIsAFlatGain)
{
    expect_levels(kPanorama, "drc", 8, sim::engine::initial<drc_attrib_t>(), [](auto& drc, int level) {
        drc.Version = ADRC_VERSION_3588;
        drc.opMode = DRC_OPMODE_AUTO;
        fill(drc.stAutoV30.DrcTuningPara.DrcGain.DrcGain, 1.0 + 0.15 * level);
    });
}

TEST_F(Modules, SpatialNoiseReduction)
{
    expect_levels(
        kPanorama, "nr2d", 9, sim::engine::initial<rk_aiq_bayer2dnr_attrib_v2_t>(), [](auto& nr2d, int level) {
            RK_Bayer2dnr_Params_V2_t& params = nr2d.stAuto.st2DParams;
            nr2d.eMode = ABAYER2DNR_OP_MODE_AUTO;
            params.enable = 1;        // "off" is strength 0
            if (level == NR2D_AUTO) { // doubles with each sensitivity step
                fill(params.filter_strength, {1.0F, 2.0F, 4.0F, 8.0F, 16.0F});
                fill(params.edgesofts, {1.0F, 2.0F, 4.0F, 8.0F, 16.0F});
            } else { // half a triangular number up to level 3, then 2 per level; edges 2 per level within 0 to 16
                fill(params.filter_strength, level <= 3 ? level * (level + 1) / 4.0 : 2.0 * level - 3.0);
                fill(params.edgesofts, std::clamp(2 * level - 1, 0, 16));
            }
        });
}

TEST_F(Modules, TemporalNoiseReduction)
{
    auto block = sim::engine::initial<rk_aiq_bayertnr_attrib_v2_t>();
    block.stAuto.st3DParams.enable = 0; // and stays so
    expect_levels(kPanorama, "nr3d", 11, block, [](auto& nr3d, int level) {
        RK_Bayertnr_Params_V2_t& params = nr3d.stAuto.st3DParams;
        nr3d.eMode = ABAYERTNRV2_OP_MODE_AUTO;
        for (float(*band)[RK_AIQ_ISO_STEPS] : {&params.lo_filter_strength, &params.hi_filter_strength}) {
            if (level == NR3D_AUTO) {
                fill(*band, {1.8F, 1.95F, 2.1F, 2.3F, 2.6F, 2.8F});
            } else {
                fill(*band, level <= 5 ? 0.6 * level : level - 2.0);
            }
        }
    });
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
    const std::map<int, const Curve&> kCurves = {{ISP_GAMMA_0_48, gamma_1_4},   {ISP_GAMMA_0_45, gamma_1_2},
                                                 {ISP_GAMMA_0_50, gamma_haisi}, {ISP_GAMMA_0_56, gamma_1_5},
                                                 {ISP_GAMMA_0_63, gamma_1_6},   {ISP_GAMMA_0_42, gamma_ext}};
    auto expected = sim::engine::initial<rk_aiq_gamma_attrib_V2_t>();
    expect_levels(kPanorama, "gamma", 5, expected, [&](auto& gamma, int level) {
        gamma.atrrV30.mode = GAMMA_MODE_MANUAL;
        gamma.atrrV30.stManual.Gamma_en = true;
        gamma.atrrV30.stManual.Gamma_out_offset = 0;
        std::ranges::copy(kCurves.at(level), gamma.atrrV30.stManual.Gamma_curve);
        expected = gamma;
    });

    // A host may draw a curve of its own.
    gamma_1_4[48] = 4000;
    std::ranges::copy(gamma_1_4, expected.atrrV30.stManual.Gamma_curve);
    EXPECT_EQ(KIV_Set_gamma(kPanorama, ISP_GAMMA_0_48), 0);
    gamma_1_4[48] = 4095;
    expect_engine(kPanorama, expected);

    // A level without a curve that the store's maximum lets pass is neither stored nor sent.
    sim::host::set_maximum(setting("gamma"), 7);
    for (const int level : {6, 7, INT_MAX}) {
        EXPECT_THAT(names_of_calls([&] { EXPECT_EQ(KIV_Set_gamma(kPanorama, Gamma_Level_E{level}), -1); }),
                    testing::Each(testing::Eq("para_get_isp_gamma_max")));
    }
}

} // namespace
