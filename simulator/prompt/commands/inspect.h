// What engines hold, remembered around commands.
#pragma once

#include <span>
#include <string_view>

namespace prompt
{

/// What the library calls of engine and host, and what can be made to fail.
std::span<const std::string_view> called_functions();

} // namespace prompt
