// Discrete-event time. Ticks and wake-ups are events in order of their time, a tick before a wake-up of the same
// moment. In virtual time the next event happens as soon as all threads that take part wait, on one of them, and wakes
// one thread at a time; in paced time a thread of the clock waits for the event's real time.
#include "base/clock.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <unistd.h>

namespace sim
{
namespace
{

using RealClock = std::chrono::steady_clock;
using Lock = std::unique_lock<std::mutex>;

// Paced time that lags further behind the real clock than this (an overloaded machine, a halted process) does not
// try to catch up.
constexpr std::chrono::milliseconds kMaxLag{20};

struct Waiter {
    Microseconds due;
    bool woken = false;
    bool driver = false; // this thread makes the next events happen
    std::condition_variable wake;
};

struct Tick {
    int handle;
    Microseconds period;
    Microseconds next;
    std::shared_ptr<std::function<void()>> run;
};

struct Clock {
    std::mutex mutex;
    Microseconds time = 0; // of the last event; in paced time, never ahead of an event that has not happened yet
    int taking_part = 0;
    std::multimap<Microseconds, Waiter*> waiters; // of the same moment: in the order of going to sleep

    std::vector<Tick> ticks; // in order of registration
    int handles = 0;
    int running_tick = 0; // handle, 0: none
    std::thread::id ticking_thread;
    std::condition_variable tick_done;

    bool paced = false;
    bool pacer_exists = false;
    double speed = 1.0;
    Microseconds paced_time = 0; // simulated time at `paced_since`
    RealClock::time_point paced_since;
    std::condition_variable pacer_wake;

    std::vector<Tick>::iterator next_tick()
    {
        return std::min_element(ticks.begin(), ticks.end(),
                                [](const Tick& a, const Tick& b) { return a.next < b.next; });
    }

    std::optional<Microseconds> next_event()
    {
        const auto tick = next_tick();
        if (waiters.empty()) {
            return tick == ticks.end() ? std::nullopt : std::optional(tick->next);
        }
        const Microseconds due = waiters.begin()->first;
        return tick == ticks.end() ? due : std::min(tick->next, due);
    }

    Microseconds now()
    {
        if (!paced) {
            return time;
        }
        const std::chrono::duration<double, std::micro> real = RealClock::now() - paced_since;
        Microseconds t = paced_time + static_cast<Microseconds>(real.count() * speed);
        if (running_tick != 0) {
            t = std::min(t, time);
        } else if (const auto next = next_event()) {
            t = std::min(t, *next);
        }
        return time = std::max(t, time);
    }

    void rebase()
    {
        paced_time = time;
        paced_since = RealClock::now();
    }

    // Makes the next event happen. The lock is released while a tick runs.
    void run_event(Lock& lock)
    {
        const auto tick = next_tick();
        const bool wakes = !waiters.empty() && (tick == ticks.end() || waiters.begin()->first < tick->next);
        if (wakes) {
            Waiter* const waiter = waiters.begin()->second;
            time = std::max(time, waiter->due);
            waiters.erase(waiters.begin());
            waiter->woken = true;
            waiter->wake.notify_one();
            return;
        }
        time = std::max(time, tick->next);
        tick->next += tick->period;
        const auto run = tick->run; // keeps it alive should the tick be cancelled while it runs
        running_tick = tick->handle;
        ticking_thread = std::this_thread::get_id();
        lock.unlock();
        (*run)();
        lock.lock();
        running_tick = 0;
        tick_done.notify_all();
    }

    bool all_wait() const
    {
        return !waiters.empty() && static_cast<int>(waiters.size()) == taking_part;
    }

    // To be called whenever fewer threads than before are at work. One of the waiting threads drives.
    void appoint_driver()
    {
        if (!paced && all_wait() && running_tick == 0) {
            Waiter* const waiter = waiters.begin()->second;
            waiter->driver = true;
            waiter->wake.notify_one();
        }
    }

    void pace()
    {
        Lock lock(mutex);
        for (;;) {
            const auto next = paced ? next_event() : std::nullopt;
            if (!next) {
                pacer_wake.wait(lock);
                continue;
            }
            if (running_tick != 0) { // of a driver that virtual time left behind
                tick_done.wait(lock);
                continue;
            }
            const std::chrono::duration<double, std::micro> ahead(static_cast<double>(*next - paced_time) / speed);
            const auto at = paced_since + std::chrono::duration_cast<RealClock::duration>(ahead);
            const auto real = RealClock::now();
            if (real < at) {
                pacer_wake.wait_until(lock, at);
                continue;
            }
            if (real - at > kMaxLag) {
                paced_time = *next;
                paced_since = real;
            }
            run_event(lock);
            appoint_driver(); // the tick may have returned to virtual time
        }
    }
};

// Never destroyed: threads may still wait here while the process ends.
Clock& clock = *new Clock;

// A thread's part in virtual time.
struct Part {
    bool taken = false;

    void take()
    {
        if (!taken) {
            taken = true;
            ++clock.taking_part;
        }
    }

    void leave()
    {
        if (taken) {
            taken = false;
            --clock.taking_part;
            clock.appoint_driver();
        }
    }

    ~Part()
    {
        // When the process ends, no time passes.
        if (taken && gettid() != getpid()) {
            const Lock lock(clock.mutex);
            leave();
        }
    }
};
thread_local Part part;

using Start = std::pair<void* (*)(void*), void*>; // of a thread: its body and what that is given

} // namespace

void use_paced_time(double speed)
{
    const Lock lock(clock.mutex);
    clock.time = clock.now();
    clock.paced = true;
    clock.speed = std::max(speed, 1e-6);
    clock.rebase();
    if (!clock.pacer_exists) {
        clock.pacer_exists = true;
        std::thread(&Clock::pace, &clock).detach();
    }
    clock.pacer_wake.notify_one();
}

void use_virtual_time()
{
    Lock lock(clock.mutex);
    clock.time = clock.now();
    clock.paced = false;
    clock.tick_done.wait(lock, [&] {
        return clock.running_tick == 0 || clock.ticking_thread == std::this_thread::get_id() || clock.paced;
    });
    clock.appoint_driver();
}

double pace()
{
    const Lock lock(clock.mutex);
    return clock.paced ? clock.speed : 0.0;
}

Microseconds now()
{
    const Lock lock(clock.mutex);
    return clock.now();
}

void wait(Microseconds duration)
{
    Lock lock(clock.mutex);
    part.take();
    Waiter self{.due = clock.now() + std::max<Microseconds>(duration, 0), .wake = {}};
    clock.waiters.emplace(self.due, &self);
    if (clock.paced) {
        clock.pacer_wake.notify_one();
    } else {
        self.driver = clock.all_wait() && clock.running_tick == 0;
    }
    while (!self.woken) {
        if (!self.driver) {
            self.wake.wait(lock);
            continue;
        }
        while (!clock.paced && clock.all_wait() && clock.running_tick == 0) {
            clock.run_event(lock);
        }
        self.driver = false;
        if (clock.paced) {
            clock.pacer_wake.notify_one();
        }
    }
}

int create_thread(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument)
{
    const auto take_part = [](void* given) -> void* {
        const auto [run, with] = *std::unique_ptr<Start>(static_cast<Start*>(given));
        part.taken = true;
        return run(with);
    };
    auto start = std::make_unique<Start>(body, argument);
    Lock lock(clock.mutex);
    const int failed = pthread_create(thread, attributes, take_part, start.get());
    if (failed == 0) {
        ++clock.taking_part;
        static_cast<void>(start.release()); // the thread's now
    }
    return failed;
}

void step_aside()
{
    const Lock lock(clock.mutex);
    part.leave();
}

int taking_part()
{
    const Lock lock(clock.mutex);
    return clock.taking_part;
}

int every(Microseconds period, std::function<void()> tick)
{
    const Lock lock(clock.mutex);
    period = std::max<Microseconds>(period, 1);
    clock.ticks.push_back(
        {++clock.handles, period, clock.now() + period, std::make_shared<std::function<void()>>(std::move(tick))});
    clock.pacer_wake.notify_one();
    return clock.handles;
}

void cancel(int handle)
{
    Lock lock(clock.mutex);
    std::erase_if(clock.ticks, [&](const Tick& tick) { return tick.handle == handle; });
    clock.tick_done.wait(
        lock, [&] { return clock.running_tick != handle || clock.ticking_thread == std::this_thread::get_id(); });
}

} // namespace sim
