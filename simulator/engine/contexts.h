// The contexts: one static array of slots, so that any pointer can be checked and a released context stays
// recognisable until its slot, the longest released one first, is used again.
#pragma once

#include "engine/blocks.h"
#include "engine/engine.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>

namespace sim::engine
{

inline constexpr int kContexts = 64;

struct alignas(64) Context {
    std::mutex lock; // guards what follows, but for `sensor`
    Life life{};
    bool group = false;
    std::atomic<int> sensor{0}; // the first of `sensors`
    std::array<int, RK_AIQ_CAM_GROUP_MAX_CAMS> sensors{};
    int sensor_count = 0;
    int calls = 0;             // under way that take time
    std::uint64_t started = 0; // order of starts, 0: never
    Blocks blocks{};
};

extern std::array<Context, kContexts> contexts;
extern std::atomic<int> call_time; // microseconds

/// The slot that a pointer of the engine's interface stands for, null for a pointer that was never given out.
inline Context* find(const void* pointer)
{
    const std::uintptr_t offset =
        reinterpret_cast<std::uintptr_t>(pointer) - reinterpret_cast<std::uintptr_t>(contexts.data());
    if (offset >= sizeof(contexts) || offset % sizeof(Context) != 0) [[unlikely]] {
        return nullptr;
    }
    return static_cast<Context*>(const_cast<void*>(pointer));
}

/// Id under which a call is recorded.
inline int recorded_id(const Context* context)
{
    return context ? context->sensor.load(std::memory_order_relaxed) : -1;
}

inline bool is_alive(Life life)
{
    return life != Life::unknown && life != Life::released;
}

/// A new context for the sensors, or null when all slots are in use.
Context* create_context(const char* function, std::span<const int> sensors, bool group, const char* iq_directory);

enum class Request { prepare, start, stop, release };

/// Takes a context a step further in its life.
XCamReturn change_life(const char* function, const void* pointer, bool group, Request request);

/// Lets a call take the time that was set with set_call_time(); the context is in use meanwhile.
void take_time(Context* context);

inline bool calls_take_time()
{
    return call_time.load(std::memory_order_relaxed) != 0;
}

void set_iq_directory(const Context& context, const char* directory);
void set_working_mode(const Context& context, rk_aiq_working_mode_t mode);
void set_scene_names(int sensor, const char* main_scene, const char* sub_scene);

// The sensors.
std::string sensor_name(int index);
bool sensor_present(int index);
void reset_sensors();

void note_misuse(const char* function, const std::string& what);

/// Notes the use of a pointer that is not a live context; returns the code to answer with.
XCamReturn refuse_context(const char* function, const void* pointer);

} // namespace sim::engine
