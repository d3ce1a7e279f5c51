// A camera's present values on one line, for people and for programs.
#pragma once

#include "engine/engine.h"
#include "host/lens.h"
#include "host/settings.h"
#include "prompt/json.h"

#include <string>

namespace prompt
{

/// Mode, exposure time, gain, luma, iris, white-balance gains; without what does not fit into `width`.
std::string camera_line(int camera, std::size_t width = 120);

/// What a program is told of a camera, at the prompt and over HTTP.
struct CameraFacts {
    int id;
    sim::engine::Life life;
    kiv_isp_param_s settings;
    sim::engine::Readings live;
    std::string scene;
    sim::host::LensState lens;
};
Json camera_json(const CameraFacts& camera);

/// The same of the present moment, with the simulated time in seconds.
Json camera_json(int camera);

} // namespace prompt
