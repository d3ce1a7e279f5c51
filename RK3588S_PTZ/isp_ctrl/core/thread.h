// Starts the library's threads, and says what they watch to know when to rest or end.
//
//     pthread_t thread;
//     if (!isp::create_thread(thread, [](void*) -> void* { loop(); return nullptr; })) {
//         return -1; // traced by the caller
//     }
#pragma once

#include <pthread.h>

namespace isp
{

/// The camera whose stored exposure mode starts and ends exposure following, and by which the iris loop works or rests.
inline constexpr int kModeCamera = 0;

/// The lens calibration flag (get_lens_calibration_flag) that ends exposure following and the iris loop.
inline constexpr int kLensCalibrationEnds = 4;

/// Creates a thread in which all signals are blocked, so that the host's handlers run on the host's threads. From the
/// first one on, the library is not unloaded. False when it cannot be created; `thread` is then left alone.
bool create_thread(pthread_t& thread, void* (*body)(void*));

} // namespace isp
