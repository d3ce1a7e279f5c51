// Changing and showing settings, and keeping them in files.
#include "host/store.h"
#include "prompt/camera_line.h"
#include "prompt/commands.h"
#include "session/cameras.h"
#include "session/change.h"
#include "session/lanes.h"

#include <algorithm>
#include <cstring>
#include <iomanip>
#include <ostream>

namespace prompt
{

using sim::host::Setting;

namespace
{

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

const Setting& stored_setting(const std::string& word)
{
    const Setting& setting = setting_named(word);
    if (setting.member == nullptr) {
        throw BadInput(word + " is not stored");
    }
    return setting;
}

/// The cameras side by side that have an engine or a setting of their own.
void show_all()
{
    const kiv_isp_param_s initial = sim::host::initial_record();
    std::vector<std::string> lines = {"camera"};
    for (const Setting& setting : sim::host::kSettings) {
        lines.emplace_back(setting.name);
    }
    const auto add_column = [&](const std::string& title, const kiv_isp_param_s& record) {
        const std::size_t widest = std::ranges::max(lines, {}, &std::string::size).size();
        for (std::string& line : lines) {
            line.resize(std::max<std::size_t>(widest + 2, kNameWidth), ' ');
        }
        auto line = lines.begin();
        *line += title;
        for (const Setting& setting : sim::host::kSettings) {
            *++line += sim::host::name_of(setting, record.*setting.member);
        }
    };
    Json all = Json::array();
    for (int camera = 0; camera < session::kCameras; ++camera) {
        const kiv_isp_param_s record = sim::host::stored_record(camera);
        all.push_back({{"camera", camera}, {"settings", json_of(record)}});
        if (session::has_engine(camera) || std::memcmp(&record, &initial, sizeof record) != 0) {
            add_column(std::to_string(camera), record);
        }
    }
    add_column("initially", initial);
    answer({{"cameras", all}});
    for (const std::string& line : lines) {
        out() << line << '\n';
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
    const auto print = [&](const Setting& setting) {
        out() << std::left << std::setw(kNameWidth) << setting.name
              << sim::host::name_of(setting, record.*setting.member) << '\n';
    };
    if (words.size() > 1 && words[1] != "all") {
        const Setting& setting = stored_setting(words[1]);
        print(setting);
        answer({{"camera", camera}, {"settings", {{words[1], json_of(setting, record.*setting.member)}}}});
        return;
    }
    answer({{"camera", camera}, {"settings", json_of(record)}});
    if (words.size() > 1) {
        std::ranges::for_each(sim::host::kSettings, print);
    } else {
        const std::string changed = differences(record, sim::host::initial_record(), "initially").text;
        out() << (changed.empty() ? "every setting has its initial value; show " + words[0] + " all lists them\n"
                                  : changed);
    }
}

void undo(const Words& /*words*/)
{
    const std::optional<session::Undone> undone = session::undo_change();
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
        const Setting& setting = stored_setting(words[1]);
        record = before;
        record.*setting.member = setting.initial;
    }
    session::put_settings(camera, record);
    tell_changes(camera, before);
}

constexpr Command kChanging[] = {
    {"set", "CAM SETTING [VALUE]", "change a setting", 2, 3, set},
    {"show", "[CAM [SETTING | all]]", "what differs from the initial settings, or all cameras side by side", 0, 2, show,
     Kind::looks},
    {"undo", "", "undo the last change; repeat to go further back", 0, 0, undo},
    {"reset", "CAM [SETTING]", "set a setting, or all, to its initial value", 1, 2, reset},
};

void save(const Words& words)
{
    const int camera = camera_id(words[0]);
    throw_if(sim::host::write_settings(file_argument(words[1]), camera, sim::host::stored_record(camera)));
    wrote(words[1]);
}

kiv_isp_param_s settings_in(const std::string& word, int camera)
{
    kiv_isp_param_s record{};
    throw_if(sim::host::read_settings(file_argument(word), camera, record));
    return record;
}

void load(const Words& words)
{
    const int camera = camera_id(words[0]);
    const kiv_isp_param_s record = settings_in(words[1], camera);
    const session::Lanes lane({camera}, "load");
    const session::Undoable undoable(camera, words[1]);
    const kiv_isp_param_s before = sim::host::stored_record(camera);
    session::put_settings(camera, record);
    tell_changes(camera, before);
}

void diff(const Words& words)
{
    const int camera = camera_id(words[0]);
    const bool other_camera = words[1].size() == 1 && words[1][0] >= '0' && words[1][0] <= '9';
    const kiv_isp_param_s other =
        other_camera ? sim::host::stored_record(camera_id(words[1])) : settings_in(words[1], camera);
    const Differences found =
        differences(sim::host::stored_record(camera), other, (other_camera ? "camera " : "") + words[1] + ":", "other");
    answer({{"camera", camera}, {"differences", found.json}});
    out() << (found.text.empty() ? "no setting differs\n" : found.text);
}

constexpr Command kFiles[] = {
    {"save", "CAM FILE.ini", "write a camera's settings", 2, 2, save, Kind::looks},
    {"load", "CAM FILE.ini", "take a camera's settings from a file", 2, 2, load},
    {"diff", "CAM FILE.ini|CAM", "in which settings a camera differs", 2, 2, diff, Kind::looks},
};

} // namespace

const Group kSettingCommands = {"Settings", kChanging};
const Group kSettingFileCommands = {"Settings as files", kFiles};

} // namespace prompt
