// The exposure mode: every call that entering a mode makes, in order, and what is left of it when the engine fails.
// Each test runs in a process of its own: the first mode change of a process makes calls that no later one makes.
#include "exposure_bench.h"

#include <sstream>

using namespace bench;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

namespace
{

using Tokens = std::vector<std::string>;

Tokens split(const std::string& line)
{
    std::istringstream words(line);
    return {std::istream_iterator<std::string>(words), {}};
}

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

struct Mode {
    int mode;
    int result;
    Tokens steps; // one step of the mode each; MODE stands for "get:exposure_mode=" and the mode, BIAS for the engine
                  // calls that write the bias
};
const Tokens kNoSteps;
const Mode kEntered[] = {
    {AUTO_EXPOSURE,
     0,
     {"getExpSwAttr setExpSwAttr", "iris_mode=1", "MODE get:expcomp_level=11 get:backlight=2 set:expcomp_mode=2 BIAS",
      "max:expcomp_level get:backlight=2 get:expcomp_mode=2 MODE set:expcomp_level=11 BIAS",
      "MODE get:expcomp_level=11 get:expcomp_mode=2 set:backlight=2 BIAS",
      "MODE max:gain_limit set:gain_limit=6 getExpGainRange setExpGainRange",
      "MODE getExpSwAttr get_vin_fps=24 max:shutter setExpSwAttr", "MODE set:antiflicker=1 getExpSwAttr setExpSwAttr"}},
    {MANUAL_EXPOSURE,
     0,
     {"getExpSwAttr setExpSwAttr", "iris_mode=0", "MODE max:manual_gain set:manual_gain=13 getExpSwAttr setExpSwAttr",
      "MODE max:iris max:iris set:iris=12 iris_to=5",
      "MODE MODE max:shutter set:shutter=7 getExpSwAttr max:shutter setExpSwAttr"}},
    {SHUTTER_PRIORITY,
     0,
     {"iris_mode=1", "MODE set:antiflicker=1 getExpSwAttr setExpSwAttr", "getExpSwAttr setExpSwAttr",
      "MODE max:gain_limit set:gain_limit=6 getExpGainRange setExpGainRange",
      "MODE get:expcomp_level=11 get:backlight=2 set:expcomp_mode=2 BIAS",
      "max:expcomp_level get:backlight=2 get:expcomp_mode=2 MODE set:expcomp_level=11 BIAS",
      "MODE MODE max:shutter set:shutter=7 getExpSwAttr setExpSwAttr"}},
    {IRIS_PRIORITY,
     0,
     {"getExpSwAttr setExpSwAttr", "iris_mode=0", "MODE max:iris max:iris set:iris=12 iris_to=5",
      "MODE set:antiflicker=1 getExpSwAttr setExpSwAttr",
      "MODE max:gain_limit set:gain_limit=6 getExpGainRange setExpGainRange",
      "MODE getExpSwAttr get_vin_fps=24 max:shutter setExpSwAttr",
      "MODE get:expcomp_level=11 get:backlight=2 set:expcomp_mode=2 BIAS",
      "max:expcomp_level get:backlight=2 get:expcomp_mode=2 MODE set:expcomp_level=11 BIAS"}},
    {BRIGHT_PRIORITY,
     0,
     {"getExpSwAttr setExpSwAttr", "iris_mode=1", "MODE max:bright set:bright=9 BIAS",
      "MODE set:antiflicker=1 getExpSwAttr setExpSwAttr",
      "MODE max:gain_limit set:gain_limit=6 getExpGainRange setExpGainRange",
      "MODE getExpSwAttr get_vin_fps=24 max:shutter setExpSwAttr"}},
    {WIDE_DYNAMIC_RANGE, 0, {"iris_mode=1"}},
    {SMART_EXPOSURE, 0, {"getExpSwAttr setExpSwAttr", "iris_mode=1"}},
    {LOW_LIGHT, ISP_UNFIT, kNoSteps},
    {1, ISP_UNFIT, kNoSteps},
    {-1, ISP_UNFIT, kNoSteps},
};

Tokens step_tokens(const Mode& mode, const std::string& step)
{
    Tokens tokens;
    for (const std::string& word : split(step)) {
        if (word == "BIAS") {
            const Tokens bias = split("getExpSwAttr getLinExpAttr setLinExpAttr setExpSwAttr");
            tokens.insert(tokens.end(), bias.begin(), bias.end());
        } else {
            tokens.push_back(word == "MODE" ? "get:exposure_mode=" + std::to_string(mode.mode) : word);
        }
    }
    return tokens;
}

// The calls of a mode change whose `failing`th engine call fails (-1: none): a step ends at its failure, the others go
// on. `failed` receives that call.
Tokens expected_calls(const Mode& mode, int failing = -1, std::string* failed = nullptr)
{
    Tokens calls = split(std::string(kReads) + " set:exposure_mode=" + std::to_string(mode.mode));
    for (const std::string& step : mode.steps) {
        for (const std::string& call : step_tokens(mode, step)) {
            calls.push_back(call);
            if (is_engine_call(call) && failing-- == 0) {
                *failed = call;
                break;
            }
        }
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

    static Tokens enter(int camera, int mode, int result)
    {
        Tokens tokens;
        for (const sim::Call& call :
             calls_of([&] { EXPECT_EQ(KIV_Set_exposure_mode(camera, Exposure_Mode_E{mode}), result); })) {
            // The follow thread of the smart mode looks at camera 0 and ends.
            if (call.id == camera || call.id == -1) {
                tokens.push_back(token(call));
            }
        }
        return tokens;
    }
};

class EnteredMode : public ExposureMode, public ::testing::WithParamInterface<Mode>
{
};
INSTANTIATE_TEST_SUITE_P(All, EnteredMode, ::testing::ValuesIn(kEntered),
                         [](const auto& info) { return "Mode" + std::to_string(info.index); });

} // namespace

TEST_P(EnteredMode, MakesItsCallsInOrder)
{
    const Mode& mode = GetParam();
    KIV_Set_exposure_mode(kCamera, LOW_LIGHT); // the first change of the process
    fill_store();
    EXPECT_THAT(enter(kCamera, mode.mode, mode.result), ElementsAreArray(expected_calls(mode)));
    EXPECT_EQ(stored(kCamera, "exposure_mode"), mode.mode);
    for (const auto& [name, value] : kStored) {
        EXPECT_EQ(stored(kCamera, name), value) << name;
    }
    const bool manual = mode.mode == MANUAL_EXPOSURE || mode.mode == SMART_EXPOSURE;
    EXPECT_EQ(ae().AecOpType, manual ? RK_AIQ_OP_MODE_MANUAL : RK_AIQ_OP_MODE_AUTO);
    EXPECT_THAT(sim::engine::misuses(), IsEmpty());
    EXPECT_THAT(sim::host::misuses(), IsEmpty());
}

TEST_P(EnteredMode, GoesOnAfterEachEngineFailure)
{
    const Mode& mode = GetParam();
    KIV_Set_exposure_mode(kCamera, LOW_LIGHT);
    for (int failing = 0;; ++failing) {
        std::string failed;
        const Tokens expected = expected_calls(mode, failing, &failed);
        if (failed.empty()) {
            break;
        }
        fill_store();
        // The fault strikes that occurrence of the function.
        Tokens engine_calls;
        const Tokens all = expected_calls(mode);
        std::copy_if(all.begin(), all.end(), std::back_inserter(engine_calls), is_engine_call);
        const auto nth = std::count(engine_calls.begin(), engine_calls.begin() + failing + 1, failed);
        const bool range = failed.ends_with("Range");
        sim::clear_faults();
        sim::inject_fault((range ? "rk_aiq_uapi2_" : "rk_aiq_user_api2_ae_") + failed, static_cast<int>(nth), -7);
        EXPECT_THAT(enter(kCamera, mode.mode, 0), ElementsAreArray(expected)) << failed << " number " << nth;
        EXPECT_EQ(sim::faults_struck(), 1);
        EXPECT_EQ(stored(kCamera, "exposure_mode"), mode.mode);
    }
}

TEST_F(ExposureMode, FirstChangeOfTheProcessAppliesDrc)
{
    fill_store();
    EXPECT_THAT(enter(kCamera, LOW_LIGHT, ISP_UNFIT),
                ElementsAreArray(split(std::string(kReads) + " " + kDrc + " set:exposure_mode=34")));
    start_camera(0);
    const Tokens later = enter(0, MANUAL_EXPOSURE, 0);
    EXPECT_EQ(std::count(later.begin(), later.end(), "SetAttrib"), 0);
    EXPECT_EQ(std::count(later.begin(), later.end(), "iris_mode=0"), 1);
}

TEST_F(ExposureMode, CompanionsDoWhatTheySay)
{
    EXPECT_THAT(sensor_vpss_group, ElementsAre(0, -1, -1, -1));
    int values[] = {1, 2, 3, 4};
    EXPECT_EQ(set_sensor_vpss_group(99, values), 0);
    EXPECT_EQ(set_sensor_vpss_group(0, nullptr), -1);
    EXPECT_THAT(sensor_vpss_group, ElementsAreArray(values));

    const auto before = sim::host::stored_record(kCamera);
    for (const int camera : {kCamera, -1, 8}) {
        EXPECT_THAT(traces_of([&] {
                        EXPECT_THAT(calls_of([&] { EXPECT_EQ(KIV_Set_exposure_mode_priority(camera, 5), 0); }),
                                    IsEmpty());
                    }),
                    IsEmpty());
        EXPECT_THAT(traces_of([&] { EXPECT_EQ(isp_wdr_config(camera), 0); }),
                    ElementsAre("isp_wdr_config: Enter:isp_wdr_config\n\n"));
    }
    EXPECT_EQ(sim::host::stored_record(kCamera).exposure_mode_priority, before.exposure_mode_priority);
    for (const int camera : {-1, 8}) {
        EXPECT_THAT(calls_of([&] { EXPECT_EQ(KIV_Set_exposure_mode(camera, AUTO_EXPOSURE), -1); }), IsEmpty());
    }
}
