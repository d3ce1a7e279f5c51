// Commands take turns: one works on what belongs to no camera (scenes, recordings, time, faults), the others wait. What
// belongs to a camera has its lane (session/lanes.h), so that settings need no turn.
#pragma once

#include "base/clock.h"

#include <string>

namespace session
{

/// A turn, which ends with its scope. A thread that has the turn gets another at once.
class Turn
{
public:
    /// `what` tells others what the turn is for. Waits as long as the thread's patience (session/lanes.h) allows; then
    /// throws Busy.
    explicit Turn(const std::string& what);
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    bool own_;
};

/// Gives this thread's turn up, if it has it, and takes it again at the end: for what takes long and needs none.
class TurnAside
{
public:
    TurnAside();
    ~TurnAside();
    TurnAside(const TurnAside&) = delete;
    TurnAside& operator=(const TurnAside&) = delete;

private:
    std::string what_; ///< empty without a turn
};

/// What the present turn is for; empty while nobody acts.
std::string present_turn();

/// Lets simulated time pass; others may have turns meanwhile.
void wait_in_turn(sim::Microseconds duration);

} // namespace session
