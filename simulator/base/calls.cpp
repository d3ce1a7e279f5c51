// The record of calls and the armed faults, behind one lock that is taken only while one of the two is in use.
#include "base/calls.h"

#include <mutex>

namespace sim
{
namespace detail
{
std::atomic<bool> watching{false};
}

namespace
{

struct Fault {
    std::string function;
    int calls_left; // until it strikes; 1: the next call
    int code;
    bool from_then_on;
    std::function<void()> action; // instead of failing
};

struct Watch {
    std::mutex mutex;
    bool recording = false;
    std::vector<Call> calls;
    std::vector<Fault> faults;
    int struck = 0;

    void update()
    {
        detail::watching.store(recording || !faults.empty(), std::memory_order_relaxed);
    }
};

// Never destroyed: threads may still call while the process ends.
Watch& watch = *new Watch;

} // namespace

void start_recording()
{
    const std::lock_guard lock(watch.mutex);
    watch.calls.clear();
    watch.recording = true;
    watch.update();
}

void stop_recording()
{
    const std::lock_guard lock(watch.mutex);
    watch.recording = false;
    watch.update();
}

std::vector<Call> recorded_calls()
{
    const std::lock_guard lock(watch.mutex);
    return watch.calls;
}

void inject_fault(const std::string& function, int nth, int code, bool from_then_on)
{
    const std::lock_guard lock(watch.mutex);
    watch.faults.push_back({function, nth, code, from_then_on, {}});
    watch.update();
}

void at_call(const std::string& function, int nth, std::function<void()> action)
{
    const std::lock_guard lock(watch.mutex);
    watch.faults.push_back({function, nth, 0, false, std::move(action)});
    watch.update();
}

void clear_faults()
{
    const std::lock_guard lock(watch.mutex);
    watch.faults.clear();
    watch.struck = 0;
    watch.update();
}

int faults_struck()
{
    const std::lock_guard lock(watch.mutex);
    return watch.struck;
}

int detail::watched_call(const char* function, int id, long value)
{
    std::unique_lock lock(watch.mutex);
    if (watch.recording) {
        watch.calls.push_back({function, id, value});
    }
    int code = 0;
    std::vector<std::function<void()>> actions;
    for (auto fault = watch.faults.begin(); fault != watch.faults.end();) {
        if (fault->function != function || --fault->calls_left > 0) {
            ++fault;
            continue;
        }
        if (fault->action) {
            actions.push_back(std::move(fault->action));
        } else {
            code = fault->code;
            ++watch.struck;
        }
        if (fault->from_then_on) {
            fault->calls_left = 1;
            ++fault;
        } else {
            fault = watch.faults.erase(fault);
        }
    }
    watch.update();
    lock.unlock();
    for (const auto& action : actions) {
        action();
    }
    return code;
}

} // namespace sim
