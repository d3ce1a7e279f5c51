// The restore: the order of its reads and of its setters.
#include "startup/sequence.h"

#include <set>

using namespace bench;

namespace
{

constexpr std::string_view kRead[] = {
    "exposure_mode", "expcomp_mode", "expcomp_level", "backlight",    "antiflicker",
    "gain_limit",    "drc",          "wdr_strength",  "meter",        "luminance",
    "saturation",    "contrast",     "sharpness",     "gamma",        "blackwhite_mode",
    "wb_mode",       "awb_sens",     "hue",           "rgain_tuning", "bgain_tuning",
    "nr2d",          "nr3d"};
constexpr std::string_view kApplied[] = {
    "exposure_mode", "expcomp_mode",    "expcomp_level", "backlight", "gain_limit", "antiflicker",
    "drc",           "wdr_strength",    "meter",         "wb_mode",   "awb_sens",   "saturation",
    "hue",           "rgain_tuning",    "bgain_tuning",  "luminance", "contrast",   "sharpness",
    "gamma",         "blackwhite_mode", "nr2d",          "nr3d"};

class Restore : public Bench
{
};

TEST_F(Restore, EverythingIsReadThenAppliedInItsOrder)
{
    Record beyond = kTelling[0]; // levels that a setter lowers in the store after they were read
    beyond.saturation = 99;
    beyond.gain_limit = 40;
    for (const Record& record : {kTelling[0], kTelling[1], kTelling[2], beyond}) {
        std::vector<sim::Call> reads;
        for (const std::string_view name : kRead) {
            reads.push_back({"para_get_isp_" + std::string(name) + "_cur", kCamera, record.*setting(name).member});
        }
        expect_sequence(
            record, reads, [] {}, kApplied, record, [] { KIV_load_isp_para(kCamera); });
    }
    EXPECT_THAT(traces_of([] { KIV_load_isp_para(kCamera); }).front(), "KIV_load_isp_para: isp_para\n\n");
}

// Whichever engine call fails, every later setter still runs and stores its level.
TEST_F(Restore, AFailingSetterStopsNothing)
{
    const auto stores = [] {
        begin_with(kTelling[0]);
        return names_of_calls([] { KIV_load_isp_para(kCamera); }, "para_set");
    };
    const std::vector<std::string> undisturbed = stores();
    begin_with(kTelling[0]);
    const std::vector<std::string> calls = names_of_calls([] { KIV_load_isp_para(kCamera); }, "rk_aiq");
    const std::set<std::string> functions(calls.begin(), calls.end());
    ASSERT_GE(functions.size(), 22); // Get and Set of eleven modules
    for (const std::string& function : functions) {
        SCOPED_TRACE(function);
        sim::inject_fault(function, 1, -1, true);
        EXPECT_EQ(stores(), undisturbed);
        EXPECT_GE(sim::faults_struck(), 1);
        sim::clear_faults();
    }
    EXPECT_THAT(sim::engine::misuses(), testing::IsEmpty());
}

TEST_F(Restore, BlackAndWhiteComesAfterTheSaturation)
{
    Record record = sim::host::initial_record();
    record.blackwhite_mode = BlackWhite_Mode_ON;
    record.saturation = 9;
    begin_with(record);
    KIV_load_isp_para(kCamera);
    EXPECT_EQ(held<acp_attrib_t>(kCamera).saturation, 0);
    KIV_Set_blackwhite_mode(kCamera, BlackWhite_Mode_OFF);
    EXPECT_EQ(held<acp_attrib_t>(kCamera).saturation, 173);
}

TEST_F(Restore, WithoutAnEngineTheStoreIsBroughtIntoRange)
{
    Record record = kTelling[0];
    record.hue = 99;
    begin_with(record);
    rk_isp_deinit(kCamera);
    EXPECT_THAT(names_of_calls([] { KIV_load_isp_para(kCamera); }, "rk_"), testing::IsEmpty());
    record.hue = HUE_MAX;
    for (const std::string_view name : kApplied) {
        EXPECT_EQ(stored(kCamera, name), record.*setting(name).member) << name;
    }
}

} // namespace
