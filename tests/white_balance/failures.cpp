// Every engine call of every white-balance setter failing once, and the setters without an engine.
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

class Failures : public WhiteBalance
{
};

TEST_F(Failures, EveryEngineCallOnce)
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
            if (sequence[i].starts_with("Get") && result != 0 && setter.sequence != kTemperature) {
                EXPECT_EQ(balance(kCamera), kBefore);
            }
        }
    }
}

TEST_F(Failures, TheModeTemperatureHidesAFailureOfTheTemperature)
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

TEST_F(Failures, WithoutAnEngineTheSettingIsStored)
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

} // namespace
