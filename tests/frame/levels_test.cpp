// Levels of every setting in and beyond its range, each judged by one rule: what is stored is in range, and what the
// engine holds is what the stored level stands for.
#include "support/setters.h"

#include <set>

using namespace bench;

namespace
{

constexpr int kNoTable = INT_MAX;

// What is particular about a setting; no row: table end at its highest level, negative becomes 0, applies initially.
// What is particular about a setting. No row: the table ends at the setting's highest level, a negative level becomes
// 0, it applies in the initial modes.
struct Particular {
    std::string_view name;
    int last = 0; // of the setter's table; kNoTable: a formula, no bound of its own
    bool negative_is_max = false;
    std::string_view mode{}; // setting that must hold `value` for it to apply
    int value = 0;
};
constexpr Particular kParticulars[] = {
    {"shutter", 0, false, "exposure_mode", MANUAL_EXPOSURE},
    {"iris", 0, true, "exposure_mode", MANUAL_EXPOSURE},
    {"bright", 0, false, "exposure_mode", BRIGHT_PRIORITY},
    {"expcomp_level", 0, true, "expcomp_mode", Expcomp_Mode_ON},
    {"gain_limit", kNoTable},
    {"manual_gain", kNoTable, true, "exposure_mode", MANUAL_EXPOSURE},
    {"wdr_strength", 0, false, "exposure_mode", WIDE_DYNAMIC_RANGE},
    {"rgain", kNoTable, false, "wb_mode", MANUAL_WHITE_BALANCE},
    {"bgain", kNoTable, false, "wb_mode", MANUAL_WHITE_BALANCE},
    {"rgain_tuning", kNoTable},
    {"bgain_tuning", kNoTable},
    {"ggain_tuning", kNoTable},
    {"awb_sens", kNoTable},
    {"temperature", 0, false, "wb_mode", TEMPERATURE},
    {"hue", 17},
    {"drc", 0, true},
    {"nr2d", 9},
    {"nr3d", 11},
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

/// The settings whose levels have a maximum, or those that are modes.
std::vector<sim::host::Setting> settings(bool with_maximum)
{
    std::vector<sim::host::Setting> found;
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        if (setting.setter == sim::host::Setter::level && (with_maximum ? setting.has_max() : setting.as_passed())) {
            found.push_back(setting);
        }
    }
    return found;
}

std::vector<int> levels_around(int last)
{
    std::vector<int> levels = {INT_MIN, -2, -1, INT_MAX};
    for (int level = 0; level <= last + 1; ++level) {
        levels.push_back(level);
    }
    return levels;
}

class Levels : public Bench
{
protected:
    // A tested camera, and one that is only ever given levels in range. The setting applies on both.
    static constexpr int kTested = 0, kReference = 1;

    static Particular prepare(const sim::host::Setting& setting, bool with_engine = true)
    {
        sim::host::reset_store();
        const Particular p = particular(setting);
        for (const int camera : {kTested, kReference}) {
            if (with_engine) {
                start_camera(camera);
            }
            if (!p.mode.empty()) {
                store(camera, p.mode, p.value);
            }
        }
        return p;
    }
};

TEST_F(Levels, ABoundedSettingIsStoredAndAppliedInRange)
{
    for (const sim::host::Setting& setting : settings(true)) {
        SCOPED_TRACE(setting.name);
        const Particular p = prepare(setting);
        // A store with a maximum beyond the table, too; the iris position is counted from the maximum.
        const bool iris = setting.name == "iris";
        const int raised = p.last == kNoTable || iris ? setting.highest : p.last + 5;
        for (const int maximum : std::set<int>{setting.highest, raised, iris ? raised : 3}) {
            sim::host::set_maximum(setting, maximum);
            const int highest = std::min(maximum, p.last);
            for (const int level : levels_around(std::max(highest, setting.highest))) {
                if ((setting.name == "saturation" && level == -1) || (iris && 1 <= level && level <= 5)) {
                    continue; // no colour; not an iris step
                }
                SCOPED_TRACE(testing::Message() << "level " << level << ", maximum " << maximum);
                const int expected = level >= 0 ? std::min(level, highest) : p.negative_is_max ? highest : 0;
                EXPECT_EQ(set(kTested, setting.name, level), 0);
                EXPECT_EQ(stored(kTested, setting.name), expected);
                set(kReference, setting.name, expected);
                EXPECT_THAT(differences(kTested, kReference), testing::IsEmpty());
            }
        }
        EXPECT_THAT(sim::host::misuses(), testing::IsEmpty());
    }
    EXPECT_THAT(sim::engine::misuses(), testing::IsEmpty());
}

TEST_F(Levels, AModeIsStoredAsPassed)
{
    for (const sim::host::Setting& setting : settings(false)) {
        SCOPED_TRACE(setting.name);
        prepare(setting);
        for (const int level : levels_around(setting.highest)) {
            const bool exposure_mode = setting.name == "exposure_mode";
            const bool named = sim::host::name_of(setting, level) != std::to_string(level);
            if (exposure_mode && level == SMART_EXPOSURE) {
                continue; // starts a thread
            }
            EXPECT_EQ(set(kTested, setting.name, level),
                      exposure_mode && (!named || level == LOW_LIGHT) ? ISP_UNFIT : 0)
                << level;
            EXPECT_EQ(stored(kTested, setting.name), level);
        }
    }
    EXPECT_THAT(sim::engine::misuses(), testing::IsEmpty());
}

// The level is stored, the result is 0, and a trace says why nothing else happened.
TEST_F(Levels, WithoutAnEngineTheLevelIsStored)
{
    for (const sim::host::Setting& setting : settings(true)) {
        SCOPED_TRACE(setting.name);
        prepare(setting, false);
        const std::vector<std::string> traces =
            traces_of([&] { EXPECT_EQ(set(kTested, setting.name, setting.highest + 1), 0); });
        EXPECT_EQ(stored(kTested, setting.name), setting.highest);
        if (setting.name != "iris" && setting.name != "awb_sens" && setting.name != "ggain_tuning") { // need none
            EXPECT_THAT(traces, testing::Contains(testing::EndsWith(": aiq ctx error\n\n")));
        }
    }
    EXPECT_THAT(sim::engine::misuses(), testing::IsEmpty());
}

TEST_F(Levels, AStoreThatRefusesDoesNotKeepTheLevelFromTheEngine)
{
    for (const sim::host::Setting& setting : settings(true)) {
        SCOPED_TRACE(setting.name);
        prepare(setting);
        sim::inject_fault("para_set_isp_" + std::string(setting.name) + "_cur", 1, -1);
        EXPECT_EQ(set(kTested, setting.name, setting.highest - 1), 0);
        EXPECT_EQ(sim::faults_struck(), 1);
        sim::clear_faults();
        set(kReference, setting.name, setting.highest - 1);
        EXPECT_THAT(differences(kTested, kReference), testing::IsEmpty());
    }
}

} // namespace
