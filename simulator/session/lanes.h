// Who may act. Calls for one camera keep their order: whoever acts on cameras holds their lanes, in the order of
// arrival; other cameras are not held up, and no lane is needed to read. What belongs to no camera (scenes, recordings,
// time, faults) is done in turns, one at a time.
//
//     const Lanes lanes({camera}, "one-push");    // waits, or throws Busy
//     set_onepush_rgain(camera, 1500);            // log lines written meanwhile by this thread are the camera's
#pragma once

#include "base/clock.h"

#include <initializer_list>
#include <stdexcept>
#include <string>

namespace session
{

/// A camera or the turn was not free in time; the text says what it is busy with.
struct Busy : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Names one of several cameras, while it lives, as the one for which this thread acts.
class ActingFor
{
public:
    explicit ActingFor(int camera);
    ~ActingFor();
    ActingFor& operator=(ActingFor&&) = delete;

private:
    int before_;
};

/// The camera for which this thread acts; -1 for none or several.
int acting_camera();

/// Lanes, a bit each, from its beginning to its end; what this thread holds already is not waited for.
class Hold
{
public:
    Hold(unsigned lanes, const std::string& what);
    ~Hold();
    Hold& operator=(Hold&&) = delete;

private:
    unsigned held_;
};

class Lanes
{
public:
    /// `what` tells others what the cameras are busy with. While it waits, a turn of this thread is given up. Throws
    /// Busy after 30 s.
    Lanes(std::initializer_list<int> cameras, const std::string& what);

private:
    Hold hold_;
    ActingFor acting_;
};

/// What a camera is busy with; empty while it is free. Any thread.
std::string busy_with(int camera);

/// A turn, which ends with its scope; `what` is what it is for. Throws Busy after 30 s.
class Turn : Hold
{
public:
    explicit Turn(const std::string& what);
};

/// Gives this thread's turn up, if it has it, and takes it again at the end: for what takes long and needs none.
class TurnAside
{
public:
    TurnAside();
    ~TurnAside();
    TurnAside& operator=(TurnAside&&) = delete;

private:
    std::string what_; ///< empty without a turn
};

/// What the present turn is for; empty while nobody acts.
std::string present_turn();

/// Lets simulated time pass; others may have turns meanwhile.
void wait_in_turn(sim::Microseconds duration);

} // namespace session
