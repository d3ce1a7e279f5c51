// All white-balance setters: every engine call failing once, no engine, and what they trace.
#include "white_balance/wb_bench.h"

using namespace bench;

namespace
{

constexpr const char* kAutomatic = "GetMode1 GetGains1 GetOffset1 SetOffset1 SetMode1 SetGains1";
constexpr const char* kAutomaticWithoutOffset = "GetMode1 GetGains1 GetOffset1 SetMode1 SetGains1";
constexpr const char* kTemperature = "GetMode1 SetMode1 wait1000 GetGains1 SetGains1";

struct Setter {
    const char* name;
    int (*set)(int camera);
    int mode;
    const char* sequence;
    bool offset_failure_ends; // a failed write of the gain offset ends the setter
    const char* setting;      // what it stores
    int level;
};
constexpr Setter kSetters[] = {
    {"KIV_Set_wb_mode", [](int c) { return KIV_Set_wb_mode(c, AUTO_WHITE_BALANCE); }, IN_DOOR, kAutomatic, false,
     "wb_mode", AUTO_WHITE_BALANCE},
    {"KIV_Set_rgain_tuning", [](int c) { return KIV_Set_rgain_tuning(c, RGain_Tuning_E{15}); }, AUTO_WHITE_BALANCE,
     kAutomatic, false, "rgain_tuning", 15},
    {"KIV_Set_bgain_tuning", [](int c) { return KIV_Set_bgain_tuning(c, BGain_Tuning_E{15}); }, AUTO_WHITE_BALANCE,
     kAutomatic, true, "bgain_tuning", 15},
    {"KIV_Set_rgain_tuning", [](int c) { return KIV_Set_rgain_tuning(c, RGain_Tuning_E{15}); }, ONE_PUSH_WHITE_BALANCE,
     "GetMode1 GetGains1 SetMode1 SetGains1", false, "rgain_tuning", 15},
    {"KIV_Set_bgain_tuning", [](int c) { return KIV_Set_bgain_tuning(c, BGain_Tuning_E{15}); }, TEMPERATURE,
     "GetMode1 GetGains1 SetMode1 SetGains1", false, "bgain_tuning", 15},
    {"KIV_Set_temperature", [](int c) { return KIV_Set_temperature(c, Temperature_E{15}); }, TEMPERATURE, kTemperature,
     false, "temperature", 15},
    {"KIV_Set_rgain", [](int c) { return KIV_Set_rgain(c, RGain_E{15}); }, MANUAL_WHITE_BALANCE, "GetGains1 SetGains1",
     false, "rgain", 15},
    {"KIV_Set_bgain", [](int c) { return KIV_Set_bgain(c, BGain_E{15}); }, MANUAL_WHITE_BALANCE, "GetGains1 SetGains1",
     false, "bgain", 15},
};

using WhiteBalanceSetters = WhiteBalance;

TEST_F(WhiteBalanceSetters, EveryEngineCallOnce)
{
    for (const Setter& setter : kSetters) {
        const std::vector<std::string> sequence = words(setter.sequence);
        for (std::size_t i = 0; i < sequence.size(); ++i) {
            SCOPED_TRACE(::testing::Message() << setter.name << ", mode " << setter.mode << ", " << sequence[i]);
            const std::string function = fail_word(setter.sequence, i, XCAM_RETURN_ERROR_FAILED);
            if (function.empty()) {
                continue;
            }
            store(kCamera, "wb_mode", setter.mode);
            put_balance(kCamera, kBefore);
            std::string expected = first_words(setter.sequence, i + 1);
            int result = -1;
            if (sequence[i] == "GetOffset1") { // not written, the rest goes on
                expected = kAutomaticWithoutOffset;
                result = 0;
            } else if (sequence[i] == "SetOffset1" && !setter.offset_failure_ends) {
                expected = setter.sequence;
                result = 0;
            }
            std::string line;
            const std::vector<std::string> traces =
                traces_of([&] { line = line_of([&] { EXPECT_EQ(setter.set(kCamera), result); }); });
            EXPECT_EQ(line, expected);
            EXPECT_EQ(std::count(traces.begin(), traces.end(),
                                 std::string(setter.name) + ": " + function + " failed with 0xffffffff!\n\n"),
                      result == 0 ? 0 : 1);
            EXPECT_EQ(stored(kCamera, setter.setting), setter.level);
        }
    }
}

TEST_F(WhiteBalanceSetters, TheModeTemperatureHidesAFailureOfTheTemperature)
{
    store(kCamera, "temperature", 25);
    const char* sequence = "GetMode1 GetGains1 GetMode1 SetMode1 wait1000 GetGains1 SetGains1";
    for (const std::size_t i : {0UL, 1UL, 2UL, 3UL, 5UL, 6UL}) {
        fail_word(sequence, i, XCAM_RETURN_ERROR_FAILED);
        EXPECT_EQ(line_of([&] { EXPECT_EQ(KIV_Set_wb_mode(kCamera, TEMPERATURE), i < 2 ? -1 : 0); }),
                  first_words(sequence, i + 1));
        EXPECT_EQ(get_colortemp_rgain(kCamera), i < 6 ? 1.9576F : 1.477F);
    }
}

TEST_F(WhiteBalanceSetters, WithoutAnEngineTheSettingIsStored)
{
    const int camera = 5;
    for (const Setter& setter : kSetters) {
        SCOPED_TRACE(::testing::Message() << setter.name << ", mode " << setter.mode);
        store(camera, "wb_mode", setter.mode);
        store(camera, setter.setting, setter.mode);
        const std::vector<std::string> traces = traces_of([&] { EXPECT_EQ(setter.set(camera), 0); });
        const auto errors = std::count(traces.begin(), traces.end(), std::string(setter.name) + ": aiq ctx error\n\n");
        EXPECT_EQ(errors, std::string_view(setter.name) == "KIV_Set_wb_mode"       ? 2
                          : std::string_view(setter.name) == "KIV_Set_temperature" ? 3
                                                                                   : 1);
        EXPECT_EQ(stored(camera, setter.setting), setter.level);
    }
}

// Red tuning 12 and blue tuning 7: the traces show the steps, 2 and -3.
TEST_F(WhiteBalanceSetters, TracesShowTuningSteps)
{
    const struct {
        int (*set)(int camera);
        int mode;
        std::vector<std::string> messages; // the last ones
    } rows[] = {
        {[](int c) { return KIV_Set_wb_mode(c, AUTO_WHITE_BALANCE); },
         0,
         {"isp_wbmode called: isp_wbmode_val = 0 \n\n", "00000cam_rgaintuning :2,cam_bgaintuning :-3\n",
          "wbGainOffset_Rgain :0.050000,wbGainOffset_Bgain :-0.090000\n", "leave\n"}},
        {[](int c) { return KIV_Set_wb_mode(c, ONE_PUSH_WHITE_BALANCE); },
         0,
         {"get_onepush_rgain():1000\n", "get_onepush_bgain():2000\n", "cur_rgaintuning:2\n", "cur_bgaintuning:-3\n",
          "leave\n"}},
        {[](int c) { return KIV_Set_wb_mode(c, TEMPERATURE); },
         0,
         {"TEMPERATURE\n", "enter WBmode_TEMPERATURE_isp_wbmode_val is :32\n", "value:25\n",
          "111111TEMPERATURE_cur_wb_temperature is :25\n"}},
        {[](int c) { return KIV_Set_rgain_tuning(c, RGain_Tuning_E{12}); },
         AUTO_WHITE_BALANCE,
         {"osd_rgaintuning_val :0xc\n\n", "00000cam_rgaintuning :2,cam_bgaintuning :-3\n",
          "wbGainOffset_Rgain :0.050000,wbGainOffset_Bgain :-0.090000\n"}},
        {[](int c) { return KIV_Set_bgain_tuning(c, BGain_Tuning_E{7}); },
         AUTO_WHITE_BALANCE,
         {"osd_bgaintuning_val :0x7\n\n", "11111cam_rgaintuning :2,cam_bgaintuning :-3\n",
          "isp_id :1,wbGainOffset_Rgain :0.060000,wbGainOffset_Bgain :-0.090000\n", "cam_wb_mode: 0 \n"}},
        {[](int c) { return KIV_Set_rgain_tuning(c, RGain_Tuning_E{12}); },
         TEMPERATURE,
         {"rgain = 1.500622,ggain = 1.000000, bgain = 1.763567\n"}},
        {[](int c) { return KIV_Set_bgain_tuning(c, BGain_Tuning_E{7}); },
         TEMPERATURE,
         {"rgain = 1.500622, bgain = 1.763567\n", "cam_wb_mode: 32 \n"}},
        {[](int c) { return KIV_Set_ggain_tuning(c, GGain_Tuning_E{12}); },
         TEMPERATURE,
         {"isp_wbmode called: isp_wbmode_val = 32 \n\n", "osd_ggaintuning_val :0xc\n\n"}},
        {[](int c) { return KIV_Set_rgain(c, RGain_E{64}); }, MANUAL_WHITE_BALANCE, {"u16Rgain:1.003500\n\n"}},
    };
    store(kCamera, "rgain_onepush", 1000);
    store(kCamera, "bgain_onepush", 2000);
    store(kCamera, "temperature", 25);
    tuning(12, 7);
    for (const auto& [set, mode, messages] : rows) {
        store(kCamera, "wb_mode", mode);
        std::vector<std::string> traces = traces_of([set] { EXPECT_EQ(set(kCamera), 0); });
        for (std::string& trace : traces) {
            trace.erase(0, trace.find(": ") + 2); // the function
        }
        ASSERT_GE(traces.size(), messages.size());
        traces.erase(traces.begin(), traces.end() - static_cast<std::ptrdiff_t>(messages.size()));
        EXPECT_EQ(traces, messages);
    }
}

} // namespace
