#include "app/apply.h"

#include "isp_ctrl.h"

namespace app
{

namespace
{

// The forms of a setter that settings.def names.
#define APPLY_level(name, type) [](int camera, int value) { return KIV_Set_##name(camera, type{value}); }
#define APPLY_action(name, type) [](int camera, int) { return KIV_Set_##name(camera); }
#define APPLY_silent(name, type) [](int camera, int value) { return KIV_Set_##name(camera, type{value}), 0; }
#define APPLY_gain(name, type) [](int camera, int value) { return set_##name(camera, value), 0; }
#define APPLY_none(name, type) nullptr

void set_rgain_onepush(int camera, int value)
{
    set_onepush_rgain(camera, value);
}

void set_bgain_onepush(int camera, int value)
{
    set_onepush_bgain(camera, value);
}

constexpr int (*kSetters[])(int camera, int value) = {
#define ISP_SETTING(name, type, access, setter, lowest, highest, initial, effect, modes, results)                      \
    APPLY_##setter(name, type),
#define ISP_COMMAND(name, type, access, setter, lowest, highest, initial, effect, modes, results)                      \
    APPLY_##setter(name, type),
#include "host/settings.def"
};

} // namespace

int apply(int camera, const sim::host::Setting& setting, int value)
{
    return kSetters[&setting - sim::host::kSettingsAndCommands](camera, value);
}

} // namespace app
