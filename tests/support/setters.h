// Every setter of the library by the name of its setting, from the one list of settings.
#pragma once

#include "bench.h"

namespace bench
{

struct NamedSetter {
    std::string_view name;
    int (*set)(int id, int value);
};

#define SETTER_none(name, type)
#define SETTER_gain(name, type)
#define SETTER_level(name, type)                                                                                       \
    {#name, [](int id, int value) { return KIV_Set_##name(id, static_cast<type>(value)); }},
#define SETTER_action(name, type) {#name, [](int id, int) { return KIV_Set_##name(id); }},
#define SETTER_silent(name, type)                                                                                      \
    {#name, [](int id, int value) { return KIV_Set_##name(id, static_cast<type>(value)), 0; }},
#define ISP_SETTING(name, type, access, setter, lowest, highest, initial, effect, modes, results)                      \
    SETTER_##setter(name, type)
#define ISP_COMMAND(name, type, access, setter, lowest, highest, initial, effect, modes, results)                      \
    SETTER_##setter(name, type)
inline constexpr NamedSetter kSetters[] = {
#include "host/settings.def"
};
#undef SETTER_none
#undef SETTER_gain
#undef SETTER_level
#undef SETTER_action
#undef SETTER_silent

/// Calls a setter by the name of its setting.
inline int set(int id, std::string_view name, int value)
{
    for (const NamedSetter& setter : kSetters) {
        if (setter.name == name) {
            return setter.set(id, value);
        }
    }
    ADD_FAILURE() << "no setter " << name;
    return INT_MIN;
}

} // namespace bench
