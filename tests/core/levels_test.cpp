// Levels of every setting in and beyond its range, in every mode, each checked by one rule: what is stored is in range,
// and the engine holds what the stored level means.
#include "support/bench.h"

#include <cstring>
#include <map>
#include <set>

using namespace bench;

namespace
{

// The last level of a setter's table where that is not the setting's highest; kNoTable: a formula without a bound.
constexpr int kNoTable = INT_MAX;
const std::map<std::string_view, int> kLastLevels = {
    {"gain_limit", kNoTable},
    {"manual_gain", kNoTable},
    {"rgain", kNoTable},
    {"bgain", kNoTable},
    {"rgain_tuning", kNoTable},
    {"bgain_tuning", kNoTable},
    {"ggain_tuning", kNoTable},
    {"awb_sens", kNoTable},
    {"hue", 17},
    {"nr2d", 9},
    {"nr3d", 11},
};

std::vector<int> levels_around(int last)
{
    std::vector<int> levels = {INT_MIN, INT_MIN + 1, -100, -2, -1, INT_MAX - 1, INT_MAX};
    for (int level = 0; level <= last + 1; ++level) {
        levels.push_back(level);
    }
    return levels;
}

class Levels : public Bench
{
protected:
    // A tested camera, and one that is only ever given levels in range.
    static constexpr int kTested = 7, kReference = 0;

    static void prepare()
    {
        sim::host::reset_store();
        for (const int camera : {kTested, kReference}) {
            start_camera(camera);
            store(camera, "expcomp_mode", Expcomp_Mode_ON);
        }
    }
};

// For every setting and each value of each mode setting: result, what is stored and whether the engine changes.
TEST_F(Levels, TheTableOfSettingsHoldsInEveryMode)
{
    using sim::host::Negative;
    std::map<std::string, std::set<std::string_view>> writers; // of each function that writes an engine's block
    for (const sim::host::Setting& setting : sim::host::kSettingsAndCommands) {
        if (setting.setter == sim::host::Setter::none || setting.name == "shading" /* has a file to read */) {
            continue;
        }
        const auto call = [&](int level) { return set(kTested, setting.name, level); };
        const int level = setting.name == "exposure_mode"      ? MANUAL_EXPOSURE // the highest starts a thread
                          : setting.initial == setting.highest ? setting.lowest
                                                               : setting.highest;
        for (const sim::host::ModeSetting& mode : sim::host::kModeSettings) {
            std::vector<int> values = {99};
            for (const sim::host::ValueName& name : names_of(*sim::host::find_setting(mode.name))) {
                values.push_back(name.value);
            }
            for (const int value : values) {
                SCOPED_TRACE(testing::Message() << setting.name << " with " << mode.name << " " << value);
                prepare();
                store(kTested, mode.name, value);
                const kiv_isp_param_s before = sim::host::stored_record(kTested);
                const auto held = sim::engine::snapshot(rkipc_aiq_get_ctx(kTested));
                int result = -1;
                const Words calls = names_of_calls([&] { result = call(level); });
                const kiv_isp_param_s after = sim::host::stored_record(kTested);
                EXPECT_EQ(isp_modes(after.exposure_mode, after.wb_mode, after.blackwhite_mode, after.expcomp_mode),
                          sim::host::modes_of(after));
                for (const std::string& function : calls) {
                    const bool writes = function.find("_Set") != std::string::npos ||
                                        function.starts_with("rk_aiq_uapi2_set") ||
                                        function.find("_ae_set") != std::string::npos;
                    if (writes && setting.block != "all") {
                        writers[function].insert(setting.block == "own" ? setting.name : setting.block);
                    }
                }
                EXPECT_EQ(result, sim::host::contains(setting.accepted, after) ? 0 : ISP_UNFIT);
                if (setting.member != nullptr) {
                    EXPECT_EQ(after.*setting.member,
                              sim::host::contains(setting.stored, after) ? level : before.*setting.member);
                }
                const bool touched =
                    !sim::engine::changes(held, sim::engine::snapshot(rkipc_aiq_get_ctx(kTested))).empty() ||
                    std::ranges::find(calls, "iris_to") != calls.end();
                // These wait in the engine for their mode, or turn something off in another.
                const bool waits = std::set<std::string_view>{"manual_gain",   "antiflicker",   "saturation",
                                                              "expcomp_level", "rgain_onepush", "bgain_onepush"}
                                       .contains(setting.name);
                EXPECT_TRUE(touched == sim::host::contains(setting.effective, after) || (waits && result == 0));
                if (setting.negative != Negative::none && sim::host::contains(setting.stored, after)) {
                    call(-2);
                    EXPECT_EQ(stored(kTested, setting.name), setting.negative == Negative::kept      ? -2
                                                             : setting.negative == Negative::highest ? setting.highest
                                                                                                     : setting.lowest);
                }
            }
        }
    }
    EXPECT_GT(writers.size(), 10U);
    for (const auto& [function, blocks] : writers) {
        EXPECT_EQ(blocks.size(), 1U) << function << " is called for settings of different blocks";
    }
}

// Every exposure mode with a name, and with each of them one of the white-balance modes.
TEST_F(Levels, ABoundedSettingIsStoredAndAppliedInRange)
{
    const auto exposure_modes = names_of(setting("exposure_mode"));
    const auto wb_modes = names_of(setting("wb_mode"));
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        const bool bounded = setting.access == sim::host::Access::all || setting.access == sim::host::Access::bound;
        if (setting.setter != sim::host::Setter::level || !bounded) {
            continue;
        }
        prepare();
        const auto table = kLastLevels.find(setting.name);
        const int last = table != kLastLevels.end() ? table->second : setting.highest;
        // A store with a maximum beyond the table, too; the iris position is counted from the maximum, and a tone level
        // without a curve is refused.
        const bool iris = setting.name == "iris";
        const int raised = last == kNoTable || iris || setting.name == "gamma" ? setting.highest : last + 5;
        for (std::size_t i = 0; i < exposure_modes.size(); ++i) {
            for (const int camera : {kTested, kReference}) {
                store(camera, "exposure_mode", exposure_modes[i].value);
                store(camera, "wb_mode", wb_modes[i % wb_modes.size()].value);
            }
            const kiv_isp_param_s in_modes = sim::host::stored_record(kTested);
            const bool applies = sim::host::contains(setting.effective, in_modes);
            const bool stores = sim::host::contains(setting.stored, in_modes);
            for (const int maximum : std::set<int>{setting.highest, raised, iris ? raised : 3}) {
                sim::host::set_maximum(setting, maximum);
                const int highest = std::min(maximum, last);
                for (const int level : levels_around(std::max(highest, setting.highest))) {
                    if ((setting.name == "saturation" && level == -1) || (iris && 1 <= level && level <= 5)) {
                        continue; // no colour; not an iris step
                    }
                    SCOPED_TRACE(testing::Message() << setting.name << " " << level << ", maximum " << maximum
                                                    << ", exposure mode " << exposure_modes[i].value);
                    const bool to_highest = setting.negative == sim::host::Negative::highest;
                    const int expected = level >= 0 ? std::min(level, highest) : to_highest ? highest : 0;
                    const int result = set(kTested, setting.name, level);
                    EXPECT_EQ(result, set(kReference, setting.name, expected));
                    const kiv_isp_param_s tested = sim::host::stored_record(kTested);
                    const kiv_isp_param_s reference = sim::host::stored_record(kReference);
                    EXPECT_EQ(std::memcmp(&tested, &reference, sizeof tested), 0);
                    EXPECT_THAT(differences(kTested, kReference), testing::IsEmpty());
                    EXPECT_TRUE(result == 0 || !applies);
                    EXPECT_TRUE(tested.*setting.member == expected || !stores);
                }
            }
        }
    }
}

} // namespace
