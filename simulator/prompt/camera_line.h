// A camera's present values on one line, for people and for programs.
#pragma once

#include "prompt/json.h"

#include <string>

namespace prompt
{

/// Mode, exposure time, gain, luma, iris, white-balance gains; without what does not fit into `width`.
std::string camera_line(int camera, std::size_t width = 120);

Json camera_json(int camera);

} // namespace prompt
