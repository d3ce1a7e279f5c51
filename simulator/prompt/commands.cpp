#include "prompt/commands.h"

#include "base/calls.h"
#include "engine/engine.h"
#include "session/cameras.h"
#include "session/change.h"
#include "session/files.h"
#include "session/text.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <utility>

namespace prompt
{

namespace
{

/// The command that this thread runs.
struct Running;
thread_local Running* running = nullptr;

struct Running {
    const Command& command;
    RunOptions& options;
    std::ostringstream text{}; ///< instead of the output, for programs
    bool answered = false;

    // Before it: what is new since then may be the reason of a failure.
    std::size_t misuses_before = sim::engine::misuses().size();
    int faults_before = sim::faults_struck();

    Running* outer = std::exchange(running, this); // a script's

    ~Running()
    {
        running = outer;
    }
    std::ostream& output() const
    {
        return options.output != nullptr ? *options.output : std::cout;
    }
};

/// "; did you mean NAME?" for the one of some names that begins with a word or is nearly it, or else another text.
std::string suggestion(std::string word, const Words& names, const std::string& otherwise)
{
    std::ranges::transform(word, word.begin(), [](unsigned char c) { return c == '-' ? '_' : std::tolower(c); });
    std::string best; // the shortest
    for (const std::string& name : names) {
        // One letter too much, too few, or wrong.
        const auto [in_word, in_name] = std::ranges::mismatch(word, name);
        const std::string_view rest(in_word, word.end());
        const std::string_view wanted(in_name, name.end());
        const auto behind = [](std::string_view text) { return text.substr(std::min<std::size_t>(1, text.size())); };
        const bool near =
            rest.empty() || behind(rest) == wanted || rest == behind(wanted) || behind(rest) == behind(wanted);
        if (near && (best.empty() || name.size() < best.size())) {
            best = name;
        }
    }
    return best.empty() ? otherwise : "; did you mean " + best + "?";
}

void run(const Command& command, const Words& words, RunOptions& options)
{
    const Running present{command, options};
    if (words.size() < command.least || words.size() > command.most) {
        refuse_usage();
    }
    command.run(words);
    if (!present.answered) {
        answer(present.text.view().empty() ? Json::object() : Json{{"text", present.text.str()}});
    }
}

} // namespace

Words words_of(const std::string& line)
{
    Words words;
    std::istringstream stream(line.substr(0, line.find('#')));
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

std::span<const Group> command_groups()
{
    static const Group groups[] = {kCameraCommands,    kSettingCommands, kSettingFileCommands, kSceneCommands,
                                   kLensCommands,      kTimeCommands,    kPictureCommands,     kTrialCommands,
                                   kFollowingCommands, kEngineCommands,  kGeneralCommands};
    return groups;
}

const Command* find_command(std::string_view name)
{
    auto commands = all_commands();
    const auto found = std::ranges::find(commands, name, &Command::name);
    return found != commands.end() ? &*found : nullptr;
}

RunOptions& console()
{
    static RunOptions options;
    return options;
}

bool run_line(const std::string& line, RunOptions& options)
{
    Words words = words_of(line);
    if (words.empty()) {
        return true;
    }
    const Command* command = find_command(words[0]);
    if (command == nullptr) {
        throw BadInput("there is no command " + words[0] +
                       suggestion(words[0], names_of(all_commands()), "; help lists them"));
    }
    words.erase(words.begin());
    if (command->run == nullptr) {
        return false;
    }
    if (command->kind == Kind::changes) {
        session::remember_engines();
    }
    run(*command, words, options);
    return true;
}

std::string usage_of(const Command& command)
{
    return std::string(command.name) + (command.arguments.empty() ? "" : " ") + std::string(command.arguments);
}

void refuse_usage()
{
    throw BadInput("usage: " + usage_of(running->command));
}

RunOptions& options()
{
    return running->options;
}

std::ostream& out()
{
    return running->options.json ? running->text : running->output();
}

void answer(const Json& object)
{
    running->answered = true;
    if (running->options.json) {
        running->output() << object.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n' << std::flush;
    }
}

std::string file_argument(const std::string& word)
{
    if (session::printable(word) != word) { // it would be printed
        throw BadInput("a file's name is of printable characters, not " + word);
    }
    if (!running->options.confined) {
        if (session::is_own_file(word)) {
            throw BadInput("the program keeps a file of its own named " + word);
        }
        return word;
    }
    const std::string path = session::named_files_folder() + "/" + word;
    std::error_code error;
    const bool elsewhere = word.find('/') != std::string::npos || word.starts_with('.');
    if (elsewhere || std::filesystem::is_symlink(path, error)) {
        throw BadInput("files are in the folder files of the session here; got " + word);
    }
    return path;
}

void wrote(const std::string& file)
{
    out() << "wrote " << file << '\n';
    answer({{"wrote", file}});
}

int camera_id(const std::string& word)
{
    return number<int>(word, 0, session::kCameras - 1, "a camera");
}

int camera_with_engine(const std::string& word)
{
    const int camera = camera_id(word);
    if (!session::has_engine(camera)) {
        throw BadInput("camera " + word + " has no engine: start it first");
    }
    return camera;
}

const sim::host::Setting& setting_named(const std::string& word)
{
    const sim::host::Setting* setting = sim::host::find_setting(word);
    if (setting == nullptr) {
        throw BadInput("there is no setting " + word +
                       suggestion(word, names_of(sim::host::kSettingsAndCommands), "; help settings lists them"));
    }
    return *setting;
}

std::string range_text(const sim::host::Setting& setting)
{
    std::string text = std::to_string(setting.lowest) + " to " + std::to_string(setting.highest);
    for (const sim::host::ValueName& name : sim::host::names_of(setting)) {
        text += ", " + std::string(name.name);
    }
    return text;
}

int setting_value(const sim::host::Setting& setting, const std::string& word)
{
    const std::optional<int> value = sim::host::value_of(setting, word);
    const bool named = value && sim::host::name_of(setting, *value) != std::to_string(*value);
    if (!value || !(named || setting.in_range(*value))) {
        throw BadInput(std::string(setting.name) + " accepts " + range_text(setting) + "; got " + word);
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
        throw BadInput("a time is a number with ms, s or min, up to a day; got " + word);
    }
    return static_cast<sim::Microseconds>(seconds * 1e6);
}

bool on_or_off(const std::string& word)
{
    if (word != "on" && word != "off") {
        throw BadInput("expected on or off; got " + word);
    }
    return word == "on";
}

void check(int result, const std::string& what)
{
    if (result == 0) {
        return;
    }
    const std::vector<std::string> misuses = sim::engine::misuses();
    throw BadInput(what + " failed with " + std::to_string(result) +
                   (sim::faults_struck() > running->faults_before ? ": the fault that was asked for"
                    : misuses.size() > running->misuses_before    ? ": the engine says " + misuses.back()
                                                                  : ""));
}

std::optional<std::vector<int>> settle(const std::function<std::vector<int>()>& cameras, int frames, double most)
{
    const double started = session::seconds_now();
    for (int quiet = 0; quiet < frames;) {
        pass_time(session::kFramePeriod);
        std::vector<int> moving = cameras();
        std::erase_if(moving, [](int camera) {
            const sim::engine::Readings live = session::readings_of(camera);
            return (live.converged || !live.automatic) && live.wb_converged;
        });
        quiet = moving.empty() ? quiet + 1 : 0;
        if (quiet < frames && session::seconds_now() - started > most) {
            return moving;
        }
    }
    return std::nullopt;
}

} // namespace prompt
