// The library's last log lines, for pages that show them.
#pragma once

#include "prompt/json.h"

#include <cstdint>

namespace live
{

/// Starts to keep the last lines.
void keep_log_lines();

/// Those kept after the one of that number, oldest first, at most 200: each with its number, which counts the lines
/// from 1, the simulated time, the camera or null, the level and the text without prefix and line feeds. Any thread.
prompt::Json log_lines_after(std::uint64_t number);

} // namespace live
