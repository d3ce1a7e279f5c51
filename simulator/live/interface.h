// What the interface says in JSON, apart from HTTP.
#pragma once

#include "live/view.h"

#include <nlohmann/json.hpp>

#include <string>

namespace live
{

using Json = nlohmann::json;

/// One line of text for people, and the HTTP status that it goes with.
struct Refusal {
    int status;
    std::string text;
};

/// JSON as text, whatever its strings hold.
std::string text_of(const Json& json);

/// The settings and operations, the commands, and what controls offer beside.
Json settings_json();

/// Time, lens and cameras without their settings.
Json state_json(const View& view);

/// All stored settings of a camera.
Json stored_json(const Camera& camera);

/// Calls a setter: {"value": 3} or {"value": "name"} in, {"result": 0, "stored": 3} out. Throws Refusal.
Json put_setting(int camera, const std::string& name, const Json& body);

/// Runs {"line": "..."} as at the prompt; {"output": "..."} out. Throws Refusal.
Json run_command(const Json& body);

} // namespace live
