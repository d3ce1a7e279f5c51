// The commands of the program: one list that prompt, scripts, help and documents are made from.
#pragma once

#include "prompt/command.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace prompt
{

struct Group {
    std::string_view title; ///< what one wants to do
    std::span<const Command> commands;
};

/// In the order of the help.
const std::vector<Group>& command_groups();

/// Null when there is no such command.
const Command* find_command(std::string_view name);

/// The options of the program's own prompt and scripts.
RunOptions& console();

/// Runs one line. Empty lines and what follows a # do nothing. Throws BadInput for what a user did wrong. False when
/// the line asks to leave.
bool run_line(const std::string& line, RunOptions& options = console());

} // namespace prompt
