// The commands of the program: one list that prompt, scripts, help and documents are made from.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace app
{

/// Runs one line. Empty lines and what follows a # do nothing. Throws BadInput for what a user did wrong. False when
/// the line asks to leave.
bool run_line(const std::string& line);

/// What could stand where the last word of a line stands.
std::vector<std::string> completions(const std::string& line);

/// Markdown table of the commands.
std::string command_reference();

} // namespace app
