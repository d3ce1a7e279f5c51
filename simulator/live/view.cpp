#include "live/view.h"

#include "host/store.h"
#include "session/look.h"
#include "session/scenes.h"
#include "session/session.h"
#include "session/turn.h"

#include <condition_variable>
#include <mutex>

namespace live
{

namespace
{

using RealClock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kBetweenFrames{15};

std::mutex taking; // held while a view is taken, so that views are in order
RealClock::time_point taken_at;

std::mutex mutex; // guards the latest view alone
std::condition_variable changed;
std::shared_ptr<const View> latest;

Camera camera_view(int id, const Camera& before)
{
    Camera camera;
    camera.settings = sim::host::stored_record(id);
    const void* engine = session::engine_of(id);
    camera.life = sim::engine::life(engine);
    camera.live = sim::engine::readings(id);
    camera.scene = session::scene_of(id)->name;
    if (engine != nullptr) {
        const sim::picture::Look look = session::look_of(id);
        camera.look =
            before.look && look == *before.look ? before.look : std::make_shared<const sim::picture::Look>(look);
    }
    return camera;
}

void take()
{
    auto view = std::make_shared<View>();
    const std::shared_ptr<const View> before = latest_view();
    view->number = before ? before->number + 1 : 1;
    view->seconds = session::seconds_now();
    view->pace = sim::pace();
    view->busy = session::present_turn();
    view->lens = sim::host::lens_state();
    view->auto_iris = session::auto_iris_on();
    for (int id = 0; id < kCameras; ++id) {
        const auto place = static_cast<std::size_t>(id);
        view->cameras[place] = camera_view(id, before ? before->cameras[place] : Camera());
    }
    taken_at = RealClock::now();
    {
        const std::lock_guard lock(mutex);
        latest = std::move(view);
    }
    changed.notify_all();
}

} // namespace

std::shared_ptr<const View> latest_view()
{
    const std::lock_guard lock(mutex);
    return latest;
}

std::shared_ptr<const View> await_view(std::uint64_t number, std::chrono::milliseconds patience)
{
    std::unique_lock lock(mutex);
    changed.wait_until(lock, std::chrono::system_clock::now() + patience,
                       [&] { return latest && latest->number > number; });
    return latest;
}

void take_view()
{
    const std::lock_guard lock(taking);
    take();
}

void take_view_of_frame()
{
    const std::unique_lock lock(taking, std::try_to_lock);
    if (lock && RealClock::now() - taken_at >= kBetweenFrames) {
        take();
    }
}

} // namespace live
