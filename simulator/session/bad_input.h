// What a user did wrong, in one line.
#pragma once

#include <stdexcept>

namespace session
{

struct BadInput : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace session
