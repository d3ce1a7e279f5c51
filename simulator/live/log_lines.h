// The library's last log lines, for pages that show them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace live
{

struct Line {
    std::uint64_t number; ///< counts the lines, from 1
    double seconds;       ///< simulated
    int camera;           ///< -1 where the line tells none
    int level;
    std::string text; ///< without prefix and line feeds
};

/// Starts to keep the last lines.
void keep_log_lines();

/// Those kept after `number`, oldest first, at most 200. Any thread.
std::vector<Line> log_lines_after(std::uint64_t number);

} // namespace live
