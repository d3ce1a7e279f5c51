// A camera's present values and stored settings, for people and for programs.
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

/// The value of a setting, by name where it has one.
Json json_of(const sim::host::Setting& setting, int value);

/// Settings by name.
Json json_of(const kiv_isp_param_s& record);

/// In which settings two records differ: a line each, "hue                     3  (TITLE 7)", and for programs
/// {"hue": {"now": 3, "KEY": 7}}.
struct Differences {
    std::string text;
    Json json = Json::object();
};
Differences differences(const kiv_isp_param_s& record, const kiv_isp_param_s& other, const std::string& title,
                        const char* key = "was");

/// Tells how the settings of a camera differ from those before.
void tell_changes(int camera, const kiv_isp_param_s& before);

} // namespace prompt
