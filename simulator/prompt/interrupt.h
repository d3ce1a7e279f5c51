// Signals that end a command or the program, taken in one place: a command stops where it waits, and whoever waits for
// input polls a descriptor as well.
#pragma once

#include "base/clock.h"

namespace prompt
{

/// Thrown by what waits when a signal has arrived.
struct Interrupted {
};

/// From here on SIGINT, SIGTERM and SIGHUP are noted instead of ending the process, and a write to a closed pipe fails.
void catch_signals();

/// The last signal since forget_signal(), 0 where there was none. A request to end the program is not overwritten by
/// an interrupt. Any thread.
int signal_received();
void forget_signal();

/// Whether that signal asks the whole program to end.
bool asked_to_end();

/// Readable as soon as a signal has arrived, until forget_signal().
int signal_descriptor();

/// Throws Interrupted if a signal has arrived.
void throw_if_interrupted();

/// Lets simulated time pass for a command; others may have turns meanwhile. Throws Interrupted.
void pass_time(sim::Microseconds duration);

/// While it lives, a signal makes simulated time pass quickly: for a call of the library that waits by itself.
class Hurry
{
public:
    Hurry();
    ~Hurry();
    Hurry(const Hurry&) = delete;
    Hurry& operator=(const Hurry&) = delete;

private:
    double pace_;
    int tick_;
};

} // namespace prompt
