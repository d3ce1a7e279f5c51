#include "prompt/commands.h"

#include "prompt/commands/groups.h"
#include "session/remembered.h"

namespace prompt
{

const std::vector<Group>& command_groups()
{
    static const std::vector<Group> groups = {
        {"Cameras", camera_commands()},
        {"Settings", setting_commands()},
        {"Settings as files", setting_file_commands()},
        {"Scene", scene_commands()},
        {"Lens", lens_commands()},
        {"Time and recordings", time_commands()},
        {"Pictures", picture_commands()},
        {"Trying values", trial_commands()},
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
        Words names;
        for (const Group& group : command_groups()) {
            std::ranges::transform(group.commands, std::back_inserter(names),
                                   [](const Command& known) { return std::string(known.name); });
        }
        throw BadInput("there is no command " + words[0] + suggestion(words[0], names, "; help lists them"));
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

} // namespace prompt
