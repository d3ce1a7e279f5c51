// Threads of this process as the kernel counts them, for tests of the threads that the library starts.
#pragma once

#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

namespace bench
{

/// How many entries a folder has: "/proc/self/task" lists threads, "/proc/self/fd" open files.
inline long entries(const char* folder)
{
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

inline long threads()
{
    // A sanitizer may add a thread of its own when the first one is created: not while a test counts.
    static const bool first_created = (std::thread([] {}).join(), true);
    static_cast<void>(first_created);
    return entries("/proc/self/task");
}

/// Waits in real time until `holds`, ten seconds at the most; whether it came to hold.
template <typename Condition>
bool eventually(Condition holds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!holds()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace bench
