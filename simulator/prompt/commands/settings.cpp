// Changing and showing settings.
#include "host/store.h"
#include "isp_ctrl.h"
#include "prompt/command.h"
#include "prompt/commands/groups.h"
#include "prompt/records.h"
#include "session/cameras.h"
#include "session/change.h"
#include "session/lanes.h"
#include "session/undo.h"

#include <algorithm>
#include <cstring>
#include <iomanip>
#include <ostream>

namespace prompt
{

using sim::host::Setting;

namespace
{

constexpr int kNameWidth = 24;

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
        throw BadInput(action ? name + " takes no value" : name + " accepts " + range_text(setting));
    }
    const int value = action ? 0 : setting_value(setting, words[2]);
    const auto change = [&] { return session::change_setting(camera, setting, value, session::Origin::prompt); };
    const bool slow = name == "wb_mode_onepush" && session::has_engine(camera);
    const session::Outcome outcome = slow ? with_progress("measuring", change) : change();
    out() << "camera " << camera << "  " << name;
    if (!action) {
        out() << " = " << words[2];
    }
    out() << (outcome.text.empty() ? "" : "  (" + outcome.text + ")") << '\n';
    Json object = {{"camera", camera}, {"setting", name}, {"result", outcome.result}, {"outcome", outcome.text}};
    if (outcome.stored) {
        object["stored"] = json_of(setting, *outcome.stored);
    }
    answer(object);
}

void print_setting(int camera, const Setting& setting)
{
    out() << std::left << std::setw(kNameWidth) << setting.name
          << sim::host::name_of(setting, sim::host::stored(camera, setting)) << '\n';
}

/// The cameras side by side that have an engine or a setting of their own.
void show_all()
{
    const kiv_isp_param_s initial = sim::host::initial_record();
    std::vector<int> cameras;
    Json all = Json::array();
    for (int camera = 0; camera < session::kCameras; ++camera) {
        const kiv_isp_param_s record = sim::host::stored_record(camera);
        all.push_back({{"camera", camera}, {"settings", json_of(record)}});
        if (session::has_engine(camera) || std::memcmp(&record, &initial, sizeof record) != 0) {
            cameras.push_back(camera);
        }
    }
    answer({{"cameras", all}});
    const auto value = [](int camera, const Setting& setting) {
        return sim::host::name_of(setting, sim::host::stored(camera, setting));
    };
    std::vector<int> widths; // of the cameras' columns
    for (const int camera : cameras) {
        std::size_t widest = 1;
        for (const Setting& setting : sim::host::kSettings) {
            widest = std::max(widest, value(camera, setting).size());
        }
        widths.push_back(static_cast<int>(widest) + 2);
    }
    out() << std::left << std::setw(kNameWidth) << "camera";
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        out() << std::setw(widths[i]) << cameras[i];
    }
    out() << "initially\n";
    for (const Setting& setting : sim::host::kSettings) {
        out() << std::setw(kNameWidth) << setting.name;
        for (std::size_t i = 0; i < cameras.size(); ++i) {
            out() << std::setw(widths[i]) << value(cameras[i], setting);
        }
        out() << sim::host::name_of(setting, setting.initial) << '\n';
    }
}

void show(const Words& words)
{
    if (words.empty()) {
        show_all();
        return;
    }
    const int camera = camera_id(words[0]);
    const kiv_isp_param_s record = sim::host::stored_record(camera);
    if (words.size() > 1 && words[1] != "all") {
        const Setting& setting = setting_named(words[1]);
        if (setting.member == nullptr) {
            throw BadInput(words[1] + " is not stored");
        }
        print_setting(camera, setting);
        answer({{"camera", camera}, {"settings", {{words[1], json_of(setting, record.*setting.member)}}}});
        return;
    }
    answer({{"camera", camera}, {"settings", json_of(record)}});
    if (words.size() > 1) {
        for (const Setting& setting : sim::host::kSettings) {
            print_setting(camera, setting);
        }
    } else {
        const std::string changed = differences(record, sim::host::initial_record(), "initially");
        out() << (changed.empty() ? "every setting has its initial value; show " + words[0] + " all lists them\n"
                                  : changed);
    }
}

void undo(const Words& /*words*/)
{
    const std::optional<session::Change> undone = session::undo_change();
    if (!undone) {
        throw BadInput("there is nothing to undo");
    }
    tell_changes(undone->camera, undone->before);
}

void reset(const Words& words)
{
    const int camera = camera_id(words[0]);
    const session::Lanes lane({camera}, "reset");
    const session::Undoable undoable(camera, words.size() > 1 ? words[1] : "reset");
    const kiv_isp_param_s before = sim::host::stored_record(camera);
    kiv_isp_param_s record = sim::host::initial_record();
    if (words.size() > 1) {
        const Setting& setting = setting_named(words[1]);
        if (setting.member == nullptr) {
            throw BadInput(words[1] + " is not stored");
        }
        record = before;
        record.*setting.member = setting.initial;
    }
    session::put_settings(camera, record);
    tell_changes(camera, before);
}

constexpr Command kCommands[] = {
    {"set", "CAM SETTING [VALUE]", "change a setting", 2, 3, set},
    {"show", "[CAM [SETTING | all]]", "what differs from the initial settings, or all cameras side by side", 0, 2, show,
     Kind::looks},
    {"undo", "", "undo the last change; repeat to go further back", 0, 0, undo},
    {"reset", "CAM [SETTING]", "set a setting, or all, to its initial value", 1, 2, reset},
};

} // namespace

std::span<const Command> setting_commands()
{
    return kCommands;
}

} // namespace prompt
