// Levels of every setting in and beyond its range, in every mode, each judged by one rule: what is stored is in range,
// and what the engine holds is what the stored level stands for.
#include "support/bench.h"

#include <cstring>
#include <set>

using namespace bench;

namespace
{

constexpr int kNoTable = INT_MAX;

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
    std::ranges::copy_if(sim::host::kSettings, std::back_inserter(found), [=](const sim::host::Setting& setting) {
        return setting.setter == sim::host::Setter::level && (with_maximum ? setting.has_max() : setting.as_passed());
    });
    return found;
}

std::vector<int> levels_around(int last)
{
    std::vector<int> levels = {INT_MIN, INT_MIN + 1, -100, -2, -1, INT_MAX - 1, INT_MAX};
    for (int level = 0; level <= last + 1; ++level) {
        levels.push_back(level);
    }
    return levels;
}

/// Every exposure mode with a name, and with each of them one of the white-balance modes.
void for_each_mode(const std::function<void(int exposure_mode, int wb_mode)>& check)
{
    const auto wb_modes = names_of(setting("wb_mode"));
    for (std::size_t i = 0; const sim::host::ValueName& mode : names_of(setting("exposure_mode"))) {
        check(mode.value, wb_modes[i++ % wb_modes.size()].value);
    }
}

bool same_record(int a, int b)
{
    const kiv_isp_param_s first = sim::host::stored_record(a), second = sim::host::stored_record(b);
    return std::memcmp(&first, &second, sizeof first) == 0;
}

class Levels : public Bench
{
protected:
    // A tested camera, and one that is only ever given levels in range. The setting applies on both.
    static constexpr int kTested = 7, kReference = 0;

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
        const Particular p = prepare(setting);
        // A store with a maximum beyond the table, too; the iris position is counted from the maximum.
        const bool iris = setting.name == "iris";
        const int raised = p.last == kNoTable || iris ? setting.highest : p.last + 5;
        for_each_mode([&](int exposure_mode, int wb_mode) {
            for (const int camera : {kTested, kReference}) {
                store(camera, "exposure_mode", exposure_mode);
                store(camera, "wb_mode", wb_mode);
            }
            const bool initial = exposure_mode == AUTO_EXPOSURE && wb_mode == AUTO_WHITE_BALANCE;
            const bool applies =
                p.mode == "exposure_mode" || p.mode == "wb_mode" ? stored(kTested, p.mode) == p.value : initial;
            for (const int maximum : std::set<int>{setting.highest, raised, iris ? raised : 3}) {
                sim::host::set_maximum(setting, maximum);
                const int highest = std::min(maximum, p.last);
                for (const int level : levels_around(std::max(highest, setting.highest))) {
                    if ((setting.name == "saturation" && level == -1) || (iris && 1 <= level && level <= 5)) {
                        continue; // no colour; not an iris step
                    }
                    SCOPED_TRACE(testing::Message() << setting.name << " " << level << ", maximum " << maximum
                                                    << ", modes " << exposure_mode << " and " << wb_mode);
                    const int expected = level >= 0 ? std::min(level, highest) : p.negative_is_max ? highest : 0;
                    const int result = set(kTested, setting.name, level);
                    EXPECT_EQ(result, set(kReference, setting.name, expected));
                    EXPECT_TRUE(same_record(kTested, kReference));
                    EXPECT_THAT(differences(kTested, kReference), testing::IsEmpty());
                    if (applies) {
                        EXPECT_EQ(result, 0);
                        EXPECT_EQ(stored(kTested, setting.name), expected);
                    }
                }
            }
        });
    }
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
}

// The level is stored, the result is 0, and a trace says why nothing else happened.
TEST_F(Levels, WithoutAnEngineTheLevelIsStored)
{
    const std::set<std::string_view> needs_none = {"iris", "awb_sens", "ggain_tuning", "wdr_strength"};
    for (const bool with_maximum : {true, false}) {
        for (const sim::host::Setting& setting : settings(with_maximum)) {
            if (setting.name == "exposure_mode") {
                continue; // many setters in one
            }
            SCOPED_TRACE(setting.name);
            prepare(setting, false);
            const Words traces = traces_of([&] { EXPECT_EQ(set(kTested, setting.name, setting.highest), 0); });
            EXPECT_EQ(stored(kTested, setting.name), setting.highest);
            EXPECT_EQ(
                std::ranges::any_of(traces, [](const std::string& t) { return t.ends_with(": aiq ctx error\n\n"); }),
                !needs_none.contains(setting.name));
        }
    }
}

// A store that holds nonsense, as a damaged one may: whatever reads it stays within its tables.
TEST_F(Levels, ThatTheStoreAlreadyHoldsAreBoundedToo)
{
    start_camera(kTested);
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        for (const int level : {INT_MIN, -1, setting.highest + 1, INT_MAX}) {
            for_each_mode([&](int exposure_mode, int wb_mode) {
                if (exposure_mode == SMART_EXPOSURE) {
                    return; // starts a thread
                }
                sim::host::store_record(kTested, sim::host::initial_record());
                store(kTested, "exposure_mode", exposure_mode);
                store(kTested, "wb_mode", wb_mode);
                sim::host::store(kTested, setting, level);
                KIV_load_isp_para(kTested);
                KIV_Set_exposure_mode(kTested, Exposure_Mode_E{exposure_mode});
                KIV_Set_wb_mode(kTested, WB_Mode_E{wb_mode});
                KIV_Set_blackwhite_mode(kTested, BlackWhite_Mode_OFF);
                ASSERT_THAT(sim::host::misuses(), testing::IsEmpty()) << setting.name << " " << level;
            });
        }
    }
}

} // namespace
