// What the query of the feature camera's live exposure fills in; the field log has its calls, traces and results.
#include "support/bench.h"

using namespace bench;
using ::testing::Each;

namespace
{

using Figures = std::array<float, 6>; // in the order of the query's outputs
constexpr float kUntouched = -99.0F;

Figures query(int result, std::size_t missing = 6) // this output is null
{
    Figures figures;
    figures.fill(kUntouched);
    const auto out = [&](std::size_t i) { return i == missing ? nullptr : &figures[i]; };
    EXPECT_EQ(kiv_rkisp_cl_getAeinfo(out(0), out(1), out(2), out(3), out(4), out(5)), result);
    return figures;
}

using AeQuery = Bench;

TEST_F(AeQuery, FillsSixFiguresOfTheFeatureCamera)
{
    ASSERT_EQ(set_FeaturesIspId(3), 0);
    EXPECT_THAT(query(-1), Each(kUntouched));

    start_camera(3);
    Uapi_ExpQueryInfo_t info{};
    info.LinAeInfo.LinearExp = {
        .integration_time = 0.0125F, .analog_gain = 3.5F, .digital_gain = 9.0F, .isp_dgain = 1.5F};
    info.LinAeInfo.MeanLuma = 77.25F;
    sim::engine::poke(rkipc_aiq_get_ctx(3), info);
    sim::engine::poke(rkipc_aiq_get_ctx(3), paRange_t{.max = 18.0F, .min = 2.0F});
    auto target = held<Uapi_LinExpAttrV2_t>(3);
    const Figures all = {3.5F, 1.5F, 0.0125F, 77.25F, 18.0F, target.Params.DySetpoint.DySetpoint[0]};

    // A failing call gives its code; what earlier calls filled stays filled.
    const std::tuple<const char*, int, std::size_t> rows[] = {
        {"none", 0, 6},
        {"rk_aiq_user_api2_ae_queryExpResInfo", -7, 0},
        {"rk_aiq_uapi2_getExpGainRange", -7, 4},
        {"rk_aiq_user_api2_ae_getLinExpAttr", -7, 5},
    };
    for (const auto& [failing, result, filled] : rows) {
        sim::inject_fault(failing, 1, -7);
        Figures expected = all;
        std::fill(expected.begin() + filled, expected.end(), kUntouched);
        EXPECT_EQ(query(result), expected) << failing;
    }
    for (std::size_t missing = 0; missing < all.size(); ++missing) {
        EXPECT_THAT(query(-1, missing), Each(kUntouched));
    }
    target.Params.DySetpoint.DySetpoint = nullptr;
    sim::engine::poke(rkipc_aiq_get_ctx(3), target);
    EXPECT_EQ(query(0)[4], 18.0F);
    EXPECT_EQ(query(0)[5], kUntouched);
}

} // namespace
