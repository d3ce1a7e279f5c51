// The commands of the program: one list that prompt, scripts, help and documents are made from.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace app
{

struct RunOptions {
    std::ostream* output = nullptr; ///< where a command's output goes; standard output where null
    bool confined = false;          ///< whether commands may touch only files in the session's folder
};

/// Runs one line. Empty lines and what follows a # do nothing. Throws BadInput for what a user did wrong. False when
/// the line asks to leave.
bool run_line(const std::string& line, const RunOptions& options = {});

/// Puts options in force and returns those that were.
RunOptions exchange_options(const RunOptions& options);

/// What could stand where the last word of a line stands.
std::vector<std::string> completions(const std::string& line);

/// Markdown table of the commands.
std::string command_reference();

} // namespace app
