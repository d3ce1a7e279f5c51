// The commands, a group per file, and the groups in the order of the help.
#pragma once

#include "app/command.h"

namespace app
{

std::span<const Command> camera_commands();
std::span<const Command> setting_commands();
std::span<const Command> setting_file_commands();
std::span<const Command> engine_commands();
std::span<const Command> scene_commands();
std::span<const Command> lens_commands();
std::span<const Command> following_commands();
std::span<const Command> time_commands();
std::span<const Command> picture_commands();
std::span<const Command> general_commands();

struct Group {
    std::string_view title; ///< what one wants to do
    std::span<const Command> commands;
};

const std::vector<Group>& command_groups();

/// Null when there is no such command.
const Command* find_command(std::string_view name);

} // namespace app
