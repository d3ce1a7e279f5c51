// Changing and showing settings.
#include "app/command.h"
#include "app/commands/groups.h"
#include "app/session.h"
#include "host/setters.h"
#include "host/store.h"
#include "isp_ctrl.h"

#include <iomanip>
#include <ostream>

namespace app
{

using sim::host::Setting;

namespace
{

/// What became of a value, where that is not simply that it is stored and in force.
std::string outcome_text(int camera, const Setting& setting, int value, int result)
{
    const kiv_isp_param_s record = sim::host::stored_record(camera);
    const bool stored = setting.member != nullptr && sim::host::contains(setting.stored, record);
    if (result == ISP_EXCUTE_BYARM) {
        return "  (3: the host applies styles itself)";
    }
    if (result != ISP_SUCCESS && result != ISP_UNFIT) {
        return "  (" + std::to_string(result) + ": refused, or the engine failed)";
    }
    if (result == ISP_UNFIT && !setting.is_mode() && sim::host::contains(setting.accepted, record)) {
        return "  (2: refused)";
    }
    if (setting.setter != sim::host::Setter::action && !setting.in_range(value)) {
        return "  (shown, not stored)";
    }
    if (setting.effective == sim::host::kNoMode) {
        return stored ? "  (kept, without effect)" : "  (accepted, without effect)";
    }
    const std::string unused = sim::host::unused_mode(setting.effective, record);
    if (unused.empty()) {
        return !has_engine(camera) ? stored ? "  (no engine: stored)" : "  (no engine)"
               : stored || setting.member == nullptr
                   ? ""
                   : "  (not stored in " + sim::host::unused_mode(setting.stored, record) + ")";
    }
    if (setting.is_mode()) {
        return "  (kept, without effect)";
    }
    return stored ? "  (kept for " + sim::host::modes_text(setting.effective) + ")"
                  : "  (not stored: " + unused + " does not use it)";
}

void set(const Words& words)
{
    const int camera = camera_id(words[0]);
    const Setting& setting = setting_named(words[1]);
    const std::string name(setting.name);
    if (setting.setter == sim::host::Setter::none) {
        throw BadInput(name + " cannot be set");
    }
    const bool action = setting.setter == sim::host::Setter::action;
    if (action != (words.size() == 2)) {
        throw BadInput(action ? name + " takes no value" : name + " takes " + range_text(setting));
    }
    const int value = action ? 0 : setting_value(setting, words[2]);
    const bool slow = name == "wb_mode_onepush" && has_engine(camera);
    const int result = slow ? with_progress("measuring", [&] { return apply(camera, setting, value); })
                            : apply(camera, setting, value);
    out() << "camera " << camera << "  " << name;
    if (!action) {
        out() << " = " << words[2];
    }
    out() << outcome_text(camera, setting, value, result) << '\n';
}

void show(const Words& words)
{
    const int camera = camera_id(words[0]);
    for (const Setting& setting : sim::host::kSettings) {
        if (words.size() == 1 || setting.name == setting_named(words[1]).name) {
            out() << std::left << std::setw(24) << setting.name
                  << sim::host::name_of(setting, sim::host::stored(camera, setting)) << '\n';
        }
    }
}

constexpr Command kCommands[] = {
    {"set", "CAM SETTING [VALUE]", "change a setting", 2, 3, set},
    {"show", "CAM [SETTING]", "stored settings", 1, 2, show, Kind::looks},
};

} // namespace

int apply(int camera, const Setting& setting, int value)
{
    if (setting.setter == sim::host::Setter::gain) {
        setting.name == "rgain_onepush" ? set_onepush_rgain(camera, value) : set_onepush_bgain(camera, value);
        return 0;
    }
    return sim::host::set(camera, setting.name, value);
}

std::span<const Command> setting_commands()
{
    return kCommands;
}

} // namespace app
