#include "session/lanes.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <numeric>
#include <optional>
#include <utility>

namespace session
{

namespace
{

constexpr std::chrono::seconds kPatience{30};
constexpr std::chrono::hours kForever{100000};

constexpr unsigned kTurn = 1U << 31U; // the lane of what belongs to no camera

unsigned lane_of(int camera)
{
    return 1U << static_cast<unsigned>(camera);
}

/// Somebody in the queue: lanes as bits, and what for.
struct Place {
    unsigned lanes;
    std::string what;
    bool holds;
};

struct Queue {
    std::mutex mutex;
    std::condition_variable changed;
    std::list<Place> places; // in order of arrival, holders included
} queue;

thread_local unsigned own_lanes = 0;
thread_local int acting = -1;

/// The first who keeps a place from being served.
const Place* before(std::list<Place>::const_iterator place)
{
    const auto found =
        std::find_if(queue.places.cbegin(), place, [&](const Place& p) { return (p.lanes & place->lanes) != 0; });
    return found != place ? &*found : nullptr;
}

/// What a lane is held for; empty while it is free.
std::string held_for(unsigned lane)
{
    const std::lock_guard lock(queue.mutex);
    const auto found =
        std::ranges::find_if(queue.places, [&](const Place& p) { return p.holds && (p.lanes & lane) != 0; });
    return found != queue.places.end() ? found->what : std::string();
}

void take(unsigned lanes, const std::string& what, std::chrono::steady_clock::duration patience = kPatience)
{
    std::optional<TurnAside> aside;
    std::unique_lock lock(queue.mutex);
    const auto place = queue.places.insert(queue.places.end(), {lanes, what, false});
    if (before(place) != nullptr) {
        lock.unlock();
        aside.emplace();
        lock.lock();
        if (!queue.changed.wait_until(lock, std::chrono::steady_clock::now() + patience,
                                      [&] { return before(place) == nullptr; })) {
            const Place with = *before(place);
            queue.places.erase(place);
            lock.unlock();
            queue.changed.notify_all();
            const unsigned common = with.lanes & lanes;
            throw Busy((common == kTurn ? "" : "camera " + std::to_string(std::countr_zero(common)) + " is ") +
                       "busy with " + with.what);
        }
    }
    place->holds = true;
    own_lanes |= lanes;
}

void release(unsigned lanes)
{
    own_lanes &= ~lanes;
    std::unique_lock lock(queue.mutex);
    queue.places.erase(std::ranges::find_if(queue.places, [&](const Place& p) { return p.holds && p.lanes == lanes; }));
    lock.unlock();
    queue.changed.notify_all();
}

} // namespace

Hold::Hold(unsigned lanes, const std::string& what) : held_(lanes & ~own_lanes)
{
    if (held_ != 0) {
        take(held_, what);
    }
}

Hold::~Hold()
{
    if (held_ != 0) {
        release(held_);
    }
}

ActingFor::ActingFor(int camera) : before_(std::exchange(acting, camera)) {}

ActingFor::~ActingFor()
{
    acting = before_;
}

int acting_camera()
{
    return acting;
}

Lanes::Lanes(std::initializer_list<int> cameras, const std::string& what)
    : hold_(std::accumulate(cameras.begin(), cameras.end(), 0U,
                            [](unsigned lanes, int camera) { return lanes | lane_of(camera); }),
            what),
      acting_(cameras.size() == 1 ? *cameras.begin() : -1)
{
}

std::string busy_with(int camera)
{
    return held_for(lane_of(camera));
}

Turn::Turn(const std::string& what) : Hold(kTurn, what) {}

TurnAside::TurnAside()
{
    if ((own_lanes & kTurn) != 0) {
        what_ = present_turn();
        release(kTurn);
    }
}

TurnAside::~TurnAside()
{
    if (!what_.empty()) {
        take(kTurn, what_, kForever);
    }
}

std::string present_turn()
{
    return held_for(kTurn);
}

void wait_in_turn(sim::Microseconds duration)
{
    const TurnAside aside;
    sim::wait(duration);
}

} // namespace session
