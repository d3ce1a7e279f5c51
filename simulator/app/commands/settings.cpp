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

std::string outcome_text(int result)
{
    switch (result) {
    case ISP_SUCCESS:
        return "";
    case ISP_UNFIT:
        return "  (2: does not apply in the present mode)";
    case ISP_EXCUTE_BYARM:
        return "  (3: the host applies styles itself)";
    default:
        return "  (" + std::to_string(result) + ": refused, or the engine failed)";
    }
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
    out() << outcome_text(result) << (has_engine(camera) ? "" : "  (no engine: stored)") << '\n';
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
