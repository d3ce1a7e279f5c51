// Output for programs: one JSON object a line instead of text, while it is switched on.
#pragma once

#include "host/settings.h"

#include <nlohmann/json.hpp>

namespace prompt
{

using Json = nlohmann::ordered_json;

void set_json(bool on);
bool json_on();

/// Prints an object on a line of its own.
void print_json(const Json& object);

/// A number where the text is one, true or false, or the text.
Json json_of(const std::string& text);

/// Settings by name, values by name where they have one.
Json json_of(const kiv_isp_param_s& record);

} // namespace prompt
