// What streams send, apart from HTTP: the pictures of a camera, the news for a page.
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace live
{

/// Puts the next part of a stream into `part`, which is empty before; or leaves it so and says when at the latest to
/// ask again, which is worth it too after each view and each picture that is made. False when the stream has ended.
/// Never waits. One thread.
using Feed = std::function<bool(std::string& part, std::chrono::steady_clock::time_point& again)>;

/// Parts of multipart/x-mixed-replace with the boundary "picture": a picture when it has changed, at most 25 a second.
/// The last one is sent once more right after, since a browser shows a part when the next begins, and then every
/// second.
Feed picture_feed(int camera, int width);

/// Server-sent events.
Feed event_feed();

} // namespace live
