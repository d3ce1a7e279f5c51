#include "live/pictures.h"

#include <algorithm>
#include <mutex>

namespace live
{

namespace
{

constexpr int kQuality = 85;

/// The last picture of a camera in one width, and the look that it shows.
struct Kept {
    std::shared_ptr<const sim::picture::Look> look;
    std::shared_ptr<const Picture> picture;
};

std::mutex mutex;
std::array<std::array<Kept, kMaxWidth / kWidthStep>, kCameras> kept;
std::uint64_t pictures_made = 0;

} // namespace

std::shared_ptr<const Picture> picture(int camera, int width)
{
    const int size = (std::clamp(width, 1, kMaxWidth) + kWidthStep - 1) / kWidthStep;
    const std::lock_guard lock(mutex);
    const std::shared_ptr<const View> view = latest_view();
    const auto look = view ? view->cameras[static_cast<std::size_t>(camera)].look : nullptr;
    if (!look) {
        return nullptr;
    }
    Kept& last = kept[static_cast<std::size_t>(camera)][static_cast<std::size_t>(size - 1)];
    if (last.look != look) {
        const int pixels = size * kWidthStep;
        const std::vector<unsigned char> jpeg =
            sim::picture::encode_jpeg(sim::picture::render(*look, pixels, pixels * 3 / 4), kQuality);
        last.look = look;
        last.picture = std::make_shared<const Picture>(
            Picture{.jpeg = std::string(jpeg.begin(), jpeg.end()), .tag = '"' + std::to_string(++pictures_made) + '"'});
    }
    return last.picture;
}

} // namespace live
