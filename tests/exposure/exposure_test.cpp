// What each exposure setter makes of a level, in which modes and by which rule; and the exposure mode, of which the
// field log has the calls that entering it makes, in order. Each test runs in a process of its own: the first mode
// change of a process makes calls that no later one makes.
#include "support/bench.h"

#include <climits>

using namespace bench;

namespace
{

constexpr int kCamera = 2;

class Exposure : public Running<kCamera>
{
protected:
    /// Initial values in store and engine, but for the mode.
    static void begin(int mode)
    {
        sim::host::reset_store();
        store(kCamera, "exposure_mode", mode);
        const void* context = rkipc_aiq_get_ctx(kCamera);
        sim::engine::poke(context, sim::engine::initial<Uapi_ExpSwAttrV2_t>());
        sim::engine::poke(context, sim::engine::initial<Uapi_LinExpAttrV2_t>());
        sim::engine::poke(context, sim::engine::initial<paRange_t>());
    }

    static Uapi_ExpSwAttrV2_t ae()
    {
        return held<Uapi_ExpSwAttrV2_t>(kCamera);
    }
    static float bias()
    {
        return held<Uapi_LinExpAttrV2_t>(kCamera).Params.Evbias;
    }
};

float seconds(double denominator)
{
    return static_cast<float>(1.0 / denominator);
}

using Grid = uint8_t[225];

int at(const Grid& grid, int row, int column)
{
    return grid[15 * row + column];
}

} // namespace

// The steps' denominators stand in the names that the host shows for them, "1/200" for step 5.
TEST_F(Exposure, ShutterStepsAreTimesInSinglePrecision)
{
    for (const sim::host::ValueName& step : names_of(setting("shutter"))) {
        SCOPED_TRACE(step.name);
        const float time = seconds(std::stod(std::string(step.name.substr(2))));
        begin(SHUTTER_PRIORITY);
        set(kCamera, "shutter", step.value);
        EXPECT_TRUE(ae().stAdvanced.SetAeRangeEn);
        EXPECT_EQ(ae().stAdvanced.SetLinAeRange.stExpTimeRange.Min, time);
        EXPECT_EQ(ae().stAdvanced.SetLinAeRange.stExpTimeRange.Max, time);

        begin(MANUAL_EXPOSURE);
        set(kCamera, "shutter", step.value);
        EXPECT_EQ(ae().stManual.LinearAE.TimeValue, time);
        EXPECT_TRUE(ae().stManual.LinearAE.ManualTimeEn && ae().stManual.LinearAE.ManualGainEn);
        EXPECT_EQ(ae().AecOpType, RK_AIQ_OP_MODE_MANUAL);
        EXPECT_EQ(ae().stAuto.LinAeRange.stExpTimeRange.Max, seconds(30.0));
        EXPECT_EQ(ae().stAuto.LinAeRange.stExpTimeRange.Min, seconds(6000.0)); // one step below the maximum
    }
    // The automatic range, which a mode change opens again: its fast end follows the store's maximum.
    for (const auto& [maximum, fastest] : {std::pair{16, 6000.0}, {4, 100.0}, {1, 30.0}, {0, 30.0}, {60, 10000.0}}) {
        begin(AUTO_EXPOSURE);
        sim::host::set_maximum(setting("shutter"), maximum);
        sim::host::set_vin_fps(kCamera, 25);
        auto manual = ae();
        manual.AecOpType = RK_AIQ_OP_MODE_MANUAL;
        manual.stAdvanced.SetAeRangeEn = false;
        sim::engine::poke(rkipc_aiq_get_ctx(kCamera), manual);
        sim::inject_fault("rk_aiq_user_api2_ae_setExpSwAttr", 1, -1); // the mode's own write of the type
        EXPECT_EQ(KIV_Set_exposure_mode(kCamera, BRIGHT_PRIORITY), 0);
        EXPECT_EQ(ae().AecOpType, RK_AIQ_OP_MODE_AUTO);
        EXPECT_TRUE(ae().stAdvanced.SetAeRangeEn);
        EXPECT_EQ(ae().stAuto.stFrmRate.FpsValue, 25.0F);
        EXPECT_EQ(ae().stAdvanced.SetLinAeRange.stExpTimeRange.Max, seconds(30.0));
        EXPECT_EQ(ae().stAdvanced.SetLinAeRange.stExpTimeRange.Min, seconds(fastest)) << maximum;
    }
}

TEST_F(Exposure, BiasFollowsBrightnessOrCompensationAndBacklight)
{
    begin(BRIGHT_PRIORITY);
    for (int step = 0; step <= Bright_MAX; ++step) {
        set(kCamera, "bright", step);
        EXPECT_EQ(bias(), static_cast<float>(-100 + 20 * step));
        EXPECT_TRUE(ae().stAuto.stFrmRate.isFpsFix);
    }
    // The three settings give the same bias whichever of them is set last; values without a name mean on.
    for (const int mode : {2, 3, 0}) {
        for (const int backlight : {2, 3, 0}) {
            for (int level = 0; level <= Expcomp_Level_MAX; ++level) {
                const int base = mode == Expcomp_Mode_OFF ? 0 : -140 + 20 * level;
                const std::pair<const char*, int> settings[] = {
                    {"expcomp_mode", mode}, {"expcomp_level", level}, {"backlight", backlight}};
                for (const auto& [last, value] : settings) {
                    begin(AUTO_EXPOSURE);
                    for (const auto& [name, stored_value] : settings) {
                        store(kCamera, name, name == last ? 2 : stored_value);
                    }
                    set(kCamera, last, value);
                    ASSERT_EQ(bias(), static_cast<float>(backlight == Backlight_Mode_OFF ? base : base + 80))
                        << last << ", level " << level << ", mode " << mode;
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
        set(kCamera, "expcomp_mode", Expcomp_Mode_ON);
        EXPECT_EQ(bias(), 220.0F) << level;
    }
}

TEST_F(Exposure, GainsFollowTheirRules)
{
    for (int level = 0; level <= 15; ++level) {
        begin(AUTO_EXPOSURE);
        change<paRange_t>(kCamera, [](auto& range) { range.min = 3.0F; });
        set(kCamera, "gain_limit", level);
        const auto range = held<paRange_t>(kCamera);
        EXPECT_EQ(range.max, level == 0 ? 1.0F : std::min(2.0F * static_cast<float>(level), 22.0F));
        EXPECT_EQ(range.min, 1.0F);
        for (const int mode : {MANUAL_EXPOSURE, SHUTTER_PRIORITY}) {
            begin(mode);
            set(kCamera, "manual_gain", level);
            EXPECT_EQ(ae().stManual.LinearAE.GainValue, static_cast<float>(level) + 1.0F);
            EXPECT_TRUE(ae().stManual.LinearAE.ManualGainEn);
        }
    }
}

TEST_F(Exposure, AntiflickerIsOffInShutterPriority)
{
    // mode, flicker, frequency: -1: as it was
    const std::tuple<int, int, int> rows[] = {
        {AUTO_EXPOSURE, 0, 0},    {AUTO_EXPOSURE, 1, 1},    {SMART_EXPOSURE, 2, 2},
        {SHUTTER_PRIORITY, 2, 0}, {SHUTTER_PRIORITY, 5, 0}, {AUTO_EXPOSURE, 5, -1},
    };
    for (const auto& [mode, flicker, frequency] : rows) {
        for (const int before : {0, 1, 2}) {
            begin(mode);
            change<Uapi_ExpSwAttrV2_t>(kCamera, [before](auto& ae) {
                ae.stAuto.stAntiFlicker = {before != 0, CalibDb_FlickerFreqV2_t(before), CalibDb_AntiFlickerModeV2_t{}};
            });
            EXPECT_EQ(set(kCamera, "antiflicker", flicker), 0);
            EXPECT_EQ(stored(kCamera, "antiflicker"), flicker);
            const int expected = frequency < 0 ? before : frequency;
            EXPECT_EQ(ae().stAuto.stAntiFlicker.enable, expected != 0) << flicker;
            EXPECT_EQ(ae().stAuto.stAntiFlicker.Frequency, expected) << flicker;
            EXPECT_EQ(ae().stAuto.stAntiFlicker.Mode, AECV2_ANTIFLICKER_NORMAL_MODE);
        }
    }
}

TEST_F(Exposure, IrisStepsArePositionsBelowTheMaximum)
{
    // maximum, step, position: -1: refused
    const std::tuple<int, int, int> rows[] = {
        {17, 0, 12}, {17, 6, 11}, {17, 7, 10}, {17, 16, 1}, {17, 17, 0}, {17, 18, 0},  {17, 1, -1},
        {17, 5, -1}, {10, 8, 2},  {10, 12, 0}, {10, 0, 5},  {10, 5, -1}, {30, 20, 10}, {3, 0, 0},
    };
    for (const auto& [maximum, step, position] : rows) {
        for (const int mode : {MANUAL_EXPOSURE, IRIS_PRIORITY, SMART_EXPOSURE}) {
            begin(mode);
            sim::host::set_maximum(setting("iris"), maximum);
            std::vector<sim::Call> moves;
            const Words traces = traces_of([&] { moves = calls_of([&] { set(kCamera, "iris", step); }, "iris_"); });
            EXPECT_EQ(moves,
                      position < 0 ? std::vector<sim::Call>{} : std::vector<sim::Call>({{"iris_to", -1, position}}))
                << "step " << step << " of " << maximum;
            EXPECT_EQ(std::count(traces.begin(), traces.end(), "KIV_Set_iris: iris_max error\n"), maximum != 17);
        }
    }
}

// Nothing in the first row of the average; a pyramid of 8 in the middle; heavier towards the bottom.
TEST_F(Exposure, MeteringStoredGridsHaveTheirShape)
{
    for (int cell = 0; cell < 225; ++cell) {
        EXPECT_EQ(AE_average_Weight_GridWeights[cell], cell < 15 ? 0 : 1);
    }
    EXPECT_EQ(at(AE_center_Weight_GridWeights, 7, 7), 8);
    EXPECT_EQ(fingerprint(AE_center_Weight_GridWeights), 154770983U);
    EXPECT_EQ(fingerprint(AE_bottom_Weight_GridWeights), 2373711674U);
}

TEST_F(Exposure, MeteringModesLoadTheirGrid)
{
    static Grid weights; // as the engine holds them
    const auto set_meter = [](int meter) {
        begin(AUTO_EXPOSURE);
        EXPECT_EQ(set(kCamera, "meter", meter), 0);
        std::ranges::copy(ae().GridWeights.uCoeff, weights);
    };
    set_meter(Meter_Mode_Average);
    EXPECT_TRUE(std::ranges::equal(weights, AE_average_Weight_GridWeights));
    set_meter(Meter_Mode_Centor);
    EXPECT_TRUE(std::ranges::equal(weights, AE_center_Weight_GridWeights));
    for (const auto& [meter, first_row] : {std::pair{Meter_Mode_Smart, 9}, {Meter_Mode_Top, 0}}) {
        set_meter(meter);
        EXPECT_EQ(std::ranges::count(weights, 3), 54);
        EXPECT_EQ(std::ranges::count(weights, 0), 171);
        EXPECT_EQ(at(weights, first_row, 3), 3); // opposite corners
        EXPECT_EQ(at(weights, first_row + 5, 11), 3);
    }
    for (const int meter : {7, -1}) {
        set_meter(meter);
        EXPECT_TRUE(std::ranges::equal(weights, sim::engine::initial<Uapi_ExpSwAttrV2_t>().GridWeights.uCoeff));
    }
}

TEST_F(Exposure, ModeIsStoredAndDecidesWhoExposes)
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

TEST_F(Exposure, FirstChangeOfTheProcessAppliesDrc)
{
    const auto drc_calls = [](int camera, Exposure_Mode_E mode) {
        return names_of_calls([=] { KIV_Set_exposure_mode(camera, mode); }, "rk_aiq_user_api2_adrc").size();
    };
    EXPECT_EQ(drc_calls(kCamera, LOW_LIGHT), 2);
    start_camera(0);
    EXPECT_EQ(drc_calls(0, MANUAL_EXPOSURE), 0);
}

TEST_F(Exposure, ModeCompanionsDoWhatTheySay)
{
    EXPECT_THAT(sensor_vpss_group, ::testing::ElementsAre(0, -1, -1, -1));
    int values[] = {1, 2, 3, 4};
    EXPECT_EQ(set_sensor_vpss_group(99, values), 0);
    EXPECT_THAT(sensor_vpss_group, ::testing::ElementsAreArray(values));
}
