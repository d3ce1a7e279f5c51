// Camera roles and the form of a trace line.
#include "support/bench.h"

#include <regex>
#include <set>

using namespace bench;

namespace
{

class Context : public Bench
{
};

TEST_F(Context, RolesKeepWhatTheyWereTold)
{
    EXPECT_EQ(get_PanoramaIspId(), 1);
    EXPECT_EQ(get_FeaturesIspId(), 0);
    EXPECT_EQ(set_PanoramaIspId(7), 0);
    EXPECT_EQ(set_FeaturesIspId(3), 0);
    EXPECT_EQ(set_PanoramaIspId(8), -1);
    EXPECT_EQ(set_FeaturesIspId(-1), -1);
    EXPECT_EQ(get_PanoramaIspId(), 7);
    EXPECT_EQ(get_FeaturesIspId(), 3);
    set_PanoramaIspId(1);
    set_FeaturesIspId(0);
}

TEST_F(Context, TracesAreWrittenAboveLevelFiveOnly)
{
    start_camera(2);
    for (const int level : {INT_MIN, 0, 5, 6, 7, INT_MAX}) {
        sim::host::set_module_level(level);
        sim::host::start_log_capture();
        KIV_Set_luminance(2, Luminance_E{20});
        sim::host::stop_log_capture();
        sim::host::set_module_level(0);
        EXPECT_EQ(sim::host::captured_log().size(), level > 5 ? 3 : 0) << "level " << level;
        EXPECT_EQ(stored(2, "luminance"), 14);
        EXPECT_EQ(held<acp_attrib_t>(2).brightness, 170);
    }
}

// The function is the setter whose text it is, and each trace has a line of its own.
TEST_F(Context, ATraceNamesItsFunctionAndLine)
{
    start_camera(2);
    sim::host::set_module_level(6);
    sim::host::start_log_capture();
    KIV_Set_luminance(2, Luminance_E{3});
    sim::host::stop_log_capture();
    sim::host::set_module_level(0);

    const std::regex form(R"(\[module KIV_Set_luminance \+(\d+) *\](.*)\n\n)");
    std::set<std::string> lines;
    std::vector<std::string> messages;
    for (const sim::host::LogLine& line : sim::host::captured_log()) {
        std::smatch part;
        ASSERT_TRUE(std::regex_match(line.text, part, form)) << line.text;
        EXPECT_EQ(line.level, 6);
        EXPECT_GE(part.position(2) - part.position(1), 5) << "the number is padded to four places";
        lines.insert(part[1]);
        messages.push_back(part[2]);
    }
    EXPECT_EQ(lines.size(), 3);
    EXPECT_THAT(messages,
                testing::ElementsAre("isp_luminance_val:3", "isp_id:2", "rk_isp_set_brightness:  104"));
}

} // namespace
