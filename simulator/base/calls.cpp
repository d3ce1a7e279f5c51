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
Watch& watch()
{
    static Watch& instance = *new Watch;
    return instance;
}

} // namespace

void start_recording()
{
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    w.calls.clear();
    w.recording = true;
    w.update();
}

void stop_recording()
{
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    w.recording = false;
    w.update();
}

std::vector<Call> recorded_calls()
{
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    return w.calls;
}

void inject_fault(const std::string& function, int nth, int code, bool from_then_on)
{
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    w.faults.push_back({function, nth, code, from_then_on, {}});
    w.update();
}

void at_call(const std::string& function, int nth, std::function<void()> action)
{
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    w.faults.push_back({function, nth, 0, false, std::move(action)});
    w.update();
}

void clear_faults()
{
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    w.faults.clear();
    w.struck = 0;
    w.update();
}

int faults_struck()
{
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    return w.struck;
}

int detail::watched_call(const char* function, int id, long value)
{
    Watch& w = watch();
    std::unique_lock lock(w.mutex);
    if (w.recording) {
        w.calls.push_back({function, id, value});
    }
    int code = 0;
    std::vector<std::function<void()>> actions;
    for (auto fault = w.faults.begin(); fault != w.faults.end();) {
        if (fault->function != function || --fault->calls_left > 0) {
            ++fault;
            continue;
        }
        if (fault->action) {
            actions.push_back(std::move(fault->action));
        } else {
            code = fault->code;
            ++w.struck;
        }
        if (fault->from_then_on) {
            fault->calls_left = 1;
            ++fault;
        } else {
            fault = w.faults.erase(fault);
        }
    }
    w.update();
    lock.unlock();
    for (const auto& action : actions) {
        action();
    }
    return code;
}

} // namespace sim
