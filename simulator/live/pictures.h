// The cameras' pictures as JPEG, made once for all who ask for the same, on a thread of their own: one at a time, so
// that they never take more than one processor.
#pragma once

#include "live/view.h"

namespace live
{

inline constexpr int kWidthStep = 160; // pixels; a width that is asked for is rounded up to a multiple
inline constexpr int kMaxWidth = 1280;
inline constexpr int kDefaultWidth = 640;

struct Picture {
    std::string jpeg;
    std::uint64_t number; ///< of the view's camera that it shows
};

/// Who waits for a picture. Single ones have two thirds of the time, those of streams the rest, and within their kind
/// each its turn, so that many streams do not hold up a page.
enum class Wanted { single, streamed };

/// Starts the thread, which calls `made` after each picture. Throws std::system_error.
void start_pictures(std::function<void()> made);
void stop_pictures();

/// Asks for the picture, 4 : 3, of the camera as the latest view has it. Any thread.
void want_picture(int camera, int width, Wanted wanted);

/// The last one made, null before the first. Any thread.
std::shared_ptr<const Picture> last_picture(int camera, int width);

} // namespace live
