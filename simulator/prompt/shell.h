// Where commands come from: a prompt with history and completion, or a script.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

namespace prompt
{

/// Exit status when a signal ended what the program did.
inline constexpr int kInterrupted = 130;

/// Thrown when standard output cannot be written.
struct OutputLost : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads commands from a terminal or, without a prompt, from standard input. Returns the program's exit status: 0, 1
/// when standard input is no terminal and a command was wrong, or kInterrupted.
int run_prompt(const std::string& history_file);

/// Runs a script, or without a path standard input, to its end, its first wrong command, which is reported with file
/// and line, or a signal. Returns the exit status.
int run_script(const std::optional<std::string>& path);

} // namespace prompt
