#include "live/pictures.h"

#include <algorithm>
#include <condition_variable>
#include <malloc.h>
#include <mutex>
#include <thread>

namespace live
{

namespace
{

constexpr int kQuality = 85;
constexpr int kSizes = kMaxWidth / kWidthStep;
constexpr std::chrono::seconds kIdle{5}; // after which the pictures are given up
constexpr Clock::duration kCredit = std::chrono::milliseconds(50);

/// The last picture of a camera in one width.
struct Kept {
    std::shared_ptr<const Picture> picture;
    std::array<bool, 2> wanted{}; ///< by kind
    std::uint64_t turn = 0;       ///< when it was made last
};

std::mutex pictures_mutex;
std::condition_variable work_changed;
std::array<Kept, kCameras * kSizes> kept_pictures;
std::array<Clock::duration, 2> spent{}; // time per kind, that of streams doubled: a page's pictures are single ones
std::uint64_t turns = 0;
bool ending = false;
std::function<void()> when_made;
std::thread maker;

std::size_t place_of(int camera, int width)
{
    const int size = (std::clamp(width, 1, kMaxWidth) + kWidthStep - 1) / kWidthStep;
    return static_cast<std::size_t>(camera * kSizes + size - 1);
}

/// The picture of that kind whose turn it is, null when none is wanted.
Kept* next_of(std::size_t kind)
{
    const auto turn = [&](const Kept& one) { return one.wanted[kind] ? one.turn : UINT64_MAX; };
    Kept& next = *std::ranges::min_element(kept_pictures, {}, turn);
    return next.wanted[kind] ? &next : nullptr;
}

/// Among both kinds: of that which had less time. One that wanted nothing for a while has saved up little.
std::pair<Kept*, std::size_t> next_wanted()
{
    const std::array<Kept*, 2> next = {next_of(0), next_of(1)};
    const std::size_t kind = next[1] == nullptr || (next[0] != nullptr && spent[0] <= spent[1]) ? 0 : 1;
    spent[kind] = std::max(spent[kind], spent[1 - kind] - kCredit);
    return {next[kind], kind};
}

std::shared_ptr<const Picture> made_of(std::size_t place, const std::shared_ptr<const Picture>& last)
{
    const std::shared_ptr<const View> view = latest_view();
    const Camera& camera = view->cameras[place / kSizes];
    if (!camera.look || (last && last->number == camera.picture)) {
        return last;
    }
    const int width = static_cast<int>(place % kSizes + 1) * kWidthStep;
    Picture picture{.jpeg = {}, .number = camera.picture};
    try {
        const auto jpeg = sim::picture::encode_jpeg(sim::picture::render(*camera.look, width, width * 3 / 4), kQuality);
        picture.jpeg.assign(jpeg.begin(), jpeg.end());
    } catch (const std::exception&) { // no memory: an empty picture says so to whoever waits
        picture.jpeg.clear();
    }
    return std::make_shared<const Picture>(std::move(picture));
}

void make_pictures()
{
    std::unique_lock lock(pictures_mutex);
    bool idle = true;
    while (!ending) {
        const auto [next, kind] = next_wanted();
        if (next == nullptr) {
            if (work_changed.wait_for(lock, kIdle) == std::cv_status::timeout && !idle) {
                idle = true;
                kept_pictures.fill({});
                sim::picture::forget_drawings();
                malloc_trim(0);
            }
            continue;
        }
        idle = false;
        next->wanted = {};
        next->turn = ++turns;
        lock.unlock();
        const Clock::time_point begun = Clock::now();
        auto picture = made_of(static_cast<std::size_t>(next - kept_pictures.data()), next->picture);
        lock.lock();
        spent[kind] += (Clock::now() - begun) * (kind == static_cast<std::size_t>(Wanted::streamed) ? 2 : 1);
        next->picture = std::move(picture);
        when_made();
    }
}

} // namespace

void start_pictures(std::function<void()> made)
{
    ending = false;
    when_made = std::move(made);
    maker = std::thread(make_pictures);
}

void stop_pictures()
{
    {
        const std::lock_guard lock(pictures_mutex);
        ending = true;
    }
    work_changed.notify_all();
    maker.join();
    kept_pictures.fill({});
}

void want_picture(int camera, int width, Wanted wanted)
{
    const std::lock_guard lock(pictures_mutex);
    kept_pictures[place_of(camera, width)].wanted[static_cast<std::size_t>(wanted)] = true;
    work_changed.notify_all();
}

std::shared_ptr<const Picture> last_picture(int camera, int width)
{
    const std::lock_guard lock(pictures_mutex);
    return kept_pictures[place_of(camera, width)].picture;
}

} // namespace live
