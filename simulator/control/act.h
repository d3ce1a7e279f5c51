// What a camera has for the names in the protocol's table.
#pragma once

#include <string>
#include <string_view>

namespace control
{

/// The value at present, without waiting for whoever acts on the camera. Any thread.
int value_of(int camera, std::string_view name);

struct Outcome {
    bool done = true;
    std::string text; ///< what became of it, where that is not plain
};

/// Sets it, in the camera's order.
Outcome act(int camera, std::string_view name, int value);

} // namespace control
