// The exposure mode: every call that entering a mode makes, in order.
// Each test runs in a process of its own: the first mode change of a process makes calls that no later one makes.
#include "exposure_bench.h"

using namespace bench;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

namespace
{

// Settings as the store holds them before a mode change; every value differs from the initial one and from its
// neighbours'.
constexpr std::pair<const char*, int> kStored[] = {
    {"expcomp_mode", 2}, {"expcomp_level", 11}, {"backlight", 2},   {"drc", 4},    {"iris", 12},
    {"shutter", 7},      {"gain_limit", 6},     {"antiflicker", 1}, {"bright", 9}, {"manual_gain", 13},
};
const char* const kReads =
    "get:expcomp_mode=2 get:expcomp_level=11 get:backlight=2 get:drc=4 get:iris=12 get:shutter=7 "
    "get:gain_limit=6 get:antiflicker=1 get:bright=9 get:manual_gain=13";
const char* const kDrc = "max:drc set:drc=4 GetAttrib SetAttrib";

// The steps of the modes. MODE means "get:exposure_mode=" and the mode, BIAS means the engine calls that write it.
const char* const kType = "getExpSwAttr setExpSwAttr"; // automatic or manual
const char* const kCompMode = "MODE get:expcomp_level=11 get:backlight=2 set:expcomp_mode=2 BIAS";
const char* const kCompLevel = "max:expcomp_level get:backlight=2 get:expcomp_mode=2 MODE set:expcomp_level=11 BIAS";
const char* const kBacklight = "MODE get:expcomp_level=11 get:expcomp_mode=2 set:backlight=2 BIAS";
const char* const kGainLimit = "MODE max:gain_limit set:gain_limit=6 getExpGainRange setExpGainRange";
const char* const kGain = "MODE max:manual_gain set:manual_gain=13 getExpSwAttr setExpSwAttr";
const char* const kTimeRange = "MODE getExpSwAttr get_vin_fps=24 max:shutter setExpSwAttr";
const char* const kTime = "MODE MODE max:shutter set:shutter=7 getExpSwAttr max:shutter setExpSwAttr";
const char* const kPinnedTime = "MODE MODE max:shutter set:shutter=7 getExpSwAttr setExpSwAttr";
const char* const kAntiflicker = "MODE set:antiflicker=1 getExpSwAttr setExpSwAttr";
const char* const kIris = "MODE max:iris max:iris set:iris=12 iris_to=5";
const char* const kBright = "MODE max:bright set:bright=9 BIAS";
const char* const kHeld = "iris_mode=0";
const char* const kDriven = "iris_mode=1";

struct Mode {
    int mode;
    int result;
    Words steps;
};
const Mode kEntered[] = {
    {AUTO_EXPOSURE, 0, {kType, kDriven, kCompMode, kCompLevel, kBacklight, kGainLimit, kTimeRange, kAntiflicker}},
    {MANUAL_EXPOSURE, 0, {kType, kHeld, kGain, kIris, kTime}},
    {SHUTTER_PRIORITY, 0, {kDriven, kAntiflicker, kType, kGainLimit, kCompMode, kCompLevel, kPinnedTime}},
    {IRIS_PRIORITY, 0, {kType, kHeld, kIris, kAntiflicker, kGainLimit, kTimeRange, kCompMode, kCompLevel}},
    {BRIGHT_PRIORITY, 0, {kType, kDriven, kBright, kAntiflicker, kGainLimit, kTimeRange}},
    {WIDE_DYNAMIC_RANGE, 0, {kDriven}},
    {SMART_EXPOSURE, 0, {kType, kDriven}},
    {LOW_LIGHT, ISP_UNFIT, {}},
    {1, ISP_UNFIT, {}},
    {-1, ISP_UNFIT, {}},
};

Words step_calls(const Mode& mode, const std::string& step)
{
    Words calls;
    for (const std::string& word : words(step)) {
        if (word == "BIAS") {
            const Words bias = words("getExpSwAttr getLinExpAttr setLinExpAttr setExpSwAttr");
            calls.insert(calls.end(), bias.begin(), bias.end());
        } else {
            calls.push_back(word == "MODE" ? "get:exposure_mode=" + std::to_string(mode.mode) : word);
        }
    }
    return calls;
}

Words expected_calls(const Mode& mode)
{
    Words calls = words(std::string(kReads) + " set:exposure_mode=" + std::to_string(mode.mode));
    for (const std::string& step : mode.steps) {
        std::ranges::copy(step_calls(mode, step), std::back_inserter(calls));
    }
    return calls;
}

class ExposureMode : public ExposureBench
{
protected:
    static void fill_store()
    {
        begin(AUTO_EXPOSURE);
        for (const auto& [name, value] : kStored) {
            store(kCamera, name, value);
        }
        sim::host::set_vin_fps(kCamera, 24);
    }

    static Words enter(int camera, int mode, int result)
    {
        Words calls;
        for (const sim::Call& call :
             calls_of([&] { EXPECT_EQ(KIV_Set_exposure_mode(camera, Exposure_Mode_E{mode}), result); })) {
            // The follow thread of the smart mode looks at camera 0 and ends.
            if (call.id == camera || call.id == -1) {
                calls.push_back(short_form(call));
            }
        }
        return calls;
    }
};

} // namespace

TEST_F(ExposureMode, MakesItsCallsInOrder)
{
    KIV_Set_exposure_mode(kCamera, LOW_LIGHT); // the first change of the process
    for (const Mode& mode : kEntered) {
        SCOPED_TRACE("mode " + std::to_string(mode.mode));
        fill_store();
        EXPECT_THAT(enter(kCamera, mode.mode, mode.result), ElementsAreArray(expected_calls(mode)));
        EXPECT_EQ(stored(kCamera, "exposure_mode"), mode.mode);
        for (const auto& [name, value] : kStored) {
            EXPECT_EQ(stored(kCamera, name), value) << name;
        }
        const bool manual = mode.mode == MANUAL_EXPOSURE || mode.mode == SMART_EXPOSURE;
        EXPECT_EQ(ae().AecOpType, manual ? RK_AIQ_OP_MODE_MANUAL : RK_AIQ_OP_MODE_AUTO);
    }
}

TEST_F(ExposureMode, FirstChangeOfTheProcessAppliesDrc)
{
    fill_store();
    EXPECT_THAT(enter(kCamera, LOW_LIGHT, ISP_UNFIT),
                ElementsAreArray(words(std::string(kReads) + " " + kDrc + " set:exposure_mode=34")));
    start_camera(0);
    const Words later = enter(0, MANUAL_EXPOSURE, 0);
    EXPECT_EQ(std::count(later.begin(), later.end(), "SetAttrib"), 0);
    EXPECT_EQ(std::count(later.begin(), later.end(), "iris_mode=0"), 1);
}

TEST_F(ExposureMode, DrivesTheIrisBeforeWhatTheModeLogsThen)
{
    for (const auto& row : {std::pair{WIDE_DYNAMIC_RANGE, "para_set_isp_exposure_mode_cur"},
                            {SMART_EXPOSURE, "rk_aiq_user_api2_ae_setExpSwAttr kiv_traceout"}}) {
        begin(AUTO_EXPOSURE);
        const Words calls = names_of_calls_and_traces([&row] { KIV_Set_exposure_mode(kCamera, row.first); });
        const Words expected = words(std::string(row.second) + " iris_mode kiv_traceout");
        EXPECT_FALSE(std::ranges::search(calls, expected).empty()) << ::testing::PrintToString(calls);
    }
}

TEST_F(ExposureMode, CompanionsDoWhatTheySay)
{
    EXPECT_THAT(sensor_vpss_group, ElementsAre(0, -1, -1, -1));
    int values[] = {1, 2, 3, 4};
    EXPECT_EQ(set_sensor_vpss_group(99, values), 0);
    EXPECT_EQ(set_sensor_vpss_group(0, nullptr), -1);
    EXPECT_THAT(sensor_vpss_group, ElementsAreArray(values));

    EXPECT_THAT(traces_of([&] { EXPECT_EQ(isp_wdr_config(99), 0); }),
                ElementsAre("isp_wdr_config: Enter:isp_wdr_config\n\n"));
}
