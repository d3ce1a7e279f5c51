// Stand-in for the board's vendor-storage tool and the item in which it keeps the lens model.
#pragma once

#include <string>

namespace sim::host
{

/// Stores a lens model in `directory` (which exists) and returns the shell command that reads it as the board's does:
/// it prints the model and a line feed. The model may hold any character but NUL, blanks and further text included;
/// of several lines the first counts. Empty: the item is not stored, the command prints nothing. Calling it again
/// replaces the model for commands returned earlier. Returns an empty string when the files cannot be written, and
/// the reason in `failed`.
std::string lens_command_for(const std::string& model, const std::string& directory, std::string* failed = nullptr);

} // namespace sim::host
