#include "session/lanes.h"

#include "session/cameras.h"
#include "session/turn.h"

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>
#include <optional>
#include <utility>

namespace session
{

namespace
{

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
    int camera = 0;
    while ((with.cameras & cameras & (1U << static_cast<unsigned>(camera))) == 0) {
        ++camera;
    }
    return "camera " + std::to_string(camera) + " is busy with " + with.what;
}

} // namespace

Lanes::Lanes(std::span<const int> cameras, const std::string& what) : acting_before_(acting)
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
    acting = cameras.size() == 1 ? cameras.front() : -1;
}

Lanes::Lanes(std::initializer_list<int> cameras, const std::string& what)
    : Lanes(std::span(cameras.begin(), cameras.size()), what)
{
}

Lanes::~Lanes()
{
    acting = acting_before_;
    if (held_ == 0) {
        return;
    }
    own_lanes &= ~held_;
    {
        const std::lock_guard lock(mutex);
        const auto own = std::ranges::find_if(places, [&](const Place& p) { return p.holds && p.cameras == held_; });
        places.erase(own);
    }
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

} // namespace session
