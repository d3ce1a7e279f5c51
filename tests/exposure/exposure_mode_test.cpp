// The exposure mode. The field log has the calls that entering each mode makes, in order.
// Each test runs in a process of its own: the first mode change of a process makes calls that no later one makes.
#include "exposure_bench.h"

using namespace bench;
using ::testing::ElementsAre;

namespace
{

using ExposureMode = ExposureBench;

} // namespace

TEST_F(ExposureMode, IsStoredAndDecidesWhoExposes)
{
    for (const int mode : {0, 3, 10, 11, 13, 35, 33, 34, 1, -1}) {
        const bool manual = mode == MANUAL_EXPOSURE || mode == SMART_EXPOSURE;
        const bool named = mode != LOW_LIGHT && mode != 1 && mode != -1;
        const bool keeps = mode == WIDE_DYNAMIC_RANGE || !named; // the engine's way
        begin(SHUTTER_PRIORITY);
        change<Uapi_ExpSwAttrV2_t>(
            kCamera, [=](auto& ae) { ae.AecOpType = manual || keeps ? RK_AIQ_OP_MODE_AUTO : RK_AIQ_OP_MODE_MANUAL; });
        EXPECT_EQ(KIV_Set_exposure_mode(kCamera, Exposure_Mode_E{mode}), named ? 0 : ISP_UNFIT) << mode;
        EXPECT_EQ(stored(kCamera, "exposure_mode"), mode);
        EXPECT_EQ(ae().AecOpType, manual ? RK_AIQ_OP_MODE_MANUAL : RK_AIQ_OP_MODE_AUTO) << mode;
    }
}

TEST_F(ExposureMode, FirstChangeOfTheProcessAppliesDrc)
{
    const auto drc_calls = [](int camera, Exposure_Mode_E mode, const char* prefix) {
        return names_of_calls([=] { KIV_Set_exposure_mode(camera, mode); }, prefix).size();
    };
    EXPECT_EQ(drc_calls(kCamera, LOW_LIGHT, "rk_aiq_user_api2_adrc"), 2);
    start_camera(0);
    EXPECT_EQ(drc_calls(0, MANUAL_EXPOSURE, "rk_aiq_user_api2_adrc"), 0);
}

TEST_F(ExposureMode, CompanionsDoWhatTheySay)
{
    EXPECT_THAT(sensor_vpss_group, ElementsAre(0, -1, -1, -1));
    int values[] = {1, 2, 3, 4};
    EXPECT_EQ(set_sensor_vpss_group(99, values), 0);
    EXPECT_THAT(sensor_vpss_group, ::testing::ElementsAreArray(values));
}
