#include "session/remembered.h"

#include "session/cameras.h"

#include <array>
#include <mutex>

namespace session
{

namespace
{

std::mutex mutex;
std::array<sim::engine::Snapshot, kCameras> before;

} // namespace

void remember_engine(int camera)
{
    sim::engine::Snapshot now = has_engine(camera) ? sim::engine::snapshot(engine_of(camera)) : sim::engine::Snapshot();
    const std::lock_guard lock(mutex);
    before[static_cast<std::size_t>(camera)] = std::move(now);
}

void remember_engines()
{
    for (int camera = 0; camera < kCameras; ++camera) {
        remember_engine(camera);
    }
}

sim::engine::Snapshot remembered(int camera)
{
    const std::lock_guard lock(mutex);
    return before[static_cast<std::size_t>(camera)];
}

} // namespace session
