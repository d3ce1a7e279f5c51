// The commands, a group per file.
#pragma once

#include "prompt/command.h"

#include <span>

namespace prompt
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
std::span<const Command> trial_commands();
std::span<const Command> general_commands();

} // namespace prompt
