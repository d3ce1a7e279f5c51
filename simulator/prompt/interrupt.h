// Signals that end a command or the program, taken in one place: a command stops where it waits, and whoever waits for
// input is woken up.
#pragma once

#include "base/clock.h"

#include <atomic>
#include <chrono>

namespace prompt
{

/// Thrown by what waits when a signal has arrived.
struct Interrupted {
};

/// From here on SIGINT, SIGTERM and SIGHUP are noted instead of ending the process, and a write to a closed pipe or
/// beyond the limit of file sizes fails.
void catch_signals();

/// Whether the last signal since forget_signal() asks the whole program to end; such a request is not overwritten by an
/// interrupt. Any thread.
bool asked_to_end();
void forget_signal();

/// Waits until a descriptor, -1 for none, can be read; false as soon as a signal has arrived.
bool wait_readable(int descriptor);

/// Throws Interrupted if a signal has arrived, or what the calling thread does is to end.
void throw_if_interrupted();

/// While it lives, what the calling thread does ends as soon as `stop` says so, and at the latest after `most`.
class EndIf
{
public:
    EndIf(const std::atomic<bool>& stop, std::chrono::seconds most);
    ~EndIf();
    EndIf& operator=(EndIf&&) = delete;
};

/// Lets simulated time pass for a command; others may have turns meanwhile. Throws Interrupted.
void pass_time(sim::Microseconds duration);

/// While it lives, simulated time passes quickly once a signal has arrived, what the thread does is to end, or, where
/// others wait for it, ten seconds are over: for a call of the library that waits by itself.
class Hurry
{
public:
    Hurry();
    ~Hurry();
    Hurry& operator=(Hurry&&) = delete;

private:
    double pace_;
    std::atomic<bool> hurried_{false};
    int tick_;
};

} // namespace prompt
