// The log sink: callback, standard error and a capture of the last lines.
#include "host/log.h"

#include "base/calls.h"
#include "base/lib_dbgout.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <deque>
#include <mutex>

lib_dbgout_profile_s dbgout_profile = {};

namespace sim::host
{

namespace
{

std::atomic<bool> g_to_stderr{false};
std::atomic<bool> g_capturing{false};

// Never destroyed: threads may still write while the process ends.
std::mutex g_capture_mutex;
std::deque<LogLine>& g_lines = *new std::deque<LogLine>;
std::size_t g_capacity = 0;
bool g_note_calls = false;

void capture(const char* function, int level, const char* text)
{
    bool note = false;
    {
        const std::lock_guard lock(g_capture_mutex);
        if (!g_capturing.load(std::memory_order_relaxed) || g_capacity == 0) {
            return;
        }
        if (g_lines.size() == g_capacity) {
            g_lines.pop_front();
        }
        g_lines.push_back({level, text});
        note = g_note_calls;
    }
    if (note) {
        note_call(function, -1, level);
    }
}

// The length of the line, or 0 when nobody wants it.
__attribute__((format(printf, 3, 0))) int write_line(const char* function, int level, const char* format, va_list args)
{
    const auto callback = std::atomic_ref(dbgout_profile.log_cb).load(std::memory_order_relaxed);
    const bool capturing = g_capturing.load(std::memory_order_relaxed);
    const bool to_stderr = g_to_stderr.load(std::memory_order_relaxed);
    if (callback == nullptr && !capturing && !to_stderr) {
        return 0;
    }
    char text[1024];
    const int length = std::vsnprintf(text, sizeof text, format, args);
    if (length < 0) {
        return length;
    }
    if (callback != nullptr) {
        callback(level, text);
    }
    if (capturing) {
        capture(function, level, text);
    }
    if (to_stderr) {
        std::fputs(text, stderr);
    }
    return length;
}

} // namespace

void set_module_level(int level)
{
    std::atomic_ref(dbgout_profile.module_level).store(level, std::memory_order_relaxed);
}

void set_log_callback(void (*callback)(int level, const char* text))
{
    std::atomic_ref(dbgout_profile.log_cb).store(callback, std::memory_order_relaxed);
}

bool has_log_callback()
{
    return std::atomic_ref(dbgout_profile.log_cb).load(std::memory_order_relaxed) != nullptr;
}

void set_log_to_stderr(bool on)
{
    g_to_stderr.store(on, std::memory_order_relaxed);
}

void start_log_capture(std::size_t lines, bool note_calls)
{
    const std::lock_guard lock(g_capture_mutex);
    g_lines.clear();
    g_capacity = lines;
    g_note_calls = note_calls;
    g_capturing.store(true, std::memory_order_relaxed);
}

void stop_log_capture()
{
    const std::lock_guard lock(g_capture_mutex);
    g_capturing.store(false, std::memory_order_relaxed);
}

std::vector<LogLine> captured_log()
{
    const std::lock_guard lock(g_capture_mutex);
    return {g_lines.begin(), g_lines.end()};
}

} // namespace sim::host

int kiv_traceout(int level, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int length = sim::host::write_line("kiv_traceout", level, format, args);
    va_end(args);
    return length;
}

int kiv_log_debug(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int length = sim::host::write_line("kiv_log_debug", sim::host::kDebugLevel, format, args);
    va_end(args);
    return length;
}
