// Simulated time. The library's waits go through here without the library knowing, so that hours pass in seconds.
//
// Virtual time does not move while any thread that has ever waited here is at work; when all of them wait, it jumps to
// the earliest wake-up, running the frame ticks in between in order, and wakes one thread; threads that are due at the
// same moment follow one another in the order in which they went to sleep. What happens is therefore the same at every
// run.
// Paced time follows the real clock, times a speed.
#pragma once

#include <cstdint>
#include <functional>
#include <pthread.h>

namespace sim
{

using Microseconds = std::int64_t;

/// Points the library's waits and threads here and starts virtual time at 0. Once, before the library is used.
void install_clock();

/// Follows the real clock `speed` times as fast, or returns to virtual time.
void use_paced_time(double speed);
void use_virtual_time();

double pace(); ///< 0 in virtual time
Microseconds now();

/// Waits in simulated time on the calling thread. In virtual time a thread takes part from its first wait until it
/// ends; a test's main thread drives time simply by waiting.
void wait(Microseconds duration);

/// As pthread_create(), for a thread that takes part from its creation: the library's do.
int create_thread(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument);

/// The calling thread takes no part until its next wait: before it blocks on something else that needs time to pass,
/// such as joining a thread that waits here.
void step_aside();

int taking_part(); ///< how many threads do

/// Runs `tick` every `period` of simulated time, before threads that wake at the same moment. Returns a handle. A tick
/// never waits here. After cancel() it is not running any more (unless it cancels itself).
int every(Microseconds period, std::function<void()> tick);
void cancel(int handle);

} // namespace sim
