// The settings of a camera as a table, with their values by name; made from the lists of isp_settings.h.
#pragma once

#include "base/number.h"
#include "isp_settings.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace sim::host
{

/// Accessors of the store; a setting with `cur` alone is stored as passed, every other is bounded.
enum class Access { none, set, bound, cur, all };

/// What the library has for changing it; the forms are those of isp_settings.h.
enum class Setter { none, level, action, silent };

/// What the library stores for a negative level: nothing, the lowest or highest level, or the level as passed.
enum class Negative { none, lowest, highest, kept };

/// A set of modes, a bit per value of each mode setting, in the order of their names.
using Modes = unsigned;
inline constexpr Modes kNoMode = ISP_IN_NONE;
inline constexpr Modes kAllModes = ISP_IN_ALL;

/// A setting whose value is a mode, and the bits of its values.
struct ModeSetting {
    std::string_view name;
    int kiv_isp_param_s::* member;
    Modes first; ///< of the first named value
    Modes all;
};
inline constexpr ModeSetting kModeSettings[] = {
    {"exposure_mode", &kiv_isp_param_s::exposure_mode, ISP_IN_AUTO_EXPOSURE, ISP_IN_ANY_EXPOSURE},
    {"wb_mode", &kiv_isp_param_s::wb_mode, ISP_IN_AUTO_BALANCE, ISP_IN_ANY_BALANCE},
    {"blackwhite_mode", &kiv_isp_param_s::blackwhite_mode, ISP_IN_COLOUR, ISP_IN_ANY_COLOUR},
    {"expcomp_mode", &kiv_isp_param_s::expcomp_mode, ISP_IN_COMPENSATION, ISP_IN_ANY_COMPENSATION},
};

/// What is known of a setting beside the public list.
struct Note {
    std::string_view name;
    std::string_view source; ///< file of the setter, below the library's isp_ctrl/
    Negative negative;
    bool shown; ///< whether the simulated picture shows it
};
inline constexpr Note kNotes[] = {
    {"struct_ver", "", Negative::none, false},
    {"style", "presets/style.cpp", Negative::none, true},
    {"exposure_mode_priority", "exposure/exposure_mode.cpp", Negative::none, false},
    {"exposure_mode", "exposure/exposure_mode.cpp", Negative::kept, true},
    {"shutter", "exposure/shutter.cpp", Negative::lowest, true},
    {"iris", "exposure/iris.cpp", Negative::highest, true},
    {"bright", "exposure/ev_bias.cpp", Negative::lowest, true},
    {"expcomp_mode", "exposure/ev_bias.cpp", Negative::kept, true},
    {"expcomp_level", "exposure/ev_bias.cpp", Negative::highest, true},
    {"backlight", "exposure/ev_bias.cpp", Negative::kept, true},
    {"gain_limit", "exposure/gain.cpp", Negative::lowest, true},
    {"manual_gain", "exposure/gain.cpp", Negative::highest, true},
    {"antiflicker", "exposure/antiflicker.cpp", Negative::kept, true},
    {"meter", "exposure/metering.cpp", Negative::kept, true},
    {"wdr_strength", "exposure/wdr.cpp", Negative::kept, false},
    {"wb_mode", "white_balance/wb_mode.cpp", Negative::kept, true},
    {"awb_sens", "white_balance/awb_sens.cpp", Negative::lowest, false},
    {"rgain", "white_balance/wb_gain.cpp", Negative::lowest, true},
    {"bgain", "white_balance/wb_gain.cpp", Negative::lowest, true},
    {"rgain_tuning", "white_balance/gain_tuning.cpp", Negative::lowest, true},
    {"bgain_tuning", "white_balance/gain_tuning.cpp", Negative::lowest, true},
    {"ggain_tuning", "white_balance/gain_tuning.cpp", Negative::lowest, false},
    {"rgain_onepush", "white_balance/remembered_gains.cpp", Negative::kept, true},
    {"bgain_onepush", "white_balance/remembered_gains.cpp", Negative::kept, true},
    {"saturation", "image/colour.cpp", Negative::lowest, true},
    {"hue", "image/colour.cpp", Negative::lowest, true},
    {"temperature", "white_balance/temperature.cpp", Negative::kept, true},
    {"len_type", "core/lens_type.cpp", Negative::none, false},
    {"luminance", "image/colour.cpp", Negative::lowest, true},
    {"contrast", "image/colour.cpp", Negative::lowest, true},
    {"sharpness", "image/sharpness.cpp", Negative::lowest, true},
    {"blackwhite_mode", "image/colour.cpp", Negative::kept, true},
    {"gamma", "image/gamma.cpp", Negative::lowest, true},
    {"drc", "image/drc.cpp", Negative::highest, true},
    {"ccm_style", "presets/style.cpp", Negative::none, false},
    {"nr2d", "image/noise_reduction.cpp", Negative::lowest, true},
    {"nr3d", "image/noise_reduction.cpp", Negative::lowest, true},
    {"hotpixel", "image/hotpixel.cpp", Negative::none, false},
    {"skin_saturation", "", Negative::none, false},
    {"wb_mode_onepush", "white_balance/onepush.cpp", Negative::none, true},
    {"shading", "image/lens_shading.cpp", Negative::none, true},
    {"csc_mode", "image/colour_space.cpp", Negative::none, true},
};

/// The note of a setting; a setting without one does not compile.
consteval const Note& note_of(std::string_view name)
{
    const Note* note = kNotes;
    while (note->name != name) {
        ++note;
    }
    return *note;
}

struct Setting {
    std::string_view name;
    std::string_view type; ///< enum of isp_ctrl.h, or "int"
    bool is_choice;        ///< its named values are all that there are
    Access access;
    Setter setter;
    int lowest;
    int highest; ///< the store's maximum at first, where it has one
    int initial;
    std::string_view group; ///< exposure, white_balance, image or system
    std::string_view unit;  ///< of what its values mean; empty where they mean no quantity
    std::string_view formula;
    double (*number)(int level, double named); ///< the formula
    std::string_view block;                    ///< settings of one block are set one after the other
    Modes effective;                           ///< in which a level takes effect
    Modes accepted;                            ///< in which the setter returns 0
    Modes stored;                              ///< in which the level is stored
    std::string_view effect;
    int kiv_isp_param_s::* member; ///< null for a command, which is no part of the record
    std::string_view source;       ///< as in Note
    Negative negative;
    bool shown;

    constexpr bool as_passed() const
    {
        return access == Access::cur;
    }
    /// Whether its value is a mode that other settings depend on.
    constexpr bool is_mode() const
    {
        for (const ModeSetting& mode : kModeSettings) {
            if (mode.member == member) {
                return true;
            }
        }
        return false;
    }
    constexpr bool in_range(int value) const
    {
        return lowest <= value && value <= highest;
    }
    /// Whether the store may come to hold it.
    constexpr bool storable(int value) const
    {
        return as_passed() || in_range(value);
    }
};

struct ValueName {
    std::string_view setting;
    std::string_view name;
    int value;
    double number; ///< what it means, in the setting's unit
};

/// The 39 fields of the record in its order, then the commands.
inline constexpr Setting kSettingsAndCommands[] = {
#define ISP_ROW(member, name, type, kind, access, form, setter, lowest, highest, initial, group, unit, number, block,  \
                effective, accepted, stored, effect)                                                                   \
    Setting(                                                                                                           \
        #name, #type, std::string_view(#kind) == "choice", Access::access, Setter::form, lowest, highest, initial,     \
        #group, unit, #number,                                                                                         \
        []([[maybe_unused]] int level, [[maybe_unused]] double named) -> double { return number; }, #block, effective, \
        accepted, stored, effect, member, note_of(#name).source, note_of(#name).negative, note_of(#name).shown),
#define ISP_SETTING(name, ...) ISP_ROW(&kiv_isp_param_s::name, name, __VA_ARGS__)
#define ISP_COMMAND(name, ...) ISP_ROW(nullptr, name, __VA_ARGS__)
    ISP_SETTINGS(ISP_SETTING) ISP_COMMANDS(ISP_COMMAND)
#undef ISP_ROW
#undef ISP_SETTING
#undef ISP_COMMAND
};
static_assert(std::size(kNotes) == std::size(kSettingsAndCommands), "a note of something that is no setting");

inline constexpr std::size_t kFields = sizeof(kiv_isp_param_s) / sizeof(int);
inline constexpr std::span<const Setting> kSettings = std::span(kSettingsAndCommands).first<kFields>();
inline constexpr std::span<const Setting> kCommands = std::span(kSettingsAndCommands).subspan<kFields>();

/// Values by name, grouped by setting; one outside the setting's range can be set, but is not stored.
inline constexpr ValueName kValueNames[] = {
#define ISP_VALUE(setting, name, value, number) {#setting, name, value, number},
    ISP_VALUES(ISP_VALUE)
#undef ISP_VALUE
};

/// A setting or command by its name, or null.
constexpr const Setting* find_setting(std::string_view name)
{
    for (const Setting& setting : kSettingsAndCommands) {
        if (setting.name == name) {
            return &setting;
        }
    }
    return nullptr;
}

/// The names that a setting's values have; empty for a setting of plain levels.
constexpr std::span<const ValueName> names_of(const Setting& setting)
{
    std::size_t first = 0;
    while (first < std::size(kValueNames) && kValueNames[first].setting != setting.name) {
        ++first;
    }
    std::size_t last = first;
    while (last < std::size(kValueNames) && kValueNames[last].setting == setting.name) {
        ++last;
    }
    return std::span(kValueNames).subspan(first, last - first);
}

/// The value that a text means, a name or a decimal number of any size that an int holds; none for other text.
inline std::optional<int> value_of(const Setting& setting, std::string_view text)
{
    for (const ValueName& known : names_of(setting)) {
        if (known.name == text) {
            return known.value;
        }
    }
    return number_in<int>(text);
}

/// A value as value_of() reads it back: its name, or its number when it has none.
inline std::string name_of(const Setting& setting, int value)
{
    for (const ValueName& known : names_of(setting)) {
        if (known.value == value) {
            return std::string(known.name);
        }
    }
    return std::to_string(value);
}

/// The modes that a record is in, one of each mode setting.
constexpr Modes modes_of(const kiv_isp_param_s& record)
{
    Modes modes = kNoMode;
    for (const ModeSetting& mode : kModeSettings) {
        const auto names = names_of(*find_setting(mode.name));
        Modes bit = mode.first;
        for (std::size_t i = 0; i < names.size() && names[i].value != record.*mode.member; ++i) {
            bit <<= 1U;
        }
        modes |= (bit & mode.all) != 0 ? bit : mode.first;
    }
    return modes;
}

/// Whether a set holds the present mode of each mode setting.
constexpr bool contains(Modes modes, const kiv_isp_param_s& record)
{
    return (modes & modes_of(record)) == modes_of(record);
}

/// Read after "while": "exposure_mode is not manual and expcomp_mode is on"; "always" and "never" for all and no modes.
/// Of a record: only what its own modes lack of the set.
std::string modes_text(Modes modes, const kiv_isp_param_s* record = nullptr);

/// What becomes of a level where it takes no effect, "result 2, stored"; empty where it does everywhere.
std::string elsewhere_text(const Setting& setting);

/// Of a setting that is not `shown`.
inline constexpr std::string_view kNotShown = "not shown by the simulated picture";

/// Whether the picture shows a value; the engine is told nothing of wide dynamic range.
constexpr bool shows(const Setting& setting, int value)
{
    return setting.shown && !(setting.name == "exposure_mode" && value == WIDE_DYNAMIC_RANGE);
}

/// What a value means, "5500 K", "1/200 s" or "F2.8"; empty where it means no quantity.
std::string quantity_text(const Setting& setting, int value);

/// The present mode that a set lacks, "manual" or "expcomp_mode off"; empty where it holds all.
std::string unused_mode(Modes modes, const kiv_isp_param_s& record);

/// A record of all initial values.
constexpr kiv_isp_param_s initial_record()
{
    kiv_isp_param_s record{};
    for (const Setting& setting : kSettings) {
        record.*setting.member = setting.initial;
    }
    return record;
}

} // namespace sim::host
