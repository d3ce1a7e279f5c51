// Starts the library's threads.
#pragma once

#include <pthread.h>

namespace isp
{

/// Creates a thread in which all signals are blocked, so that the host's handlers run on the host's threads. False when
/// it cannot be created; `thread` is then left alone.
bool create_thread(pthread_t& thread, void* (*body)(void*));

} // namespace isp
