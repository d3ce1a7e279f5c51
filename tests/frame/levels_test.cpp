// Levels of every setting in and beyond its range, each judged by one rule: what is stored is in range, and what the
// engine holds is what the stored level stands for.
#include "support/setters.h"

using namespace bench;

namespace
{

constexpr int kNoTable = INT_MAX;

// What is particular about a setting; no row: table end at its highest level, negative becomes 0, applies initially.
struct Particular {
    std::string_view name;
    int last = 0;           // of the setter's table; 0: the setting's highest, kNoTable: a formula, no bound of its own
    bool negative_is_max = false; // compared as unsigned
    std::string_view mode{}; // setting that must hold `mode_value` for it to apply
    int mode_value = 0;
};
constexpr Particular kParticulars[] = {
    {.name = "shutter", .mode = "exposure_mode", .mode_value = MANUAL_EXPOSURE},
    {.name = "iris", .negative_is_max = true, .mode = "exposure_mode", .mode_value = MANUAL_EXPOSURE},
    {.name = "bright", .mode = "exposure_mode", .mode_value = BRIGHT_PRIORITY},
    {.name = "expcomp_level", .negative_is_max = true, .mode = "expcomp_mode", .mode_value = Expcomp_Mode_ON},
    {.name = "gain_limit", .last = kNoTable},
    {.name = "manual_gain",
     .last = kNoTable,
     .negative_is_max = true,
     .mode = "exposure_mode",
     .mode_value = MANUAL_EXPOSURE},
    {.name = "wdr_strength", .mode = "exposure_mode", .mode_value = WIDE_DYNAMIC_RANGE},
    {.name = "rgain", .last = kNoTable, .mode = "wb_mode", .mode_value = MANUAL_WHITE_BALANCE},
    {.name = "bgain", .last = kNoTable, .mode = "wb_mode", .mode_value = MANUAL_WHITE_BALANCE},
    {.name = "rgain_tuning", .last = kNoTable},
    {.name = "bgain_tuning", .last = kNoTable},
    {.name = "ggain_tuning", .last = kNoTable},
    {.name = "awb_sens", .last = kNoTable},
    {.name = "temperature", .mode = "wb_mode", .mode_value = TEMPERATURE},
    {.name = "hue", .last = 17},
    {.name = "drc", .negative_is_max = true},
    {.name = "nr2d", .last = 9},
    {.name = "nr3d", .last = 11},
};

Particular particular(const sim::host::Setting& setting)
{
    Particular found{.name = setting.name};
    for (const Particular& p : kParticulars) {
        found = p.name == setting.name ? p : found;
    }
    found.last = found.last == 0 ? setting.highest : found.last;
    return found;
}

/// The level that a setting with a maximum stores.
int bounded(const Particular& p, int level, int maximum)
{
    const int highest = std::min(maximum, p.last);
    return level < 0 ? (p.negative_is_max ? highest : 0) : std::min(level, highest);
}

std::vector<int> levels_around(const sim::host::Setting& setting, int last)
{
    std::vector<int> levels = {INT_MIN, -2, -1, INT_MAX};
    for (int level = 0; level <= std::min(last, setting.highest + 20) + 1; ++level) {
        levels.push_back(level);
    }
    return levels;
}

class Levels : public Bench
{
protected:
    // A tested camera, and one that is only ever given levels in range. The setting applies on both.
    static constexpr int kTested = 0, kReference = 1;

    static void prepare(const Particular& p)
    {
        sim::host::reset_store();
        for (const int camera : {kTested, kReference}) {
            start_camera(camera);
            if (!p.mode.empty()) {
                store(camera, p.mode, p.mode_value);
            }
        }
    }
};

TEST_F(Levels, ABoundedSettingIsStoredAndAppliedInRange)
{
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        if (!setting.has_max() || setting.setter != sim::host::Setter::level) {
            continue;
        }
        SCOPED_TRACE(setting.name);
        const Particular p = particular(setting);
        prepare(p);
        // A store with a maximum beyond the table, too; the iris position is counted from the maximum.
        const int raised = p.last == kNoTable || setting.name == "iris" ? setting.highest : p.last + 5;
        for (const int maximum : {setting.highest, raised, 3}) {
            sim::host::set_maximum(setting, maximum);
            for (const int level : levels_around(setting, p.last)) {
                if ((setting.name == "saturation" && level == -1) ||
                    (setting.name == "iris" && (maximum == 3 || (1 <= level && level <= 5)))) {
                    continue; // no colour; not an iris step
                }
                SCOPED_TRACE(testing::Message() << "level " << level << ", maximum " << maximum);
                const int expected = bounded(p, level, maximum);
                EXPECT_EQ(set(kTested, setting.name, level), 0);
                EXPECT_EQ(stored(kTested, setting.name), expected);
                set(kReference, setting.name, expected);
                EXPECT_THAT(differences(kTested, kReference), testing::IsEmpty());
            }
        }
    }
    EXPECT_THAT(sim::host::misuses(), testing::IsEmpty());
    EXPECT_THAT(sim::engine::misuses(), testing::IsEmpty());
}

TEST_F(Levels, AModeIsStoredAsPassed)
{
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        if (!setting.as_passed() || setting.setter != sim::host::Setter::level) {
            continue;
        }
        SCOPED_TRACE(setting.name);
        const Particular p = particular(setting);
        prepare(p);
        for (const int level : levels_around(setting, setting.highest)) {
            SCOPED_TRACE(level);
            const bool named = !sim::host::name_of(setting, level).starts_with(std::to_string(level));
            if (setting.name == "exposure_mode" && level == SMART_EXPOSURE) {
                continue; // starts a thread
            }
            const bool refused = setting.name == "exposure_mode" && (!named || level == LOW_LIGHT);
            EXPECT_EQ(set(kTested, setting.name, level), refused ? ISP_UNFIT : 0);
            EXPECT_EQ(stored(kTested, setting.name), level);
        }
    }
    EXPECT_THAT(sim::engine::misuses(), testing::IsEmpty());
}

// Without an engine: the level is stored, the result is 0, the trace says why nothing else happened.
TEST_F(Levels, WithoutAnEngineTheLevelIsStored)
{
    using namespace std::literals;
    constexpr std::string_view kOutsideTheEngine[] = {"iris"sv, "awb_sens"sv, "ggain_tuning"sv};
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        if (!setting.has_max() || setting.setter != sim::host::Setter::level) {
            continue;
        }
        SCOPED_TRACE(setting.name);
        const Particular p = particular(setting);
        sim::host::reset_store();
        if (!p.mode.empty()) {
            store(5, p.mode, p.mode_value);
        }
        int result = 1;
        const std::vector<std::string> traces =
            traces_of([&] { result = set(5, setting.name, setting.highest + 1); });
        EXPECT_EQ(result, 0);
        EXPECT_EQ(stored(5, setting.name), setting.highest);
        if (std::ranges::find(kOutsideTheEngine, setting.name) == std::end(kOutsideTheEngine)) {
            EXPECT_THAT(traces, testing::Contains(testing::EndsWith(": aiq ctx error\n\n")));
        }
    }
    EXPECT_THAT(sim::engine::misuses(), testing::IsEmpty());
}

TEST_F(Levels, AStoreThatRefusesDoesNotKeepTheLevelFromTheEngine)
{
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        if (!setting.has_max() || setting.setter != sim::host::Setter::level) {
            continue;
        }
        SCOPED_TRACE(setting.name);
        prepare(particular(setting));
        sim::inject_fault("para_set_isp_" + std::string(setting.name) + "_cur", 1, -1);
        EXPECT_EQ(set(kTested, setting.name, setting.highest - 1), 0);
        EXPECT_EQ(sim::faults_struck(), 1);
        sim::clear_faults();
        set(kReference, setting.name, setting.highest - 1);
        EXPECT_THAT(differences(kTested, kReference), testing::IsEmpty());
    }
}

} // namespace
