#include "live/view.h"

#include "session/change.h"
#include "session/lanes.h"
#include "session/look.h"
#include "session/session.h"
#include "session/trial.h"

#include <mutex>

namespace live
{

namespace
{

constexpr std::chrono::milliseconds kBetweenFrames{15};
constexpr std::chrono::milliseconds kBetweenNoise{200}; // new pictures of what is still but for its noise
constexpr std::chrono::milliseconds kBetweenMoves{66};  // and of what moves or flickers

std::mutex taking; // held while a view is taken, so that views are in order
Clock::time_point taken_at;

std::function<void()> after_view;

// Later looks have higher numbers, also after a restart: a browser may still hold a picture of the program's last run.
std::uint64_t looks = static_cast<std::uint64_t>(
    std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch()).count());

std::mutex latest_mutex; // guards the latest view alone
std::shared_ptr<const View> latest;

bool same_but_for_frame(sim::picture::Look look, const sim::picture::Look& other)
{
    look.frame = other.frame;
    return look == other;
}

Camera camera_view(int id, const Camera& before)
{
    Camera camera{};
    camera.id = id;
    camera.settings = session::shown_settings(id);
    camera.csc_mode = session::csc_mode_of(id);
    camera.busy = session::busy_with(id);
    const void* const engine = session::engine_of(id);
    camera.life = sim::engine::life(engine);
    camera.live = sim::engine::readings(id);
    camera.scene = session::scene_of(id)->name;
    camera.lens = sim::host::lens_state();
    if (engine != nullptr) {
        const sim::picture::Look look = session::look_of(id);
        const bool lively = look.moving || look.lamp.flicker * look.lamp.mains > 0.0;
        const bool soon = Clock::now() - before.look_taken < (lively ? kBetweenMoves : kBetweenNoise);
        const bool kept = before.look && (session::on_trial(id) || look == *before.look ||
                                          (soon && same_but_for_frame(look, *before.look)));
        camera.look = kept ? before.look : std::make_shared<const sim::picture::Look>(look);
        camera.look_taken = kept ? before.look_taken : Clock::now();
        camera.picture = kept ? before.picture : ++looks;
    }
    return camera;
}

void take()
{
    auto view = std::make_shared<View>();
    const std::shared_ptr<const View> before = latest_view();
    view->seconds = session::seconds_now();
    view->pace = sim::pace();
    view->busy = session::present_turn();
    view->undo = session::next_undo();
    view->auto_iris = session::auto_iris_on();
    for (int id = 0; id < kCameras; ++id) {
        const auto place = static_cast<std::size_t>(id);
        view->cameras[place] = camera_view(id, before ? before->cameras[place] : Camera());
    }
    taken_at = Clock::now();
    {
        const std::lock_guard lock(latest_mutex);
        latest = std::move(view);
    }
    if (after_view) {
        after_view();
    }
}

} // namespace

std::shared_ptr<const View> latest_view()
{
    const std::lock_guard lock(latest_mutex);
    return latest;
}

void on_view(std::function<void()> callback)
{
    const std::lock_guard lock(taking);
    after_view = std::move(callback);
}

void take_view()
{
    const std::lock_guard lock(taking);
    take();
}

void take_view_of_frame()
{
    const std::unique_lock lock(taking, std::try_to_lock);
    if (lock && Clock::now() - taken_at >= kBetweenFrames) {
        take();
    }
}

} // namespace live
