// Image styles that the host applies itself, or does not have. The field log has the order in which a restore and a
// style read, store and apply their settings.
#include "support/bench.h"

using namespace bench;
using testing::ElementsAre;

namespace
{

constexpr int kCamera = 3;
using Style = Running<kCamera>;

TEST_F(Style, AHostThatAppliesStylesGetsOnlyTheRecord)
{
    sim::inject_fault("para_isp_style_excute_by_arm", 1, 1);
    EXPECT_THAT(names_of_calls([] { EXPECT_EQ(KIV_Set_style(kCamera, style_food), ISP_EXCUTE_BYARM); }),
                ElementsAre("para_get_isp_style_param", "para_set_isp_style_cur", "para_isp_style_excute_by_arm"));
    EXPECT_EQ(stored(kCamera, "style"), style_food);

    sim::inject_fault("para_isp_style_excute_by_arm", 1, 2); // only the answer 1 means that it does
    EXPECT_EQ(KIV_Set_style(kCamera, style_food), 0);
}

TEST_F(Style, AMissingPresetChangesNothing)
{
    sim::inject_fault("para_get_isp_style_param", 1, -1);
    for (const int style : {int{style_pc}, -1, 14, INT_MAX, INT_MIN}) {
        std::vector<std::string> traces;
        EXPECT_THAT(names_of_calls([&] {
                        traces = traces_of([&] { EXPECT_EQ(KIV_Set_style(kCamera, Imgstyle_Mode_E{style}), -1); });
                    }),
                    ElementsAre("para_get_isp_style_param"));
        EXPECT_EQ(traces.back(), "KIV_Set_style: fail,style:" + std::to_string(style) + "\n");
    }
}

} // namespace
