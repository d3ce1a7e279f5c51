// Saturation, hue, luminance, contrast and black-and-white: one field each of one engine block.
#include "support/setters.h"

using namespace bench;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr int kCamera = 3;

// A level's engine value is base + step x level.
struct Rule {
    std::string_view name;
    uint8_t acp_attrib_t::*field;
    int base;
    int step;
    int last; // of the table
    const char* trace;

    void apply(acp_attrib_t& acp, int level) const
    {
        acp.*field = static_cast<uint8_t>(base + step * level);
    }
};
constexpr Rule kRules[] = {
    {"saturation", &acp_attrib_t::saturation, 83, 10, 14, "isp_saturation_val :0x%x\n\n"},
    {"hue", &acp_attrib_t::hue, 100, 4, 17, "isp_hue_val :%d\n\n"},
    {"luminance", &acp_attrib_t::brightness, 86, 6, 14, "isp_luminance_val:%d\n\n"},
    {"contrast", &acp_attrib_t::contrast, 86, 6, 14, "isp_contrast_val: %d\n\n"},
};

class Colour : public Bench
{
protected:
    Colour()
    {
        start_camera(kCamera);
    }

    static int saturation()
    {
        return held<acp_attrib_t>(kCamera).saturation;
    }
};

TEST_F(Colour, ALevelBecomesOneFieldByItsRule)
{
    acp_attrib_t expected = sim::engine::initial<acp_attrib_t>();
    for (const Rule& rule : kRules) {
        sim::host::set_maximum(setting(rule.name), rule.last);
        for (int level = 0; level <= rule.last; ++level) {
            SCOPED_TRACE(testing::Message() << rule.name << " " << level);
            char trace[64];
            std::snprintf(trace, sizeof trace, rule.trace, level);
            EXPECT_THAT(traces_of([&] { set(kCamera, rule.name, level); }),
                        testing::Contains("KIV_Set_" + std::string(rule.name) + ": " + trace));
            rule.apply(expected, level);
            expect_engine(kCamera, expected);
        }
    }
}

TEST_F(Colour, BlackAndWhiteForcesTheSaturationAndKeepsTheLevel)
{
    KIV_Set_saturation(kCamera, Saturation_E{9});
    EXPECT_THAT(names_of_calls([] { EXPECT_EQ(KIV_Set_blackwhite_mode(kCamera, BlackWhite_Mode_ON), 0); }, "para_set"),
                ElementsAre("para_set_isp_blackwhite_mode_cur")); // the sentinel stays out of the store
    EXPECT_EQ(saturation(), 0);
    EXPECT_THAT(traces_of([] { KIV_Set_saturation(kCamera, Saturation_E{14}); }),
                ElementsAre("KIV_Set_saturation: isp_saturation_val :0xffffffff\n\n"));
    EXPECT_EQ(saturation(), 0);
    EXPECT_EQ(stored(kCamera, "saturation"), 14);
    EXPECT_THAT(traces_of([] { KIV_Set_blackwhite_mode(kCamera, BlackWhite_Mode_OFF); }),
                ElementsAre("KIV_Set_blackwhite_mode: blackwhite_mode:0\n\n",
                            "KIV_Set_saturation: isp_saturation_val :0xe\n\n"));
    EXPECT_EQ(saturation(), 223);

    KIV_Set_blackwhite_mode(kCamera, BlackWhite_Mode_ON);
    KIV_Set_blackwhite_mode(kCamera, BlackWhite_Mode_E{2}); // stored, and means off
    EXPECT_EQ(stored(kCamera, "blackwhite_mode"), 2);
    EXPECT_EQ(saturation(), 223);
    EXPECT_THAT(names_of_calls([] { KIV_Set_saturation(kCamera, Saturation_E{-1}); }, "para_set"), IsEmpty());
    EXPECT_EQ(saturation(), 0);

    // The level is read before the mode is stored; the stored mode decides.
    store(kCamera, "saturation", 5);
    std::vector<std::string> calls;
    for (const sim::Call& call : calls_of([] { KIV_Set_blackwhite_mode(kCamera, BlackWhite_Mode_OFF); }, "para_")) {
        calls.push_back(text(call));
    }
    EXPECT_THAT(calls, ElementsAre("para_get_isp_saturation_cur(3, 5)", "para_set_isp_blackwhite_mode_cur(3, 0)",
                                   "para_get_isp_saturation_max(3, 14)", "para_set_isp_saturation_cur(3, 5)",
                                   "para_get_isp_blackwhite_mode_cur(3, 0)"));
    EXPECT_THAT(sim::host::misuses(), IsEmpty());
}

TEST_F(Colour, AFailedReadIsIgnoredButNothingUndefinedReachesTheEngine)
{
    for (const Rule& rule : kRules) {
        if (rule.name == "contrast") {
            continue;
        }
        SCOPED_TRACE(rule.name);
        sim::inject_fault("rk_aiq_user_api2_acp_GetAttrib", 1, -1);
        EXPECT_EQ(set(kCamera, rule.name, 7), 0);
        acp_attrib_t expected{};
        rule.apply(expected, 7);
        expect_engine(kCamera, expected);

        sim::inject_fault("rk_aiq_user_api2_acp_SetAttrib", 1, -1);
        EXPECT_EQ(set(kCamera, rule.name, 2), 0);
        EXPECT_EQ(stored(kCamera, rule.name), 2);
        expect_engine(kCamera, expected);
    }
}

TEST_F(Colour, ContrastReportsAFailedReadOnly)
{
    sim::inject_fault("rk_aiq_user_api2_acp_GetAttrib", 1, -3);
    std::vector<std::string> calls;
    EXPECT_THAT(
        traces_of([&] { calls = names_of_calls([] { EXPECT_EQ(KIV_Set_contrast(kCamera, Contrast_E{2}), -1); }); }),
        ElementsAre("KIV_Set_contrast: rk_aiq_user_api2_acp_GetAttrib err:0xfffffffd\n\n"));
    EXPECT_EQ(calls.back(), "rk_aiq_user_api2_acp_GetAttrib");
    EXPECT_EQ(stored(kCamera, "contrast"), 2);

    sim::inject_fault("rk_aiq_user_api2_acp_SetAttrib", 1, -1);
    EXPECT_THAT(traces_of([] { EXPECT_EQ(KIV_Set_contrast(kCamera, Contrast_E{4}), 0); }),
                ElementsAre("KIV_Set_contrast: isp_contrast_val: 4\n\n"));
    expect_engine(kCamera);
}

TEST_F(Colour, SettersThatDoNothing)
{
    EXPECT_THAT(calls_of([] {
                    EXPECT_EQ(KIV_Set_len_type(kCamera, KIV_LEN_SR1053), 0);
                    EXPECT_EQ(KIV_Set_ccm_style(kCamera, 5), 0);
                    EXPECT_EQ(KIV_Set_hotpixel(kCamera), 0);
                }),
                IsEmpty());
}

} // namespace
