// The host's log: where the library's trace and debug lines go. A line that nobody wants is dropped before it is
// formatted.
#pragma once

#include <string>
#include <vector>

namespace sim::host
{

inline constexpr int kDebugLevel = 0;   // the level under which lines of kiv_log_debug are kept
inline constexpr int kControlLevel = 7; // of what the control protocol's service writes

struct LogLine {
    int level;
    std::string text; // as written, prefix and line feeds included, cut at 1023 bytes
};

/// Sets dbgout_profile.module_level, 0 at first: trace lines are written above 5. Any thread.
void set_module_level(int level);

/// Sets dbgout_profile.log_cb, which receives every line; null for none. Any thread.
void set_log_callback(void (*callback)(int level, const char* text));
bool has_log_callback();

/// Writes every line to standard error; off at first. Any thread.
void set_log_to_stderr(bool on);

/// Keeps the last 10,000 lines from now until it is stopped. Any thread.
void start_log_capture();
void stop_log_capture();
std::vector<LogLine> captured_log(); ///< oldest first

} // namespace sim::host
