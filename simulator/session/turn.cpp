#include "session/turn.h"

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

} // namespace

bool take_turn(const std::string& what, std::chrono::milliseconds patience)
{
    std::unique_lock lock(mutex);
    const auto free = [] { return !present.has_value(); };
    if (patience == std::chrono::milliseconds::max()) {
        ended.wait(lock, free);
    } else if (!ended.wait_until(lock, std::chrono::system_clock::now() + patience, free)) {
        return false;
    }
    present = what;
    actor = std::this_thread::get_id();
    return true;
}

void end_turn()
{
    {
        const std::lock_guard lock(mutex);
        present.reset();
    }
    ended.notify_one();
}

std::string present_turn()
{
    const std::lock_guard lock(mutex);
    return present.value_or("");
}

std::string own_turn()
{
    const std::lock_guard lock(mutex);
    return actor == std::this_thread::get_id() ? present.value_or("") : "";
}

void wait_in_turn(sim::Microseconds duration)
{
    const std::string what = own_turn();
    if (what.empty()) { // nobody else is there
        sim::wait(duration);
        return;
    }
    end_turn();
    sim::wait(duration);
    take_turn(what);
}

} // namespace session
