#include "live/interface.h"

#include "host/store.h"
#include "prompt/camera_line.h"
#include "prompt/command.h"
#include "prompt/commands.h"
#include "prompt/commands/inspect.h"
#include "prompt/commands/pictures.h"
#include "prompt/interrupt.h"
#include "session/bad_input.h"
#include "session/cameras.h"
#include "session/change.h"
#include "session/figures.h"
#include "session/files.h"
#include "session/lanes.h"
#include "session/remembered.h"
#include "session/turn.h"
#include "session/undo.h"

#include <algorithm>
#include <sstream>

namespace live
{

namespace
{

using sim::host::Modes;
using sim::host::Setting;

constexpr std::chrono::seconds kPatience{30}; // for another's command to end
constexpr std::chrono::seconds kLongestCommand{600};

std::string_view kind_of(const Setting& setting)
{
    constexpr std::string_view kKinds[] = {"none", "level", "action", "level"}; // as in Setter
    return kKinds[static_cast<std::size_t>(setting.setter)];
}

/// Per mode setting that matters, the values of it; null stands for values without a name.
Json modes_json(Modes modes)
{
    Json result = Json::object();
    for (const sim::host::ModeSetting& mode : sim::host::kModeSettings) {
        if ((modes & mode.all) == mode.all) {
            continue;
        }
        Json values = Json::array();
        Modes bit = mode.first;
        for (const sim::host::ValueName& name : names_of(*sim::host::find_setting(mode.name))) {
            if ((modes & bit) != 0) {
                values.push_back(name.value);
            }
            bit <<= 1U;
        }
        if ((modes & bit & mode.all) != 0) {
            values.push_back(nullptr);
        }
        result[std::string(mode.name)] = values;
    }
    return result;
}

Json setting_json(const Setting& setting)
{
    Json names = Json::array();
    for (const sim::host::ValueName& name : names_of(setting)) {
        names.push_back({{"name", name.name}, {"value", name.value}});
    }
    constexpr int kMost = 1000;
    Json quantities = Json::array(); // from the lowest to the highest, unless these are very many
    const bool listed = !setting.unit.empty() && setting.highest - setting.lowest < kMost;
    for (int value = setting.lowest; listed && value <= setting.highest; ++value) {
        quantities.push_back(sim::host::quantity_text(setting, value));
    }
    return {{"name", setting.name},
            {"kind", kind_of(setting)},
            {"group", setting.group},
            {"stored", setting.member != nullptr},
            {"lowest", setting.lowest},
            {"highest", setting.highest},
            {"initial", setting.initial},
            {"names", names},
            {"choice", setting.is_choice},
            {"unit", setting.unit},
            {"quantities", quantities},
            {"shown", setting.shown},
            {"effect", setting.effect},
            {"modes", modes_json(setting.effective)},
            {"modes_text", sim::host::modes_text(setting.effective)},
            {"elsewhere", sim::host::elsewhere_text(setting)}};
}

const Setting& known_setting(const std::string& name)
{
    const Setting* setting = sim::host::find_setting(name);
    if (setting == nullptr) {
        throw Refusal{404, "there is no setting " + name};
    }
    return *setting;
}

/// A value as at the prompt.
std::string word_of(const Json& value)
{
    if (!value.is_string() && !value.is_number_integer()) {
        throw Refusal{400, R"(a body is {"value": 3} or {"value": "name"})"};
    }
    return value.is_string() ? value.get<std::string>() : value.dump();
}

/// Does what a request asks for, puts faults into words and keeps the settings.
template <typename Action>
auto done(Action action)
{
    struct Show {
        ~Show()
        {
            take_view();
        }
    } show;
    session::set_patience(kPatience);
    try {
        auto result = action();
        session::save_settings();
        return result;
    } catch (const Refusal&) {
        throw;
    } catch (const prompt::Interrupted&) {
        throw Refusal{503, "stopped: the program ends, or the command took ten minutes"};
    } catch (const session::Busy& busy) {
        throw Refusal{503, busy.what()};
    } catch (const std::exception& error) {
        throw Refusal{400, error.what()};
    }
}

} // namespace

std::string text_of(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json measured_json(int camera, const std::vector<std::pair<std::string, std::string>>& query)
{
    std::vector<std::string> region;
    for (const char* name : {"x", "y", "w", "h"}) {
        const auto given = std::ranges::find(query, name, &std::pair<std::string, std::string>::first);
        if (given != query.end()) {
            region.push_back(given->second);
        }
    }
    if (region.size() % 4 != 0) {
        throw Refusal{400, "a region is x, y, w and h"};
    }
    Json figures = Json::object();
    try {
        const auto area = region.empty() ? std::nullopt : std::optional(prompt::region_argument(region));
        for (const auto& [name, value] : session::figures_of(camera, area)) {
            figures[std::string(name)] = value;
        }
    } catch (const session::BadInput& error) {
        throw Refusal{400, error.what()};
    }
    return figures;
}

Json settings_json()
{
    Json settings = Json::array();
    for (const Setting& setting : sim::host::kSettingsAndCommands) {
        settings.push_back(setting_json(setting));
    }
    return {{"settings", settings},
            {"offers",
             {{"scenes", sim::picture::scene_names()},
              {"illuminants", {"A", "TL84", "D50", "D65"}},
              {"functions", prompt::called_functions()},
              {"iris_widest", sim::host::kIrisWidest},
              {"zoom_longest", sim::host::kZoomLongest}}}};
}

/// The camera whose exposure a camera in smart exposure takes over; null where nothing is taken over.
Json follows_json(const View& view, int id)
{
    const int leader = get_PanoramaIspId();
    const bool follows = id == get_FeaturesIspId() && view.cameras[0].settings.exposure_mode == SMART_EXPOSURE &&
                         view.cameras[static_cast<std::size_t>(leader)].life == sim::engine::Life::running;
    return follows ? Json(leader) : Json();
}

Json state_json(const View& view)
{
    Json cameras = Json::array();
    for (int id = 0; id < kCameras; ++id) {
        const Camera& camera = view.cameras[static_cast<std::size_t>(id)];
        cameras.push_back(prompt::camera_json({.id = id,
                                               .life = camera.life,
                                               .settings = camera.settings,
                                               .live = camera.live,
                                               .scene = camera.scene,
                                               .lens = view.lens}));
        cameras.back().update({{"busy", camera.busy},
                               {"follows", follows_json(view, id)},
                               {"picture", camera.picture},
                               {"moving", camera.look && camera.look->moving}});
    }
    return {{"time", view.seconds},
            {"speed", view.pace},
            {"busy", view.busy},
            {"undo", view.undo},
            {"auto_iris", view.auto_iris},
            {"iris_target", view.lens.iris_target},
            {"zoom_target", view.lens.zoom_target},
            {"cameras", cameras}};
}

Json stored_json(const Camera& camera)
{
    Json settings = Json::object();
    for (const Setting& setting : sim::host::kSettings) {
        settings[std::string(setting.name)] = camera.settings.*setting.member;
    }
    settings["csc_mode"] = camera.csc_mode ? Json(*camera.csc_mode) : Json();
    return settings;
}

Json setting_of(const Json& stored, const std::string& name)
{
    const Setting& setting = known_setting(name);
    const auto value = stored.find(name);
    if (value == stored.end() || value->is_null()) {
        throw Refusal{404, name + " has no stored value"};
    }
    const std::string text = sim::host::name_of(setting, value->get<int>());
    return {{"value", *value}, {"name", text != value->dump() ? Json(text) : Json()}};
}

Json put_record(int camera, const Json& body)
{
    const auto given = body.find("settings");
    if (given == body.end() || !given->is_object()) {
        throw Refusal{400, R"(a body is {"settings": {"hue": 3}})"};
    }
    return done([&] {
        const session::Lanes lane({camera}, "a record of settings");
        kiv_isp_param_s record = sim::host::stored_record(camera);
        std::optional<int> csc_mode;
        for (const auto& [name, value] : given->items()) {
            const Setting& setting = known_setting(name);
            if (value.is_null()) { // as stored_json() has it where there is none
                continue;
            }
            const int number = prompt::setting_value(setting, word_of(value));
            if (setting.member != nullptr) {
                record.*setting.member = number;
            } else if (name == "csc_mode") {
                csc_mode = number;
            }
        }
        session::remember_engine(camera);
        const session::Undoable undoable(camera, "all settings");
        session::put_settings(camera, record);
        if (csc_mode) {
            session::apply(camera, known_setting("csc_mode"), *csc_mode);
        }
        Camera now;
        now.settings = sim::host::stored_record(camera);
        now.csc_mode = session::csc_mode_of(camera);
        return Json{{"settings", stored_json(now)}};
    });
}

Json put_setting(int camera, const std::string& name, const Json& body)
{
    const Setting* setting = &known_setting(name);
    if (setting->setter == sim::host::Setter::none) {
        throw Refusal{405, name + " cannot be set"};
    }
    const bool action = setting->setter == sim::host::Setter::action;
    const auto given = body.find("value");
    std::string word;
    if (action) {
        if (given != body.end()) {
            throw Refusal{400, name + " takes no value"};
        }
    } else {
        word = word_of(given != body.end() ? *given : Json());
    }
    return done([&] {
        const session::Outcome outcome = session::change_setting(
            camera, *setting, action ? 0 : prompt::setting_value(*setting, word), session::Origin::page);
        return Json{{"result", outcome.result},
                    {"stored", outcome.stored ? Json(*outcome.stored) : Json()},
                    {"text", outcome.text}};
    });
}

Json run_command(const Json& body, const std::atomic<bool>& stop)
{
    const auto given = body.find("line");
    if (given == body.end() || !given->is_string()) {
        throw Refusal{400, R"(a body is {"line": "a command"})"};
    }
    const auto json = body.find("json");
    if (json != body.end() && !json->is_boolean()) {
        throw Refusal{400, R"("json" is true or false)"};
    }
    const auto line = given->get<std::string>();
    if (std::any_of(line.begin(), line.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; })) {
        throw Refusal{400, "a command is one line of text"};
    }
    const prompt::EndIf end(stop, kLongestCommand);
    return done([&] {
        const session::Turn turn(line);
        std::ostringstream output;
        prompt::RunOptions options{
            .output = &output, .confined = true, .json = json != body.end() && json->get<bool>()};
        if (!prompt::run_line(line, options)) {
            throw session::BadInput("the program ends at its own prompt or with SIGTERM");
        }
        return Json{{"output", output.str()}};
    });
}

} // namespace live
