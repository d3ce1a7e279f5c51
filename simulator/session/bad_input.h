// What a user did wrong, in one line.
#pragma once

#include <stdexcept>
#include <string>

namespace session
{

struct BadInput : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Throws a call's complaint as BadInput, unless it is empty.
inline void throw_if(const std::string& failed)
{
    if (!failed.empty()) {
        throw BadInput(failed);
    }
}

} // namespace session
