// The debug lines of a call, judged by their form.
#pragma once

#include "support/bench.h"

#include <regex>

namespace bench
{

/// The messages written with kiv_log_debug while `action` runs, as "function: message". The line "%-4d %s MESSAGE" must
/// begin with a source line; "[function_line]" in the message must repeat both and is given as "[]".
template <typename Action>
std::vector<std::string> debug_lines_of(Action action)
{
    static const std::regex form(R"((\d+) {1,4}(\w+) ([^]*))");
    sim::host::start_log_capture();
    action();
    sim::host::stop_log_capture();
    std::vector<std::string> lines;
    for (const sim::host::LogLine& line : sim::host::captured_log()) {
        std::smatch part;
        if (line.level != sim::host::kDebugLevel) {
            continue;
        }
        if (!std::regex_match(line.text, part, form)) {
            ADD_FAILURE() << "not the form of a debug line: " << line.text;
            continue;
        }
        EXPECT_GE(part.position(2), 5) << line.text; // the number is padded to four places
        std::string message = part[3];
        const std::string repeated = "[" + part[2].str() + "_" + part[1].str() + "]";
        if (const std::size_t at = message.find(repeated); at != std::string::npos) {
            message.replace(at, repeated.size(), "[]");
        }
        lines.push_back(part[2].str() + ": " + message);
    }
    return lines;
}

/// Whether the engine lock is free, as it must be after every call.
inline bool engine_lock_is_free()
{
    if (pthread_mutex_trylock(rkipc_get_ctx_mtx()) != 0) {
        return false;
    }
    pthread_mutex_unlock(rkipc_get_ctx_mtx());
    return true;
}

} // namespace bench
