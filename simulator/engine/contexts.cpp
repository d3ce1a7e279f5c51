// Giving out, judging and releasing contexts, and the list of misuses.
#include "engine/contexts.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace sim::engine
{

constinit std::array<Context, kContexts> contexts{};
constinit std::atomic<int> call_time{0};

namespace
{

constexpr std::size_t kMisusesKept = 256;

// Everything about contexts that is not on the path of an attribute call. Never destroyed: threads may still call
// while the process ends.
struct Registry {
    std::mutex mutex; // taken before a context's lock
    std::array<Configuration, kContexts> configurations;
    std::array<std::uint64_t, kContexts> released_at{};               // order of releases
    std::array<std::pair<std::string, std::string>, kSensors> scenes; // main and sub
    std::uint64_t releases = 0;
    std::uint64_t starts = 0;

    std::mutex misuse_mutex;                          // taken last
    std::vector<std::pair<std::string, int>> misuses; // and how often
};

Registry& registry = *new Registry;

std::size_t index_of(const Context& context)
{
    return static_cast<std::size_t>(&context - contexts.data());
}

Life life_of(Context& context)
{
    const std::lock_guard lock(context.lock);
    return context.life;
}

// An unused slot, else the one released longest ago.
Context* free_context()
{
    Context* best = nullptr;
    for (Context& context : contexts) {
        const Life life = life_of(context);
        if (life == Life::unknown) {
            return &context;
        }
        if (life == Life::released &&
            (!best || registry.released_at[index_of(context)] < registry.released_at[index_of(*best)])) {
            best = &context;
        }
    }
    return best;
}

constexpr const char* kLifeNames[] = {"unknown", "initialised", "prepared", "running", "stopped", "released"};

// Under the context's or the registry's lock.
std::string describe_context(const Context& context)
{
    std::string text = context.group ? "the group of sensor " : "sensor ";
    return text.append(std::to_string(recorded_id(&context)));
}

} // namespace

void note_misuse(const char* function, const std::string& what)
{
    std::string line = std::string(function) + ": " + what;
    const std::lock_guard lock(registry.misuse_mutex);
    const auto known = std::ranges::find(registry.misuses, line, &std::pair<std::string, int>::first);
    if (known != registry.misuses.end()) {
        ++known->second;
    } else if (registry.misuses.size() < kMisusesKept) {
        registry.misuses.emplace_back(std::move(line), 1);
    }
}

std::vector<std::string> misuses()
{
    const std::lock_guard lock(registry.misuse_mutex);
    std::vector<std::string> lines;
    lines.reserve(registry.misuses.size());
    for (const auto& [line, times] : registry.misuses) {
        lines.push_back(times == 1 ? line : line + " (" + std::to_string(times) + " times)");
    }
    return lines;
}

XCamReturn refuse_context(const char* function, const void* pointer)
{
    std::string what = pointer ? "unknown context" : "null context";
    if (Context* const context = find(pointer)) {
        const std::lock_guard lock(context->lock);
        if (context->life == Life::released) {
            what = "use after release, " + describe_context(*context);
        }
    }
    note_misuse(function, what);
    return XCAM_RETURN_ERROR_PARAM;
}

void set_call_time(int microseconds)
{
    call_time.store(microseconds, std::memory_order_relaxed);
}

void take_time(Context* context)
{
    const auto count = [&](int calls) {
        if (context) {
            const std::lock_guard lock(context->lock);
            context->calls += calls;
        }
    };
    count(1);
    std::this_thread::sleep_for(std::chrono::microseconds(call_time.load(std::memory_order_relaxed)));
    count(-1);
}

Context* create_context(const char* function, std::span<const int> sensors, bool group, const char* iq_directory)
{
    const std::lock_guard registry_lock(registry.mutex);
    for (Context& other : contexts) {
        const std::lock_guard lock(other.lock);
        if (is_alive(other.life) && other.group == group && other.sensors[0] == sensors.front()) {
            note_misuse(function, describe_context(other) + " has a context already");
            break;
        }
    }
    Context* const context = free_context();
    if (!context) {
        note_misuse(function, "all contexts are in use");
        return nullptr;
    }
    const auto& [main_scene, sub_scene] = registry.scenes[static_cast<std::size_t>(sensors.front())];
    registry.configurations[index_of(*context)] = {.sensors{sensors.begin(), sensors.end()},
                                                   .iq_directory = iq_directory ? iq_directory : "",
                                                   .iq_directory_at = iq_directory,
                                                   .main_scene = main_scene,
                                                   .sub_scene = sub_scene};

    const std::lock_guard lock(context->lock);
    context->life = Life::initialised;
    context->group = group;
    context->sensor.store(sensors.front(), std::memory_order_relaxed);
    std::copy(sensors.begin(), sensors.end(), context->sensors.begin());
    context->sensor_count = static_cast<int>(sensors.size());
    context->started = 0;
    context->blocks = initial_blocks();
    context->blocks.lin_ae.Params.DySetpoint.DySetpoint = context->blocks.setpoints;
    return context;
}

XCamReturn change_life(const char* function, const void* pointer, bool group, Request request)
{
    Context* const context = find(pointer);
    if (!context) {
        return refuse_context(function, pointer);
    }
    const std::lock_guard registry_lock(registry.mutex);
    Life before{};
    bool same_kind = true;
    bool in_order = true;
    bool in_use = false;
    {
        const std::lock_guard lock(context->lock);
        before = context->life;
        same_kind = context->group == group;
        if (is_alive(before) && same_kind) {
            const bool runs = before == Life::running;
            if (request == Request::stop) { // of an engine that does not run: nothing to do
                context->life = runs ? Life::stopped : before;
            } else if (request == Request::start) {
                in_order = before == Life::prepared || before == Life::stopped;
                context->life = in_order ? Life::running : before;
                context->started = in_order ? ++registry.starts : context->started;
            } else if (request == Request::prepare) {
                in_order = !runs;
                context->life = in_order ? Life::prepared : before;
            } else {
                in_order = !runs;
                in_use = context->calls > 0;
                context->life = Life::released;
                std::fill(std::begin(context->blocks.setpoints), std::end(context->blocks.setpoints), -1.0F);
                registry.released_at[index_of(*context)] = ++registry.releases;
            }
        }
    }
    if (!is_alive(before)) {
        if (before == Life::released && request == Request::release) {
            note_misuse(function, "released twice, " + describe_context(*context));
            return XCAM_RETURN_ERROR_PARAM;
        }
        return refuse_context(function, pointer);
    }
    if (in_use) {
        note_misuse(function, "released while in use, " + describe_context(*context));
    }
    if (!same_kind) {
        note_misuse(function, group ? "a camera's context, not a group's" : "a group's context, not a camera's");
        return XCAM_RETURN_ERROR_PARAM;
    }
    if (!in_order) {
        note_misuse(function,
                    "out of order, " + describe_context(*context) + " is " + kLifeNames[static_cast<int>(before)]);
        return XCAM_RETURN_ERROR_ORDER;
    }
    return XCAM_RETURN_NO_ERROR;
}

void set_iq_directory(const Context& context, const char* directory)
{
    const std::lock_guard lock(registry.mutex);
    registry.configurations[index_of(context)].iq_directory = directory;
    registry.configurations[index_of(context)].iq_directory_at = directory;
}

void set_working_mode(const Context& context, rk_aiq_working_mode_t mode)
{
    const std::lock_guard lock(registry.mutex);
    registry.configurations[index_of(context)].mode = mode;
}

void set_scene_names(int sensor, const char* main_scene, const char* sub_scene)
{
    const std::lock_guard lock(registry.mutex);
    registry.scenes[static_cast<std::size_t>(sensor)] = {main_scene, sub_scene};
}

void reset()
{
    const std::lock_guard registry_lock(registry.mutex);
    for (Context& context : contexts) {
        const std::lock_guard lock(context.lock);
        context.life = Life::unknown;
    }
    set_call_time(0);
    registry.configurations = {};
    registry.scenes = {};
    registry.released_at = {};
    {
        const std::lock_guard lock(registry.misuse_mutex);
        registry.misuses.clear();
    }
    reset_sensors();
}

Life life(const void* pointer)
{
    Context* const context = find(pointer);
    return context ? life_of(*context) : Life::unknown;
}

int live_contexts()
{
    return static_cast<int>(
        std::count_if(contexts.begin(), contexts.end(), [](Context& context) { return is_alive(life_of(context)); }));
}

Configuration configuration(const void* pointer)
{
    const Context* const context = find(pointer);
    if (!context) {
        return {};
    }
    const std::lock_guard lock(registry.mutex);
    return registry.configurations[index_of(*context)];
}

template <typename Block>
Block peek(const void* pointer)
{
    Context* const context = find(pointer);
    if (!context) {
        return {};
    }
    const std::lock_guard lock(context->lock);
    return context->blocks.*member_of<Block>;
}

template <typename Block>
void poke(const void* pointer, const Block& block)
{
    if (Context* const context = find(pointer)) {
        const std::lock_guard lock(context->lock);
        store(context->blocks, block);
    }
}

template <typename Block>
Block initial()
{
    return initial_blocks().*member_of<Block>;
}

#define ISP_MODULE(name, Block, ...)                                                                                   \
    template Block peek<Block>(const void*);                                                                           \
    template void poke<Block>(const void*, const Block&);                                                              \
    template Block initial<Block>();
#define ISP_RESULT ISP_MODULE
#include "engine/modules.def"

} // namespace sim::engine
