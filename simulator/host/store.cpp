// The parameter store in memory. One relaxed atomic per setting and camera: settings are independent of each other, so
// no order between them needs keeping.
#include "host/store.h"

#include "base/calls.h"
#include "host/styles.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace sim::host
{

namespace
{

constexpr std::size_t kMostMisuses = 1000;

// A column of the list, `Times` over, as atomics. Not an array of such: g++ 12 leaves its elements zero.
template <int Setting::* Column, std::size_t Times>
struct Levels {
    std::atomic<int> at[Times * kFields];

    constexpr Levels() : Levels(std::make_index_sequence<Times * kFields>{}) {}
    template <std::size_t... Index>
    constexpr explicit Levels(std::index_sequence<Index...>) : at{kSettings[Index % kFields].*Column...}
    {
    }
};

constinit Levels<&Setting::initial, kCameras> g_levels;
constinit Levels<&Setting::highest, 1> g_maxima;

std::atomic<int>& level(int camera, std::size_t field)
{
    return g_levels.at[static_cast<std::size_t>(camera) * kFields + field];
}

// Never destroyed: threads may still call while the process ends.
std::mutex g_misuses_mutex;
std::vector<std::string>& g_misuses = *new std::vector<std::string>;

std::size_t index_of(const Setting& setting)
{
    return static_cast<std::size_t>(find_setting(setting.name) - kSettings.data());
}

bool known(const char* function, int id)
{
    if (0 <= id && id < kCameras) [[likely]] {
        return true;
    }
    note_misuse(std::string(function) + ": no record " + std::to_string(id));
    return false;
}

int get(const char* function, int id, std::size_t field, bool maximum)
{
    const int value =
        !known(function, id) ? 0 : (maximum ? g_maxima.at[field] : level(id, field)).load(std::memory_order_relaxed);
    const int fault = note_call(function, id, value);
    return fault != 0 ? fault : value;
}

int set_current(const char* function, int id, std::size_t field, int value)
{
    const int fault = note_call(function, id, value);
    if (!known(function, id)) {
        return -1;
    }
    const Setting& setting = kSettings[field];
    if (!setting.as_passed() &&
        (value < setting.lowest || value > g_maxima.at[field].load(std::memory_order_relaxed))) {
        note_misuse(std::string(function) + ": record " + std::to_string(id) + ", level " + std::to_string(value));
    }
    if (fault == 0) {
        level(id, field).store(value, std::memory_order_relaxed);
    }
    return fault;
}

} // namespace

void reset_store()
{
    for (int camera = 0; camera < kCameras; ++camera) {
        store_record(camera, initial_record());
    }
    for (std::size_t field = 0; field < kFields; ++field) {
        g_maxima.at[field].store(kSettings[field].highest, std::memory_order_relaxed);
    }
    reset_presets();
    forget_refused_files();
    const std::lock_guard lock(g_misuses_mutex);
    g_misuses.clear();
}

int stored(int camera, const Setting& setting)
{
    return level(camera, index_of(setting)).load(std::memory_order_relaxed);
}

void store(int camera, const Setting& setting, int value)
{
    level(camera, index_of(setting)).store(value, std::memory_order_relaxed);
}

kiv_isp_param_s stored_record(int camera)
{
    kiv_isp_param_s record{};
    for (std::size_t field = 0; field < kFields; ++field) {
        record.*kSettings[field].member = level(camera, field).load(std::memory_order_relaxed);
    }
    return record;
}

void store_record(int camera, const kiv_isp_param_s& record)
{
    for (std::size_t field = 0; field < kFields; ++field) {
        level(camera, field).store(record.*kSettings[field].member, std::memory_order_relaxed);
    }
}

void set_maximum(const Setting& setting, int value)
{
    g_maxima.at[index_of(setting)].store(value, std::memory_order_relaxed);
}

std::vector<std::string> misuses()
{
    const std::lock_guard lock(g_misuses_mutex);
    return g_misuses;
}

void note_misuse(std::string line)
{
    const std::lock_guard lock(g_misuses_mutex);
    if (g_misuses.size() < kMostMisuses) {
        g_misuses.push_back(std::move(line));
    }
}

} // namespace sim::host

// The accessors, as the column `access` of the list asks.
#define FIELD(name) (offsetof(kiv_isp_param_s, name) / sizeof(int))
#define ACCESS_none(name)
#define ACCESS_get_cur(name)                                                                                           \
    int para_get_isp_##name##_cur(int id)                                                                              \
    {                                                                                                                  \
        return sim::host::get(__func__, id, FIELD(name), false);                                                       \
    }
#define ACCESS_get_max(name)                                                                                           \
    int para_get_isp_##name##_max(int id)                                                                              \
    {                                                                                                                  \
        return sim::host::get(__func__, id, FIELD(name), true);                                                        \
    }
#define ACCESS_set(name)                                                                                               \
    int para_set_isp_##name##_cur(int id, int value)                                                                   \
    {                                                                                                                  \
        return sim::host::set_current(__func__, id, FIELD(name), value);                                               \
    }
#define ACCESS_cur(name) ACCESS_get_cur(name) ACCESS_set(name)
#define ACCESS_bound(name) ACCESS_get_max(name) ACCESS_set(name)
#define ACCESS_all(name) ACCESS_cur(name) ACCESS_get_max(name)
#define DEFINE(name, type, kind, access, ...)                                                                          \
    static_assert(sim::host::find_setting(#name) == &sim::host::kSettings[FIELD(name)], "the record's order");         \
    ACCESS_##access(name)
ISP_SETTINGS(DEFINE)

kiv_isp_param_s* para_get_isp_style_param(int id, int style)
{
    const int fault = sim::note_call(__func__, id, style);
    return sim::host::known(__func__, id) && fault == 0 ? sim::host::preset_of(style) : nullptr;
}

int para_isp_style_excute_by_arm(void)
{
    return sim::note_call(__func__); // the library applies styles, unless a fault of 1 is asked for
}
