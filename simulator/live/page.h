// The files of the page, inside the program.
#pragma once

#include <map>
#include <string_view>

namespace live
{

using Files = std::map<std::string_view, std::string_view>; ///< contents by the path that a browser asks for

const Files& page();

} // namespace live
