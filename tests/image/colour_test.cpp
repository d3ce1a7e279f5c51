// Saturation, hue, luminance, contrast and black-and-white, one field each of one engine block; colour-space matrices
// against the formulas that define them, and the remembered mode.
#include "support/bench.h"

#include <cmath>

using namespace bench;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr int kCamera = 3;

// A level's engine value is base + step x level.
struct Rule {
    std::string_view name;
    uint8_t acp_attrib_t::* field;
    int base;
    int step;
    int last; // of the table

    void apply(acp_attrib_t& acp, int level) const
    {
        acp.*field = static_cast<uint8_t>(base + step * level);
    }
};
constexpr Rule kRules[] = {
    {"saturation", &acp_attrib_t::saturation, 83, 10, 14},
    {"hue", &acp_attrib_t::hue, 100, 4, 17},
    {"luminance", &acp_attrib_t::brightness, 86, 6, 14},
    {"contrast", &acp_attrib_t::contrast, 86, 6, 14},
};

using Colour = Running<kCamera>;

int saturation()
{
    return held<acp_attrib_t>(kCamera).saturation;
}

TEST_F(Colour, ALevelBecomesOneFieldByItsRule)
{
    for (const Rule& rule : kRules) {
        expect_levels(kCamera, rule.name, rule.last, sim::engine::initial<acp_attrib_t>(),
                      [&](auto& acp, int level) { rule.apply(acp, level); });
    }
}

TEST_F(Colour, BlackAndWhiteForcesTheSaturationAndKeepsTheLevel)
{
    KIV_Set_saturation(kCamera, Saturation_E{9});
    KIV_Set_blackwhite_mode(kCamera, BlackWhite_Mode_ON);
    EXPECT_EQ(saturation(), 0);
    EXPECT_EQ(stored(kCamera, "saturation"), 9); // the sentinel stays out of the store
    EXPECT_THAT(traces_of([] { KIV_Set_saturation(kCamera, Saturation_E{14}); }),
                ElementsAre("KIV_Set_saturation: isp_saturation_val :0xffffffff\n\n"));
    EXPECT_EQ(saturation(), 0);
    EXPECT_EQ(stored(kCamera, "saturation"), 14);
    KIV_Set_blackwhite_mode(kCamera, BlackWhite_Mode_OFF);
    EXPECT_EQ(saturation(), 223);

    KIV_Set_blackwhite_mode(kCamera, BlackWhite_Mode_ON);
    KIV_Set_blackwhite_mode(kCamera, BlackWhite_Mode_E{2}); // stored, and means off
    EXPECT_EQ(stored(kCamera, "blackwhite_mode"), 2);
    EXPECT_EQ(saturation(), 223);
    EXPECT_THAT(names_of_calls([] { KIV_Set_saturation(kCamera, Saturation_E{-1}); }, "para_set"), IsEmpty());
    EXPECT_EQ(saturation(), 0);
}

TEST_F(Colour, NothingUndefinedReachesTheEngineAfterAFailedRead)
{
    for (const Rule& rule : kRules) {
        sim::inject_fault("rk_aiq_user_api2_acp_GetAttrib", 1, -1);
        set(kCamera, rule.name, 7);
        if (rule.name != "contrast") { // which ends there
            acp_attrib_t expected{};
            rule.apply(expected, 7);
            expect_engine(kCamera, expected);
        }
    }
}

using Csm = rk_aiq_uapi_acsm_attrib_t;

// Luma weights of red and blue after ITU-R BT.601 and BT.709, and the coefficients' last place.
struct Standard {
    double red;
    double blue;
    double place;
};
constexpr Standard kBT601 = {0.299, 0.114, 0.001};
constexpr Standard kBT709 = {0.2126, 0.0722, 0.0001};

/// Y is the weighted sum of R, G and B; Cb and Cr are the differences of B and R to it, scaled to +-0.5. Limited range
/// has 219 steps of 255 for Y and 224 for Cb and Cr.
double coefficient(const Standard& s, bool limited, int row, int column)
{
    const double weight[3] = {s.red, 1.0 - s.red - s.blue, s.blue};
    if (row == 0) {
        return weight[column] * (limited ? 219.0 / 255.0 : 1.0);
    }
    const int own = row == 1 ? 2 : 0;
    return ((column == own ? 1.0 : 0.0) - weight[column]) / (2.0 * (1.0 - weight[own])) *
           (limited ? 224.0 / 255.0 : 1.0);
}

TEST_F(Colour, MatricesFollowTheStandards)
{
    for (int mode = CSC_BT601_full_range; mode <= CSC_BT709_limit_range; ++mode) {
        SCOPED_TRACE(mode);
        KIV_Set_csc_mode(kCamera, CSC_Mode_E{mode});
        const Standard& standard = mode <= CSC_BT601_limit_range ? kBT601 : kBT709;
        const bool limited = mode == CSC_BT601_limit_range || mode == CSC_BT709_limit_range;
        Csm expected = sim::engine::initial<Csm>();
        expected.param.op_mode = RK_AIQ_OP_MODE_MANUAL;
        expected.param.full_range = true; // in limited range too
        expected.param.y_offset = limited ? 16 : 0;
        expected.param.c_offset = 128;
        for (int i = 0; i < 9; ++i) {
            // One value is not the standard's, which is -0.0458.
            const double wanted =
                mode == CSC_BT709_full_range && i == 8 ? -0.0468 : coefficient(standard, limited, i / 3, i % 3);
            expected.param.coeff[i] = static_cast<float>(std::round(wanted / standard.place) * standard.place);
            EXPECT_NEAR(held<Csm>(kCamera).param.coeff[i], expected.param.coeff[i], 1e-6) << "element " << i;
            expected.param.coeff[i] = held<Csm>(kCamera).param.coeff[i];
        }
        expect_engine(kCamera, expected);
    }
}

TEST_F(Colour, TheSpaceIsRememberedWhateverTheEngineSays)
{
    EXPECT_EQ(KIV_Get_csc_mode(kCamera), 0);
    KIV_Set_csc_mode(kCamera + 1, CSC_BT709_limit_range); // no engine
    EXPECT_EQ(KIV_Get_csc_mode(kCamera + 1), 4);
    for (const int mode : {0, 5, -1, INT_MAX, INT_MIN}) { // no name: the engine gets its own settings back
        KIV_Set_csc_mode(kCamera, CSC_Mode_E{mode});
        EXPECT_EQ(KIV_Get_csc_mode(kCamera), mode);
        expect_engine(kCamera);
    }
    sim::inject_fault("rk_aiq_user_api2_acsm_GetAttrib", 1, -1);
    KIV_Set_csc_mode(kCamera, CSC_BT601_full_range);
    EXPECT_EQ(KIV_Get_csc_mode(kCamera), CSC_BT601_full_range);
}

} // namespace
