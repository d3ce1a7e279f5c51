// Where commands come from: a prompt with history and completion, or a script.
#pragma once

#include <string>

namespace app
{

/// Reads commands from a terminal or, without a prompt, from standard input. Returns the program's exit status: 0, or 1
/// when standard input is no terminal and a command was wrong.
int run_prompt(const std::string& history_file);

/// Runs a script to its end or its first wrong command, which is reported with file and line. Returns the exit status.
int run_script(const std::string& path);

} // namespace app
