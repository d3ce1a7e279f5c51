// Image styles: what is stored, what is applied and in which order, and the host that applies them itself.
#include "startup/sequence.h"

using namespace bench;
using testing::ElementsAre;

namespace
{

// Stored without being applied, for the mode setters that follow.
constexpr std::string_view kStored[] = {"shutter", "iris", "bright", "manual_gain", "rgain", "bgain", "temperature"};
constexpr std::string_view kApplied[] = {
    "exposure_mode", "backlight", "wb_mode",      "expcomp_mode",    "expcomp_level", "gain_limit", "meter",
    "drc",           "awb_sens",  "rgain_tuning", "bgain_tuning",    "saturation",    "hue",        "luminance",
    "contrast",      "sharpness", "gamma",        "blackwhite_mode", "nr2d",          "nr3d"};

class Style : public Bench
{
protected:
    Style()
    {
        begin_with(sim::host::initial_record());
    }
};

// Beside these, nothing of the preset is stored.
TEST_F(Style, APresetIsStoredThenAppliedInItsOrder)
{
    for (const Record& preset : kTelling) {
        sim::host::set_preset(style_soft, preset);
        std::vector<sim::Call> first = {{"para_get_isp_style_param", kCamera, style_soft},
                                        {"para_set_isp_style_cur", kCamera, style_soft},
                                        {"para_isp_style_excute_by_arm", -1, 0}};
        for (const std::string_view name : kStored) {
            first.push_back({"para_set_isp_" + std::string(name) + "_cur", kCamera, preset.*setting(name).member});
        }
        const auto store_first = [&] {
            store(kCamera, "style", style_soft);
            for (const std::string_view name : kStored) {
                store(kCamera, name, preset.*setting(name).member);
            }
        };
        expect_sequence(sim::host::initial_record(), first, store_first, kApplied, preset,
                        [] { EXPECT_EQ(KIV_Set_style(kCamera, style_soft), 0); });
    }
    EXPECT_THAT(traces_of([] { KIV_Set_style(kCamera, style_soft); }).front(), "KIV_Set_style: enter,style:5\n");
}

TEST_F(Style, AFailingSetterStopsNothing)
{
    sim::inject_fault("rk_aiq_user_api2_ae_getExpSwAttr", 1, -1, true);
    sim::inject_fault("rk_aiq_user_api2_asharpV4_GetAttrib", 1, -1, true);
    EXPECT_EQ(names_of_calls([] { EXPECT_EQ(KIV_Set_style(kCamera, style_soft), 0); }).back(),
              "rk_aiq_user_api2_abayertnrV2_SetAttrib");
}

TEST_F(Style, AHostThatAppliesStylesGetsOnlyTheRecord)
{
    sim::host::set_host_applies_styles(true);
    EXPECT_THAT(names_of_calls([] { EXPECT_EQ(KIV_Set_style(kCamera, style_food), ISP_EXCUTE_BYARM); }),
                ElementsAre("para_get_isp_style_param", "para_set_isp_style_cur", "para_isp_style_excute_by_arm"));
    EXPECT_EQ(stored(kCamera, "style"), style_food);

    sim::inject_fault("para_isp_style_excute_by_arm", 1, 2); // only the answer 1 means that it does
    EXPECT_EQ(KIV_Set_style(kCamera, style_norm), 0);
}

TEST_F(Style, AMissingPresetChangesNothing)
{
    sim::host::remove_preset(style_pc);
    for (const int style : {int{style_pc}, -1, 14, INT_MAX, INT_MIN}) {
        std::vector<std::string> traces;
        EXPECT_THAT(names_of_calls([&] {
                        traces = traces_of([&] { EXPECT_EQ(KIV_Set_style(kCamera, Imgstyle_Mode_E{style}), -1); });
                    }),
                    ElementsAre("para_get_isp_style_param"));
        EXPECT_THAT(traces, ElementsAre("KIV_Set_style: enter,style:" + std::to_string(style) + "\n",
                                        "KIV_Set_style: fail,style:" + std::to_string(style) + "\n"));
    }
}

TEST_F(Style, EveryDeliveredPresetApplies)
{
    for (int style = 0; style < sim::host::kStyles; ++style) {
        begin_with(sim::host::initial_record());
        EXPECT_EQ(KIV_Set_style(kCamera, Imgstyle_Mode_E{style}), 0);
        EXPECT_EQ(stored(kCamera, "style"), style);
        for (const std::string_view name : kApplied) {
            EXPECT_EQ(stored(kCamera, name), sim::host::delivered_preset(style).*setting(name).member) << name;
        }
    }
    EXPECT_THAT(sim::host::misuses(), testing::IsEmpty());
    EXPECT_THAT(sim::engine::misuses(), testing::IsEmpty());
}

} // namespace
