// The cameras' pictures as JPEG, made once for all who ask for the same.
#pragma once

#include "live/view.h"

#include <memory>
#include <string>

namespace live
{

inline constexpr int kWidthStep = 160; // pixels; a width that is asked for is rounded up to a multiple
inline constexpr int kMaxWidth = 1280;
inline constexpr int kDefaultWidth = 640;

struct Picture {
    std::string jpeg;
    std::string tag; ///< differs when the picture differs
};

/// A camera's picture in the latest view, 4 : 3; null when the camera has no engine. Pictures are made one at a time,
/// so that they never take more than one processor. Any thread.
std::shared_ptr<const Picture> picture(int camera, int width);

} // namespace live
