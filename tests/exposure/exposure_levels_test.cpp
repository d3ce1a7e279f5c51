// What each exposure setter makes of a level: in which modes, within which bounds, by which rule, and when the engine
// fails.
#include "exposure_bench.h"

#include <climits>
#include <functional>

using namespace bench;
using ::testing::Each;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace
{

using ExposureLevels = ExposureBench;

std::vector<std::string> tokens_of_calls(const std::function<void()>& action)
{
    std::vector<std::string> tokens;
    for (const sim::Call& call : calls_of(action)) {
        tokens.push_back(token(call));
    }
    return tokens;
}

float seconds(double denominator)
{
    return static_cast<float>(1.0 / denominator);
}

} // namespace

TEST_F(ExposureLevels, ActInTheirModesAndDriveTheirFieldsAlone)
{
    for (const ExposureSetter& setter : exposure_setters()) {
        for (const int mode : kModes) {
            SCOPED_TRACE(std::string(setter.setting) + " in mode " + std::to_string(mode));
            begin(mode);
            store(kCamera, setter.setting, setter.old_level);
            const bool acts = std::count(setter.modes.begin(), setter.modes.end(), mode) != 0;
            const auto before = sim::engine::snapshot(rkipc_aiq_get_ctx(kCamera));
            int result = -2;
            const auto calls = tokens_of_calls([&] { result = setter.set(kCamera, setter.level); });
            const auto changes = sim::engine::changes(before, sim::engine::snapshot(rkipc_aiq_get_ctx(kCamera)));

            EXPECT_EQ(result, acts ? 0 : ISP_UNFIT);
            const bool smart_iris = setter.set == isp::apply_setting<KIV_Set_iris> && mode == SMART_EXPOSURE;
            EXPECT_EQ(stored(kCamera, setter.setting),
                      (acts && !smart_iris) || (!acts && setter.stored_when_refused) ? setter.level : setter.old_level);
            EXPECT_EQ(changes.empty(), !acts || setter.driven.empty());
            for (const auto& change : changes) {
                EXPECT_TRUE(std::any_of(setter.driven.begin(), setter.driven.end(), [&](const std::string& name) {
                    return change.name.starts_with(name);
                })) << change.name;
            }
            if (!acts) {
                EXPECT_EQ(std::count_if(calls.begin(), calls.end(), is_engine_call), 0);
                EXPECT_THAT(calls, Each(::testing::Not(HasSubstr("iris_to"))));
            }
        }
    }
}

TEST_F(ExposureLevels, AreBoundedByTheStoreAndTheTables)
{
    const struct {
        const char* setting;
        int mode;
        int maximum;
        int level;
        int stored;
    } rows[] = {
        {"shutter", SHUTTER_PRIORITY, 16, 17, 16},
        {"shutter", SHUTTER_PRIORITY, 10, 12, 10},
        {"shutter", SHUTTER_PRIORITY, 16, -1, 0},
        {"shutter", SHUTTER_PRIORITY, 16, INT_MIN, 0},
        {"shutter", SHUTTER_PRIORITY, 40, 30, 16},
        {"shutter", MANUAL_EXPOSURE, 16, 17, 16},
        {"shutter", MANUAL_EXPOSURE, 40, INT_MAX, 16},
        {"shutter", MANUAL_EXPOSURE, 16, -1, 0},
        {"bright", BRIGHT_PRIORITY, 23, 24, 23},
        {"bright", BRIGHT_PRIORITY, 10, 11, 10},
        {"bright", BRIGHT_PRIORITY, 23, -1, 0},
        {"bright", BRIGHT_PRIORITY, 99, 50, 23},
        {"gain_limit", AUTO_EXPOSURE, 15, 16, 15},
        {"gain_limit", AUTO_EXPOSURE, 15, -1, 0},
        {"gain_limit", AUTO_EXPOSURE, 99, 50, 50},
        {"manual_gain", MANUAL_EXPOSURE, 15, 16, 15},
        {"manual_gain", MANUAL_EXPOSURE, 15, -1, 15},
        {"manual_gain", MANUAL_EXPOSURE, 9, INT_MIN, 9},
        {"expcomp_level", AUTO_EXPOSURE, 14, 15, 14},
        {"expcomp_level", AUTO_EXPOSURE, 14, -1, 14},
        {"expcomp_level", AUTO_EXPOSURE, 10, -1, 10},
        {"expcomp_level", AUTO_EXPOSURE, 99, 50, 14},
        {"expcomp_level", MANUAL_EXPOSURE, 14, 15, 14},
        {"iris", IRIS_PRIORITY, 17, 18, 17},
        {"iris", IRIS_PRIORITY, 17, -1, 17},
        {"iris", MANUAL_EXPOSURE, 12, 13, 12},
        {"antiflicker", AUTO_EXPOSURE, 2, 5, 5},
        {"expcomp_mode", AUTO_EXPOSURE, 3, -4, -4},
        {"meter", AUTO_EXPOSURE, 3, 7, 7},
        {"wdr_strength", AUTO_EXPOSURE, 15, 77, 77},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.setting) + " level " + std::to_string(row.level) + ", maximum " +
                     std::to_string(row.maximum));
        begin(row.mode);
        if (setting(row.setting).has_max()) {
            sim::host::set_maximum(setting(row.setting), row.maximum);
        }
        EXPECT_NE(exposure_setter(row.setting).set(kCamera, row.level), -1);
        EXPECT_EQ(stored(kCamera, row.setting), row.stored);
    }
}

// The steps' denominators stand in the names that the host shows for them, "1/200" for step 5.
TEST_F(ExposureLevels, ShutterStepsAreTimesInSinglePrecision)
{
    const float longest = seconds(30.0);
    const float fastest_of_range = seconds(6000.0); // of step 15, one below the maximum
    for (const sim::host::ValueName& step : names_of(setting("shutter"))) {
        const float time = seconds(std::stod(std::string(step.name.substr(2))));
        begin(SHUTTER_PRIORITY);
        EXPECT_EQ(KIV_Set_shutter(kCamera, Shutter_Level_E{step.value}), 0);
        EXPECT_TRUE(ae().stAdvanced.SetAeRangeEn);
        EXPECT_EQ(ae().stAdvanced.SetLinAeRange.stExpTimeRange.Min, time) << step.name;
        EXPECT_EQ(ae().stAdvanced.SetLinAeRange.stExpTimeRange.Max, time) << step.name;
        EXPECT_EQ(ae().AecOpType, RK_AIQ_OP_MODE_AUTO);

        begin(MANUAL_EXPOSURE);
        EXPECT_EQ(KIV_Set_shutter(kCamera, Shutter_Level_E{step.value}), 0);
        EXPECT_EQ(ae().stManual.LinearAE.TimeValue, time) << step.name;
        EXPECT_TRUE(ae().stManual.LinearAE.ManualTimeEn && ae().stManual.LinearAE.ManualGainEn);
        EXPECT_EQ(ae().AecOpType, RK_AIQ_OP_MODE_MANUAL);
        EXPECT_EQ(ae().stAuto.LinAeRange.stExpTimeRange.Max, longest);
        EXPECT_EQ(ae().stAuto.LinAeRange.stExpTimeRange.Min, fastest_of_range);
    }

    // The automatic range, which a mode change opens again: its fast end follows the store's maximum.
    for (const auto& [maximum, fastest] : {std::pair{16, 6000.0}, {4, 100.0}, {1, 30.0}, {0, 30.0}, {60, 10000.0}}) {
        begin(AUTO_EXPOSURE);
        sim::host::set_maximum(setting("shutter"), maximum);
        sim::host::set_vin_fps(kCamera, 25);
        EXPECT_EQ(KIV_Set_exposure_mode(kCamera, BRIGHT_PRIORITY), 0);
        EXPECT_EQ(ae().stAuto.stFrmRate.FpsValue, 25.0F);
        EXPECT_TRUE(ae().stAdvanced.SetAeRangeEn);
        EXPECT_EQ(ae().stAdvanced.SetLinAeRange.stExpTimeRange.Max, longest);
        EXPECT_EQ(ae().stAdvanced.SetLinAeRange.stExpTimeRange.Min, seconds(fastest)) << maximum;
    }
}

TEST_F(ExposureLevels, BiasFollowsBrightnessOrCompensationAndBacklight)
{
    begin(BRIGHT_PRIORITY);
    for (int step = 0; step <= Bright_MAX; ++step) {
        EXPECT_EQ(KIV_Set_bright(kCamera, Bright_E{step}), 0);
        EXPECT_EQ(bias(), static_cast<float>(-100 + 20 * step));
        EXPECT_TRUE(ae().stAuto.stFrmRate.isFpsFix);
    }
    // The three settings give the same bias whichever of them is set last; values without a name mean on.
    for (const int mode : {Expcomp_Mode_ON, Expcomp_Mode_OFF, Expcomp_Mode_E{0}}) {
        for (const int backlight : {Backlight_Mode_ON, Backlight_Mode_OFF, Backlight_Mode_E{0}}) {
            for (int level = 0; level <= Expcomp_Level_MAX; ++level) {
                const int base = mode == Expcomp_Mode_OFF ? 0 : -140 + 20 * level;
                const auto expected = static_cast<float>(backlight == Backlight_Mode_OFF ? base : base + 80);
                const std::pair<const char*, int> settings[] = {
                    {"expcomp_mode", mode}, {"expcomp_level", level}, {"backlight", backlight}};
                for (const auto& [last, value] : settings) {
                    begin(AUTO_EXPOSURE);
                    for (const auto& [name, other] : settings) {
                        store(kCamera, name, other);
                    }
                    store(kCamera, last, exposure_setter(last).old_level);
                    EXPECT_EQ(exposure_setter(last).set(kCamera, value), 0);
                    ASSERT_EQ(bias(), expected) << last << ", level " << level << ", mode " << mode;
                    ASSERT_TRUE(ae().stAuto.stFrmRate.isFpsFix);
                }
            }
        }
    }
    // Stored levels beyond the table; a stored backlight counts also where its setter is refused.
    for (const int level : {15, 1000, -1, INT_MIN}) {
        begin(SHUTTER_PRIORITY);
        store(kCamera, "expcomp_level", level);
        store(kCamera, "backlight", Backlight_Mode_ON);
        EXPECT_EQ(KIV_Set_expcomp_mode(kCamera, Expcomp_Mode_ON), 0);
        EXPECT_EQ(bias(), 220.0F) << level;
    }
}

TEST_F(ExposureLevels, GainsFollowTheirRules)
{
    for (int level = 0; level <= 15; ++level) {
        begin(AUTO_EXPOSURE);
        EXPECT_EQ(KIV_Set_gain_limit(kCamera, Gain_Limit_E{level}), 0);
        const auto range = held<paRange_t>(kCamera);
        EXPECT_EQ(range.max, level == 0 ? 1.0F : std::min(2.0F * static_cast<float>(level), 22.0F));
        EXPECT_EQ(range.min, 1.0F);
        for (const int mode : {MANUAL_EXPOSURE, SHUTTER_PRIORITY}) {
            begin(mode);
            EXPECT_EQ(KIV_Set_manual_gain(kCamera, Manual_Gain_E{level}), 0);
            EXPECT_EQ(ae().stManual.LinearAE.GainValue, static_cast<float>(level) + 1.0F);
            EXPECT_TRUE(ae().stManual.LinearAE.ManualGainEn);
        }
    }
    begin(AUTO_EXPOSURE);
    sim::host::set_maximum(setting("gain_limit"), 99);
    EXPECT_EQ(KIV_Set_gain_limit(kCamera, Gain_Limit_E{50}), 0);
    EXPECT_EQ(held<paRange_t>(kCamera).max, 22.0F);
}

TEST_F(ExposureLevels, AntiflickerIsOffInShutterPriority)
{
    const struct {
        int mode;
        int flicker;
        bool enable;
        int frequency;
    } rows[] = {
        {AUTO_EXPOSURE, FLICKER_OFF, false, AECV2_FLICKER_FREQUENCY_OFF},
        {AUTO_EXPOSURE, FLICKER_50HZ, true, AECV2_FLICKER_FREQUENCY_50HZ},
        {SMART_EXPOSURE, FLICKER_60HZ, true, AECV2_FLICKER_FREQUENCY_60HZ},
        {SHUTTER_PRIORITY, FLICKER_60HZ, false, AECV2_FLICKER_FREQUENCY_OFF},
        {SHUTTER_PRIORITY, 5, false, AECV2_FLICKER_FREQUENCY_OFF},
        {AUTO_EXPOSURE, 5, true, AECV2_FLICKER_FREQUENCY_60HZ}, // as the engine had it
        {AUTO_EXPOSURE, -1, true, AECV2_FLICKER_FREQUENCY_60HZ},
    };
    for (const auto& row : rows) {
        begin(row.mode);
        EXPECT_EQ(KIV_Set_antiflicker(kCamera, Flicker_E{row.flicker}), 0);
        EXPECT_EQ(stored(kCamera, "antiflicker"), row.flicker);
        EXPECT_EQ(ae().stAuto.stAntiFlicker.enable, row.enable) << row.flicker;
        EXPECT_EQ(ae().stAuto.stAntiFlicker.Frequency, row.frequency) << row.flicker;
        EXPECT_EQ(ae().stAuto.stAntiFlicker.Mode, AECV2_ANTIFLICKER_NORMAL_MODE);
    }
}

TEST_F(ExposureLevels, IrisStepsArePositionsBelowTheMaximum)
{
    const struct {
        int maximum;
        int step;
        int position; // -1: refused
    } rows[] = {
        {17, 0, 12}, {17, 6, 11}, {17, 7, 10}, {17, 16, 1}, {17, 17, 0},  {17, 18, 0}, {17, 1, -1},
        {17, 5, -1}, {10, 8, 2},  {10, 12, 0}, {10, 0, 5},  {30, 20, 10}, {3, 0, 0},
    };
    for (const auto& row : rows) {
        for (const int mode : {MANUAL_EXPOSURE, IRIS_PRIORITY, SMART_EXPOSURE}) {
            SCOPED_TRACE("step " + std::to_string(row.step) + " of " + std::to_string(row.maximum));
            begin(mode);
            sim::host::set_maximum(setting("iris"), row.maximum);
            std::vector<sim::Call> moves;
            const auto traces = traces_of([&] {
                moves = calls_of(
                    [&] { EXPECT_EQ(KIV_Set_iris(kCamera, Iris_Level_E{row.step}), row.position < 0 ? ISP_UNFIT : 0); },
                    "iris_");
            });
            ASSERT_EQ(moves.size(), row.position < 0 ? 0U : 1U);
            if (row.position >= 0) {
                EXPECT_EQ(text(moves[0]), "iris_to(-1, " + std::to_string(row.position) + ")");
            }
            EXPECT_EQ(std::count(traces.begin(), traces.end(), "KIV_Set_iris: iris_max error\n"),
                      row.maximum == 17 ? 0 : 1);
        }
    }
}

// One call of the engine fails, each in turn: the setter says so, ends there, and keeps the level stored.
TEST_F(ExposureLevels, EndAtTheFirstEngineFailure)
{
    for (const ExposureSetter& setter : exposure_setters()) {
        for (const int mode : setter.modes) {
            begin(mode);
            const auto good = names_of_calls([&] { EXPECT_EQ(setter.set(kCamera, setter.level), 0); }, "rk_aiq");
            EXPECT_EQ(good.empty(), setter.driven.empty());
            for (std::size_t failing = 0; failing < good.size(); ++failing) {
                SCOPED_TRACE(std::string(setter.setting) + " in mode " + std::to_string(mode) +
                             ", failing: " + good[failing]);
                begin(mode);
                const auto upto = good.begin() + static_cast<std::ptrdiff_t>(failing);
                sim::clear_faults();
                sim::inject_fault(good[failing], static_cast<int>(std::count(good.begin(), upto, good[failing])) + 1,
                                  -7);
                std::vector<std::string> calls;
                const auto traces = traces_of([&] {
                    calls = names_of_calls([&] { EXPECT_EQ(setter.set(kCamera, setter.level), -1); }, "rk_aiq");
                });
                EXPECT_EQ(sim::faults_struck(), 1);
                EXPECT_THAT(calls, ElementsAreArray(good.begin(), upto + 1));
                EXPECT_EQ(stored(kCamera, setter.setting), setter.level);
                EXPECT_EQ(std::count_if(
                              traces.begin(), traces.end(),
                              [](const std::string& trace) { return trace.ends_with(" failed with 0xfffffff9!\n\n"); }),
                          1);
            }
        }
    }
}

TEST_F(ExposureLevels, AreStoredWithoutAnEngineAndRefusedForNoCamera)
{
    constexpr int kNoEngine = 5;
    for (const ExposureSetter& setter : exposure_setters()) {
        for (const int mode : setter.modes) {
            SCOPED_TRACE(std::string(setter.setting) + " in mode " + std::to_string(mode));
            store(kNoEngine, "exposure_mode", mode);
            const auto traces = traces_of([&] { EXPECT_EQ(setter.set(kNoEngine, setter.level), 0); });
            if (mode != SMART_EXPOSURE || !setter.driven.empty()) {
                EXPECT_EQ(stored(kNoEngine, setter.setting), setter.level);
            }
            const bool traced_twice = mode == SHUTTER_PRIORITY && setter.set == isp::apply_setting<KIV_Set_shutter>;
            EXPECT_EQ(std::count_if(traces.begin(), traces.end(),
                                    [](const std::string& trace) { return trace.ends_with("aiq ctx error\n\n"); }),
                      setter.driven.empty() ? 0
                      : traced_twice        ? 2
                                            : 1);
        }
        for (const int camera : {-1, 8, INT_MAX, INT_MIN}) {
            EXPECT_THAT(calls_of([&] { EXPECT_EQ(setter.set(camera, setter.level), -1); }), IsEmpty());
        }
    }
}
