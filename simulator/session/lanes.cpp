#include "session/lanes.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace session
{

namespace
{

constexpr std::chrono::seconds kPatience{30};

/// Somebody in a queue: the cameras as bits, and what for.
struct Place {
    unsigned cameras;
    std::string what;
    bool holds;
};

std::mutex mutex;
std::condition_variable changed;
std::list<Place> places; // in order of arrival, holders included

thread_local unsigned own_lanes = 0;
thread_local int acting = -1;

/// The first who keeps a place from being served.
const Place* before(std::list<Place>::const_iterator place)
{
    const auto found =
        std::find_if(places.cbegin(), place, [&](const Place& p) { return (p.cameras & place->cameras) != 0; });
    return found != place ? &*found : nullptr;
}

std::string busy_text(const Place& with, unsigned cameras)
{
    return "camera " + std::to_string(std::countr_zero(with.cameras & cameras)) + " is busy with " + with.what;
}

// ---- The turn

std::mutex turn_mutex;
std::condition_variable turn_ended;
std::optional<std::string> present;
std::thread::id actor;

bool is_own()
{
    return present && actor == std::this_thread::get_id();
}

void take(std::unique_lock<std::mutex>& lock, const std::string& what)
{
    turn_ended.wait(lock, [] { return !present.has_value(); });
    present = what;
    actor = std::this_thread::get_id();
}

void end()
{
    std::unique_lock lock(turn_mutex);
    present.reset();
    lock.unlock();
    turn_ended.notify_one();
}

} // namespace

Lanes::Lanes(std::initializer_list<int> cameras, const std::string& what) : acting_before_(acting)
{
    for (const int camera : cameras) {
        held_ |= 1U << static_cast<unsigned>(camera);
    }
    held_ &= ~own_lanes;
    if (held_ != 0) {
        std::optional<TurnAside> aside;
        std::unique_lock lock(mutex);
        const auto place = places.insert(places.end(), {held_, what, false});
        if (before(place) != nullptr) {
            lock.unlock();
            aside.emplace();
            lock.lock();
            if (!changed.wait_until(lock, std::chrono::steady_clock::now() + kPatience,
                                    [&] { return before(place) == nullptr; })) {
                const std::string text = busy_text(*before(place), held_);
                places.erase(place);
                lock.unlock();
                changed.notify_all();
                throw Busy(text);
            }
        }
        place->holds = true;
        own_lanes |= held_;
    }
    acting = cameras.size() == 1 ? *cameras.begin() : -1;
}

Lanes::~Lanes()
{
    acting = acting_before_;
    if (held_ == 0) {
        return;
    }
    own_lanes &= ~held_;
    std::unique_lock lock(mutex);
    places.erase(std::ranges::find_if(places, [&](const Place& p) { return p.holds && p.cameras == held_; }));
    lock.unlock();
    changed.notify_all();
}

std::string busy_with(int camera)
{
    const std::lock_guard lock(mutex);
    const auto found = std::ranges::find_if(
        places, [&](const Place& p) { return p.holds && (p.cameras & (1U << static_cast<unsigned>(camera))) != 0; });
    return found != places.end() ? found->what : std::string();
}

int acting_camera()
{
    return acting;
}

ActingFor::ActingFor(int camera) : before_(std::exchange(acting, camera)) {}

ActingFor::~ActingFor()
{
    acting = before_;
}

Turn::Turn(const std::string& what)
{
    std::unique_lock lock(turn_mutex);
    own_ = !is_own();
    if (own_) {
        if (!turn_ended.wait_until(lock, std::chrono::steady_clock::now() + kPatience,
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
    std::unique_lock lock(turn_mutex);
    if (is_own()) {
        what_ = *present;
        lock.unlock();
        end();
    }
}

TurnAside::~TurnAside()
{
    if (!what_.empty()) {
        std::unique_lock lock(turn_mutex);
        take(lock, what_);
    }
}

std::string present_turn()
{
    const std::lock_guard lock(turn_mutex);
    return present.value_or("");
}

void wait_in_turn(sim::Microseconds duration)
{
    const TurnAside aside;
    sim::wait(duration);
}

} // namespace session
