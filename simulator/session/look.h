// What a camera's picture would look like at the moment.
#pragma once

#include "picture/picture.h"

#include <string>
#include <vector>

namespace session
{

inline constexpr int kPictureWidth = 640;
inline constexpr int kPictureHeight = 480;

/// The camera's engine blocks and live values. It needs an engine.
sim::picture::Look look_of(int camera);

/// What the camera shows, without a caption: the mean of so many frames from the present one on.
sim::picture::Image picture_of(int camera, int frames = 1);

/// Two lines: light, exposure and white balance of a camera, and the settings that differ from their initial values.
std::vector<std::string> caption_of(int camera);

/// The picture with a title, which may be empty, and its caption.
sim::picture::Panel panel_of(int camera, const std::string& title, int frames = 1);

} // namespace session
