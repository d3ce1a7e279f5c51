// What the interface says in JSON, apart from HTTP.
#pragma once

#include "live/view.h"
#include "prompt/json.h"

#include <atomic>
#include <string>
#include <utility>
#include <vector>

namespace live
{

using Json = prompt::Json;
using Fields = std::vector<std::pair<std::string, std::string>>; ///< names and values of a query or head

/// One line of text for people, and the HTTP status that it goes with.
struct Refusal {
    int status;
    std::string text;
};

/// JSON as text, whatever its strings hold.
std::string text_of(const Json& json);

/// The settings and operations, the commands, and what controls offer beside.
Json settings_json();

/// Time, lens and cameras, these with or without their settings.
Json state_json(const View& view, bool with_settings);

/// Figures of a camera's present picture, of 640 x 480 pixels or of the region x, y, w, h of it. Throws Refusal.
Json measured_json(int camera, const Fields& query);

/// All stored settings of a camera.
Json stored_json(const Camera& camera);

/// Out of these one: {"value": 3, "name": "manual"}; the name is null where the value has none. Throws Refusal.
Json setting_of(const Json& stored, const std::string& name);

/// Takes over {"settings": {"hue": 3, "gamma": "0.63"}}; those that are not named stay. The settings out, as
/// stored_json() has them. Throws Refusal or BadInput, and then nothing has changed; Busy as change_setting().
Json put_record(int camera, const Json& body);

/// Calls a setter: {"value": 3} or {"value": "name"} in, {"result": 0, "stored": 3, "text": ""} out. Throws the same.
Json put_setting(int camera, const std::string& name, const Json& body);

/// Runs {"line": "..."} as at the prompt, until `stop` or for ten minutes; {"output": "..."} out. Throws what
/// commands throw, and Refusal.
Json run_command(const Json& body, const std::atomic<bool>& stop);

} // namespace live
