// The reference of all settings and commands, from the lists that the program itself uses.
#pragma once

#include <string>

namespace prompt
{

/// Markdown.
std::string settings_reference();

} // namespace prompt
