// The files of the page, inside the program.
#pragma once

#include <string_view>

namespace live
{

struct Asset {
    std::string_view path; ///< as a browser asks for it
    std::string_view type;
    std::string_view content;
};

/// Null for a path that is none of the page's.
const Asset* find_asset(std::string_view path);

} // namespace live
