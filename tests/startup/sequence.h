// Fixed orders of settings: what a sequence must do is what its setters do one after another.
#pragma once

#include "support/setters.h"

#include <span>

namespace bench
{

inline constexpr int kCamera = 3;
using Record = kiv_isp_param_s;
using Names = std::span<const std::string_view>;

/// A camera with an engine and the record given. The first exposure mode of a process does more than later ones and is
/// used up.
inline void begin_with(const Record& record)
{
    KIV_Set_exposure_mode(6, AUTO_EXPOSURE);
    start_camera(kCamera);
    sim::host::store_record(kCamera, record);
}

/// Every setting at a value that is not its initial one, the exposure and white-balance modes as given.
inline Record telling_record(Exposure_Mode_E exposure_mode, WB_Mode_E wb_mode)
{
    Record record = sim::host::initial_record();
    int turn = 0;
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        const auto names = sim::host::names_of(setting);
        int value = setting.lowest + ++turn % (setting.highest - setting.lowest + 1);
        if (!names.empty() && !setting.has_max()) { // a mode
            value = names[names[0].value == setting.initial ? 1 : 0].value;
        } else if (value == setting.initial) {
            value = value == setting.highest ? setting.lowest : value + 1;
        }
        record.*setting.member = value;
    }
    record.exposure_mode = exposure_mode;
    record.wb_mode = wb_mode;
    return record;
}

/// Those in which most settings apply, and those that re-apply stored ones.
inline const Record kTelling[] = {
    telling_record(AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    telling_record(MANUAL_EXPOSURE, MANUAL_WHITE_BALANCE),
    telling_record(SHUTTER_PRIORITY, TEMPERATURE),
};

/// Checks that `action`, starting with a record, makes the calls of `first` and then what the setters do, in `order`
/// and with these values, on a camera whose store has been prepared by `prepare`; and leaves the same engine and store.
template <typename Prepare, typename Action>
void expect_sequence(const Record& start, std::vector<sim::Call> first, Prepare prepare, Names order,
                     const Record& values, Action action)
{
    const auto as_text = [](const std::vector<sim::Call>& calls) {
        std::vector<std::string> lines;
        std::ranges::transform(calls, std::back_inserter(lines), text);
        return lines;
    };
    begin_with(start);
    prepare();
    const std::vector<sim::Call> applied = calls_of([&] {
        for (const std::string_view name : order) {
            set(kCamera, name, values.*setting(name).member);
        }
    });
    first.insert(first.end(), applied.begin(), applied.end());
    const sim::engine::Snapshot engine = sim::engine::snapshot(rkipc_aiq_get_ctx(kCamera));
    const Record store = sim::host::stored_record(kCamera);

    begin_with(start);
    EXPECT_EQ(as_text(calls_of(action)), as_text(first));
    EXPECT_TRUE(sim::engine::changes(engine, sim::engine::snapshot(rkipc_aiq_get_ctx(kCamera))).empty());
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        EXPECT_EQ(stored(kCamera, setting.name), store.*setting.member) << setting.name;
    }
}

} // namespace bench
