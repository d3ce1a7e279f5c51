// Every level of every setter, from below its range to above it and the extremes of int, in every mode: it does what
// the level that it is bounded to does, in the store and in the engine.
#include "support/setters.h"

#include <cstring>

namespace
{

using bench::kSetters;
using sim::host::Setting;

class Levels : public bench::Bench
{
};

/// The level that a setter makes of one.
int bounded(const Setting& setting, int level)
{
    if (!setting.has_max() || (setting.name == "saturation" && level == -1)) {
        return level;
    }
    for (const std::string_view negative_is_highest : {"drc", "iris", "manual_gain", "expcomp_level"}) {
        if (setting.name == negative_is_highest && level < 0) {
            return setting.highest;
        }
    }
    return std::clamp(level, 0, setting.highest);
}

std::vector<int> levels_of(const Setting& setting)
{
    std::vector<int> levels = {INT_MIN, INT_MIN + 1, -100, INT_MAX - 1, INT_MAX};
    for (int level = -1; level <= setting.highest + 1; ++level) {
        levels.push_back(level);
    }
    return levels;
}

void set_modes(int camera, int exposure_mode)
{
    bench::store(camera, "exposure_mode", exposure_mode);
    bench::store(camera, "wb_mode", exposure_mode % 6);
}

bool same_record(int a, int b)
{
    const kiv_isp_param_s first = sim::host::stored_record(a);
    const kiv_isp_param_s second = sim::host::stored_record(b);
    return std::memcmp(&first, &second, sizeof first) == 0;
}

TEST_F(Levels, DoWhatTheBoundedLevelDoes)
{
    for (const auto& [camera, twin] : {std::pair{0, 6}, {7, 1}}) {
        bench::start_camera(camera);
        bench::start_camera(twin);
        for (const bench::NamedSetter& setter : kSetters) {
            if (setter.name == "exposure_mode" || setter.name == "style" || setter.name == "wb_mode_onepush") {
                continue; // smart exposure starts a thread
            }
            const Setting& setting = bench::setting(setter.name);
            for (int mode = AUTO_EXPOSURE; mode <= SMART_EXPOSURE; ++mode) {
                set_modes(camera, mode);
                set_modes(twin, mode);
                for (const int level : levels_of(setting)) {
                    const int result = setter.set(camera, level);
                    EXPECT_EQ(result, setter.set(twin, bounded(setting, level))) << setter.name << " " << level;
                    EXPECT_TRUE(same_record(camera, twin)) << setter.name << " " << level << " mode " << mode;
                    if (setting.has_max() && result == 0) {
                        EXPECT_TRUE(setting.in_range(bench::stored(camera, setter.name)))
                            << setter.name << " " << level;
                    }
                    const auto differences = bench::differences(camera, twin);
                    ASSERT_THAT(differences, ::testing::IsEmpty()) << setter.name << " " << level << " mode " << mode;
                }
            }
        }
    }
}

TEST_F(Levels, OfNoCameraChangeNothing)
{
    const auto accepted = [](std::string_view name) { // whatever the id
        return name == "exposure_mode_priority" || name == "len_type" || name == "ccm_style" || name == "hotpixel" ||
               name == "csc_mode";
    };
    for (const int id : {INT_MIN, -1, 8, INT_MAX}) {
        for (const bench::NamedSetter& setter : kSetters) {
            for (const int level : levels_of(bench::setting(setter.name))) {
                int result = 0;
                const auto calls = bench::calls_of([&] { result = setter.set(id, level); });
                EXPECT_THAT(calls, ::testing::IsEmpty()) << setter.name << " of camera " << id;
                EXPECT_EQ(result, accepted(setter.name) ? 0 : -1) << setter.name << " of camera " << id;
            }
        }
    }
}

// A store that holds nonsense, as a damaged one may: whatever reads it stays within its tables.
TEST_F(Levels, ThatTheStoreAlreadyHoldsAreBoundedToo)
{
    bench::start_camera(5);
    for (const Setting& setting : sim::host::kSettings) {
        for (const int level : {INT_MIN, -1, setting.highest + 1, INT_MAX}) {
            for (int mode = AUTO_EXPOSURE; mode <= LOW_LIGHT; ++mode) {
                sim::host::store_record(5, sim::host::initial_record());
                set_modes(5, mode);
                sim::host::store(5, setting, level);
                KIV_load_isp_para(5);
                KIV_Set_exposure_mode(5, static_cast<Exposure_Mode_E>(mode));
                KIV_Set_wb_mode(5, static_cast<WB_Mode_E>(mode % 6));
                KIV_Set_blackwhite_mode(5, BlackWhite_Mode_OFF);
                EXPECT_THAT(sim::host::misuses(), ::testing::IsEmpty()) << setting.name << " " << level;
            }
        }
    }
}

} // namespace
