// What programs are told: JSON objects with named fields.
#pragma once

#include <nlohmann/json.hpp>

namespace prompt
{

using Json = nlohmann::ordered_json;

/// A number with so many significant digits.
Json rounded(double value, int digits = 6);

} // namespace prompt
