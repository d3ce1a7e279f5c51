// The log sink: callback, standard error and a capture of the last lines.
#include "host/log.h"

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

void capture(int level, const char* text)
{
    constexpr std::size_t kKept = 10000;
    const std::lock_guard lock(g_capture_mutex);
    g_lines.push_back({level, text});
    if (g_lines.size() > kKept) {
        g_lines.pop_front();
    }
}

// The length of the line, or 0 when nobody wants it.
__attribute__((format(printf, 2, 0))) int write_line(int level, const char* format, va_list args)
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
        capture(level, text);
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

void start_log_capture()
{
    const std::lock_guard lock(g_capture_mutex);
    g_lines.clear();
    g_capturing.store(true, std::memory_order_relaxed);
}

void stop_log_capture()
{
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
    const int length = sim::host::write_line(level, format, args);
    va_end(args);
    return length;
}

int kiv_log_debug(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int length = sim::host::write_line(sim::host::kDebugLevel, format, args);
    va_end(args);
    return length;
}
