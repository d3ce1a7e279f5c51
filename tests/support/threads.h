// Threads of this process as the kernel counts them, for tests of the threads that the library starts.
#pragma once

#include "base/clock.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <pthread.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace bench
{

/// How many entries a folder has: "/proc/self/task" lists threads, "/proc/self/fd" open files.
inline long entries(const char* folder)
{
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

inline long threads()
{
    // A sanitizer or an emulator may add a thread of its own when the first one is created: not while a test counts. An
    // ended thread is listed for a moment longer.
    static const bool first_created = [] {
        std::string first;
        std::thread([&] { first = "/proc/self/task/" + std::to_string(gettid()); }).join();
        while (std::filesystem::exists(first)) {
            std::this_thread::yield();
        }
        return true;
    }();
    static_cast<void>(first_created);
    return entries("/proc/self/task");
}

/// Those of this name, of which the kernel keeps fifteen characters.
inline int threads_named(const std::string& name)
{
    int count = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string line;
        std::getline(std::ifstream(task.path() / "comm"), line);
        count += line == name ? 1 : 0;
    }
    return count;
}

/// While it lives, no thread can be had: none has room for its stack.
class NoThreads
{
public:
    NoThreads()
    {
        pthread_getattr_default_np(&usual_);
        pthread_attr_t huge{};
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, std::size_t{1} << 47U);
        pthread_setattr_default_np(&huge);
    }
    ~NoThreads()
    {
        pthread_setattr_default_np(&usual_);
    }
    NoThreads& operator=(NoThreads&&) = delete;

private:
    pthread_attr_t usual_{};
};

/// Whether a thread sleeps, for example because it waits for a lock.
inline bool asleep(pid_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string line;
    std::getline(file, line);
    return line.find(") S ") != std::string::npos;
}

/// Whether this thread is detached.
inline bool detached()
{
    int state = PTHREAD_CREATE_JOINABLE;
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getdetachstate(&attributes, &state);
    pthread_attr_destroy(&attributes);
    return state == PTHREAD_CREATE_DETACHED;
}

/// Runs a thread that detaches itself; 0, or -1. A body that ends its thread must not return.
template <void (*Body)()>
int on_thread(bool may_return)
{
    pthread_t thread{};
    const auto start = [](void* abort_at_return) -> void* {
        Body();
        if (abort_at_return != nullptr) {
            std::abort();
        }
        return nullptr;
    };
    return sim::create_thread(&thread, nullptr, start, may_return ? nullptr : &thread) == 0 ? 0 : -1;
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
