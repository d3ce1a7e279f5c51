// Prompt, scripts and other callers take turns on the session: one acts, the others wait.
#pragma once

#include "base/clock.h"

#include <chrono>
#include <string>

namespace session
{

/// Waits for the turn, for ever or for so long; false when it did not come. `what` says for others what the turn is
/// for.
bool take_turn(const std::string& what, std::chrono::milliseconds patience = std::chrono::milliseconds::max());
void end_turn();

/// What the present turn is for; empty while nobody acts.
std::string present_turn();

/// The same, empty too while another thread acts.
std::string own_turn();

/// Lets simulated time pass within a turn; others may have turns meanwhile.
void wait_in_turn(sim::Microseconds duration);

/// A turn that ends with its scope.
class Turn
{
public:
    explicit Turn(const std::string& what)
    {
        take_turn(what);
    }
    ~Turn()
    {
        end_turn();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
};

} // namespace session
