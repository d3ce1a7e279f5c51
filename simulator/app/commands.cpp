#include "app/commands.h"

#include "app/commands/engine.h"
#include "app/commands/groups.h"
#include "engine/engine.h"

#include <utility>

namespace app
{

namespace
{

Words words_of(const std::string& line)
{
    Words words;
    std::istringstream stream(line.substr(0, line.find('#')));
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

/// Puts the options of one line in force, and the former ones back.
struct Options {
    explicit Options(const RunOptions& options) : before(exchange_options(options)) {}
    ~Options()
    {
        exchange_options(before);
    }
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;

    RunOptions before;
};

} // namespace

const std::vector<Group>& command_groups()
{
    static const std::vector<Group> groups = {
        {"Cameras", camera_commands()},
        {"Settings", setting_commands()},
        {"Scene", scene_commands()},
        {"Lens", lens_commands()},
        {"Time and recordings", time_commands()},
        {"Pictures", picture_commands()},
        {"Calibration and following", following_commands()},
        {"Looking inside", engine_commands()},
        {"The program", general_commands()},
    };
    return groups;
}

const Command* find_command(std::string_view name)
{
    for (const Group& group : command_groups()) {
        for (const Command& command : group.commands) {
            if (command.name == name) {
                return &command;
            }
        }
    }
    return nullptr;
}

bool run_line(const std::string& line, const RunOptions& options)
{
    Words words = words_of(line);
    if (words.empty()) {
        return true;
    }
    const Command* command = find_command(words[0]);
    if (command == nullptr) {
        throw BadInput("there is no command " + words[0] + "; help lists them");
    }
    words.erase(words.begin());
    if (words.size() < command->least || words.size() > command->most) {
        throw BadInput("usage: " + std::string(command->name) + " " + std::string(command->arguments));
    }
    if (command->run == nullptr) {
        return false;
    }
    if (command->kind == Kind::changes) {
        remember_engines();
    }
    note_engine();
    const Options in_force(options);
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
        for (const Group& group : command_groups()) {
            for (const Command& command : group.commands) {
                offer(command.name);
            }
        }
    } else if (about_settings && place == (words[0] == "help" ? 1U : 2U)) {
        for (const sim::host::Setting& setting : sim::host::kSettingsAndCommands) {
            offer(setting.name);
        }
    } else if (about_settings && place > 2) {
        if (const sim::host::Setting* setting = sim::host::find_setting(words[2]); setting != nullptr) {
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
    for (const Group& group : command_groups()) {
        for (const Command& command : group.commands) {
            std::string arguments;
            for (const char c : command.arguments) {
                arguments += c == '|' ? std::string("\\|") : std::string(1, c);
            }
            text += "| `" + std::string(command.name) + (arguments.empty() ? "" : " " + arguments) + "` | " +
                    std::string(command.help) + " |\n";
        }
    }
    return text;
}

} // namespace app
