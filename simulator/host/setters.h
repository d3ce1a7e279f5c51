// Every setter of the library by the name of its setting or command, from the one list of settings.
#pragma once

#include "host/settings.h"
#include "isp_ctrl.h"

#include <cstdlib>

namespace sim::host
{

struct NamedSetter {
    std::string_view name;
    int (*set)(int camera, int value);
};

// The forms of a setter that settings.def names. The one-push gains have a form of their own.
#define SETTER_none(name, type)
#define SETTER_gain(name, type)
#define SETTER_level(name, type) {#name, [](int camera, int value) { return KIV_Set_##name(camera, type{value}); }},
#define SETTER_action(name, type) {#name, [](int camera, int) { return KIV_Set_##name(camera); }},
#define SETTER_silent(name, type) {#name, [](int camera, int value) { return KIV_Set_##name(camera, type{value}), 0; }},
#define ISP_SETTING(name, type, access, setter, ...) SETTER_##setter(name, type)
#define ISP_COMMAND(name, type, access, setter, ...) SETTER_##setter(name, type)
inline constexpr NamedSetter kSetters[] = {
#include "host/settings.def"
};
#undef SETTER_none
#undef SETTER_gain
#undef SETTER_level
#undef SETTER_action
#undef SETTER_silent

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
