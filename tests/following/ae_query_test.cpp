// The query of the feature camera's live exposure.
#include "support/bench.h"

using namespace bench;
using ::testing::Each;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

namespace
{

using Figures = std::array<float, 6>; // in the order of the query's outputs

class AeQuery : public Bench
{
protected:
    static constexpr float kUntouched = -99.0F;
    Figures figures{};

    int query(std::size_t missing = 6) // this output is null
    {
        figures.fill(kUntouched);
        const auto out = [&](std::size_t i) { return i == missing ? nullptr : &figures[i]; };
        return kiv_rkisp_cl_getAeinfo(out(0), out(1), out(2), out(3), out(4), out(5));
    }

    static void measure(int camera)
    {
        start_camera(camera);
        const void* context = rkipc_aiq_get_ctx(camera);
        Uapi_ExpQueryInfo_t info{};
        info.LinAeInfo.LinearExp = {
            .integration_time = 0.0125F, .analog_gain = 3.5F, .digital_gain = 9.0F, .isp_dgain = 1.5F};
        info.LinAeInfo.MeanLuma = 77.25F;
        sim::engine::poke(context, info);
        sim::engine::poke(context, paRange_t{.max = 18.0F, .min = 2.0F});
    }
};

} // namespace

TEST_F(AeQuery, FillsSixFiguresOfTheFeatureCamera)
{
    ASSERT_EQ(set_FeaturesIspId(3), 0);
    measure(3);
    const float target = held<Uapi_LinExpAttrV2_t>(3).Params.DySetpoint.DySetpoint[0];
    const float all[] = {3.5F, 1.5F, 0.0125F, 77.25F, 18.0F, target};
    EXPECT_EQ(query(), 0);
    EXPECT_THAT(figures, ElementsAreArray(all));

    // A failing call gives its code; what earlier calls filled stays filled.
    const struct {
        const char* function;
        std::size_t filled;
        std::size_t calls;
    } rows[] = {
        {"rk_aiq_user_api2_ae_queryExpResInfo", 0, 1},
        {"rk_aiq_uapi2_getExpGainRange", 4, 2},
        {"rk_aiq_user_api2_ae_getLinExpAttr", 5, 3},
    };
    for (const auto& row : rows) {
        sim::inject_fault(row.function, 1, -7);
        EXPECT_EQ(names_of_calls([&] { EXPECT_EQ(query(), -7); }).size(), row.calls);
        for (std::size_t i = 0; i < figures.size(); ++i) {
            EXPECT_EQ(figures[i], i < row.filled ? all[i] : kUntouched) << row.function << ", output " << i;
        }
    }
}

TEST_F(AeQuery, LeavesTheOutputsWithoutAnEngineOrAnOutput)
{
    EXPECT_THAT(traces_of([&] { EXPECT_EQ(query(), -1); }),
                ElementsAreArray(std::vector<std::string>(3, "kiv_rkisp_cl_getAeinfo: aiq ctx error\n\n")));
    EXPECT_THAT(figures, Each(kUntouched));

    measure(0);
    for (std::size_t missing = 0; missing < figures.size(); ++missing) {
        EXPECT_THAT(calls_of([&] { EXPECT_EQ(query(missing), -1); }), IsEmpty());
        EXPECT_THAT(figures, Each(kUntouched));
    }
    auto without_target = held<Uapi_LinExpAttrV2_t>(0);
    without_target.Params.DySetpoint.DySetpoint = nullptr;
    sim::engine::poke(rkipc_aiq_get_ctx(0), without_target);
    EXPECT_EQ(query(), 0);
    EXPECT_EQ(figures[4], 18.0F);
    EXPECT_EQ(figures[5], kUntouched);
}
