// Every setter of the library by the name of its setting or command, from the one list of settings.
#pragma once

#include "host/settings.h"

#include <cstdlib>

namespace sim::host
{

struct NamedSetter {
    std::string_view name;
    std::string_view function;
    int (*set)(int camera, int value);
};

// The forms of a setter that isp_settings.h names.
#define SETTER_none(name, type, setter)
#define SETTER_level(name, type, setter)                                                                               \
    {#name, #setter, [](int camera, int value) { return setter(camera, type{value}); }},
#define SETTER_action(name, type, setter) {#name, #setter, [](int camera, int) { return setter(camera); }},
#define SETTER_silent(name, type, setter)                                                                              \
    {#name, #setter, [](int camera, int value) { return setter(camera, type{value}), 0; }},
#define SETTER(name, type, kind, access, form, setter, ...) SETTER_##form(name, type, setter)
inline constexpr NamedSetter kSetters[] = {ISP_SETTINGS(SETTER) ISP_COMMANDS(SETTER)};
#undef SETTER_none
#undef SETTER_level
#undef SETTER_action
#undef SETTER_silent
#undef SETTER

/// Calls the setter of a setting or command that has one; the result is the setter's, 0 where it has none.
inline int set(int camera, std::string_view name, int value)
{
    for (const NamedSetter& setter : kSetters) {
        if (setter.name == name) {
            return setter.set(camera, value);
        }
    }
    std::abort();
}

} // namespace sim::host
