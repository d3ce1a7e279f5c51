// Debug lines, judged by their form.
#pragma once

#include "support/bench.h"

#include <cstdio>
#include <cstring>

namespace bench
{

/// The debug lines written during the last traces_of(), as "function: message". A line is "%-4d %s MESSAGE" and begins
/// with its source line; "[function_line]" in the message must repeat both and is given as "[]".
inline std::vector<std::string> debug_lines()
{
    std::vector<std::string> lines;
    for (const sim::host::LogLine& line : sim::host::captured_log()) {
        if (line.level != sim::host::kDebugLevel) {
            continue;
        }
        int number = 0;
        char function[64] = {};
        std::sscanf(line.text.c_str(), "%d %63s", &number, function);
        char prefix[96];
        std::snprintf(prefix, sizeof prefix, "%-4d %s ", number, function);
        EXPECT_THAT(line.text, testing::StartsWith(prefix));
        std::string message = line.text.substr(std::strlen(prefix));
        const std::string repeated = "[" + std::string(function) + "_" + std::to_string(number) + "]";
        if (const std::size_t at = message.find(repeated); at != std::string::npos) {
            message.replace(at, repeated.size(), "[]");
        }
        lines.push_back(std::string(function) + ": " + message);
    }
    return lines;
}

/// Whether the engine lock is free, as it must be after every call.
inline bool engine_lock_is_free()
{
    return pthread_mutex_trylock(rkipc_get_ctx_mtx()) == 0 && pthread_mutex_unlock(rkipc_get_ctx_mtx()) == 0;
}

} // namespace bench
