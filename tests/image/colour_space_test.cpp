// Colour-space matrices against the formulas that define them, and the remembered mode.
#include "support/bench.h"

#include <cmath>

using namespace bench;
using testing::ElementsAre;

namespace
{

constexpr int kCamera = 3;
using Csm = rk_aiq_uapi_acsm_attrib_t;
constexpr char kGet[] = "rk_aiq_user_api2_acsm_GetAttrib";
constexpr char kSet[] = "rk_aiq_user_api2_acsm_SetAttrib";

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

class ColourSpace : public Bench
{
};

TEST_F(ColourSpace, MatricesFollowTheStandards)
{
    start_camera(kCamera);
    for (int mode = CSC_BT601_full_range; mode <= CSC_BT709_limit_range; ++mode) {
        SCOPED_TRACE(mode);
        EXPECT_THAT(traces_of([&] { KIV_Set_csc_mode(kCamera, CSC_Mode_E{mode}); }),
                    ElementsAre("KIV_Set_csc_mode: csc_mode_val :" + std::to_string(mode) + "\n\n"));
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

TEST_F(ColourSpace, TheModeIsRememberedWhateverTheEngineSays)
{
    for (const int id : {0, 1, 2, 4, 5, 6, 7}) {
        EXPECT_EQ(KIV_Get_csc_mode(id), 0) << id;
    }
    EXPECT_THAT(traces_of([] { KIV_Set_csc_mode(kCamera, CSC_BT709_limit_range); }),
                ElementsAre("KIV_Set_csc_mode: csc_mode_val :4\n\n", "KIV_Set_csc_mode: aiq ctx error\n\n"));
    EXPECT_EQ(KIV_Get_csc_mode(kCamera), 4);

    start_camera(kCamera);
    for (const int mode : {0, 5, -1, INT_MAX, INT_MIN}) { // no name: the engine gets its own settings back
        EXPECT_THAT(names_of_calls([&] { KIV_Set_csc_mode(kCamera, CSC_Mode_E{mode}); }), ElementsAre(kGet, kSet));
        EXPECT_EQ(KIV_Get_csc_mode(kCamera), mode);
        expect_engine(kCamera);
    }
    int mode = 1;
    for (const std::string function : {kGet, kSet}) {
        sim::inject_fault(function, 1, -1);
        std::vector<std::string> calls;
        EXPECT_THAT(traces_of([&] { calls = names_of_calls([&] { KIV_Set_csc_mode(kCamera, CSC_Mode_E{mode}); }); }),
                    testing::Contains("KIV_Set_csc_mode: " + function + " failed with 0xffffffff!\n\n"));
        EXPECT_EQ(calls.back(), function);
        EXPECT_EQ(KIV_Get_csc_mode(kCamera), mode++);
        expect_engine(kCamera);
    }
}

} // namespace
