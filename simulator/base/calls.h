// Calls that cross the library's boundary, engine and host alike: they can be recorded in one order, and each of them
// can be made to fail. Off, both cost one load and one compare per call.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

namespace sim
{

/// One call as it happened. `id` is the camera, group or store record (-1: none); `value` the level or mode passed or
/// returned (0: none).
struct Call {
    std::string function;
    int id = -1;
    long value = 0;

    bool operator==(const Call&) const = default;
};

/// Starts with an empty record; stops and keeps what was recorded. Any thread.
void start_recording();
void stop_recording();
std::vector<Call> recorded_calls(); ///< oldest first

/// Makes the `nth` call of `function` from now (1: the next one) fail with `code`, and every later one too if
/// `from_then_on`. Functions that return a pointer return null, functions without a result ignore the fault.
/// Any thread.
void inject_fault(const std::string& function, int nth, int code, bool from_then_on = false);
void clear_faults();

/// Runs `action` within the `nth` call of `function` from now, on its thread, before the function does anything: for
/// what another thread might do between two calls. clear_faults() forgets it. Any thread.
void at_call(const std::string& function, int nth, std::function<void()> action);

/// How many injected faults have struck since clear_faults().
int faults_struck();

namespace detail
{
extern std::atomic<bool> watching; // recording, or a fault is armed
int watched_call(const char* function, int id, long value);
} // namespace detail

/// Called by every simulated function first: notes the call and returns the code it must fail with, or 0.
inline int note_call(const char* function, int id = -1, long value = 0)
{
    if (!detail::watching.load(std::memory_order_relaxed)) [[likely]] {
        return 0;
    }
    return detail::watched_call(function, id, value);
}

} // namespace sim
