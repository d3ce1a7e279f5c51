#include "session/turn.h"

#include "session/lanes.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

namespace session
{

namespace
{

std::mutex mutex;
std::condition_variable ended;
std::optional<std::string> present;
std::thread::id actor;

bool is_own()
{
    return present && actor == std::this_thread::get_id();
}

void take(std::unique_lock<std::mutex>& lock, const std::string& what)
{
    ended.wait(lock, [] { return !present.has_value(); });
    present = what;
    actor = std::this_thread::get_id();
}

void end()
{
    {
        const std::lock_guard lock(mutex);
        present.reset();
    }
    ended.notify_one();
}

} // namespace

Turn::Turn(const std::string& what)
{
    std::unique_lock lock(mutex);
    own_ = !is_own();
    if (own_) {
        if (!ended.wait_until(lock, std::chrono::steady_clock::now() + kPatience,
                              [] { return !present.has_value(); })) {
            throw Busy("busy with " + *present);
        }
        take(lock, what);
    }
}

Turn::~Turn()
{
    if (own_) {
        end();
    }
}

TurnAside::TurnAside()
{
    std::unique_lock lock(mutex);
    if (is_own()) {
        what_ = *present;
        lock.unlock();
        end();
    }
}

TurnAside::~TurnAside()
{
    if (!what_.empty()) {
        std::unique_lock lock(mutex);
        take(lock, what_);
    }
}

std::string present_turn()
{
    const std::lock_guard lock(mutex);
    return present.value_or("");
}

void wait_in_turn(sim::Microseconds duration)
{
    const TurnAside aside;
    sim::wait(duration);
}

} // namespace session
