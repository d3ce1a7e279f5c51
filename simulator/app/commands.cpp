#include "app/commands.h"

#include "app/bad_input.h"
#include "app/look.h"
#include "app/run_record.h"
#include "app/session.h"
#include "base/calls.h"
#include "engine/engine.h"
#include "host/lens.h"
#include "host/log.h"
#include "host/setters.h"
#include "host/shading_file.h"
#include "host/store.h"
#include "host/styles.h"
#include "host/vin.h"
#include "isp_ctrl.h"

#include <algorithm>
#include <charconv>
#include <fcntl.h>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>
#include <unistd.h>

namespace app
{

namespace
{

using Words = std::vector<std::string>;
using sim::host::Setting;

struct Command {
    std::string_view name;
    std::string_view arguments;
    std::string_view help;
    std::size_t least; // words after the name
    std::size_t most;
    void (*run)(const Words& words); // the words after the name
};
extern const std::vector<Command> kCommands;

// ---- Reading words ------------------------------------------------------------------------------------------------

template <typename Number>
Number number(const std::string& word, Number lowest, Number highest, const char* what)
{
    Number value{};
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc{} || end != word.data() + word.size() || value < lowest || value > highest) {
        std::ostringstream message;
        message << what << " is a number from " << lowest << " to " << highest << ", not " << word;
        throw BadInput(message.str());
    }
    return value;
}

int camera_id(const std::string& word)
{
    return number<int>(word, 0, kCameras - 1, "a camera");
}

int camera_with_engine(const std::string& word)
{
    const int camera = camera_id(word);
    if (!has_engine(camera)) {
        throw BadInput("camera " + word + " has no engine: start it first");
    }
    return camera;
}

const Setting& setting_named(const std::string& word)
{
    const Setting* setting = sim::host::find_setting(word);
    if (setting == nullptr) {
        throw BadInput("there is no setting " + word + "; help settings lists them");
    }
    return *setting;
}

std::string range_text(const Setting& setting)
{
    std::string text = std::to_string(setting.lowest) + " to " + std::to_string(setting.highest);
    for (const sim::host::ValueName& name : sim::host::names_of(setting)) {
        text += ", " + std::string(name.name);
    }
    return text;
}

int setting_value(const Setting& setting, const std::string& word)
{
    const std::optional<int> value = sim::host::value_of(setting, word);
    if (!value || !setting.in_range(*value)) {
        throw BadInput(std::string(setting.name) + " takes " + range_text(setting) + ", not " + word);
    }
    return *value;
}

sim::Microseconds duration(const std::string& word)
{
    double value = 0.0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    const std::string unit(end, word.data() + word.size());
    const double seconds = unit == "ms" ? value / 1e3 : unit == "min" ? value * 60.0 : value;
    if (error != std::errc{} || (unit != "s" && unit != "ms" && unit != "min") || !(seconds >= 0.0) ||
        seconds > 86400.0) {
        throw BadInput("a time is a number with ms, s or min, up to a day, not " + word);
    }
    return static_cast<sim::Microseconds>(seconds * 1e6);
}

bool on_or_off(const std::string& word)
{
    if (word != "on" && word != "off") {
        throw BadInput("on or off, not " + word);
    }
    return word == "on";
}

// ---- Showing --------------------------------------------------------------------------------------------------------

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

void check(int result, const std::string& what)
{
    if (result != 0) {
        throw BadInput(what + " failed with " + std::to_string(result));
    }
}

void write_picture(const std::string& path, const sim::picture::Image& image)
{
    const std::string failed = sim::picture::write_png(path, image);
    if (!failed.empty()) {
        throw BadInput(failed);
    }
    std::cout << "wrote " << path << '\n';
}

/// Lets something that takes long run, with a line per simulated second.
template <typename Action>
auto with_progress(const std::string& what, Action action)
{
    int seconds = 0;
    const int handle = sim::every(1000000, [&] { std::cout << what << ": " << ++seconds << " s" << std::endl; });
    const auto result = action();
    sim::cancel(handle);
    return result;
}

using Fields = std::map<std::string, std::string>;

Fields block_fields(int camera, const std::string& block)
{
    Fields fields;
    for (const sim::engine::FieldText& field : sim::engine::describe(engine_of(camera), block)) {
        fields[field.name] = field.value;
    }
    return fields;
}

// Every engine's fields before the last command that could change them: camera, block, field.
std::map<int, std::map<std::string, Fields>> fields_before;

std::map<int, std::map<std::string, Fields>> all_fields()
{
    std::map<int, std::map<std::string, Fields>> all;
    for (const int camera : cameras_with_engine()) {
        for (const std::string& block : sim::engine::block_names()) {
            all[camera][block] = block_fields(camera, block);
        }
    }
    return all;
}

// ---- Cameras --------------------------------------------------------------------------------------------------------

void start(const Words& words)
{
    for (const std::string& word : words) {
        if (!start_camera(camera_id(word))) {
            throw BadInput("camera " + word + " does not start");
        }
        std::cout << "camera " << word << " runs, its settings are restored\n";
    }
}

template <int (*Function)(int)>
void for_cameras(const Words& words)
{
    for (const std::string& word : words) {
        check(Function(camera_id(word)), "camera " + word + ": the call");
    }
}

void group(const Words& words)
{
    const int id = number<int>(words[1], 0, kCameras - 1, "a group");
    if (words[0] == "start" && words.size() > 2) {
        std::vector<int> sensors;
        for (std::size_t i = 2; i < words.size(); ++i) {
            sensors.push_back(number<int>(words[i], 0, sim::engine::kSensors - 1, "a sensor"));
        }
        check(rk_isp_init_group(id, sensors.data(), sensors.size(), nullptr), "group start");
        std::cout << "group " << id << " runs with " << sensors.size()
                  << " sensors; camera ids now name groups until a camera is started\n";
    } else if (words[0] == "resume") {
        check(rk_isp_init_group_start(id), "group start");
    } else if (words[0] == "stop") {
        check(rk_isp_init_group_stop(id), "group stop");
    } else if (words[0] == "release") {
        check(rk_isp_deinit_group(id), "group release");
    } else {
        throw BadInput("group start ID SENSOR..., or group stop, resume or release ID");
    }
}

void list(const Words& /*words*/)
{
    for (const int camera : cameras_with_engine()) {
        std::cout << live_line(camera) << '\n';
    }
}

// ---- Settings -------------------------------------------------------------------------------------------------------

/// Calls the setter of a setting or command; the result is the setter's, 0 where it has none.
int apply(int camera, const Setting& setting, int value)
{
    if (setting.setter == sim::host::Setter::gain) {
        setting.name == "rgain_onepush" ? set_onepush_rgain(camera, value) : set_onepush_bgain(camera, value);
        return 0;
    }
    return sim::host::set(camera, setting.name, value);
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
    std::cout << "camera " << camera << "  " << name;
    if (!action) {
        std::cout << " = " << words[2];
    }
    std::cout << outcome_text(result) << (has_engine(camera) ? "" : "  (no engine: stored)") << '\n';
}

void show(const Words& words)
{
    const int camera = camera_id(words[0]);
    for (const Setting& setting : sim::host::kSettings) {
        if (words.size() == 1 || setting.name == setting_named(words[1]).name) {
            std::cout << std::left << std::setw(24) << setting.name
                      << sim::host::name_of(setting, sim::host::stored(camera, setting)) << '\n';
        }
    }
}

void block(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    const auto fields = sim::engine::describe(engine_of(camera), words[1]);
    if (fields.empty()) {
        std::string names;
        for (const std::string& name : sim::engine::block_names()) {
            names += " " + name;
        }
        throw BadInput("there is no block " + words[1] + "; the blocks are" + names);
    }
    for (const sim::engine::FieldText& field : fields) {
        if (words.size() == 2 || field.name.find(words[2]) != std::string::npos) {
            std::cout << words[1] << '.' << field.name << " = " << field.value << '\n';
        }
    }
}

void changes(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    for (const std::string& name : sim::engine::block_names()) {
        const Fields fields = block_fields(camera, name);
        const Fields& before = fields_before[camera][name];
        for (const auto& [field, value] : fields) {
            const auto old = before.find(field);
            if (old == before.end() || old->second != value) {
                std::cout << name << '.' << field << " = " << value;
                std::cout << (old != before.end() ? "  (was " + old->second + ")" : "") << '\n';
            }
        }
    }
}

void expect(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    const Fields fields = block_fields(camera, words[1]);
    const auto field = fields.find(words[2]);
    if (field == fields.end()) {
        throw BadInput("there is no field " + words[1] + "." + words[2]);
    }
    if (field->second != words[3]) {
        throw BadInput(words[1] + "." + words[2] + " is " + field->second + ", not " + words[3]);
    }
    std::cout << words[1] << '.' << words[2] << " = " << field->second << ", as expected\n";
}

// ---- Faults and log -------------------------------------------------------------------------------------------------

void trace(const Words& words)
{
    const bool on = on_or_off(words[0]);
    sim::host::set_module_level(on ? 6 : 0);
    sim::host::set_log_to_stderr(on);
}

void fault(const Words& words)
{
    if (words[0] == "clear") {
        sim::clear_faults();
        return;
    }
    if (words.size() < 3 || (words.size() == 4 && words[3] != "always")) {
        throw BadInput("fault FUNCTION NTH CODE [always], or fault clear");
    }
    sim::inject_fault(words[0], number<int>(words[1], 1, 1000000, "the call's number"),
                      number<int>(words[2], -32768, 32767, "a code"), words.size() == 4);
}

// ---- Scene and lens -------------------------------------------------------------------------------------------------

void scene(const Words& words)
{
    const double seconds = words.size() > 2 ? static_cast<double>(duration(words[2])) / 1e6 : 0.0;
    sim::engine::set_scene(camera_id(words[0]), number<double>(words[1], 0.0, 200000.0, "a luminance in cd/m2"),
                           seconds);
}

void light(const Words& words)
{
    set_light(camera_id(words[0]), words[1]);
}

void sensor(const Words& words)
{
    sim::engine::set_response(camera_id(words[0]), number<double>(words[1], 0.2, 5.0, "a red response"),
                              number<double>(words[2], 0.2, 5.0, "a blue response"));
}

void lens(const Words& words)
{
    fit_lens(words[0]);
    std::cout << "lens type " << KIV_Get_Len_Types() << '\n';
}

void zoom(const Words& words)
{
    sim::host::move_zoom_to(number<int>(words[0], 0, sim::host::kZoomLongest, "a zoom position"));
}

void iris(const Words& words)
{
    if (words[0] == "auto") {
        set_auto_iris_on(on_or_off(words[1]));
    } else if (words[0] == "to") {
        sim::host::move_iris_to(number<int>(words[1], 0, sim::host::kIrisWidest, "an iris position"));
    } else {
        throw BadInput("iris auto on, iris auto off or iris to POSITION");
    }
}

void fps(const Words& words)
{
    sim::host::set_vin_fps(camera_id(words[0]), number<int>(words[1], 1, 240, "a frame rate"));
}

void shading(const Words& words)
{
    const std::string path = words.size() > 1 ? words[1] : shading_path();
    std::string failed;
    if (words[0] == "write") {
        failed = sim::host::write_shading_file(path);
    } else if (words[0] == "check") {
        failed = sim::host::check_shading_file(path);
    } else {
        throw BadInput("shading write [FILE] or shading check [FILE]");
    }
    if (!failed.empty()) {
        throw BadInput(failed);
    }
    std::cout << "shading file " << (words[0] == "write" ? "written\n" : "in order\n");
}

// ---- Following ------------------------------------------------------------------------------------------------------

void roles(const Words& words)
{
    set_PanoramaIspId(camera_id(words[0]));
    set_FeaturesIspId(camera_id(words[1]));
}

void calibrate(const Words& words)
{
    if (words[0] != "d65" && words[0] != "a") {
        throw BadInput("calibrate d65, then calibrate a");
    }
    const bool first = words[0] == "d65";
    for (const int camera : {0, 2, 3}) {
        set_light(camera, first ? "D65" : "A");
    }
    check(with_progress("measuring", [&] { return Awb_Calibration(first ? 1 : 2); }), "calibration");
    if (first) {
        std::cout << "first light kept; now calibrate a\n";
    } else {
        std::cout << (access(calibration_path().c_str(), F_OK) == 0 ? "calibration written\n"
                                                                    : "no usable calibration found\n");
    }
}

/// How far the gains in force are from those that make a grey neutral, in per cent: the greater of red and blue.
double gain_error(int camera)
{
    const sim::engine::Live live = sim::engine::live(camera);
    return 100.0 * static_cast<double>(std::max(std::abs(live.wb_gain.rgain / live.neutral_gain.rgain - 1.0F),
                                                std::abs(live.wb_gain.bgain / live.neutral_gain.bgain - 1.0F)));
}

void follow(const Words& words)
{
    if (words[0] != "wb") {
        throw BadInput("follow wb on or follow wb off");
    }
    set_awb_follow_pano(on_or_off(words[1]) ? 1 : 0);
    check(cam_awb_follow_pano_thread(), "following");
}

void balance(const Words& words)
{
    std::vector<sim::picture::Labelled> pictures;
    for (const int camera : {3, 0, 2}) {
        if (!has_engine(camera)) {
            continue;
        }
        std::ostringstream label;
        label << "camera " << camera << ", gain error " << std::fixed << std::setprecision(2) << gain_error(camera)
              << " %";
        std::cout << label.str() << '\n';
        pictures.emplace_back(label.str(), picture_of(camera));
    }
    if (words.size() == 1) {
        write_picture(words[0], sim::picture::side_by_side(pictures));
    }
}

// ---- Time and pictures ----------------------------------------------------------------------------------------------

void run_for(const Words& words)
{
    sim::wait(duration(words[0]));
}

void speed(const Words& words)
{
    if (words[0] == "virtual") {
        sim::use_virtual_time();
    } else {
        sim::use_paced_time(number<double>(words[0], 0.01, 1000.0, "a speed"));
    }
}

void watch(const Words& words)
{
    std::vector<int> cameras;
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        cameras.push_back(camera_with_engine(words[i]));
    }
    constexpr sim::Microseconds kShortest = 500000;
    constexpr sim::Microseconds kLines = 8;
    const sim::Microseconds whole = duration(words.back());
    const sim::Microseconds interval = std::max(kShortest, whole / kLines);
    for (sim::Microseconds left = whole; left > 0; left -= interval) {
        sim::wait(std::min(left, interval));
        for (const int camera : cameras) {
            std::cout << live_line(camera) << std::endl;
        }
    }
}

void record(const Words& words)
{
    if (words[0] == "stop") {
        stop_recording_run();
        return;
    }
    std::vector<int> cameras;
    for (std::size_t i = 1; i < words.size(); ++i) {
        cameras.push_back(camera_with_engine(words[i]));
    }
    record_run(words[0], cameras.empty() ? cameras_with_engine() : cameras);
    on_frame(record_frame);
}

void plot(const Words& words)
{
    plot_run(words[0], words[1]);
    std::cout << "wrote " << words[1] << '\n';
}

void render(const Words& words)
{
    write_picture(words[1], picture_of(camera_with_engine(words[0])));
}

/// The pictures of a camera with each of some values of a setting; the store and the engine are put back.
std::vector<sim::picture::Labelled> pictures_with(int camera, const Setting& setting, const Words& values)
{
    const kiv_isp_param_s before = sim::host::stored_record(camera);
    std::vector<sim::picture::Labelled> pictures;
    for (const std::string& value : values) {
        apply(camera, setting, setting_value(setting, value));
        sim::wait(2000000); // exposure and white balance settle
        pictures.emplace_back(std::string(setting.name) + " " + value, picture_of(camera));
    }
    sim::host::store_record(camera, before);
    KIV_load_isp_para(camera);
    return pictures;
}

void compare(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    const Setting& setting = setting_named(words[1]);
    if (setting.setter != sim::host::Setter::level && setting.setter != sim::host::Setter::silent) {
        throw BadInput(words[1] + " has no values to compare");
    }
    write_picture(words[4], sim::picture::side_by_side(pictures_with(camera, setting, {words[2], words[3]})));
}

void styles(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    const Setting& style = setting_named("style");
    Words names;
    for (const sim::host::ValueName& name : sim::host::names_of(style)) {
        names.emplace_back(name.name);
    }
    write_picture(words[1], sim::picture::contact_sheet(pictures_with(camera, style, names), 4));
}

void echo(const Words& words)
{
    for (const std::string& word : words) {
        std::cout << word << ' ';
    }
    std::cout << '\n';
}

void help(const Words& words)
{
    if (words.empty()) {
        for (const Command& command : kCommands) {
            std::cout << "  " << std::left << std::setw(44)
                      << std::string(command.name) + " " + std::string(command.arguments) << command.help << '\n';
        }
        std::cout << "help settings lists all settings with their ranges, help NAME explains one.\n";
        return;
    }
    bool found = false;
    for (const Setting& setting : sim::host::kSettingsAndCommands) {
        if (setting.setter == sim::host::Setter::none || (words[0] != "settings" && words[0] != setting.name)) {
            continue;
        }
        found = true;
        const bool action = setting.setter == sim::host::Setter::action;
        std::cout << std::left << std::setw(24) << setting.name << (action ? "" : range_text(setting) + ": ")
                  << setting.effect;
        if (!setting.modes.empty()) {
            std::cout << " [" << setting.modes << "]";
        }
        std::cout << '\n';
    }
    for (const Command& command : kCommands) {
        if (words[0] == command.name) {
            found = true;
            std::cout << command.name << ' ' << command.arguments << ": " << command.help << '\n';
        }
    }
    if (!found) {
        throw BadInput("there is nothing called " + words[0]);
    }
}

constexpr std::size_t kMany = 64;

const std::vector<Command> kCommands = {
    {"start", "CAM...", "start engines and restore their settings", 1, kMany, start},
    {"stop", "CAM...", "stop engines", 1, kMany, for_cameras<rk_isp_stop>},
    {"reload", "CAM...", "reload the engines' tuning", 1, kMany, for_cameras<rk_isp_update>},
    {"release", "CAM...", "stop and release engines", 1, kMany, for_cameras<rk_isp_deinit>},
    {"group", "start ID SENSOR... | stop|resume|release ID", "run sensors as one group", 2, kMany, group},
    {"list", "", "one line per camera that has an engine", 0, 0, list},
    {"set", "CAM SETTING [VALUE]", "change a setting", 2, 3, set},
    {"show", "CAM [SETTING]", "stored settings", 1, 2, show},
    {"block", "CAM BLOCK [FIELD]", "what an engine holds", 2, 3, block},
    {"changes", "CAM", "what the last command changed in an engine", 1, 1, changes},
    {"expect", "CAM BLOCK FIELD VALUE", "fail unless an engine holds this", 4, 4, expect},
    {"trace", "on|off", "show the library's trace lines", 1, 1, trace},
    {"fault", "FUNCTION NTH CODE [always] | clear", "make a call of the engine or host fail", 1, 4, fault},
    {"scene", "CAM CD/M2 [TIME]", "luminance of the scene, reached over a time", 2, 3, scene},
    {"light", "CAM KELVIN|A|TL84|D50|D65", "illuminant of the scene", 2, 2, light},
    {"sensor", "CAM RED BLUE", "response of a sensor", 3, 3, sensor},
    {"lens", "MODEL|none", "lens model in vendor storage", 1, 1, lens},
    {"zoom", "POSITION", "move the zoom", 1, 1, zoom},
    {"iris", "auto on|off | to POSITION", "automatic iris, or move it", 2, 2, iris},
    {"fps", "CAM RATE", "frame rate of the video input", 2, 2, fps},
    {"shading", "write|check [FILE]", "write or judge a lens-shading file", 1, 2, shading},
    {"roles", "PANORAMA FEATURE", "which camera leads and which follows", 2, 2, roles},
    {"calibrate", "d65|a", "measure a reference light (cameras 0, 2, 3)", 1, 1, calibrate},
    {"follow", "wb on|off", "cameras 0 and 2 follow camera 3's white balance", 2, 2, follow},
    {"balance", "[FILE.png]", "gain error of cameras 3, 0 and 2, and their charts", 0, 1, balance},
    {"run", "TIME", "let simulated time pass", 1, 1, run_for},
    {"speed", "FACTOR|virtual", "pace of simulated time", 1, 1, speed},
    {"watch", "CAM... TIME", "live lines for a while", 2, kMany, watch},
    {"record", "FILE.csv [CAM...] | stop", "record every frame", 1, kMany, record},
    {"plot", "FILE.csv FILE.svg|.png", "draw a recorded run", 2, 2, plot},
    {"render", "CAM FILE.png", "a colour chart as the camera shows it", 2, 2, render},
    {"compare", "CAM SETTING A B FILE.png", "two values side by side", 5, 5, compare},
    {"styles", "CAM FILE.png", "contact sheet of all image styles", 2, 2, styles},
    {"echo", "TEXT...", "print a line", 0, kMany, echo},
    {"help", "[settings | NAME]", "this list, or one thing", 0, 1, help},
    {"quit", "", "leave", 0, 0, nullptr},
};

/// Commands that look without changing: `changes` keeps telling about the command before them.
bool only_looks(std::string_view name)
{
    constexpr std::string_view kLooking[] = {"list",    "show",   "block", "changes", "expect",
                                             "balance", "render", "plot",  "echo",    "help"};
    return std::find(std::begin(kLooking), std::end(kLooking), name) != std::end(kLooking);
}

Words words_of(const std::string& line)
{
    Words words;
    std::istringstream stream(line.substr(0, line.find('#')));
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

} // namespace

bool run_line(const std::string& line)
{
    Words words = words_of(line);
    if (words.empty()) {
        return true;
    }
    const auto command =
        std::find_if(kCommands.begin(), kCommands.end(), [&](const Command& known) { return known.name == words[0]; });
    if (command == kCommands.end()) {
        throw BadInput("there is no command " + words[0] + "; help lists them");
    }
    words.erase(words.begin());
    if (words.size() < command->least || words.size() > command->most) {
        throw BadInput("usage: " + std::string(command->name) + " " + std::string(command->arguments));
    }
    if (command->run == nullptr) {
        return false;
    }
    if (!only_looks(command->name)) {
        fields_before = all_fields();
    }
    command->run(words);
    return true;
}

std::vector<std::string> completions(const std::string& line)
{
    const Words words = words_of(line);
    const bool new_word = line.empty() || line.back() == ' ';
    const std::string begun = new_word || words.empty() ? std::string() : words.back();
    const std::size_t place = words.size() - (begun.empty() ? 0 : 1); // of the word being typed

    std::vector<std::string> found;
    const auto offer = [&](std::string_view candidate) {
        if (candidate.starts_with(begun)) {
            found.emplace_back(candidate);
        }
    };
    const bool about_settings =
        !words.empty() && (words[0] == "set" || words[0] == "show" || words[0] == "compare" || words[0] == "help");
    if (place == 0) {
        for (const Command& command : kCommands) {
            offer(command.name);
        }
    } else if (about_settings && place == (words[0] == "help" ? 1U : 2U)) {
        for (const Setting& setting : sim::host::kSettingsAndCommands) {
            offer(setting.name);
        }
    } else if (about_settings && place > 2) {
        if (const Setting* setting = sim::host::find_setting(words[2]); setting != nullptr) {
            for (const sim::host::ValueName& name : sim::host::names_of(*setting)) {
                offer(name.name);
            }
        }
    } else if (words[0] == "block" && place == 2) {
        for (const std::string& name : sim::engine::block_names()) {
            offer(name);
        }
    }
    return found;
}

std::string command_reference()
{
    std::string text = "| Command | Effect |\n|---|---|\n";
    for (const Command& command : kCommands) {
        std::string arguments;
        for (const char c : command.arguments) {
            arguments += c == '|' ? std::string("\\|") : std::string(1, c);
        }
        text += "| `" + std::string(command.name) + (arguments.empty() ? "" : " " + arguments) + "` | " +
                std::string(command.help) + " |\n";
    }
    return text;
}

} // namespace app
