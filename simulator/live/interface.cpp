#include "live/interface.h"

#include "host/store.h"
#include "prompt/commands.h"
#include "prompt/commands/pictures.h"
#include "session/change.h"
#include "session/lanes.h"

#include <algorithm>

namespace live
{

namespace
{

using sim::host::Modes;
using sim::host::Setting;

constexpr std::chrono::seconds kLongestCommand{600};

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
    constexpr std::string_view kKinds[] = {"none", "level", "action", "level"}; // as in Setter
    constexpr int kMost = 1000;
    Json quantities = Json::array(); // from the lowest to the highest, unless these are very many
    const bool listed = !setting.unit.empty() && setting.highest - setting.lowest < kMost;
    for (int value = setting.lowest; listed && value <= setting.highest; ++value) {
        quantities.push_back(sim::host::quantity_text(setting, value));
    }
    return {{"name", setting.name},
            {"kind", kKinds[static_cast<std::size_t>(setting.setter)]},
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

} // namespace

std::string text_of(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json measured_json(int camera, const Fields& query)
{
    std::vector<std::string> region;
    for (const char* name : {"x", "y", "w", "h"}) {
        const auto given = std::ranges::find(query, name, &Fields::value_type::first);
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
              {"functions", prompt::kCalledFunctions},
              {"iris_widest", sim::host::kIrisWidest},
              {"zoom_longest", sim::host::kZoomLongest}}}};
}

Json state_json(const View& view, bool with_settings)
{
    const int leader = get_PanoramaIspId();
    const bool led = view.cameras[0].settings.exposure_mode == SMART_EXPOSURE &&
                     view.cameras[static_cast<std::size_t>(leader)].life == sim::engine::Life::running;
    Json cameras = Json::array();
    for (const Camera& camera : view.cameras) {
        cameras.push_back(prompt::camera_json(camera));
        cameras.back().update({{"busy", camera.busy},
                               {"follows", led && camera.id == get_FeaturesIspId() ? Json(leader) : Json()},
                               {"picture", camera.picture},
                               {"moving", camera.look && camera.look->moving}});
        if (with_settings) {
            cameras.back()["settings"] = stored_json(camera);
        }
    }
    return {{"time", view.seconds},
            {"speed", view.pace},
            {"busy", view.busy},
            {"undo", view.undo},
            {"auto_iris", view.auto_iris},
            {"iris_target", view.cameras[0].lens.iris_target},
            {"zoom_target", view.cameras[0].lens.zoom_target},
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
    const Json value = stored.value(name, Json());
    if (value.is_null()) {
        throw Refusal{404, name + " has no stored value"};
    }
    const std::string text = sim::host::name_of(setting, value.get<int>());
    return {{"value", value}, {"name", text != value.dump() ? Json(text) : Json()}};
}

Json put_record(int camera, const Json& body)
{
    const Json given = body.value("settings", Json());
    if (!given.is_object()) {
        throw Refusal{400, R"(a body is {"settings": {"hue": 3}})"};
    }
    const session::Lanes lane({camera}, "a record of settings");
    Camera now{};
    now.settings = sim::host::stored_record(camera);
    for (const auto& [name, value] : given.items()) {
        const Setting& setting = known_setting(name);
        if (value.is_null()) { // as stored_json() has it where there is none
            continue;
        }
        const int number = prompt::setting_value(setting, word_of(value));
        if (setting.member != nullptr) {
            now.settings.*setting.member = number;
        } else if (name == "csc_mode") {
            now.csc_mode = number;
        }
    }
    session::remember_engine(camera);
    const session::Undoable undoable(camera, "all settings");
    session::put_settings(camera, now.settings);
    if (now.csc_mode) {
        KIV_Set_csc_mode(camera, CSC_Mode_E{*now.csc_mode});
    }
    now.settings = sim::host::stored_record(camera);
    now.csc_mode = session::csc_mode_of(camera);
    return Json{{"settings", stored_json(now)}};
}

Json put_setting(int camera, const std::string& name, const Json& body)
{
    const Setting& setting = known_setting(name);
    if (setting.setter == sim::host::Setter::none) {
        throw Refusal{405, name + " cannot be set"};
    }
    const bool action = setting.setter == sim::host::Setter::action;
    if (action && body.contains("value")) {
        throw Refusal{400, name + " takes no value"};
    }
    const int value = action ? 0 : prompt::setting_value(setting, word_of(body.value("value", Json())));
    const session::Outcome outcome = session::change_setting(camera, setting, value, session::Origin::page);
    return {{"result", outcome.result},
            {"stored", outcome.stored ? Json(*outcome.stored) : Json()},
            {"text", outcome.text}};
}

Json run_command(const Json& body, const std::atomic<bool>& stop)
{
    const Json given = body.value("line", Json());
    const Json json = body.value("json", Json(false));
    if (!given.is_string()) {
        throw Refusal{400, R"(a body is {"line": "a command"})"};
    }
    if (!json.is_boolean()) {
        throw Refusal{400, R"("json" is true or false)"};
    }
    const auto line = given.get<std::string>();
    if (std::ranges::any_of(line, [](unsigned char c) { return c < ' ' || c == 0x7F; })) {
        throw Refusal{400, "a command is one line of text"};
    }
    const prompt::EndIf end(stop, kLongestCommand);
    const session::Turn turn(line);
    std::ostringstream output;
    prompt::RunOptions options{.output = &output, .confined = true, .json = json.get<bool>()};
    if (!prompt::run_line(line, options)) {
        throw session::BadInput("the program ends at its own prompt or with SIGTERM");
    }
    return Json{{"output", output.str()}};
}

} // namespace live
