// Completion of a line that is being typed.
#pragma once

#include <string>
#include <vector>

namespace prompt
{

/// What could stand where the last word of a line stands.
std::vector<std::string> completions(const std::string& line);

} // namespace prompt
